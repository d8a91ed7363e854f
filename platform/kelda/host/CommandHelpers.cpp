#include "host/CommandHelpers.h"

namespace {

/// Query flags take no values, so they are read by a list of their own.
bool isQuery(const CommandCall &call)
{
    const QStringList texts = call.texts();
    return texts.contains(QStringLiteral("-q")) || texts.contains(QStringLiteral("-query"));
}

bool switchValue(const CommandCall &call, const Value &value)
{
    const QString text = value.toString();
    for (const char *word : {"on", "true", "yes", "1"}) {
        if (text == QLatin1String(word))
            return true;
    }
    for (const char *word : {"off", "false", "no", "0"}) {
        if (text == QLatin1String(word))
            return false;
    }
    if (value.kind() == Value::Kind::Int)
        return value.toBool();
    throw CommandError(QStringLiteral("%1: '%2' is neither on nor off").arg(call.name, text));
}

} // namespace

QString onlyPlain(const CommandCall &call, const Flags &flags)
{
    if (flags.plain().size() != 1)
        throw CommandError(
            QStringLiteral("%1: one argument is wanted, not %2").arg(call.name).arg(flags.plain().size()));
    return flags.plain().front().toString();
}

QString onlyArgument(const CommandCall &call)
{
    return onlyPlain(call, Flags(call, {}));
}

QString required(const CommandCall &call, const Flags &flags, const char *flag)
{
    if (!flags.has(flag))
        throw CommandError(QStringLiteral("%1: flag %2 is missing").arg(call.name, QLatin1String(flag)));
    return flags.value(flag).toString();
}

Value runSwitch(const CommandCall &call, bool state, const std::function<void(bool)> &set)
{
    if (isQuery(call)) {
        const Flags flags(call, {{"-q", "-query"}, {"-st", "-state"}});
        return state;
    }
    const Flags flags(call, {{"-st", "-state", 1}});
    required(call, flags, "-state");
    set(switchValue(call, flags.value("-state")));
    return Value();
}
