// localcloud/CloudClient.h
//
// A client for a local cloud in the same thread.

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

    /// Blocks in a nested event loop, for at most ten seconds.
    CloudReply send(const QByteArray &method, const QString &url, const QByteArray &body = {})
    {
        QNetworkRequest request((QUrl(url)));
        request.setSslConfiguration(m_tls);
        request.setAttribute(QNetworkRequest::RedirectPolicyAttribute, QNetworkRequest::ManualRedirectPolicy);
        for (auto it = m_headers.begin(); it != m_headers.end(); ++it)
            request.setRawHeader(it.key(), it.value());
        QScopedPointer<QNetworkReply> reply(m_manager.sendCustomRequest(request, method, body));
        QEventLoop loop;
        QObject::connect(reply.data(), &QNetworkReply::finished, &loop, &QEventLoop::quit);
        QTimer::singleShot(10000, reply.data(), &QNetworkReply::abort);
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
