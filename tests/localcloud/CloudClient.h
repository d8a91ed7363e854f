// localcloud/CloudClient.h
//
// Clients for a local cloud in the same thread: one that speaks through the network access manager, and raw bytes.

#pragma once

#include "support/TestFiles.h"

#include <QtNetwork>

#include <localcloud/LocalCloud.h>

/// A cloud over \p dataDir that has started; ends the test program when it cannot.
std::unique_ptr<LocalCloud> startCloud(const QString &dataDir, localcloud::SeedAmount seed = {});

/// What a finished request left behind.
struct CloudReply
{
    int status = 0;
    QByteArray body;
    QJsonObject json;
    QMap<QByteArray, QByteArray> headers;
    QNetworkReply::NetworkError error = QNetworkReply::NoError;
};

/// Sends every request through a cloud's proxy, follows no redirect, and trusts one certificate authority.
class CloudClient
{
public:
    CloudClient(quint16 port, const QSslCertificate &authority);
    /// Trusts the cloud's own authority. A \p token signs the client in.
    explicit CloudClient(const LocalCloud &cloud, const QString &token = {});

    /// Adds a header to all following requests.
    void setHeader(const QByteArray &name, const QByteArray &value) { m_headers.insert(name, value); }
    void setToken(const QString &token) { setHeader("Authorization", "Bearer " + token.toLatin1()); }

    /// Waits in a nested event loop, at most \p timeoutMs; then the reply's error is
    /// OperationCanceledError.
    CloudReply send(const QByteArray &method, const QString &url, const QByteArray &body = {}, int timeoutMs = 10000);
    CloudReply get(const QString &url) { return send("GET", url); }

private:
    QNetworkAccessManager m_manager;
    QSslConfiguration m_tls;
    QMap<QByteArray, QByteArray> m_headers{{"Content-Type", "application/octet-stream"}};
};

/// Writes \p bytes to the cloud and returns what came back once it ends with \p last or the cloud closes; what had come
/// after two seconds when neither happens.
QByteArray rawExchange(const LocalCloud &cloud, const QByteArray &bytes, const QByteArray &last = "\n");

/// Whether nobody but its owner may read the file; false when there is none.
bool isPrivate(const QString &path);
