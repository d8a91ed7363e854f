// pelago/DavServers.h
//
// WebDAV servers for tests, each on a free port of this machine, with its own folder, run by an unprivileged user.

#pragma once

#include "support/TestFiles.h"

#include <memory>
#include <vector>

class DavServer
{
public:
    /// Starts a server from the system's packages: "apache", "digest" (Apache with Digest only), "nginx", "rclone",
    /// "cached rclone" (with its usual cache) or "proxied" (nginx with TLS in front of Apache). The user name and the
    /// password are "demo". A server that cannot start ends the test program.
    explicit DavServer(const QString &name);
    ~DavServer();

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

private:
    quint16 start(const QString &name, const QByteArray &behind = {});
    QStringList command(const QString &name, const QByteArray &port, const QByteArray &behind);
    bool run(const QStringList &command, quint16 port);
    void makeCertificate();

    QTemporaryDir m_home{"/tmp/tavrin-dav-XXXXXX"}; // not below TMPDIR, which other users cannot enter
    std::vector<std::unique_ptr<QProcess>> m_processes;
};
