// pelago/DavServers.h
//
// WebDAV servers for tests, each on a free port of this machine, with its own folder, run by an unprivileged user.

#pragma once

#include "support/TestFiles.h"

#include <memory>

class DavServer
{
public:
    virtual ~DavServer() = default;

    /// Starts a server; the object's destructor stops it. \p name is "apache", "digest" (Apache with Digest only),
    /// "nginx", "rclone" or "proxied" (nginx with TLS in front of Apache). The user name and the password are "demo". A
    /// server that cannot start ends the test program.
    static std::unique_ptr<DavServer> start(const QString &name);

    QString path(const QString &id) const { return folder + '/' + id; }
    /// Creates a folder, or a file with \p content, that the server can change.
    void makeFolder(const QString &id);
    void makeFile(const QString &id, const QByteArray &content);
    QByteArray content(const QString &id) const { return readFile(path(id)); }
    /// The names on the disk, sorted.
    QStringList entries(const QString &folderId) const;

    QString storage;         ///< the address, ending in "/"
    QString folder;          ///< the served folder
    QString certificateFile; ///< of a self-signed certificate that this process trusts; empty without TLS
    bool listsDotFiles = true;
    bool forgetsCutUploads = true; ///< whether it removes the file of a cut upload after a while
};
