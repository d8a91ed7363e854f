// tour/ZephalGuide.h
//
// Zephal: signs in on a page inside the plug-in's dialog; its files are those of a folder on the cloud's disk, which a
// WebDAV server stores.

#pragma once

#include "tour/PortalGuide.h"

class ZephalGuide : public PortalGuide
{
public:
    using PortalGuide::PortalGuide;

    QString id() const override;
    QString tab() const override;
    QStringList steps() const override;
    Sights sights() const override;
    bool askToSignIn(CloudPage &page) override;
    bool answerSignIn(CloudPage &page) override;
    Trace admission() const override;
    bool hasStoredSession(const QString &userDir) const override;
    QStringList entries(const View &view) const override;
    Trace listing(const View &view) const override;
    Trace download() const override;
    QString original(const QStringList &folder, const QString &name) const override;
    Trace upload() const override;
    Trace replacement() const override;
};
