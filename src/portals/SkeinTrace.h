// portals/SkeinTrace.h
//
// What the cloud library reports about calls that failed: lines for the host's output, and the reason for the sign-in
// form.

#pragma once

#include <QString>

namespace Skein {

/// Writes the library's lines to the host's output for as long as one such object exists: one line per failed call, and
/// with PELAGO_TRACE=2 in the environment one per request.
class HostTrace
{
public:
    HostTrace();
    ~HostTrace();
    HostTrace(const HostTrace &) = delete;
    HostTrace &operator=(const HostTrace &) = delete;
};

/// Why a call failed, as the library's line says at its end in square brackets.
struct Failure
{
    QString cause;  ///< one of the names in the library's README.md; empty for a line without any
    QString detail; ///< what the cause is about, such as an address
};

/// The last one that was reported while a HostTrace existed.
Failure lastFailure();
void forgetLastFailure();

/// The sentence that the sign-in form shows for \p result, a negative Skein_Result, and its reason.
QString signInMessage(int result, const Failure &failure);

} // namespace Skein
