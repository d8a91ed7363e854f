// pelago/Trace.h
//
// Where the library tells what it does. Lines hold no secret, no query and no content of a file.

#pragma once

#include <QString>

namespace pelago {

enum class TraceLevel { Nothing = 0, Failures = 1, Requests = 2 };

using TraceCallback = void (*)(void *context, int level, const char *line);

/// The TraceLevel up to which lines are told.
void setTraceLevel(int level);
/// Null for the standard error output.
void setTraceCallback(TraceCallback callback, void *context);
void trace(TraceLevel level, const QString &line);

} // namespace pelago
