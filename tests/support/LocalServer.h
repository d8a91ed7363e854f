// support/LocalServer.h
//
// A small HTTP/1.1 server on 127.0.0.1 for tests, plain or TLS, with connections that stay open. It answers by script,
// misbehaves on request, and keeps every request. It lives in the test's own thread and needs its event loop.

#pragma once

#include <QByteArray>
#include <QHash>
#include <QList>
#include <QMetaType>
#include <QPair>
#include <QSslCertificate>
#include <QSslKey>
#include <QTcpServer>
#include <QVector>

#include <functional>

class QTcpSocket;

/// What the server received.
struct Request
{
    QByteArray method;
    QByteArray target;
    QList<QPair<QByteArray, QByteArray>> headers;
    QByteArray body;

    /// The target without its query.
    QByteArray path() const { return target.left(target.indexOf('?') < 0 ? target.size() : target.indexOf('?')); }
    /// Header names compare without case. All values of \p name, in order.
    QList<QByteArray> headerValues(const QByteArray &name) const;
    bool hasHeader(const QByteArray &name) const { return !headerValues(name).isEmpty(); }
    /// The first value; empty when there is none.
    QByteArray header(const QByteArray &name) const { return headerValues(name).value(0); }
};

/// What the server sends; with a Content-Length unless it is raw or without length.
class Reply
{
public:
    explicit Reply(int status = 200) : m_status(status) {}
    /// A reply that is sent as it is, head included, with "Connection: close" added; the server then closes the
    /// connection.
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
    Reply &withoutLength() { return set(m_hasLength, false).set(m_ending, Ending::Close); }
    /// Waits before the first byte, in milliseconds.
    Reply &delayed(int ms) { return set(m_delayMs, ms); }
    /// Sends that many bytes of the whole reply, then nothing more, and keeps the connection open.
    Reply &hangAfter(int bytes) { return set(m_limit, bytes).set(m_ending, Ending::Hang); }
    /// Sends that many bytes of the whole reply, then closes the connection.
    Reply &cutAfter(int bytes) { return set(m_limit, bytes).set(m_ending, Ending::Close); }

private:
    friend class LocalServer;
    enum class Ending { KeepOpen, Hang, Close };

    template <class Value>
    Reply &set(Value &member, const Value &value)
    {
        member = value;
        return *this;
    }
    /// What goes on the wire.
    QByteArray wire() const;

    int m_status;
    QByteArray m_raw;
    QByteArray m_headers;
    QByteArray m_body;
    int m_delayMs = 0;
    int m_limit = -1;
    bool m_hasLength = true;
    Ending m_ending = Ending::KeepOpen;
};

Q_DECLARE_METATYPE(Reply)

class LocalServer : public QTcpServer
{
public:
    enum class Transport { Plain, Tls };

    /// Listens at once on a free port; a server that cannot start ends the test program.
    explicit LocalServer(Transport transport = Transport::Plain);
    ~LocalServer() override;

    /// Host and port, as in a URL.
    QByteArray authority() const { return "127.0.0.1:" + QByteArray::number(serverPort()); }
    /// The certificate of the TLS servers of this process: self-signed, for 127.0.0.1 and localhost.
    static QSslCertificate certificate();

    /// Answers \p target, given with or without its query, whatever the method. Anything unknown is answered with 404.
    void answer(const QByteArray &target, const Reply &reply) { m_answers[target] = reply; }
    /// Asks \p decide for the answer to every other target.
    void answerOthers(const std::function<Reply(const Request &)> &decide) { m_others = decide; }

    const QVector<Request> &requests() const { return m_requests; }
    /// The last request for \p path, whatever its query; an empty one when there was none.
    Request lastRequest(const QByteArray &path) const;

protected:
    void incomingConnection(qintptr descriptor) override;

private:
    struct Exchange
    {
        QByteArray received;
        bool busy = false;
    };

    void readFrom(QTcpSocket *socket);
    void send(QTcpSocket *socket, const Reply &reply);

    Transport m_transport;
    QHash<QTcpSocket *, Exchange> m_exchanges;
    QHash<QByteArray, Reply> m_answers;
    std::function<Reply(const Request &)> m_others = [](const Request &) { return Reply(404).body("unexpected"); };
    QVector<Request> m_requests;
};
