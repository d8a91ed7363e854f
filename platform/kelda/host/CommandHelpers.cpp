#include "host/CommandHelpers.h"

#include <algorithm>

bool isQuery(const CommandCall &call)
{
    return std::any_of(call.arguments.begin(), call.arguments.end(), [](const Value &argument) {
        const QString text = argument.toString();
        return text == QLatin1String("-q") || text == QLatin1String("-query");
    });
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

void requirePlain(const CommandCall &call, const Flags &flags, std::size_t count)
{
    if (flags.plain().size() != count)
        throw CommandError(
            QStringLiteral("%1: %2 arguments are wanted, not %3").arg(call.name).arg(count).arg(flags.plain().size()));
}

QString plainText(const Flags &flags, std::size_t index)
{
    return flags.plain()[index].toString();
}

QString joinedArguments(const CommandCall &call)
{
    QStringList texts;
    for (const Value &argument : call.arguments)
        texts.append(argument.toString());
    return texts.join(QLatin1Char(' '));
}
