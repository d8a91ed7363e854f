#include "http/ReplyWait.h"

#include <QTimer>

ReplyWait::End ReplyWait::run(int timeoutMs)
{
    if (m_reply && m_reply->isFinished())
        endWith(End::Finished);
    if (m_ended || !m_reply)
        return m_end;

    QTimer watchdog;
    watchdog.setSingleShot(true);
    watchdog.setTimerType(Qt::PreciseTimer);
    QObject::connect(m_reply, &QNetworkReply::finished, &watchdog, [this, &watchdog] {
        watchdog.stop();
        endWith(End::Finished);
    });
    QObject::connect(&watchdog, &QTimer::timeout, &m_loop, [this] { endWith(End::TimedOut); });
    QObject::connect(m_reply, &QObject::destroyed, &watchdog, [this] { endWith(End::Stopped); });
    watchdog.start(timeoutMs);
    m_loop.exec(QEventLoop::ExcludeUserInputEvents);
    return m_end;
}

void ReplyWait::stop()
{
    endWith(End::Stopped);
}

void ReplyWait::endWith(End end)
{
    if (!m_ended)
        m_end = end;
    m_ended = true;
    m_loop.quit();
}
