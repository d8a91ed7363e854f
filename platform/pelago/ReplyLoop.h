// pelago/ReplyLoop.h
//
// A nested event loop, without user input, that waits for the next event of one reply.

#pragma once

#include <QEventLoop>
#include <QTimer>

class QNetworkReply;

namespace pelago {

class DavClient;

class ReplyLoop : public QObject
{
    Q_OBJECT
public:
    /// Progress: bytes were sent or received, or the headers have arrived.
    enum class Event { Progress, Finished, TimedOut, Closed };
    enum class Closing { Ends, IsIgnored };

    /// \p client and \p reply must outlive the loop. With Closing::Ends, closing the client ends a wait.
    ReplyLoop(const DavClient &client, QNetworkReply &reply, Closing closing);

    /// Blocks until the next event, at most \p idleMs. Returns at once if an event arrived since the last call.
    Event wait(int idleMs);
    /// Processes pending events without blocking. Returns Progress if the reply has neither finished nor been closed.
    Event poll();
    /// Returns the number of sent bytes of the request's body.
    qint64 sent() const { return m_sent; }

private:
    void wake();
    Event currentState();

    const DavClient &m_client;
    QNetworkReply &m_reply;
    Closing m_closing;
    QEventLoop m_loop;
    QTimer m_timer;
    qint64 m_sent = 0;
    bool m_hasEvent = false;
};

} // namespace pelago
