#include "openkelda/KArgs.h"

#include <algorithm>

void KSyntax::addFlag(const char *shortName, const char *longName)
{
    m_flags.emplace_back(shortName, longName);
}

std::string KSyntax::shortNameOf(const std::string &flag) const
{
    for (const auto &[shortName, longName] : m_flags) {
        if (flag == shortName || flag == longName)
            return shortName;
    }
    if (m_query && (flag == "-q" || flag == "-query"))
        return "-q";
    if (m_edit && (flag == "-e" || flag == "-edit"))
        return "-e";
    return std::string();
}

KArgParser::KArgParser(const KSyntax &syntax, const KArgList &arguments, KStatus *status) : m_syntax(syntax)
{
    KStatus outcome;
    for (unsigned i = 0; i < arguments.length(); ++i) {
        const std::string argument = arguments[i].utf8();
        const std::string flag = m_syntax.shortNameOf(argument);
        if (!flag.empty())
            m_set.push_back(flag);
        else if (outcome)
            outcome = KStatus::failure((argument.rfind('-', 0) == 0 ? "unknown flag " : "unexpected argument ") +
                                       KString(argument));
    }
    if (status)
        *status = outcome;
}

bool KArgParser::isFlagSet(const char *name) const
{
    const std::string flag = m_syntax.shortNameOf(name);
    return !flag.empty() && std::find(m_set.begin(), m_set.end(), flag) != m_set.end();
}
