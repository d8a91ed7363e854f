// tour/PlyxGuide.h
//
// Plyx: signs in on a page inside the plug-in's dialog; its galleries are those of the catalogue on the cloud's disk.

#pragma once

#include "tour/PortalGuide.h"

#include <QJsonObject>

class PlyxGuide : public PortalGuide
{
public:
    PlyxGuide(Driver &driver, const CloudProcess &cloud);

    QStringList entries(const View &view) const override;
    Trace listing(const View &view) const override;
    int filesOf(const QStringList &folder, const QString &name) const override;
    QString original(const QStringList &folder, const QString &name) const override;
    QString localName(const QStringList &folder, const QString &name) const override;

protected:
    QString served() const override;

private:
    /// The published models of that gallery that match, the newest first.
    QVector<QJsonObject> assets(const QString &gallery, const QString &keyword = QString()) const;
    /// The newest of that name; empty without one.
    QJsonObject asset(const QStringList &folder, const QString &name) const;
};
