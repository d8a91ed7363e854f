// pelago/Outcome.h
//
// How a call ended, and the line that tells the user why it failed.

#pragma once

#include <QByteArray>
#include <QString>

namespace pelago {

struct Outcome
{
    int result = 0;   ///< 1 or more, or a negative Skein_Result
    int status = 0;   ///< of HTTP; 0 if the server sent none
    QByteArray cause; ///< one of the names in the table of Outcome.cpp; empty if \a result says enough
    QString detail;   ///< what the cause is about: an address, a certificate's error, a file name

    bool isSuccess() const { return result > 0; }
};

/// A failure with \p result, which is negative.
Outcome failure(int result, const QByteArray &cause = QByteArray(), const QString &detail = QString());

/// Reports \p outcome of \p what ("Upload of \"cup.obj\"") as a line of TraceLevel::Failures. Ignored for a success
/// and for a call that the application ended.
void traceFailure(const QString &what, const Outcome &outcome);

} // namespace pelago
