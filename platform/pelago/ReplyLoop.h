// pelago/ReplyLoop.h
//
// Waits for the next thing to happen to one reply.

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
    enum class Event { Progress, Finished, TimedOut, Closed };
    enum class Closing { Ends, IsIgnored };

    /// \p client and \p reply outlive the loop.
    ReplyLoop(const DavClient &client, QNetworkReply &reply, Closing closing);

    /// Returns at once when something happened since the last call; otherwise spins the event loop without user input
    /// for \p idleMs at most. Progress means bytes were sent or have arrived.
    Event wait(int idleMs);
    /// Serves what is pending and says how things stand, for a caller that has enough to do by itself.
    Event look();
    /// Bytes of the request's body that have gone out.
    qint64 sent() const { return m_sent; }

private:
    void notice();
    Event standing();

    const DavClient &m_client;
    QNetworkReply &m_reply;
    Closing m_closing;
    QEventLoop m_loop;
    QTimer m_timer;
    qint64 m_sent = 0;
    bool m_progress = false;
};

} // namespace pelago
