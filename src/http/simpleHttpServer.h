// http/simpleHttpServer.h
//
// Receives the browser's redirect at the end of an OAuth sign-in: a minimal HTTP/1.0 server on 127.0.0.1 that hands the
// authorisation code to a call-back, answers the browser with a page, and stops listening.

#pragma once

#include <openkelda/KString.h>

#include <QPointer>
#include <QTcpServer>
#include <QTimer>

/// Answers only "GET /crvn/kelda/oauth/dropbox/redirect?code=...". Every other connection gets no answer and does not
/// end the wait. It is closed after 30 s or 64 KiB, and when the wait ends: by the first code, the time-out, stop() or
/// the destructor.
class SimpleHttpServer : public QTcpServer
{
    Q_OBJECT
public:
    explicit SimpleHttpServer(QObject *parent = nullptr);

    /// The waits, in milliseconds, of the servers made from now on: for the redirect (5 minutes unless set), and for a
    /// connection that gets no answer.
    static void setDefaultTimeouts(int redirectMs, int connectionMs = 30000);

    /// \p callback receives \p userData and the first code, exactly as it stood in the request, or "timeout". It may
    /// spin the event loop and delete this server. Null for none.
    void setCallback(void (*callback)(void *, KString &), void *userData);
    /// Starts the wait, then listens on 127.0.0.1. False, and shown on the host's error output, when the port cannot be
    /// listened on; the wait goes on even then and ends with "timeout".
    bool StartListenPort(unsigned short port);
    /// Ends the wait without a callback. Closes the port and every connection, except the one whose code the callback
    /// is receiving at that moment: it still gets its page.
    void stop();
    /// Whether \p port can be listened on. Leaves the server closed and, when it can, paused.
    bool tryListen(unsigned short port);
    /// A paused server drops new connections while it goes on listening.
    void pause();
    void resume();

    /// Listens on 127.0.0.1, paused or not, without a wait. False when \p port is taken or protected.
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
    void acceptCode(Browser *client, const KString &code);
    void handOver();

    bool m_paused = false;
    void (*m_callback)(void *, KString &) = nullptr;
    void *m_userData = nullptr;
    bool m_codeReceived = false;
    KString m_code;               ///< accepted, but not yet passed to the callback
    QPointer<Browser> m_answered; ///< the connection that sent it
    int m_connectionMs;
    QTimer m_watchdog;
};
