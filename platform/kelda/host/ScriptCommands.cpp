#include "host/CommandHelpers.h"
#include "host/CoreCommands.h"
#include "host/KeldaHost.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

namespace {

QString foundScript(const KeldaHost &host, const QString &name)
{
    if (QDir::isAbsolutePath(name))
        return QFileInfo(name).isFile() ? name : QString();
    for (const QString &folder : host.scriptFolders()) {
        const QString path = QDir(folder).filePath(name);
        if (QFileInfo(path).isFile())
            return path;
    }
    return QString();
}

Value source(KeldaHost &host, const CommandCall &call)
{
    const Flags flags(call, {});
    requirePlain(call, flags, 1);
    const QString name = plainText(flags, 0);
    const QString path = foundScript(host, name);
    if (path.isEmpty())
        throw CommandError(QStringLiteral("source: there is no script file '%1'").arg(name));
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        throw CommandError(QStringLiteral("source: cannot read '%1': %2").arg(path, file.errorString()));
    QByteArray text = file.readAll();
    if (text.startsWith("\xEF\xBB\xBF"))
        text.remove(0, 3);
    return host.interpreter().evaluate(QString::fromUtf8(text), path);
}

Value post(KeldaHost &host, KHost::MessageKind kind, const CommandCall &call)
{
    QString text = joinedArguments(call);
    if (text.endsWith(QLatin1Char('\n')))
        text.chop(1);
    host.message(kind, KQtUtil::toKString(text));
    return Value();
}

Value commandEcho(KeldaHost &host, const CommandCall &call)
{
    if (isQuery(call)) {
        const Flags flags(call, {{"-q", "-query"}, {"-st", "-state"}});
        return host.commandEcho();
    }
    const Flags flags(call, {{"-st", "-state", 1}});
    if (flags.has("-state"))
        host.setCommandEcho(switchValue(call, flags.value("-state")));
    return Value();
}

Value quit(KeldaHost &host, const CommandCall &call)
{
    const Flags flags(call, {{"-ec", "-exitCode", 1}, {"-f", "-force"}});
    Value status = flags.value("-exitCode");
    if (status.isNone() && !flags.plain().empty())
        status = flags.plain().front();
    emit host.quitRequested(static_cast<int>(qBound<qint64>(0, status.toInt(), 255)));
    return Value();
}

/// Answers the default button, else the first one, of a dialog that nobody sees.
Value unseenConfirmDialog(const CommandCall &call)
{
    const Flags flags(call, {{"-t", "-title", 1},
                             {"-m", "-message", 1},
                             {"-ma", "-messageAlign", 1},
                             {"-icn", "-icon", 1},
                             {"-b", "-button", 1},
                             {"-db", "-defaultButton", 1},
                             {"-cb", "-cancelButton", 1},
                             {"-ds", "-dismissString", 1}});
    if (flags.has("-defaultButton"))
        return flags.value("-defaultButton");
    return flags.has("-button") ? flags.value("-button") : Value(QStringLiteral("Confirm"));
}

} // namespace

void addScriptCommands(KeldaHost &host)
{
    Interpreter &language = host.interpreter();
    language.addCommand(QStringLiteral("eval"),
                        [&language](const CommandCall &call) { return language.evaluate(joinedArguments(call)); });
    language.addCommand(QStringLiteral("source"), [&host](const CommandCall &call) { return source(host, call); });
    language.addCommand(QStringLiteral("exists"), [&language](const CommandCall &call) {
        const QString name = joinedArguments(call);
        return Value(language.hasCommand(name) || language.hasProcedure(name));
    });
    for (const char *name : {"print", "info"}) {
        language.addCommand(QString::fromLatin1(name),
                            [&host](const CommandCall &call) { return post(host, KHost::MessageKind::kInfo, call); });
    }
    language.addCommand(QStringLiteral("warning"),
                        [&host](const CommandCall &call) { return post(host, KHost::MessageKind::kWarning, call); });
    language.addCommand(QStringLiteral("error"),
                        [](const CommandCall &call) -> Value { throw CommandError(joinedArguments(call)); });
    language.addCommand(QStringLiteral("commandEcho"),
                        [&host](const CommandCall &call) { return commandEcho(host, call); });
    language.addCommand(QStringLiteral("quit"), [&host](const CommandCall &call) { return quit(host, call); });
    language.setFallback(QStringLiteral("confirmDialog"), unseenConfirmDialog);
}
