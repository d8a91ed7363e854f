// http/ReplyWait.h
//
// One blocking wait for one network reply. It lives on the caller's stack, so it outlasts whoever is destroyed
// meanwhile.

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
        /// Somebody stopped the wait, deleted the reply, or ended the program.
        Stopped
    };

    explicit ReplyWait(QNetworkReply *reply) : m_reply(reply) {}
    ReplyWait(const ReplyWait &) = delete;
    ReplyWait &operator=(const ReplyWait &) = delete;

    /// Serves every event but user input until the reply has finished, \p timeoutMs have passed, or stop() was called.
    /// The first of them decides, also when other waits started meanwhile keep this call from returning at once.
    End run(int timeoutMs);
    /// May be called while run() is on the stack, and before.
    void stop();

private:
    void endWith(End end);

    QPointer<QNetworkReply> m_reply;
    QEventLoop m_loop;
    End m_end = End::Stopped;
    bool m_ended = false;
};
