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

QByteArray inChunks(const QByteArray &body)
{
    constexpr int chunkBytes = 1000;
    QByteArray wire;
    for (int at = 0; at < body.size(); at += chunkBytes) {
        const QByteArray chunk = body.mid(at, chunkBytes);
        wire += QByteArray::number(chunk.size(), 16) + "\r\n" + chunk + "\r\n";
    }
    return wire + "0\r\n\r\n";
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

Reply &Reply::raw(const QByteArray &bytes)
{
    m_isRaw = true;
    m_raw = bytes;
    return *this;
}

Reply &Reply::chunked()
{
    m_chunked = true;
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

Reply &Reply::pieces(int bytes, int ms)
{
    m_pieceBytes = bytes;
    m_pieceMs = ms;
    return *this;
}

Reply &Reply::closing()
{
    m_ending = Ending::Close;
    return header("Connection", "close");
}

QByteArray Reply::wire(bool withBody) const
{
    if (m_isRaw)
        return m_raw;
    QByteArray head = "HTTP/1.1 " + QByteArray::number(m_status) + " Status\r\n";
    bool hasLength = false;
    for (const auto &[name, value] : m_headers) {
        head += name + ": " + value + "\r\n";
        hasLength = hasLength || name.compare("Content-Length", Qt::CaseInsensitive) == 0;
    }
    if (m_chunked)
        head += "Transfer-Encoding: chunked\r\n";
    else if (!hasLength)
        head += "Content-Length: " + QByteArray::number(m_body.size()) + "\r\n";
    head += "\r\n";
    if (!withBody)
        return head;
    return head + (m_chunked ? inChunks(m_body) : m_body);
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
    dropConnections();
}

QSslCertificate LocalServer::certificate()
{
    return identity().certificate;
}

void LocalServer::answer(const QByteArray &target, const Reply &reply)
{
    answer(target, [reply](const Request &) { return reply; });
}

void LocalServer::answer(const QByteArray &target, std::function<Reply(const Request &)> reply)
{
    m_answers[target].append(std::move(reply));
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

void LocalServer::dropConnections()
{
    const QList<QTcpSocket *> sockets = m_exchanges.keys();
    for (QTcpSocket *socket : sockets)
        socket->abort();
}

void LocalServer::incomingConnection(qintptr descriptor)
{
    auto *socket = new QSslSocket(this);
    ++m_connections;
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
    respond(socket, request);
}

Reply LocalServer::replyTo(const Request &request)
{
    const QByteArray key = m_answers.contains(request.target) ? request.target : request.path();
    const auto found = m_answers.find(key);
    if (found == m_answers.end()) {
        ++m_unexpected;
        return Reply(404).body("unexpected");
    }
    const auto make = found->size() > 1 ? found->takeFirst() : found->first();
    return make(request);
}

void LocalServer::respond(QTcpSocket *socket, const Request &request)
{
    const Reply reply = replyTo(request);
    QByteArray bytes = reply.wire(request.method != "HEAD");
    if (reply.m_limit >= 0)
        bytes.truncate(reply.m_limit);
    if (reply.m_delayMs == 0)
        send(socket, reply, bytes);
    else
        QTimer::singleShot(reply.m_delayMs, socket, [=] { send(socket, reply, bytes); });
}

void LocalServer::send(QTcpSocket *socket, const Reply &reply, const QByteArray &bytes)
{
    if (reply.m_pieceBytes > 0) {
        sendPieces(socket, reply, bytes);
        return;
    }
    socket->write(bytes);
    ended(socket, reply);
}

void LocalServer::sendPieces(QTcpSocket *socket, const Reply &reply, QByteArray rest)
{
    socket->write(rest.left(reply.m_pieceBytes));
    rest.remove(0, reply.m_pieceBytes);
    if (rest.isEmpty())
        ended(socket, reply);
    else
        QTimer::singleShot(reply.m_pieceMs, socket, [=] { sendPieces(socket, reply, rest); });
}

void LocalServer::ended(QTcpSocket *socket, const Reply &reply)
{
    if (reply.m_ending == Reply::Ending::Hang)
        return;
    if (reply.m_ending == Reply::Ending::Close) {
        socket->disconnectFromHost();
        return;
    }
    m_exchanges[socket].busy = false;
    if (!m_exchanges[socket].received.isEmpty())
        QTimer::singleShot(0, socket, [=] { readFrom(socket); });
}
