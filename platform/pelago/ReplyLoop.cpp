#include "ReplyLoop.h"

#include "DavClient.h"

#include <QNetworkReply>

namespace pelago {

namespace {

constexpr int timedOutCode = 1;

} // namespace

ReplyLoop::ReplyLoop(const DavClient &client, QNetworkReply &reply, Closing closing)
    : m_client(client), m_reply(reply), m_closing(closing)
{
    m_timer.setSingleShot(true);
    m_timer.setTimerType(Qt::PreciseTimer);
    connect(&m_timer, &QTimer::timeout, this, [this] { m_loop.exit(timedOutCode); });
    connect(&reply, &QNetworkReply::readyRead, this, &ReplyLoop::notice);
    connect(&reply, &QNetworkReply::metaDataChanged, this, &ReplyLoop::notice);
    connect(&reply, &QNetworkReply::finished, this, &ReplyLoop::notice);
    connect(&reply, &QNetworkReply::uploadProgress, this, [this](qint64 sent, qint64) {
        m_sent = sent;
        notice();
    });
    if (closing == Closing::Ends)
        connect(&client, &DavClient::closed, this, &ReplyLoop::notice);
}

ReplyLoop::Event ReplyLoop::wait(int idleMs)
{
    int code = 0;
    if (!m_progress && !m_reply.isFinished()) {
        m_timer.start(idleMs);
        code = m_loop.exec(QEventLoop::ExcludeUserInputEvents);
        m_timer.stop();
    }
    if (code < 0) // the application ends: no loop runs any more
        return Event::Closed;
    // While another call ran inside this one, time may have passed and bytes may have come as well.
    const bool timedOut = code == timedOutCode && !m_progress && !m_reply.isFinished();
    return timedOut ? Event::TimedOut : standing();
}

ReplyLoop::Event ReplyLoop::look()
{
    m_loop.processEvents(QEventLoop::ExcludeUserInputEvents);
    return standing();
}

ReplyLoop::Event ReplyLoop::standing()
{
    m_progress = false;
    if (m_closing == Closing::Ends && m_client.isClosed())
        return Event::Closed;
    return m_reply.isFinished() ? Event::Finished : Event::Progress;
}

void ReplyLoop::notice()
{
    m_progress = true;
    m_loop.exit(0);
}

} // namespace pelago
