// host/CommandHelpers.h
//
// What the commands share when they read their arguments.

#pragma once

#include "language/Flags.h"

/// The one plain argument as text. Throws CommandError unless there is exactly one.
QString onlyPlain(const CommandCall &call, const Flags &flags);
/// For commands that read no flags. Throws CommandError unless there is exactly one argument, and for a flag.
QString onlyArgument(const CommandCall &call);
/// The value of \p flag as text. Throws CommandError when it is not set.
QString required(const CommandCall &call, const Flags &flags, const char *flag);
/// Runs a command that switches one thing: answers \p state for -query, else hands the value of -state to \p set: on,
/// true, yes and numbers but 0; off, false, no and 0. Throws CommandError for anything else.
Value runSwitch(const CommandCall &call, bool state, const std::function<void(bool)> &set);
