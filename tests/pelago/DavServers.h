// pelago/DavServers.h
//
// WebDAV servers for tests, each on a free port of this machine, for a user without rights, on a folder of its own.

#pragma once

#include <memory>
#include <QByteArray>
#include <QString>
#include <QStringList>

/// How a server differs from the others, in what a client can see.
struct DavTraits
{
    bool listsDotFiles = true;
    bool forgetsCutUploads = true; ///< so that nothing is left of them after a while
};

class DavServer
{
public:
    virtual ~DavServer() = default;

    static QStringList names();
    /// Starts the server of that name, which goes with the object. A server that cannot start ends the test program.
    static std::unique_ptr<DavServer> start(const QString &name);

    /// Where it serves, ending in "/". All take the user "demo" with the password "demo".
    QString storage() const { return m_storage; }
    const DavTraits &traits() const { return m_traits; }

    QString path(const QString &id) const { return m_folder + '/' + id; }
    /// Makes a folder, or a file with \p content, that the server may change.
    void makeFolder(const QString &id);
    void makeFile(const QString &id, const QByteArray &content);
    QByteArray content(const QString &id) const;
    /// The names on the disk, sorted.
    QStringList entries(const QString &folderId) const;

protected:
    QString m_storage;
    QString m_folder;
    DavTraits m_traits;
};
