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
    const QString name = onlyArgument(call);
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

QString joinedArguments(const CommandCall &call)
{
    return call.texts().join(QLatin1Char(' '));
}

/// Runs the joined arguments as a separate program. A failure names the call of eval, and the line inside the text.
Value evaluated(Interpreter &language, const CommandCall &call)
{
    try {
        return language.evaluate(joinedArguments(call));
    } catch (const ScriptError &error) {
        throw CommandError(QStringLiteral("eval: ") + error.message());
    }
}

Value post(KeldaHost &host, KHost::MessageKind kind, const CommandCall &call)
{
    QString text = joinedArguments(call);
    if (text.endsWith(QLatin1Char('\n')))
        text.chop(1);
    host.message(kind, KQtUtil::toKString(text));
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

} // namespace

void addScriptCommands(KeldaHost &host)
{
    Interpreter &language = host.interpreter();
    language.addCommand(QStringLiteral("eval"),
                        [&language](const CommandCall &call) { return evaluated(language, call); });
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
    language.addCommand(QStringLiteral("commandEcho"), [&host](const CommandCall &call) {
        return runSwitch(call, host.commandEcho(), [&host](bool on) { host.setCommandEcho(on); });
    });
    language.addCommand(QStringLiteral("quit"), [&host](const CommandCall &call) { return quit(host, call); });
}
