#include "CloudClient.h"
#include <QDir>
#include <QEventLoop>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QNetworkProxy>
#include <QSslConfiguration>
#include <QTest>

QByteArray CloudReply::header(const QByteArray &name) const
{
    for (const auto &entry : headers) {
        if (entry.first.toLower() == name.toLower())
            return entry.second;
    }
    return {};
}

QJsonObject CloudReply::json() const
{
    return QJsonDocument::fromJson(body).object();
}

CloudClient::CloudClient(const LocalCloud &cloud) : m_authority(cloud.caCertificate())
{
    m_manager.setProxy(QNetworkProxy(QNetworkProxy::HttpProxy, QStringLiteral("127.0.0.1"), cloud.port()));
}

CloudReply CloudClient::send(const QByteArray &method, const QString &url, const QByteArray &body, int timeoutMs)
{
    QNetworkRequest request((QUrl(url)));
    QSslConfiguration tls = QSslConfiguration::defaultConfiguration();
    tls.setCaCertificates(m_trusted ? QList<QSslCertificate>{m_authority} : QList<QSslCertificate>{});
    request.setSslConfiguration(tls);
    request.setAttribute(QNetworkRequest::RedirectPolicyAttribute, QNetworkRequest::ManualRedirectPolicy);
    request.setHeader(QNetworkRequest::ContentTypeHeader, "application/octet-stream");
    for (auto it = m_headers.begin(); it != m_headers.end(); ++it)
        request.setRawHeader(it.key(), it.value());
    // A custom verb "HEAD" would wait for the body that Content-Length announces.
    QScopedPointer<QNetworkReply> reply(method == "HEAD" ? m_manager.head(request)
                                                         : m_manager.sendCustomRequest(request, method, body));
    QEventLoop loop;
    QObject::connect(reply.data(), &QNetworkReply::finished, &loop, &QEventLoop::quit);
    QTimer::singleShot(timeoutMs, reply.data(), &QNetworkReply::abort);
    loop.exec();
    return {reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt(),
            reply->isOpen() ? reply->readAll() : QByteArray(), reply->rawHeaderPairs(), reply->error()};
}

QByteArray rawExchange(const LocalCloud &cloud, const QByteArray &bytes, const QByteArray &last)
{
    QTcpSocket socket;
    socket.connectToHost(QHostAddress::LocalHost, cloud.port());
    socket.write(bytes);
    QByteArray received;
    [[maybe_unused]] const bool ended = QTest::qWaitFor(
        [&] {
            received += socket.readAll();
            return socket.state() == QAbstractSocket::UnconnectedState || received.endsWith(last);
        },
        2000);
    return received;
}

bool writeFile(const QString &path, const QByteArray &bytes)
{
    QFile file(path);
    return QDir().mkpath(QFileInfo(path).path()) && file.open(QIODevice::WriteOnly) &&
           file.write(bytes) == bytes.size();
}

QByteArray readFile(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}
