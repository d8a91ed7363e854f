// tour/PlyxGuide.h
//
// Plyx: signs in on a page inside the plug-in's dialog; its galleries are those of the catalogue on the cloud's disk.

#pragma once

#include "tour/PortalGuide.h"

#include <QJsonObject>

class PlyxGuide : public PortalGuide
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
    int filesOf(const QStringList &folder, const QString &name) const override;
    QString original(const QStringList &folder, const QString &name) const override;
    QString localName(const QStringList &folder, const QString &name) const override;

private:
    /// The published models of that gallery that match, the newest first.
    QVector<QJsonObject> assets(const QString &gallery, const QString &keyword = QString()) const;
    /// The newest of that name; empty without one.
    QJsonObject asset(const QStringList &folder, const QString &name) const;
};
