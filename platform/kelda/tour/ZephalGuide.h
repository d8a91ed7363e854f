// tour/ZephalGuide.h
//
// Zephal: signs in on a page inside the plug-in's dialog; its files are those of a folder on the cloud's disk, which a
// WebDAV server stores.

#pragma once

#include "tour/PortalGuide.h"

class ZephalGuide : public PortalGuide
{
public:
    ZephalGuide(Driver &driver, const CloudProcess &cloud);

    bool hasStoredSession(const QString &userDir) const override;
    Trace listing(const View &view) const override;

protected:
    QString served() const override;
};
