// tests/localcloud/CloudClient.h
//
// Clients for a local cloud in the same thread: one that speaks through the network access manager, and raw bytes.

#pragma once

#include <localcloud/LocalCloud.h>
#include <QJsonObject>
#include <QNetworkAccessManager>
#include <QNetworkReply>

/// What a finished request left behind.
struct CloudReply
{
    int status = 0;
    QByteArray body;
    QList<QNetworkReply::RawHeaderPair> headers;
    QNetworkReply::NetworkError error = QNetworkReply::NoError;

    QByteArray header(const QByteArray &name) const;
    QJsonObject json() const;
};

/// Sends every request through the cloud's proxy, follows no redirect, and verifies its certificates against the
/// cloud's authority.
class CloudClient
{
public:
    explicit CloudClient(const LocalCloud &cloud);

    /// Adds a header to all following requests.
    void setHeader(const QByteArray &name, const QByteArray &value) { m_headers.insert(name, value); }
    /// Whether the cloud's authority is trusted; it is at first.
    void trustAuthority(bool trusted) { m_trusted = trusted; }

    /// Waits in a nested event loop, at most \p timeoutMs; then the reply's error is OperationCanceledError.
    CloudReply send(const QByteArray &method, const QString &url, const QByteArray &body = {}, int timeoutMs = 10000);
    CloudReply get(const QString &url) { return send("GET", url); }

private:
    QNetworkAccessManager m_manager;
    QSslCertificate m_authority;
    QMap<QByteArray, QByteArray> m_headers;
    bool m_trusted = true;
};

/// Writes \p bytes to the cloud and returns what came back once it ends with \p last or the cloud closes; what had come
/// after two seconds when neither happens.
QByteArray rawExchange(const LocalCloud &cloud, const QByteArray &bytes, const QByteArray &last = "\n");

/// Writes a file and the folders above it.
bool writeFile(const QString &path, const QByteArray &bytes);
QByteArray readFile(const QString &path);
