#include "support/LocalServer.h"

#include <QFile>
#include <QPointer>
#include <QProcess>
#include <QSslSocket>
#include <QTcpSocket>
#include <QTemporaryDir>
#include <QTimer>

namespace {

struct Identity
{
    QSslCertificate certificate;
    QSslKey key;
};

QByteArray fileContent(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

Identity makeIdentity()
{
    const QTemporaryDir folder;
    const QString key = folder.filePath(QStringLiteral("key.pem"));
    const QString certificate = folder.filePath(QStringLiteral("certificate.pem"));
    QProcess openssl;
    openssl.start(QStringLiteral("openssl"),
                  {"req", "-x509", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:prime256v1", "-nodes", "-keyout",
                   key, "-out", certificate, "-days", "2", "-subj", "/CN=localhost", "-addext",
                   "subjectAltName=IP:127.0.0.1,DNS:localhost"});
    if (!openssl.waitForFinished() || openssl.exitCode() != 0)
        qFatal("no test certificate: %s", openssl.readAllStandardError().constData());
    return {QSslCertificate(fileContent(certificate)), QSslKey(fileContent(key), QSsl::Ec)};
}

const Identity &identity()
{
    static const Identity made = makeIdentity();
    return made;
}

/// Takes one request from the front of \p received; false while it is not complete.
bool takeRequest(QByteArray &received, Request &request)
{
    const int end = received.indexOf("\r\n\r\n");
    if (end < 0)
        return false;
    QList<QByteArray> lines = received.left(end).split('\n');
    const QList<QByteArray> words = lines.takeFirst().trimmed().split(' ');
    request.method = words.value(0);
    request.target = words.value(1);
    for (const QByteArray &line : lines) {
        const int colon = line.indexOf(':');
        request.headers.append({line.left(colon).trimmed(), line.mid(colon + 1).trimmed()});
    }
    const int length = request.header("Content-Length").toInt();
    const int bodyStart = end + 4;
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

Reply &Reply::header(const QByteArray &name, const QByteArray &value)
{
    m_headers.append({name, value});
    return *this;
}

Reply &Reply::body(const QByteArray &bytes)
{
    m_body = bytes;
    return *this;
}

Reply &Reply::delayed(int ms)
{
    m_delayMs = ms;
    return *this;
}

Reply &Reply::hangAfter(int bytes)
{
    m_limit = bytes;
    m_ending = Ending::Hang;
    return *this;
}

Reply &Reply::cutAfter(int bytes)
{
    m_limit = bytes;
    m_ending = Ending::Close;
    return *this;
}

QByteArray Reply::wire() const
{
    QByteArray head = "HTTP/1.1 " + QByteArray::number(m_status) + " Status\r\n";
    bool hasLength = false;
    for (const auto &[name, value] : m_headers) {
        head += name + ": " + value + "\r\n";
        hasLength = hasLength || name.compare("Content-Length", Qt::CaseInsensitive) == 0;
    }
    if (!hasLength)
        head += "Content-Length: " + QByteArray::number(m_body.size()) + "\r\n";
    return (head + "\r\n" + m_body).mid(0, m_limit);
}

LocalServer::LocalServer(Transport transport) : m_transport(transport)
{
    if (m_transport == Transport::Tls)
        identity();
    if (!listen(QHostAddress::LocalHost, 0))
        qFatal("the test server cannot listen: %s", qPrintable(errorString()));
}

LocalServer::~LocalServer()
{
    const QList<QTcpSocket *> sockets = m_exchanges.keys();
    for (QTcpSocket *socket : sockets)
        socket->abort();
}

QSslCertificate LocalServer::certificate()
{
    return identity().certificate;
}

int LocalServer::count(const QByteArray &path) const
{
    int found = 0;
    for (const Request &request : m_requests)
        found += request.path() == path ? 1 : 0;
    return found;
}

Request LocalServer::lastRequest(const QByteArray &path) const
{
    for (auto request = m_requests.crbegin(); request != m_requests.crend(); ++request) {
        if (request->path() == path)
            return *request;
    }
    return Request();
}

void LocalServer::incomingConnection(qintptr descriptor)
{
    auto *socket = new QSslSocket(this);
    m_exchanges.insert(socket, Exchange());
    connect(socket, &QTcpSocket::readyRead, this, [this, socket] { readFrom(socket); });
    connect(socket, &QTcpSocket::disconnected, this, [this, socket] {
        m_exchanges.remove(socket);
        socket->deleteLater();
    });
    socket->setSocketDescriptor(descriptor);
    if (m_transport == Transport::Tls) {
        socket->setLocalCertificate(identity().certificate);
        socket->setPrivateKey(identity().key);
        socket->setPeerVerifyMode(QSslSocket::VerifyNone);
        socket->startServerEncryption();
    }
}

void LocalServer::readFrom(QTcpSocket *socket)
{
    const auto exchange = m_exchanges.find(socket);
    if (exchange == m_exchanges.end())
        return;
    exchange->received += socket->readAll();
    Request request;
    if (exchange->busy || !takeRequest(exchange->received, request))
        return;
    exchange->busy = true;
    m_requests.append(request);
    const Reply reply = replyTo(request);
    QTimer::singleShot(reply.m_delayMs, socket, [=] { send(socket, reply); });
}

Reply LocalServer::replyTo(const Request &request)
{
    const QByteArray key = m_answers.contains(request.target) ? request.target : request.path();
    const auto found = m_answers.find(key);
    if (found == m_answers.end())
        return Reply(404).body("unexpected");
    return found->size() > 1 ? found->takeFirst() : found->first();
}

void LocalServer::send(QTcpSocket *socket, const Reply &reply)
{
    if (!m_exchanges.contains(socket))
        return;
    socket->write(reply.wire());
    if (reply.m_ending == Reply::Ending::Hang)
        return;
    if (reply.m_ending == Reply::Ending::Close) {
        socket->disconnectFromHost();
        return;
    }
    m_exchanges[socket].busy = false;
    readFrom(socket);
}
