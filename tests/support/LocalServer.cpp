#include "support/LocalServer.h"

namespace {

/// A self-signed certificate for localhost, and its key.
const QByteArray &identity()
{
    static const QByteArray pem = [] {
        QProcess openssl;
        openssl.start("openssl", {"req", "-x509", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:prime256v1", "-nodes",
                                  "-keyout", "/dev/stdout", "-subj", "/CN=localhost"});
        if (!openssl.waitForFinished() || openssl.exitCode() != 0)
            qFatal("no test certificate: %s", openssl.readAllStandardError().constData());
        return openssl.readAllStandardOutput();
    }();
    return pem;
}

/// Moves one request from the front of \p received to \p request. Returns false if it is not complete.
bool takeRequest(QByteArray &received, Request &request)
{
    const int bodyStart = received.indexOf("\r\n\r\n") + 4;
    if (bodyStart < 4)
        return false;
    QList<QByteArray> lines = received.left(bodyStart - 4).split('\n');
    const QList<QByteArray> words = lines.takeFirst().trimmed().split(' ');
    request.method = words.value(0);
    request.target = words.value(1);
    for (const QByteArray &line : lines) {
        const int colon = line.indexOf(':');
        request.headers.append({line.left(colon).trimmed(), line.mid(colon + 1).trimmed()});
    }
    const int length = request.header("Content-Length").toInt();
    if (received.size() - bodyStart < length)
        return false;
    request.body = received.mid(bodyStart, length);
    received.remove(0, bodyStart + length);
    return true;
}

} // namespace

QList<QByteArray> Request::headerValues(const QByteArray &name) const
{
    QList<QByteArray> values;
    for (const auto &[key, value] : headers) {
        if (key.compare(name, Qt::CaseInsensitive) == 0)
            values << value;
    }
    return values;
}

QByteArray Reply::wire() const
{
    if (!m_raw.isEmpty())
        return m_raw.left(m_limit);
    const QByteArray length = m_hasLength ? "Content-Length: " + QByteArray::number(m_body.size()) + "\r\n" : "";
    const QByteArray head = "HTTP/1.1 " + QByteArray::number(m_status) + " Status\r\n" + m_headers;
    return (head + length + "\r\n" + m_body).mid(0, m_limit);
}

QSslCertificate LocalServer::certificate()
{
    return QSslCertificate(identity());
}

LocalServer::LocalServer(Transport transport) : m_transport(transport)
{
    if (m_transport == Transport::Tls)
        identity();
    if (!listen(QHostAddress::LocalHost, 0))
        qFatal("the test server cannot listen: %s", qPrintable(errorString()));
}

Request LocalServer::lastRequest(const QByteArray &path) const
{
    Request last;
    for (const Request &request : m_requests) {
        if (request.path() == path)
            last = request;
    }
    return last;
}

void LocalServer::incomingConnection(qintptr descriptor)
{
    auto *socket = new QSslSocket(this);
    connect(socket, &QTcpSocket::disconnected, socket, &QObject::deleteLater);
    connect(socket, &QTcpSocket::readyRead, this, [this, socket, received = QByteArray()]() mutable {
        received += socket->readAll();
        Request request;
        if (takeRequest(received, request))
            answerTo(request, socket);
    });
    socket->setSocketDescriptor(descriptor);
    if (m_transport == Transport::Tls) {
        socket->setLocalCertificate(certificate());
        socket->setPrivateKey(QSslKey(identity(), QSsl::Ec));
        socket->setPeerVerifyMode(QSslSocket::VerifyNone);
        socket->startServerEncryption();
    }
}

void LocalServer::answerTo(const Request &request, QTcpSocket *socket)
{
    m_requests.append(request);
    const QByteArray key = m_answers.contains(request.target) ? request.target : request.path();
    const Reply reply = m_answers.contains(key) ? m_answers[key] : m_others(request);
    QTimer::singleShot(reply.m_delayMs, socket, [=] {
        socket->write(reply.wire());
        if (reply.m_isLast)
            socket->disconnectFromHost();
    });
}
