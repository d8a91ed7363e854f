#include "localcloud/http/HttpConnection.h"

#include <QTimer>

#include <algorithm>

namespace localcloud {

namespace {

constexpr int kMaxHeadBytes = 64 * 1024;
constexpr qint64 kReadBuffer = 256LL * 1024;
constexpr qint64 kWriteAhead = 256LL * 1024;
constexpr qint64 kSlice = 64LL * 1024;

QByteArray singleLine(QByteArray value)
{
    return value.replace('\r', "").replace('\n', "").replace('\0', "");
}

} // namespace

HttpConnection::HttpConnection(QSslSocket *socket, RequestHandler &handler, QObject *parent)
    : QObject(parent), m_socket(socket), m_handler(handler)
{
    m_socket->setParent(this);
    m_socket->setReadBufferSize(kReadBuffer);
    m_socket->setSocketOption(QAbstractSocket::LowDelayOption, 1);
    connect(m_socket, &QSslSocket::readyRead, this, &HttpConnection::read);
    connect(m_socket, &QSslSocket::bytesWritten, this, &HttpConnection::writeMore);
    connect(m_socket, &QSslSocket::encryptedBytesWritten, this, &HttpConnection::writeMore);
    connect(m_socket, &QSslSocket::disconnected, this, &HttpConnection::onDisconnected);
}

void HttpConnection::onDisconnected()
{
    m_state = State::Responding;
    m_writing = false;
    deleteLater();
}

void HttpConnection::read()
{
    bool progress = true;
    while (progress && m_state != State::Responding) {
        const QByteArray bytes = m_socket->read(kSlice);
        m_buffer += bytes;
        progress = (m_state == State::Head ? readHead() : readBody()) || !bytes.isEmpty();
    }
}

/// Returns false if more bytes are needed.
bool HttpConnection::readHead()
{
    const int length = headLength(m_buffer);
    if (length > kMaxHeadBytes || (length < 0 && m_buffer.size() > kMaxHeadBytes)) {
        refuse(431);
        return true;
    }
    if (length < 0)
        return false;
    const RequestHead head = parseHead(m_buffer.left(length));
    m_buffer.remove(0, length);
    if (head.status != 0)
        refuse(head.status);
    else if (head.isConnect())
        startTunnel(head);
    else
        beginRequest(head);
    return true;
}

void HttpConnection::startTunnel(const RequestHead &head)
{
    const QString host = hostOf(head.authority);
    if (!m_tunnelHost.isEmpty() || !m_buffer.isEmpty()) {
        refuse(400);
        return;
    }
    const auto identity = m_handler.identityFor(host);
    if (!identity) {
        refuse(502);
        return;
    }
    m_tunnelHost = host;
    m_socket->write("HTTP/1.1 200 Connection established\r\n\r\n");
    m_socket->setPeerVerifyMode(QSslSocket::VerifyNone);
    m_socket->setPrivateKey(identity->key);
    m_socket->setLocalCertificate(identity->certificate);
    m_socket->startServerEncryption();
}

void HttpConnection::beginRequest(const RequestHead &head)
{
    m_head = head;
    m_response = HttpResponse();
    m_request = HttpRequest();
    m_request.method = head.method;
    m_request.host = m_tunnelHost.isEmpty() ? hostOf(head.authority) : m_tunnelHost;
    m_request.path = head.path;
    m_request.query = head.query;
    m_request.headers = head.headers;
    m_request.tls = !m_tunnelHost.isEmpty();
    m_request.hasLength = head.hasLength;
    m_request.body = RequestBody(m_handler.uploadFolder());
    if (head.expectContinue)
        m_socket->write("HTTP/1.1 100 Continue\r\n\r\n");
    m_state = State::Body;
}

/// Returns false if more bytes are needed.
bool HttpConnection::readBody()
{
    const qint64 left = m_head.contentLength - m_request.body.size();
    const QByteArray bytes = m_buffer.left(static_cast<int>(std::min<qint64>(left, m_buffer.size())));
    m_buffer.remove(0, bytes.size());
    if (!bytes.isEmpty() && !m_request.body.append(bytes)) {
        refuse(507);
        return true;
    }
    const bool isComplete = m_request.body.size() == m_head.contentLength;
    if (isComplete)
        serve();
    return isComplete;
}

void HttpConnection::serve()
{
    m_state = State::Responding;
    m_handler.serve(m_request, m_response);
    if (m_response.hang)
        return;
    if (m_response.delayMs > 0)
        QTimer::singleShot(m_response.delayMs, Qt::PreciseTimer, this, &HttpConnection::respond);
    else
        respond();
}

void HttpConnection::refuse(int status)
{
    m_state = State::Responding;
    m_head.keepAlive = false;
    m_response = HttpResponse();
    m_response.setText(status, reasonPhrase(status));
    respond();
}

void HttpConnection::respond()
{
    if (m_response.garbage) {
        m_socket->write(QByteArray("\x00\xff\x7fnot HTTP\r\n\r\n\x01", 16).repeated(8));
        m_socket->disconnectFromHost();
        return;
    }
    if (!m_response.file.isEmpty()) {
        m_file = std::make_unique<QFile>(m_response.file);
        if (!m_file->open(QIODevice::ReadOnly))
            m_response.setText(500, "The file cannot be read.");
    }
    m_sent = 0;
    m_toSend = m_response.length();
    if (m_response.cutAfter >= 0)
        m_toSend = std::min(m_toSend, m_response.cutAfter);
    if (m_response.noLength || m_response.cutAfter >= 0)
        m_head.keepAlive = false;
    writeHead();
    m_writing = true;
    writeMore();
}

void HttpConnection::writeHead()
{
    QByteArray text =
        "HTTP/1.1 " + QByteArray::number(m_response.status) + ' ' + reasonPhrase(m_response.status) + "\r\n";
    for (const auto &[name, value] : qAsConst(m_response.headers))
        text += singleLine(name) + ": " + singleLine(value) + "\r\n";
    if (!m_response.noLength && m_response.status != 204)
        text += "Content-Length: " + QByteArray::number(m_response.length()) + "\r\n";
    text += m_head.keepAlive ? "Connection: keep-alive\r\n\r\n" : "Connection: close\r\n\r\n";
    m_socket->write(text);
}

void HttpConnection::writeMore()
{
    while (m_writing && m_sent < m_toSend &&
           m_socket->bytesToWrite() + m_socket->encryptedBytesToWrite() < kWriteAhead) {
        const qint64 count = std::min(kSlice, m_toSend - m_sent);
        const QByteArray bytes = m_response.file.isEmpty()
                                     ? m_response.body.mid(static_cast<int>(m_sent), static_cast<int>(count))
                                     : m_file->read(count);
        if (bytes.isEmpty()) { // the file has become shorter than the announced length
            m_socket->abort();
            return;
        }
        m_sent += bytes.size();
        m_socket->write(bytes);
    }
    if (m_writing && m_sent == m_toSend)
        endResponse();
}

void HttpConnection::endResponse()
{
    m_writing = false;
    m_file.reset();
    if (!m_head.keepAlive) {
        m_socket->disconnectFromHost();
        return;
    }
    m_state = State::Head;
    QMetaObject::invokeMethod(this, &HttpConnection::read, Qt::QueuedConnection); // a request may be in the buffer
}

} // namespace localcloud

#include "moc_HttpConnection.cpp"
