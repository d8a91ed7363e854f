// language/Flags.h
//
// Reads a command's arguments: flags with a fixed number of values each, and the plain arguments between them.

#pragma once

#include "language/Interpreter.h"

#include <initializer_list>

/// One flag of a command: both names with their dash, and the number of values after it.
struct FlagSpec
{
    const char *shortName;
    const char *longName;
    int values = 0;
};

class Flags
{
public:
    /// Throws CommandError for an unknown flag or a missing value. A value may begin with a dash. A number such as -1
    /// is a plain argument.
    Flags(const CommandCall &call, std::initializer_list<FlagSpec> known);

    /// \p longName begins with the dash, as in the constructor's list.
    bool has(const char *longName) const { return m_set.contains(QString::fromLatin1(longName)); }
    /// Returns value \p index of the flag, counted over repeated flags; an empty Value if the flag has fewer values.
    Value value(const char *longName, int index = 0) const;
    /// Returns the first value of the flag as text. Throws CommandError if the flag is not set.
    QString required(const char *longName) const;

    const std::vector<Value> &plain() const { return m_plain; }
    /// Returns the plain argument as text. Throws CommandError unless the call has exactly one.
    QString onlyPlain() const;

private:
    QString m_command;
    QHash<QString, std::vector<Value>> m_set;
    std::vector<Value> m_plain;
};

/// Runs a command that switches one state: returns \p state for -query, else passes the value of -state to \p set.
/// Throws CommandError unless the value is on, true, 1, off, false or 0.
Value runSwitch(const CommandCall &call, bool state, const std::function<void(bool)> &set);
