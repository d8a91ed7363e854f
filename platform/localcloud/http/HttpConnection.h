// localcloud/http/HttpConnection.h
//
// One client connection: reads requests (also those inside a CONNECT tunnel, which it turns into TLS itself), has them
// served one after the other, and writes the responses. It never spins the event loop.

#pragma once

#include <QFile>
#include <QObject>
#include <QSslSocket>
#include <QTimer>

#include <localcloud/http/Certificates.h>
#include <localcloud/http/HttpTypes.h>
#include <localcloud/http/RequestParser.h>
#include <memory>
#include <optional>

namespace localcloud {

/// What a connection allows its client.
struct ConnectionLimits
{
    int headBytes = 64 * 1024;
    qint64 bodyBytes = qint64(4) << 30;
    int headTimeoutMs = 30000; ///< from a head's first byte to its last
    int idleTimeoutMs = 60000; ///< without any progress, between requests and within bodies
    int lingerMs = 1000;       ///< how long input is still swallowed after a refusal
};

/// The side that connections ask for everything but bytes.
class ConnectionHost
{
public:
    virtual ~ConnectionHost() = default;
    /// The certificate for a tunnel to \p host; nothing when no service answers for that name.
    virtual std::optional<ServerIdentity> identityFor(const QString &host) = 0;
    /// Answers \p request. \p direct: it came without a proxy target, so the host name may be this machine's.
    virtual void serve(HttpRequest &request, HttpResponse &response, bool direct) = 0;
    /// The folder for large request bodies.
    virtual QString spoolFolder() const = 0;
};

class HttpConnection : public QObject
{
    Q_OBJECT
public:
    /// Takes \p socket as its child; it and the connection delete themselves when the client has gone.
    HttpConnection(QSslSocket *socket, ConnectionHost &host, const ConnectionLimits &limits, QObject *parent);

private:
    enum class State { Head, Body, Busy, Lingering };

    void onTimeout();
    void onDisconnected();
    void onBytesWritten();

    void process();
    bool takeHead();
    bool takeBody();
    void startTunnel(const RequestHead &head);
    void beginRequest(const RequestHead &head);
    void dispatch();
    void refuse(int status);
    void respond();
    void writeHead();
    QByteArray nextBytes();
    void writeMore();
    void finishResponse();
    void linger();

    QSslSocket *m_socket;
    ConnectionHost &m_host;
    ConnectionLimits m_limits;
    QTimer *m_timer;
    State m_state = State::Head;
    QByteArray m_buffer;
    RequestHead m_head;
    HttpRequest m_request;
    HttpResponse m_response;
    ChunkedDecoder m_decoder;
    QString m_tunnelHost; ///< empty outside a tunnel
    std::unique_ptr<QFile> m_file;
    qint64 m_sent = 0; ///< bytes of the body handed to the socket
    qint64 m_toSend = 0;
    bool m_chunked = false; ///< the response has no known length
    bool m_writing = false;
};

} // namespace localcloud
