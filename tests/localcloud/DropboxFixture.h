// tests/localcloud/DropboxFixture.h
//
// A local cloud with an empty Dropbox folder and a client that is signed in.

#pragma once

#include "CloudClient.h"
#include <QTemporaryDir>

class DropboxFixture
{
protected:
    void setUp();
    void tearDown();

    /// Starts a cloud over the same data folder; its client is not signed in.
    void start();

    /// The local path of a stored file.
    QString file(const QString &name) const { return m_cloud->dropboxDir() + '/' + name; }

    std::unique_ptr<QTemporaryDir> m_data;
    std::unique_ptr<LocalCloud> m_cloud;
    std::unique_ptr<CloudClient> m_client;
};
