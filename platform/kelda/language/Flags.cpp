#include "language/Flags.h"

#include <algorithm>

namespace {

bool looksLikeFlag(const Value &argument)
{
    const QString text = argument.kind() == Value::Kind::String ? argument.toString() : QString();
    return text.size() > 1 && text.at(0) == QLatin1Char('-') && text.at(1).isLetter();
}

} // namespace

Flags::Flags(const CommandCall &call, std::initializer_list<FlagSpec> known) : m_command(call.name)
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
            throw CommandError(QStringLiteral("%1: unknown flag %2").arg(m_command, name));
        std::vector<Value> &values = m_set[QString::fromLatin1(spec->longName)];
        for (int wanted = spec->values; wanted > 0; --wanted) {
            if (++i >= arguments.size())
                throw CommandError(QStringLiteral("%1: flag %2 needs a value").arg(m_command, name));
            values.push_back(arguments[i]);
        }
    }
}

Value Flags::value(const char *longName, int index) const
{
    const std::vector<Value> values = m_set.value(QString::fromLatin1(longName));
    return static_cast<std::size_t>(index) < values.size() ? values[static_cast<std::size_t>(index)] : Value();
}

QString Flags::required(const char *longName) const
{
    if (!has(longName))
        throw CommandError(QStringLiteral("%1: flag %2 is missing").arg(m_command, QLatin1String(longName)));
    return value(longName).toString();
}

QString Flags::onlyPlain() const
{
    if (m_plain.size() != 1)
        throw CommandError(QStringLiteral("%1 takes one argument, not %2").arg(m_command).arg(m_plain.size()));
    return m_plain.front().toString();
}

Value runSwitch(const CommandCall &call, bool state, const std::function<void(bool)> &set)
{
    static const QStringList on{"on", "true", "1"};
    static const QStringList off{"off", "false", "0"};
    const QStringList texts = call.texts();
    if (texts.contains(QStringLiteral("-q")) || texts.contains(QStringLiteral("-query"))) {
        const Flags flags(call, {{"-q", "-query"}, {"-st", "-state"}}); // in a query, -state has no value
        return state;
    }
    const QString wanted = Flags(call, {{"-st", "-state", 1}}).required("-state");
    if (!on.contains(wanted) && !off.contains(wanted))
        throw CommandError(QStringLiteral("%1: '%2' is neither on nor off").arg(call.name, wanted));
    set(on.contains(wanted));
    return Value();
}
