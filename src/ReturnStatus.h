// ReturnStatus.h
//
// Outcome of a request: an HTTP-style code and a message, with the text and the box that show it to the user.

#pragma once

#include <openkelda/KString.h>

/// A code from 200 to 299 is a success; every other one, 0 and negative ones included, is a failure.
class ReturnStatus
{
public:
    explicit ReturnStatus(int code) : m_code(code) {}
    ReturnStatus(int code, const KString &message) : m_code(code), m_message(message) {}

    bool IsSuccess() const;

    void SetStatusCode(int code) { m_code = code; }
    int GetStatusCode() const { return m_code; }
    void SetErrorMessage(const KString &message) { m_message = message; }
    /// Empty when the code says all there is to say.
    KString GetErrorMessage() const { return m_message; }

    /// The localised text for the user: the code, and the message on a line of its own if there is one.
    KString GetFormattedResultMessage() const;
    /// Shows that text as plain text in a modal box over the host's main window and returns when it is closed; spins
    /// the event loop. Does nothing when the host runs without a user interface.
    void DisplayUserMessageBox() const;

private:
    int m_code;
    KString m_message;
};
