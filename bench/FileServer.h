// bench/FileServer.h
//
// nginx, on free ports of this machine: serves the files of a folder over http and https, and takes uploads.

#pragma once

#include "tour/CloudProcess.h"

#include <QString>
#include <QTemporaryDir>

class FileServer
{
public:
    ~FileServer();

    /// Starts it; false on failure, with the reason on the error output.
    bool start();

    quint16 port(bool https) const { return https ? m_httpsPort : m_httpPort; }
    QString address(bool https) const;
    /// What "/" serves. A POST or PUT below "/up/" is stored whole, answered with 200, and dropped.
    QString folder() const { return m_home.filePath(QStringLiteral("files")); }
    /// The certificate, which vouches for itself.
    QString certificate() const { return m_home.filePath(QStringLiteral("certificate.pem")); }

private:
    bool writeConfiguration() const;
    bool isListening(quint16 port) const;

    QTemporaryDir m_home;
    DependentProcess m_process;
    quint16 m_httpPort = 0;
    quint16 m_httpsPort = 0;
};
