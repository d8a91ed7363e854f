// pelago/Trace.h
//
// Lines about failed calls and about requests, for the callback of SkeinTrace_setCallback. A line contains no secret,
// no query and no file content.

#pragma once

#include "Outcome.h"

namespace pelago {

enum class TraceLevel { Failures = 1, Requests = 2 };

/// Writes \p line unless the level of SkeinTrace_setLevel is lower than \p level.
void trace(TraceLevel level, const QString &line);

/// Writes a line of TraceLevel::Failures: what failed (\p what, for example "Upload of \"cup.obj\""), why, and what to
/// do. Ignored if \p outcome is a success or Skein_Result_Closed.
void traceFailure(const QString &what, const Outcome &outcome);

} // namespace pelago
