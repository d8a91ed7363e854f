// host/CommandHelpers.h
//
// What the commands share when they read their arguments.

#pragma once

#include "language/Flags.h"

/// Whether \p call asks for a state instead of setting it. Query flags take no values, so they are read by a list of
/// their own.
bool isQuery(const CommandCall &call);
/// on, true, yes and numbers but 0; off, false, no and 0. Throws CommandError for anything else.
bool switchValue(const CommandCall &call, const Value &value);
/// Throws CommandError unless there are exactly \p count plain arguments.
void requirePlain(const CommandCall &call, const Flags &flags, std::size_t count);
/// The \p index-th plain argument as text; there must be one.
QString plainText(const Flags &flags, std::size_t index);
/// The arguments' texts with a blank between them.
QString joinedArguments(const CommandCall &call);
