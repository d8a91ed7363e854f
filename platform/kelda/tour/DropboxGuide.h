// tour/DropboxGuide.h
//
// Dropbox: signs in on a page of the host's browser window; its files are those of a folder on the cloud's disk.

#pragma once

#include "tour/PortalGuide.h"

class DropboxGuide : public PortalGuide
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
    /// The plug-in's settings file that keeps the session.
    static QString settingsName();
    QStringList entries(const View &view) const override;
    Trace listing(const View &view) const override;
    Trace download() const override;
    Trace upload() const override;
    QString original(const QStringList &folder, const QString &name) const override;
};
