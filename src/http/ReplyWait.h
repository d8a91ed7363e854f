// http/ReplyWait.h
//
// A blocking wait for one network reply. Create it on the stack, so that it survives objects that are deleted during
// the wait.

#pragma once

#include <QEventLoop>
#include <QNetworkReply>
#include <QPointer>

class ReplyWait
{
public:
    enum class End {
        Finished,
        TimedOut,
        Stopped ///< by stop(), by the deletion of the reply, or by the end of the program
    };

    explicit ReplyWait(QNetworkReply *reply) : m_reply(reply) {}
    ReplyWait(const ReplyWait &) = delete;
    ReplyWait &operator=(const ReplyWait &) = delete;

    /// Runs an event loop without user input until the reply has finished, \p timeoutMs have passed, or stop() was
    /// called. The first of these events decides, even if a nested wait delays the return.
    End run(int timeoutMs);
    /// May be called before and during run().
    void stop();

private:
    void endWith(End end);

    QPointer<QNetworkReply> m_reply;
    QEventLoop m_loop;
    End m_end = End::Stopped;
    bool m_ended = false;
};
