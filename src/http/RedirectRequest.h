// http/RedirectRequest.h
//
// Reads the request that a browser sends when a sign-in redirects it to the loopback server. No input or output happens
// here.

#pragma once

#include <QByteArray>
#include <QString>

/// Only the request line counts: it ends the reading, and nothing behind it is kept.
class RedirectRequest
{
public:
    enum class State { Reading, Refused, Read };

    /// Takes the next bytes. Refused, which is final, when the line does not end within 64 KiB.
    State read(const QByteArray &bytes);
    State state() const { return m_state; }
    /// The code of a redirect that was read, exactly as it stood in the request; empty when there is none, and for any
    /// other request. The word "timeout", which the server itself uses, is no code.
    QString code() const;

private:
    QByteArray m_line;
    State m_state = State::Reading;
};
