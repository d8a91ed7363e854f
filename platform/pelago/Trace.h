// pelago/Trace.h
//
// The result of a call, and lines about failed calls and requests for the callback of SkeinTrace_setCallback. A line
// contains no secret, no query and no file content.

#pragma once

#include <QByteArray>
#include <QString>

namespace pelago {

struct Outcome
{
    int result = 0;   ///< 1 or more, or a negative Skein_Result
    int status = 0;   ///< HTTP status; 0 without a reply
    QByteArray cause; ///< a name from the table in Trace.cpp; empty if \a result is specific enough
    QString detail;   ///< of the cause: an address, a TLS error or a file name

    bool isSuccess() const { return result > 0; }
};

/// Returns an outcome with the negative \p result.
inline Outcome failure(int result, const QByteArray &cause = QByteArray(), const QString &detail = QString())
{
    return {result, 0, cause, detail};
}

enum class TraceLevel { Failures = 1, Requests = 2 };

/// Writes \p line unless the level of SkeinTrace_setLevel is lower than \p level.
void trace(TraceLevel level, const QString &line);

/// Writes a line of TraceLevel::Failures: the failed action \p what, for example "Upload of \"cup.obj\"", the reason
/// and the remedy. Ignored if \p outcome is a success or Skein_Result_Closed.
void traceFailure(const QString &what, const Outcome &outcome);

} // namespace pelago
