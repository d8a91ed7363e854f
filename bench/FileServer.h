// bench/FileServer.h
//
// nginx on free ports of this machine: serves the files of a folder over http and https, and accepts uploads.

#pragma once

#include "tour/CloudProcess.h"

#include <QString>
#include <QTemporaryDir>

class FileServer
{
public:
    ~FileServer();

    /// Starts nginx. Returns false on failure; the reason is printed to standard error.
    bool start();

    quint16 port(bool https) const { return https ? m_httpsPort : m_httpPort; }
    QString address(bool https) const;
    /// The served folder. A POST or PUT below "/up/" is stored completely, answered with 200, and deleted.
    QString folder() const { return m_home.filePath(QStringLiteral("files")); }
    /// The file of the self-signed certificate.
    QString certificate() const { return m_home.filePath(QStringLiteral("certificate.pem")); }

private:
    bool writeConfiguration() const;
    bool isListening(quint16 port) const;

    QTemporaryDir m_home;
    DependentProcess m_process;
    quint16 m_httpPort = 0;
    quint16 m_httpsPort = 0;
};
