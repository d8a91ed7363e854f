// http/simpleHttpServer.h
//
// Receives the browser's redirect at the end of an OAuth sign-in: a minimal HTTP/1.0 server on 127.0.0.1 that passes
// the authorisation code to a callback, sends a page to the browser, and stops listening.

#pragma once

#include <openkelda/KString.h>

#include <QPointer>
#include <QTcpServer>
#include <QTimer>

/// Replies only to "GET /crvn/kelda/oauth/dropbox/redirect?code=...". Other connections get no reply and do not end the
/// wait. They are closed after 30 s, after 64 KiB, and when the wait ends: with the first code, the time-out, stop() or
/// the destructor.
class SimpleHttpServer : public QTcpServer
{
    Q_OBJECT
public:
    explicit SimpleHttpServer(QObject *parent = nullptr);

    /// Sets the time-outs, in milliseconds, of servers that are created later: for the redirect (5 minutes by default)
    /// and for a connection without a reply.
    static void setDefaultTimeouts(int redirectMs, int connectionMs = 30000);

    /// \p callback is called with \p userData and the first code, as it was in the request, or with "timeout". It may
    /// be null, spin the event loop, and delete this server.
    void setCallback(void (*callback)(void *, KString &), void *userData);
    /// Starts the wait and listens on 127.0.0.1. If that fails, returns false and reports it on the host's error
    /// output; the wait then ends with "timeout".
    bool StartListenPort(unsigned short port);
    /// Ends the wait without calling the callback. Closes the port and all connections, except the connection whose
    /// code is being passed to the callback: the server still sends the page to it.
    void stop();
    /// Returns true if the server can listen on \p port. If so, stops and pauses the server.
    bool tryListen(unsigned short port);
    /// A paused server continues to listen, but closes new connections.
    void pause();
    void resume();

    /// Listens on 127.0.0.1 without a time-out. Returns false if \p port is in use or protected.
    bool internalListen(unsigned short port);

protected:
    void incomingConnection(qintptr socketDescriptor) override;

private slots:
    void serverTimeout();
    void readClient();
    void discardClient();

private:
    struct Browser;

    void endWait();
    void acceptCode(Browser *browser, const KString &code);
    void passCode();

    bool m_paused = false;
    void (*m_callback)(void *, KString &) = nullptr;
    void *m_userData = nullptr;
    bool m_codeReceived = false;
    KString m_code;              ///< received, but not yet passed to the callback
    QPointer<Browser> m_browser; ///< the connection that sent the code
    int m_connectionMs;
    QTimer m_watchdog;
};
