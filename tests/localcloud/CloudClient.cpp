#include "CloudClient.h"

CloudClient::CloudClient(quint16 port, const QSslCertificate &authority)
    : m_tls(QSslConfiguration::defaultConfiguration())
{
    m_manager.setProxy(QNetworkProxy(QNetworkProxy::HttpProxy, "127.0.0.1", port));
    m_tls.setCaCertificates({authority});
}

CloudReply CloudClient::send(const QByteArray &method, const QString &url, const QByteArray &body, int timeoutMs)
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

QByteArray rawExchange(const LocalCloud &cloud, const QByteArray &bytes, const QString &tunnelHost)
{
    QSslSocket socket;
    if (tunnelHost.isEmpty()) {
        socket.connectToHost(QHostAddress::LocalHost, cloud.port());
    } else {
        socket.setProxy(QNetworkProxy(QNetworkProxy::HttpProxy, "127.0.0.1", cloud.port()));
        socket.setPeerVerifyMode(QSslSocket::VerifyNone);
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

bool isPrivate(const QString &path)
{
    return QFile::exists(path) && !(QFile::permissions(path) & (QFile::ReadGroup | QFile::ReadOther));
}
