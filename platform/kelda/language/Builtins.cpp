#include "language/Builtins.h"

#include "language/Interpreter.h"

namespace {

QString textAt(const CommandCall &call, std::size_t index)
{
    return call.arguments[index].toString();
}

Value size(const CommandCall &call)
{
    call.requireCount(1);
    const Value &value = call.arguments[0];
    if (value.kind() == Value::Kind::String)
        return static_cast<qint64>(value.toString().toUcs4().size());
    return value.toStringList().size();
}

Value toLower(const CommandCall &call)
{
    call.requireCount(1);
    return textAt(call, 0).toLower();
}

Value toUpper(const CommandCall &call)
{
    call.requireCount(1);
    return textAt(call, 0).toUpper();
}

/// substring(text, first, last): characters counted from 1, both ends included; what lies outside is left out.
Value substring(const CommandCall &call)
{
    call.requireCount(3);
    const QVector<uint> characters = textAt(call, 0).toUcs4();
    const qint64 first = qMax<qint64>(call.arguments[1].toInt(), 1);
    const qint64 last = qMin<qint64>(call.arguments[2].toInt(), characters.size());
    if (last < first)
        return QString();
    return QString::fromUcs4(characters.constData() + first - 1, static_cast<int>(last - first + 1));
}

/// tokenize(text, separators): the parts between any of the separator characters, empty ones left out.
Value tokenize(const CommandCall &call)
{
    call.requireCount(2);
    const QString text = textAt(call, 0);
    const QString separators = textAt(call, 1);
    QStringList parts;
    QString part;
    for (const QChar c : text) {
        if (!separators.contains(c)) {
            part += c;
        } else if (!part.isEmpty()) {
            parts.append(part);
            part.clear();
        }
    }
    if (!part.isEmpty())
        parts.append(part);
    return parts;
}

Value startsWith(const CommandCall &call)
{
    call.requireCount(2);
    return textAt(call, 0).startsWith(textAt(call, 1));
}

Value endsWith(const CommandCall &call)
{
    call.requireCount(2);
    return textAt(call, 0).endsWith(textAt(call, 1));
}

Value stringArrayContains(const CommandCall &call)
{
    call.requireCount(2);
    return call.arguments[1].toStringList().contains(textAt(call, 0));
}

Value stringArrayToString(const CommandCall &call)
{
    call.requireCount(2);
    return call.arguments[0].toStringList().join(textAt(call, 1));
}

} // namespace

void addBuiltins(Interpreter &interpreter)
{
    interpreter.addCommand(QStringLiteral("size"), size);
    interpreter.addCommand(QStringLiteral("tolower"), toLower);
    interpreter.addCommand(QStringLiteral("toupper"), toUpper);
    interpreter.addCommand(QStringLiteral("substring"), substring);
    interpreter.addCommand(QStringLiteral("tokenize"), tokenize);
    interpreter.addCommand(QStringLiteral("startsWith"), startsWith);
    interpreter.addCommand(QStringLiteral("endsWith"), endsWith);
    interpreter.addCommand(QStringLiteral("stringArrayContains"), stringArrayContains);
    interpreter.addCommand(QStringLiteral("stringArrayToString"), stringArrayToString);
}
