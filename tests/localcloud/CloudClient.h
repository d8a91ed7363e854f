// localcloud/CloudClient.h
//
// A client for a local cloud in the same thread.

#pragma once

#include "localcloud/LocalCloud.h"
#include "support/TestFiles.h"

#include <QtNetwork>

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

    /// Returns the status, 0 without a reply. Blocks in a nested event loop, for at most ten seconds.
    int send(const QByteArray &method, const QString &url, const QByteArray &body = {})
    {
        QNetworkRequest request((QUrl(url)));
        request.setSslConfiguration(m_tls);
        request.setAttribute(QNetworkRequest::RedirectPolicyAttribute, QNetworkRequest::ManualRedirectPolicy);
        for (auto it = m_headers.begin(); it != m_headers.end(); ++it)
            request.setRawHeader(it.key(), it.value());
        m_reply.reset(m_manager.sendCustomRequest(request, method, body));
        QEventLoop loop;
        QObject::connect(m_reply.get(), &QNetworkReply::finished, &loop, &QEventLoop::quit);
        QTimer::singleShot(10000, m_reply.get(), &QNetworkReply::abort);
        loop.exec();
        return m_reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    }
    int get(const QString &url) { return send("GET", url); }
    /// The reply to the last request.
    QNetworkReply &reply() { return *m_reply; }

private:
    QNetworkAccessManager m_manager;
    QSslConfiguration m_tls;
    QMap<QByteArray, QByteArray> m_headers{{"Content-Type", "application/x-www-form-urlencoded"}};
    std::unique_ptr<QNetworkReply> m_reply;
};
