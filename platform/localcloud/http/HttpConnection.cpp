#include <QDateTime>

#include <algorithm>
#include <limits>
#include <localcloud/http/HttpConnection.h>
#include <utility>

namespace localcloud {

namespace {

constexpr qint64 kReadBuffer = 256LL * 1024;
constexpr qint64 kWriteAhead = 256LL * 1024;
constexpr qint64 kWriteSlice = 64LL * 1024;

QByteArray singleLine(QByteArray value)
{
    return value.replace('\r', "").replace('\n', "").replace('\0', "");
}

} // namespace

HttpConnection::HttpConnection(QSslSocket *socket, ConnectionHost &host, const ConnectionLimits &limits,
                               QObject *parent)
    : QObject(parent), m_socket(socket), m_host(host), m_limits(limits), m_timer(new QTimer(this))
{
    m_socket->setParent(this);
    m_socket->setReadBufferSize(kReadBuffer);
    m_socket->setSocketOption(QAbstractSocket::LowDelayOption, 1);
    m_timer->setSingleShot(true);
    m_timer->start(m_limits.idleTimeoutMs);
    connect(m_timer, &QTimer::timeout, this, &HttpConnection::onTimeout);
    connect(m_socket, &QSslSocket::readyRead, this, &HttpConnection::process);
    connect(m_socket, &QSslSocket::bytesWritten, this, &HttpConnection::onBytesWritten);
    connect(m_socket, &QSslSocket::encryptedBytesWritten, this, &HttpConnection::onBytesWritten);
    connect(m_socket, &QSslSocket::disconnected, this, &HttpConnection::onDisconnected);
}

void HttpConnection::onDisconnected()
{
    m_timer->stop();
    m_state = State::Busy;
    deleteLater();
}

void HttpConnection::onTimeout()
{
    if (m_state == State::Body || (m_state == State::Head && !m_buffer.isEmpty()))
        refuse(408);
    else
        m_socket->abort();
}

void HttpConnection::process()
{
    for (bool progress = true; progress && m_state != State::Busy;) {
        if (m_socket->bytesAvailable() > 0 && m_buffer.size() < kReadBuffer) {
            if (m_state == State::Body || (m_state == State::Head && m_buffer.isEmpty()))
                m_timer->start(m_state == State::Head ? m_limits.headTimeoutMs : m_limits.idleTimeoutMs);
            m_buffer += m_socket->read(kWriteSlice);
        }
        if (m_state == State::Lingering) {
            m_buffer.clear();
            progress = m_socket->bytesAvailable() > 0;
        } else {
            progress = m_state == State::Head ? takeHead() : takeBody();
        }
    }
}

bool HttpConnection::takeHead()
{
    int blank = 0;
    while (blank < m_buffer.size() && (m_buffer[blank] == '\r' || m_buffer[blank] == '\n'))
        ++blank;
    m_buffer.remove(0, blank);
    const int length = headLength(m_buffer);
    if (length < 0 && m_buffer.size() <= m_limits.headBytes)
        return m_socket->bytesAvailable() > 0;
    if (length < 0 || length > m_limits.headBytes) {
        refuse(431);
        return true;
    }
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
    const auto identity = m_host.identityFor(host);
    if (!identity) {
        refuse(502);
        return;
    }
    m_tunnelHost = host;
    m_timer->start(m_limits.idleTimeoutMs);
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
    m_decoder = ChunkedDecoder();
    m_request = HttpRequest();
    m_request.method = head.method;
    m_request.host = m_tunnelHost.isEmpty() ? hostOf(head.authority) : m_tunnelHost;
    m_request.path = head.path;
    m_request.query = head.query;
    m_request.headers = head.headers;
    m_request.tls = !m_tunnelHost.isEmpty();
    m_request.hasLength = head.hasLength;
    m_request.body = RequestBody(m_host.spoolFolder());
    if (head.contentLength > m_limits.bodyBytes) {
        refuse(413);
        return;
    }
    if (head.expectContinue && head.hasLength)
        m_socket->write("HTTP/1.1 100 Continue\r\n\r\n");
    m_state = State::Body;
    m_timer->start(m_limits.idleTimeoutMs);
}

bool HttpConnection::takeBody()
{
    QByteArray bytes;
    if (m_head.chunked) {
        if (!m_decoder.feed(m_buffer, bytes)) {
            refuse(400);
            return true;
        }
    } else {
        const qint64 left = m_head.contentLength - m_request.body.size();
        const int count = static_cast<int>(std::min<qint64>(left, m_buffer.size()));
        bytes = m_buffer.left(count);
        m_buffer.remove(0, count);
    }
    if (m_request.body.size() + bytes.size() > m_limits.bodyBytes) {
        refuse(413);
        return true;
    }
    if (!bytes.isEmpty() && !m_request.body.append(bytes)) {
        refuse(507);
        return true;
    }
    const bool done = m_head.chunked ? m_decoder.isDone() : m_request.body.size() == m_head.contentLength;
    if (done)
        dispatch();
    return done || m_socket->bytesAvailable() > 0;
}

void HttpConnection::dispatch()
{
    m_state = State::Busy;
    m_timer->stop();
    m_host.serve(m_request, m_response, m_tunnelHost.isEmpty() && !m_head.absolute);
    if (m_response.hang)
        return;
    if (m_response.delayMs > 0)
        QTimer::singleShot(m_response.delayMs, Qt::PreciseTimer, this, &HttpConnection::respond);
    else
        respond();
}

void HttpConnection::refuse(int status)
{
    m_state = State::Busy;
    m_head.keepAlive = false;
    m_head.method = "GET";
    m_request = HttpRequest();
    m_response = HttpResponse();
    m_response.set(status, "text/plain", reasonPhrase(status) + '\n');
    respond();
}

void HttpConnection::respond()
{
    m_timer->start(m_limits.idleTimeoutMs);
    if (m_response.garbage) {
        m_socket->write(QByteArray("\x00\xff\x7f"
                                   "this is no HTTP\r\n\r\n\x01",
                                   24)
                            .repeated(8));
        linger();
        return;
    }
    m_file.reset();
    if (!m_response.file.isEmpty()) {
        m_file = std::make_unique<QFile>(m_response.file);
        if (!m_file->open(QIODevice::ReadOnly) || !m_file->seek(m_response.fileOffset)) {
            m_file.reset();
            m_response.set(500, "text/plain", "The file cannot be read.\n");
        }
    }
    m_sent = 0;
    const bool bodyless = m_head.method == "HEAD" || m_response.status == 304 || m_response.status == 204;
    m_chunked = m_response.source && !m_head.oldVersion;
    m_toSend = m_response.source ? std::numeric_limits<qint64>::max() : m_response.length();
    if (bodyless)
        m_toSend = 0;
    else if (m_response.noLength || (m_response.source && !m_chunked))
        m_head.keepAlive = false; // the end of the connection is the end of the body
    if (m_response.cutAfter >= 0) {
        m_toSend = std::min(m_toSend, m_response.cutAfter);
        m_head.keepAlive = false;
    }
    writeHead();
    m_writing = true;
    writeMore();
}

void HttpConnection::writeHead()
{
    QByteArray text =
        "HTTP/1.1 " + QByteArray::number(m_response.status) + ' ' + reasonPhrase(m_response.status) + "\r\n";
    for (const auto &entry : std::as_const(m_response.headers))
        text += singleLine(entry.first) + ": " + singleLine(entry.second) + "\r\n";
    if (m_chunked)
        text += "Transfer-Encoding: chunked\r\n";
    else if (!m_response.source && !m_response.noLength && m_response.status != 304 && m_response.status != 204)
        text += "Content-Length: " + QByteArray::number(m_response.length()) + "\r\n";
    text += "Date: " + httpDate(QDateTime::currentSecsSinceEpoch()) + "\r\nServer: localcloud\r\n";
    text += m_head.keepAlive ? "Connection: keep-alive\r\n\r\n" : "Connection: close\r\n\r\n";
    m_socket->write(text);
}

void HttpConnection::onBytesWritten()
{
    if (m_state == State::Busy && m_writing) {
        m_timer->start(m_limits.idleTimeoutMs);
        writeMore();
    }
}

QByteArray HttpConnection::nextBytes()
{
    if (m_response.source)
        return m_response.source().left(
            static_cast<int>(std::min<qint64>(m_toSend - m_sent, std::numeric_limits<int>::max())));
    const qint64 count = std::min(kWriteSlice, m_toSend - m_sent);
    return m_file ? m_file->read(count) : m_response.body.mid(static_cast<int>(m_sent), static_cast<int>(count));
}

void HttpConnection::writeMore()
{
    while (m_sent < m_toSend && m_socket->bytesToWrite() + m_socket->encryptedBytesToWrite() < kWriteAhead) {
        const QByteArray bytes = nextBytes();
        if (bytes.isEmpty() && !m_response.source) { // the file became shorter: the announced length cannot be kept
            m_socket->abort();
            return;
        }
        m_socket->write(m_chunked ? QByteArray::number(bytes.size(), 16) + "\r\n" + bytes + "\r\n" : bytes);
        m_sent += bytes.size();
        if (bytes.isEmpty())
            m_toSend = m_sent;
    }
    if (m_writing && m_sent == m_toSend)
        finishResponse();
}

void HttpConnection::finishResponse()
{
    m_writing = false;
    m_file.reset();
    m_response.source = nullptr;
    if (!m_head.keepAlive) {
        linger();
        return;
    }
    m_state = State::Head;
    m_timer->start(m_limits.idleTimeoutMs);
    QMetaObject::invokeMethod(this, &HttpConnection::process, Qt::QueuedConnection);
}

void HttpConnection::linger()
{
    m_state = State::Lingering;
    if (!m_request.method.isEmpty()) {
        m_socket->disconnectFromHost(); // after everything has been written
        return;
    }
    // A refused client may still be sending; a reset would take the answer from it, so its input is swallowed for a
    // while.
    m_timer->start(m_limits.lingerMs);
    QMetaObject::invokeMethod(this, &HttpConnection::process, Qt::QueuedConnection);
}

} // namespace localcloud
