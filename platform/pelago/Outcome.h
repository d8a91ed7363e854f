// pelago/Outcome.h
//
// The result of a call.

#pragma once

#include <QByteArray>
#include <QString>

namespace pelago {

struct Outcome
{
    int result = 0;   ///< 1 or more, or a negative Skein_Result
    int status = 0;   ///< HTTP status; 0 if the server sent none
    QByteArray cause; ///< a name from the table in Trace.cpp; empty if \a result is specific enough
    QString detail;   ///< of the cause: an address, a TLS error or a file name

    bool isSuccess() const { return result > 0; }
};

/// An outcome with the negative \p result.
inline Outcome failure(int result, const QByteArray &cause = QByteArray(), const QString &detail = QString())
{
    return {result, 0, cause, detail};
}

} // namespace pelago
