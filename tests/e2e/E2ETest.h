// e2e/E2ETest.h
//
// Base of the end-to-end tests: a local cloud for all tests and, for each test, a new host with the plug-in.

#pragma once

#include "tour/LocalFiles.h"
#include "tour/PortalGuide.h"

#include <QListWidget>
#include <QMessageBox>
#include <QtTest>

#include <memory>

class E2ETest : public QObject
{
    Q_OBJECT
protected slots:
    void initTestCase();
    /// Removes what earlier tests stored, and opens a host.
    void init();
    void cleanup() { stopHost(); }

protected:
    explicit E2ETest(const QString &portal) : m_portal(portal) {}

    /// Opens a host that keeps the user's folder and settings of the one before it.
    bool startHost();
    void stopHost();
    /// Starts \p cloud with \p rule and the files of m_cloud, and uses it instead of m_cloud.
    bool replaceCloud(CloudProcess &cloud, const QString &rule)
    {
        return cloud.start(m_folder.filePath("cloud"), {rule});
    }
    const char *error() const;

    bool openSignedIn() { return m_page->open() && signIn(); }
    bool signIn() { return m_guide->openSignInPage(*m_page) && m_guide->signIn(*m_page); }
    bool import(const QString &name) { return m_page->select(name) && m_page->import(); }
    /// Answers each question box with \p answer and counts the boxes in m_questions.
    void answerQuestions(QMessageBox::StandardButton answer);

    QString storedSession() const { return m_guide->storedSession(m_userDir->path()); }
    /// The file that the Dropbox service serves as \p path.
    QString remote(const QString &path) const { return m_cloud.dropboxFolder() + QLatin1Char('/') + path; }
    qint64 triangles() const { return m_driver->sceneInfo("triangles"); }
    /// All downloaded and exported files.
    QStringList transferred() const;

    QString m_portal;
    QTemporaryDir m_folder;
    CloudProcess m_cloud;
    std::unique_ptr<QTemporaryDir> m_userDir;
    std::unique_ptr<Driver> m_driver;
    std::unique_ptr<PortalGuide> m_guide;
    std::unique_ptr<CloudPage> m_page;
    int m_questions = 0;

private:
    mutable QByteArray m_error;
};
