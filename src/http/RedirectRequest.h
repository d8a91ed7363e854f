// http/RedirectRequest.h
//
// Parses the request that a browser sends to the loopback server at the end of a sign-in. Performs no input or output.

#pragma once

#include <QByteArray>
#include <QString>

/// Parses the request line and ignores the rest of the request.
class RedirectRequest
{
public:
    enum class State { Reading, Refused, Read };

    /// Parses the next bytes. The state Refused, for a line of more than 64 KiB, is final.
    State read(const QByteArray &bytes);
    State state() const { return m_state; }
    /// Returns the code of the redirect, as it was in the request; empty for any other request and for the code
    /// "timeout", which the server uses itself.
    QString code() const;

private:
    QByteArray m_line;
    State m_state = State::Reading;
};
