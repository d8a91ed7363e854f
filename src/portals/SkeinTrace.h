// portals/SkeinTrace.h
//
// Receives the trace of the cloud library: writes it to the host's output and stores the reason of the last failure.

#pragma once

#include <QString>

namespace Skein {

/// Writes the library's trace to the host's output while at least one such object exists: one line per failed call, and
/// one per request if the environment contains PELAGO_TRACE=2.
class HostTrace
{
public:
    HostTrace();
    ~HostTrace();
    HostTrace(const HostTrace &) = delete;
    HostTrace &operator=(const HostTrace &) = delete;
};

/// The reason of a failed call: the text in square brackets at the end of the library's line.
struct Failure
{
    QString cause;  ///< one of the names in the library's README.md; empty for a line without a reason
    QString detail; ///< for example an address
};

/// Returns the last failure that a HostTrace received.
Failure lastFailure();
void clearLastFailure();

/// Returns the message of the sign-in form for \p result, a negative Skein_Result, and its reason.
QString signInMessage(int result, const Failure &failure);

} // namespace Skein
