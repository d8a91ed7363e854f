// tour/DropboxGuide.h
//
// Dropbox: signs in on a page of the host's browser window; its files are those of a folder on the cloud's disk.

#pragma once

#include "tour/PortalGuide.h"

class DropboxGuide : public PortalGuide
{
public:
    DropboxGuide(Driver &driver, const CloudProcess &cloud);

    bool askToSignIn(CloudPage &page) override;
    bool answerSignIn(CloudPage &page) override;
    Trace listing(const View &view) const override;

protected:
    QString served() const override;
};
