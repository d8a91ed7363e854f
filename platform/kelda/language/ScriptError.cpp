#include "language/Interpreter.h"

namespace {

QString located(const QString &reason, const SourcePosition &where)
{
    if (where.line <= 0)
        return reason;
    const QString line = QString::number(where.line);
    return where.file.isEmpty() ? QStringLiteral("line ") + line + QStringLiteral(": ") + reason
                                : where.file + QLatin1Char(':') + line + QStringLiteral(": ") + reason;
}

} // namespace

ScriptError::ScriptError(const QString &reason, const SourcePosition &where)
    : std::runtime_error(located(reason, where).toUtf8().constData())
{}

QString ScriptError::message() const
{
    return QString::fromUtf8(what());
}

CommandError::CommandError(const QString &reason) : std::runtime_error(reason.toUtf8().constData()) {}

QString CommandError::reason() const
{
    return QString::fromUtf8(what());
}
