// localcloud/CloudClient.h
//
// Clients for a local cloud in the same thread: requests through the network access manager, and raw bytes.

#pragma once

#include "localcloud/LocalCloud.h"
#include "support/TestFiles.h"

#include <QtNetwork>

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
    CloudClient(quint16 port, const QSslCertificate &authority) : m_tls(QSslConfiguration::defaultConfiguration())
    {
        m_manager.setProxy(QNetworkProxy(QNetworkProxy::HttpProxy, "127.0.0.1", port));
        m_tls.setCaCertificates({authority});
    }
    explicit CloudClient(const LocalCloud &cloud) : CloudClient(cloud.port(), cloud.caCertificate()) {}

    /// Adds a header to all following requests.
    void setHeader(const QByteArray &name, const QByteArray &value) { m_headers.insert(name, value); }

    /// Blocks in a nested event loop. After \p timeoutMs the error is OperationCanceledError.
    CloudReply send(const QByteArray &method, const QString &url, const QByteArray &body = {}, int timeoutMs = 10000)
    {
        QNetworkRequest request((QUrl(url)));
        request.setSslConfiguration(m_tls);
        request.setAttribute(QNetworkRequest::RedirectPolicyAttribute, QNetworkRequest::ManualRedirectPolicy);
        for (auto it = m_headers.begin(); it != m_headers.end(); ++it)
            request.setRawHeader(it.key(), it.value());
        QScopedPointer<QNetworkReply> reply(m_manager.sendCustomRequest(request, method, body));
        QEventLoop loop;
        QObject::connect(reply.data(), &QNetworkReply::finished, &loop, &QEventLoop::quit);
        QTimer::singleShot(timeoutMs, reply.data(), &QNetworkReply::abort);
        loop.exec();
        CloudReply result;
        result.status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
        result.body = reply->isOpen() ? reply->readAll() : QByteArray();
        for (const auto &header : reply->rawHeaderPairs())
            result.headers.insert(header.first, header.second);
        result.error = reply->error();
        return result;
    }
    CloudReply get(const QString &url) { return send("GET", url); }

private:
    QNetworkAccessManager m_manager;
    QSslConfiguration m_tls;
    QMap<QByteArray, QByteArray> m_headers{{"Content-Type", "application/x-www-form-urlencoded"}};
};

/// Sends \p bytes, through a tunnel if \p tunnelHost is not empty. Returns what the cloud sends until it closes the
/// connection or ten seconds have passed.
inline QByteArray rawExchange(const LocalCloud &cloud, const QByteArray &bytes, const QString &tunnelHost = {})
{
    QSslSocket socket;
    socket.setPeerVerifyMode(QSslSocket::VerifyNone);
    if (tunnelHost.isEmpty()) {
        socket.connectToHost(QHostAddress::LocalHost, cloud.port());
    } else {
        socket.setProxy(QNetworkProxy(QNetworkProxy::HttpProxy, "127.0.0.1", cloud.port()));
        socket.connectToHostEncrypted(tunnelHost, 443);
    }
    socket.write(bytes);
    QByteArray received;
    QEventLoop loop;
    QObject::connect(&socket, &QTcpSocket::readyRead, &loop, [&] { received += socket.readAll(); });
    QObject::connect(&socket, &QTcpSocket::disconnected, &loop, &QEventLoop::quit);
    QTimer::singleShot(10000, &loop, &QEventLoop::quit);
    loop.exec();
    return received;
}
