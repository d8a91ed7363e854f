#include "language/Flags.h"

#include <algorithm>

namespace {

bool looksLikeFlag(const Value &argument)
{
    if (argument.kind() != Value::Kind::String)
        return false;
    const QString text = argument.toString();
    return text.size() > 1 && text.at(0) == QLatin1Char('-') &&
           (text.at(1).isLetter() || text.at(1) == QLatin1Char('_'));
}

} // namespace

Flags::Flags(const CommandCall &call, std::initializer_list<FlagSpec> known)
{
    const std::vector<Value> &arguments = call.arguments;
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        if (!looksLikeFlag(arguments[i])) {
            m_plain.push_back(arguments[i]);
            continue;
        }
        const QString name = arguments[i].toString();
        const auto spec = std::find_if(known.begin(), known.end(), [&name](const FlagSpec &flag) {
            return name == QLatin1String(flag.shortName) || name == QLatin1String(flag.longName);
        });
        if (spec == known.end())
            throw CommandError(QStringLiteral("%1: unknown flag %2").arg(call.name, name));
        std::vector<Value> &values = m_set[QString::fromLatin1(spec->longName)];
        for (int wanted = spec->values; wanted > 0; --wanted) {
            if (++i >= arguments.size())
                throw CommandError(QStringLiteral("%1: flag %2 lacks a value").arg(call.name, name));
            values.push_back(arguments[i]);
        }
    }
}

bool Flags::has(const char *longName) const
{
    return m_set.contains(QString::fromLatin1(longName));
}

Value Flags::value(const char *longName, int index) const
{
    const auto values = m_set.constFind(QString::fromLatin1(longName));
    if (values == m_set.constEnd() || index < 0 || static_cast<std::size_t>(index) >= values->size())
        return Value();
    return (*values)[static_cast<std::size_t>(index)];
}
