// openkelda/KArgs.h
//
// The arguments of a command and its flags.

#pragma once

#include "openkelda/KStatus.h"
#include "openkelda/KString.h"

#include <string>
#include <utility>
#include <vector>

/// The flags of a command. Names have a leading dash, as "-spr" and "-showportal".
class KSyntax
{
public:
    KSyntax() = default;
    /// Adds a flag without arguments.
    void addFlag(const char *shortName, const char *longName);
    void enableQuery(bool enable) { m_query = enable; }
    void enableEdit(bool enable) { m_edit = enable; }

    /// Returns the short name of \p flag, which is a short or long name; empty for an unknown flag.
    std::string shortNameOf(const std::string &flag) const;

private:
    std::vector<std::pair<std::string, std::string>> m_flags;
    bool m_query = false;
    bool m_edit = false;
};

/// The evaluated arguments of one call. Indices must be below length().
class KArgList
{
public:
    void append(const KString &argument) { m_arguments.push_back(argument); }
    unsigned length() const { return static_cast<unsigned>(m_arguments.size()); }
    const KString &operator[](unsigned index) const { return m_arguments[index]; }

private:
    std::vector<KString> m_arguments;
};

/// Reads an argument list by a syntax.
class KArgParser
{
public:
    /// Sets \p status, if not null, to a failure for the first unknown flag or argument. isFlagSet() works even then.
    KArgParser(const KSyntax &syntax, const KArgList &arguments, KStatus *status = nullptr);
    /// \p name is the short or the long name.
    bool isFlagSet(const char *name) const;

private:
    KSyntax m_syntax;
    std::vector<std::string> m_set;
};
