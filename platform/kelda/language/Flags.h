// language/Flags.h
//
// Reads a command's arguments as flags with a fixed number of values each, and the plain arguments between them.

#pragma once

#include "language/Interpreter.h"

#include <initializer_list>

/// One flag a command knows: both names with their dash, and how many values follow it.
struct FlagSpec
{
    const char *shortName;
    const char *longName;
    int values = 0;
};

class Flags
{
public:
    /// Throws CommandError for an unknown flag or a missing value, naming command and flag. A value that begins with
    /// a dash is still a value. A lone number such as -1 is a plain argument.
    Flags(const CommandCall &call, std::initializer_list<FlagSpec> known);

    /// \p longName with its dash, as listed for the constructor.
    bool has(const char *longName) const;
    /// The \p index-th value of the flag; nothing when the flag is not set.
    Value value(const char *longName, int index = 0) const;
    const std::vector<Value> &plain() const { return m_plain; }

private:
    QHash<QString, std::vector<Value>> m_set;
    std::vector<Value> m_plain;
};
