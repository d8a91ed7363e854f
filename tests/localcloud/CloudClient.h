// localcloud/CloudClient.h
//
// Clients for a local cloud in the same thread: requests through the network access manager, and raw bytes.

#pragma once

#include "support/TestFiles.h"

#include <QtNetwork>

#include <localcloud/LocalCloud.h>

struct CloudReply
{
    int status = 0;
    QByteArray body;
    QMap<QByteArray, QByteArray> headers;
    QNetworkReply::NetworkError error = QNetworkReply::NoError;

    QJsonObject json() const { return QJsonDocument::fromJson(body).object(); }
};

/// Sends requests through a local cloud, follows no redirect, and trusts one certificate authority.
class CloudClient
{
public:
    CloudClient(quint16 port, const QSslCertificate &authority);
    explicit CloudClient(const LocalCloud &cloud) : CloudClient(cloud.port(), cloud.caCertificate()) {}

    /// Adds a header to all following requests.
    void setHeader(const QByteArray &name, const QByteArray &value) { m_headers.insert(name, value); }

    /// Blocks in a nested event loop. After \p timeoutMs the error is OperationCanceledError.
    CloudReply send(const QByteArray &method, const QString &url, const QByteArray &body = {}, int timeoutMs = 10000);
    CloudReply get(const QString &url) { return send("GET", url); }

private:
    QNetworkAccessManager m_manager;
    QSslConfiguration m_tls;
    QMap<QByteArray, QByteArray> m_headers{{"Content-Type", "application/x-www-form-urlencoded"}};
};

/// Sends \p bytes, through a tunnel if \p tunnelHost is not empty. Returns what the cloud sends until it closes the
/// connection or ten seconds have passed.
QByteArray rawExchange(const LocalCloud &cloud, const QByteArray &bytes, const QString &tunnelHost = {});

/// Returns whether the file exists and only its owner can read it.
bool isPrivate(const QString &path);
