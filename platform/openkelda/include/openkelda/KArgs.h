// openkelda/KArgs.h
//
// The arguments of a command and the flags it knows.

#pragma once

#include "openkelda/KStatus.h"
#include "openkelda/KString.h"

#include <string>
#include <utility>
#include <vector>

/// What a command accepts. Names stand with their leading dash, as "-spr" and "-showportal".
class KSyntax
{
public:
    KSyntax() = default;
    /// A flag without arguments.
    void addFlag(const char *shortName, const char *longName);
    void enableQuery(bool enable) { m_query = enable; }
    void enableEdit(bool enable) { m_edit = enable; }

    /// The short name of \p flag, given by its short or long name; empty for an unknown flag.
    std::string shortNameOf(const std::string &flag) const;

private:
    std::vector<std::pair<std::string, std::string>> m_flags;
    bool m_query = false;
    bool m_edit = false;
};

/// The arguments of one call as the command language evaluated them. Indices must be below length().
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
    /// \p status, when given, receives a failure that names the first flag or argument that \p syntax does not have.
    /// The flags that it has are readable even then.
    KArgParser(const KSyntax &syntax, const KArgList &arguments, KStatus *status = nullptr);
    /// \p name is the short or the long name.
    bool isFlagSet(const char *name) const;

private:
    KSyntax m_syntax;
    std::vector<std::string> m_set;
};
