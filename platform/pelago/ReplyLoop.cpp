#include "ReplyLoop.h"

#include "DavClient.h"

#include <QNetworkReply>

namespace pelago {

static constexpr int kTimedOutCode = 1;

ReplyLoop::ReplyLoop(const DavClient &client, QNetworkReply &reply, Closing closing)
    : m_client(client), m_reply(reply), m_closing(closing)
{
    m_timer.setSingleShot(true);
    m_timer.setTimerType(Qt::PreciseTimer);
    connect(&m_timer, &QTimer::timeout, this, [this] { m_loop.exit(kTimedOutCode); });
    connect(&reply, &QNetworkReply::readyRead, this, &ReplyLoop::wake);
    connect(&reply, &QNetworkReply::metaDataChanged, this, &ReplyLoop::wake);
    connect(&reply, &QNetworkReply::finished, this, &ReplyLoop::wake);
    connect(&reply, &QNetworkReply::uploadProgress, this, [this](qint64 sent, qint64) {
        m_sent = sent;
        wake();
    });
    if (closing == Closing::Ends)
        connect(&client, &DavClient::closed, this, &ReplyLoop::wake);
}

ReplyLoop::Event ReplyLoop::wait(int idleMs)
{
    int code = 0;
    if (!m_hasEvent && !m_reply.isFinished()) {
        m_timer.start(idleMs);
        code = m_loop.exec(QEventLoop::ExcludeUserInputEvents);
        m_timer.stop();
    }
    if (code < 0) // the application ends, and event loops return at once
        return Event::Closed;
    // During a nested call the time may pass although the reply has an event.
    const bool timedOut = code == kTimedOutCode && !m_hasEvent && !m_reply.isFinished();
    return timedOut ? Event::TimedOut : currentState();
}

ReplyLoop::Event ReplyLoop::poll()
{
    m_loop.processEvents(QEventLoop::ExcludeUserInputEvents);
    return currentState();
}

ReplyLoop::Event ReplyLoop::currentState()
{
    m_hasEvent = false;
    if (m_closing == Closing::Ends && m_client.isClosed())
        return Event::Closed;
    return m_reply.isFinished() ? Event::Finished : Event::Progress;
}

void ReplyLoop::wake()
{
    m_hasEvent = true;
    m_loop.exit(0);
}

} // namespace pelago

#include "moc_ReplyLoop.cpp"
