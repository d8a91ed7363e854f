// localcloud/http/HttpConnection.h
//
// One client connection. Reads requests, also with TLS in a CONNECT tunnel, passes them to the handler one after the
// other, and writes the responses. Does not spin the event loop.

#pragma once

#include "localcloud/http/Certificates.h"
#include "localcloud/http/HttpTypes.h"
#include "localcloud/http/RequestParser.h"

#include <QFile>
#include <QObject>
#include <QSslSocket>

#include <memory>
#include <optional>

namespace localcloud {

/// The functions of the owner that a connection calls.
class RequestHandler
{
public:
    virtual ~RequestHandler() = default;
    /// Returns the certificate for a tunnel to \p host, or an empty optional for an unknown name.
    virtual std::optional<ServerIdentity> identityFor(const QString &host) = 0;
    virtual void serve(HttpRequest &request, HttpResponse &response) = 0;
    /// Returns the folder for large request bodies.
    virtual QString uploadFolder() const = 0;
};

class HttpConnection : public QObject
{
    Q_OBJECT
public:
    /// Owns \p socket. Deletes itself when the client disconnects. \p handler must outlive the connection.
    HttpConnection(QSslSocket *socket, RequestHandler &handler, QObject *parent);

private:
    enum class State { Head, Body, Responding };

    void onDisconnected();
    void read();
    bool readHead();
    bool readBody();
    void startTunnel(const RequestHead &head);
    void beginRequest(const RequestHead &head);
    void serve();
    void refuse(int status);
    void respond();
    void writeHead();
    void writeMore();
    void endResponse();

    QSslSocket *m_socket;
    RequestHandler &m_handler;
    State m_state = State::Head;
    QByteArray m_buffer;
    RequestHead m_head;
    HttpRequest m_request;
    HttpResponse m_response;
    QString m_tunnelHost; ///< empty outside a tunnel
    std::unique_ptr<QFile> m_file;
    qint64 m_sent = 0;   ///< bytes of the body written to the socket
    qint64 m_toSend = 0; ///< total bytes of the body to send
    bool m_writing = false;
};

} // namespace localcloud
