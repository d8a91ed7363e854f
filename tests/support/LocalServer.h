// support/LocalServer.h
//
// A small HTTP/1.1 server on 127.0.0.1 for tests, plain or TLS, with persistent connections. It sends prepared replies,
// faulty ones included, and records every request. It runs in the thread of the test and needs its event loop.

#pragma once

#include <QtNetwork>

#include <functional>

/// A request that the server received.
struct Request
{
    QByteArray method;
    QByteArray target;
    QList<QPair<QByteArray, QByteArray>> headers;
    QByteArray body;

    /// The target without its query.
    QByteArray path() const { return target.left(target.indexOf('?') < 0 ? target.size() : target.indexOf('?')); }
    /// All values of \p name in order. The case of header names is ignored.
    QList<QByteArray> headerValues(const QByteArray &name) const;
    bool hasHeader(const QByteArray &name) const { return !headerValues(name).isEmpty(); }
    /// The first value, or empty.
    QByteArray header(const QByteArray &name) const { return headerValues(name).value(0); }
};

/// A reply to send, with a Content-Length unless it is raw or without length.
class Reply
{
public:
    explicit Reply(int status = 200) : m_status(status) {}
    /// A reply that is given whole, head included. The server adds "Connection: close" and closes the connection.
    static Reply raw(const QByteArray &wire)
    {
        Reply reply;
        reply.m_raw = wire;
        reply.m_raw.insert(wire.indexOf("\r\n") + 2, "Connection: close\r\n");
        return reply.cutAfter(reply.m_raw.size());
    }

    int status() const { return m_status; }
    Reply &header(const QByteArray &name, const QByteArray &value)
    {
        return set(m_headers, m_headers + name + ": " + value + "\r\n");
    }
    Reply &location(const QByteArray &target) { return header("Location", target); }
    Reply &body(const QByteArray &bytes) { return set(m_body, bytes); }
    /// Sends no Content-Length: the body ends when the connection does.
    Reply &withoutLength() { return set(m_hasLength, false).set(m_isLast, true); }
    /// Delays the first byte by \p ms milliseconds.
    Reply &delayed(int ms) { return set(m_delayMs, ms); }
    /// Sends the first \p bytes of the reply, head included, and keeps the connection open.
    Reply &hangAfter(int bytes) { return set(m_limit, bytes); }
    /// Sends the first \p bytes of the reply, head included, and closes the connection.
    Reply &cutAfter(int bytes) { return set(m_limit, bytes).set(m_isLast, true); }

private:
    friend class LocalServer;

    template <class Value>
    Reply &set(Value &member, const Value &value)
    {
        member = value;
        return *this;
    }
    QByteArray wire() const;

    int m_status;
    QByteArray m_raw;
    QByteArray m_headers;
    QByteArray m_body;
    int m_delayMs = 0;
    int m_limit = -1;
    bool m_hasLength = true;
    bool m_isLast = false; ///< closes the connection
};

Q_DECLARE_METATYPE(Reply)

class LocalServer : public QTcpServer
{
public:
    enum class Transport { Plain, Tls };

    /// Listens on a free port. A server that cannot start ends the test program.
    explicit LocalServer(Transport transport = Transport::Plain);

    /// Returns the certificate of all servers with TLS, which is self-signed and for localhost.
    static QSslCertificate certificate();
    /// Host and port, as in a URL.
    QByteArray authority() const { return "127.0.0.1:" + QByteArray::number(serverPort()); }

    /// Sends \p reply for \p target (with or without its query) and any method. Other targets get 404.
    void answer(const QByteArray &target, const Reply &reply) { m_answers[target] = reply; }
    /// Calls \p decide for the reply to every other target.
    void answerOthers(const std::function<Reply(const Request &)> &decide) { m_others = decide; }

    const QVector<Request> &requests() const { return m_requests; }
    /// The last request for \p path with any query, or an empty request.
    Request lastRequest(const QByteArray &path) const;

protected:
    void incomingConnection(qintptr descriptor) override;

private:
    void answerTo(const Request &request, QTcpSocket *socket);

    Transport m_transport;
    QHash<QByteArray, Reply> m_answers;
    std::function<Reply(const Request &)> m_others = [](const Request &) { return Reply(404).body("unexpected"); };
    QVector<Request> m_requests;
};
