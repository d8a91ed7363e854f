#include "CloudClient.h"

std::unique_ptr<LocalCloud> startCloud(const QString &dataDir, localcloud::SeedAmount seed)
{
    LocalCloudOptions options;
    options.dataDir = dataDir;
    options.seed = seed;
    auto cloud = std::make_unique<LocalCloud>(options);
    if (!cloud->start())
        qFatal("the local cloud cannot start");
    return cloud;
}

CloudClient::CloudClient(quint16 port, const QSslCertificate &authority)
    : m_tls(QSslConfiguration::defaultConfiguration())
{
    m_manager.setProxy(QNetworkProxy(QNetworkProxy::HttpProxy, "127.0.0.1", port));
    m_tls.setCaCertificates({authority});
}

CloudClient::CloudClient(const LocalCloud &cloud, const QString &token)
    : CloudClient(cloud.port(), cloud.caCertificate())
{
    if (!token.isEmpty())
        setToken(token);
}

CloudReply CloudClient::send(const QByteArray &method, const QString &url, const QByteArray &body, int timeoutMs)
{
    QNetworkRequest request((QUrl(url)));
    request.setSslConfiguration(m_tls);
    request.setAttribute(QNetworkRequest::RedirectPolicyAttribute, QNetworkRequest::ManualRedirectPolicy);
    for (auto it = m_headers.begin(); it != m_headers.end(); ++it)
        request.setRawHeader(it.key(), it.value());
    // A custom verb "HEAD" would wait for the body that Content-Length announces.
    QScopedPointer<QNetworkReply> reply(method == "HEAD" ? m_manager.head(request)
                                                         : m_manager.sendCustomRequest(request, method, body));
    QEventLoop loop;
    QObject::connect(reply.data(), &QNetworkReply::finished, &loop, &QEventLoop::quit);
    QTimer::singleShot(timeoutMs, reply.data(), &QNetworkReply::abort);
    loop.exec();
    CloudReply result;
    result.status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    result.body = reply->isOpen() ? reply->readAll() : QByteArray();
    result.json = QJsonDocument::fromJson(result.body).object();
    for (const auto &header : reply->rawHeaderPairs())
        result.headers.insert(header.first, header.second);
    result.error = reply->error();
    return result;
}

QByteArray rawExchange(const LocalCloud &cloud, const QByteArray &bytes, const QByteArray &last)
{
    QTcpSocket socket;
    socket.connectToHost(QHostAddress::LocalHost, cloud.port());
    socket.write(bytes);
    QByteArray received;
    QEventLoop loop;
    QObject::connect(&socket, &QTcpSocket::readyRead, &loop, [&] {
        received += socket.readAll();
        if (received.endsWith(last))
            loop.quit();
    });
    QObject::connect(&socket, &QTcpSocket::disconnected, &loop, &QEventLoop::quit);
    QTimer::singleShot(2000, &loop, &QEventLoop::quit);
    loop.exec();
    return received;
}

bool isPrivate(const QString &path)
{
    return QFile::exists(path) && !(QFile::permissions(path) & (QFile::ReadGroup | QFile::ReadOther));
}
