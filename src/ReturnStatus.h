// ReturnStatus.h
//
// The result of a request: an HTTP-style code and a message for the user.

#pragma once

#include <openkelda/KString.h>

/// The codes 200 to 299 are a success; all other codes, including 0 and negative ones, are a failure.
class ReturnStatus
{
public:
    explicit ReturnStatus(int code) : m_code(code) {}
    ReturnStatus(int code, const KString &message) : m_code(code), m_message(message) {}

    bool IsSuccess() const;

    void SetStatusCode(int code) { m_code = code; }
    int GetStatusCode() const { return m_code; }
    void SetErrorMessage(const KString &message) { m_message = message; }
    /// Returns an empty text if there is no message besides the code.
    KString GetErrorMessage() const { return m_message; }

    /// Returns the localised text for the user: the code, followed by the message on a second line if there is one.
    KString GetFormattedResultMessage() const;
    /// Shows this text in a modal box over the host's main window and returns when the box is closed. Spins the event
    /// loop. Ignored in a host without a user interface.
    void DisplayUserMessageBox() const;

private:
    int m_code;
    KString m_message;
};
