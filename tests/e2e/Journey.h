// e2e/Journey.h
//
// What every journey starts from: a running local cloud and, for each test, a fresh host with the plug-in in it.

#pragma once

#include "tour/CloudPage.h"
#include "tour/CloudProcess.h"

#include <QObject>
#include <QTemporaryDir>

#include <memory>

class Journey : public QObject
{
    Q_OBJECT
protected slots:
    void initTestCase();
    /// Forgets what earlier tests stored, and opens a host.
    void init();
    void cleanup() { stopHost(); }

protected:
    explicit Journey(const QString &portal) : m_portal(portal) {}

    /// Opens a host on the user's folder; what an earlier one stored there and in its settings is still there.
    bool startHost();
    void stopHost();
    /// Starts \p cloud, which does as \p rule says, in the place of the one of all tests, on its files.
    bool replaceCloud(CloudProcess &cloud, const QString &rule);
    QString error() const { return m_driver->error(); }
    /// The file that the Dropbox service serves as \p path.
    QString remote(const QString &path) const { return m_cloud.dropboxFolder() + QLatin1Char('/') + path; }
    qint64 sceneInfo(const QString &what) const;
    qint64 triangles() const { return sceneInfo(QStringLiteral("triangles")); }
    /// Everything that was downloaded or exported.
    QStringList transferred() const;

    QString m_portal;
    QTemporaryDir m_folder;
    CloudProcess m_cloud;
    std::unique_ptr<QTemporaryDir> m_userDir;
    std::unique_ptr<Driver> m_driver;
    std::unique_ptr<CloudPage> m_page;
};
