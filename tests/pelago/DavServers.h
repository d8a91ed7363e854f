// pelago/DavServers.h
//
// WebDAV servers for tests, each on a free port of this machine, for a user without rights, on a folder of its own.

#pragma once

#include "support/TestFiles.h"

#include <memory>

class DavServer
{
public:
    virtual ~DavServer() = default;

    /// Starts a server, which ends with the object: "apache", "digest" (the same with Digest sign-in only), "nginx",
    /// "rclone", "localcloud", and "proxied" or "proxied-host": nginx with TLS in front of Apache, where the second one
    /// passes the host name on. A server that cannot start ends the test program. All serve the user "demo" with the
    /// password "demo". As long as "localcloud" runs, all requests of this process go through its proxy.
    static std::unique_ptr<DavServer> start(const QString &name);

    QString path(const QString &id) const { return folder + '/' + id; }
    /// Makes a folder, or a file with \p content, that the server may change.
    void makeFolder(const QString &id);
    void makeFile(const QString &id, const QByteArray &content);
    QByteArray content(const QString &id) const { return readFile(path(id)); }
    /// The names on the disk, sorted.
    QStringList entries(const QString &folderId) const;

    QString storage;         ///< where it serves, ending in "/"
    QString folder;          ///< what it serves
    QString certificateFile; ///< of its own, which this process trusts; empty if it has none
    bool listsDotFiles = true;
    bool forbidsAFolder = false;   ///< that of the name "forbidden", with 401 like a wrong password
    bool forgetsCutUploads = true; ///< so that nothing is left of them after a while
};
