#include "host/CoreCommands.h"

#include "host/KeldaHost.h"
#include "host/MenuModel.h"
#include "host/PluginManager.h"
#include "language/Flags.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <algorithm>

namespace {

/// The hook whose callbacks fill the File menu.
const QString kFileMenuHook = QStringLiteral("addItemToFileMenu");

QString joinedArguments(const CommandCall &call)
{
    return call.texts().join(QLatin1Char(' '));
}

Value eval(KeldaHost &host, const CommandCall &call)
{
    try {
        return host.interpreter().evaluate(joinedArguments(call));
    } catch (const ScriptError &error) {
        throw CommandError(QStringLiteral("eval: ") + error.message());
    }
}

Value source(KeldaHost &host, const CommandCall &call)
{
    const QString name = Flags(call, {}).onlyPlain();
    QString path;
    for (const QString &folder : host.scriptFolders()) {
        const QString candidate = QDir(folder).filePath(name); // an absolute name stays as it is
        if (path.isEmpty() && QFileInfo(candidate).isFile())
            path = candidate;
    }
    if (path.isEmpty())
        throw CommandError(QStringLiteral("source: the script file '%1' does not exist").arg(name));
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        throw CommandError(QStringLiteral("source: cannot read '%1': %2").arg(path, file.errorString()));
    return host.interpreter().evaluate(QString::fromUtf8(file.readAll()), path);
}

Value print(KeldaHost &host, const CommandCall &call)
{
    QString text = joinedArguments(call);
    if (text.endsWith(QLatin1Char('\n')))
        text.chop(1);
    host.message(KHost::MessageKind::kInfo, KQtUtil::toKString(text));
    return Value();
}

Value error(KeldaHost &, const CommandCall &call)
{
    throw CommandError(joinedArguments(call));
}

Value commandEcho(KeldaHost &host, const CommandCall &call)
{
    return runSwitch(call, host.commandEcho(), [&host](bool on) { host.setCommandEcho(on); });
}

Value waitCursor(KeldaHost &host, const CommandCall &call)
{
    return runSwitch(call, host.isWaiting(), [&host](bool on) { host.setWaiting(on); });
}

Value quit(KeldaHost &host, const CommandCall &call)
{
    const Flags flags(call, {{"-ec", "-exitCode", 1}});
    emit host.quitRequested(static_cast<int>(qBound<qint64>(0, flags.value("-exitCode").toInt(), 255)));
    return Value();
}

Value callbacks(KeldaHost &host, const CommandCall &call)
{
    const Flags flags(
        call, {{"-ac", "-addCallback", 1}, {"-rc", "-removeCallback", 1}, {"-h", "-hook", 1}, {"-o", "-owner", 1}});
    const bool adds = flags.has("-addCallback");
    const QString procedure = flags.required(adds ? "-addCallback" : "-removeCallback");
    const KeldaHost::Callback callback{flags.required("-hook"), procedure, flags.value("-owner").toString()};
    std::vector<KeldaHost::Callback> &all = host.callbacks();
    const auto found = std::find(all.begin(), all.end(), callback);
    if (!adds && found == all.end())
        throw CommandError(QStringLiteral("callbacks: '%1' has not added %2 to the hook %3")
                               .arg(callback.owner, procedure, callback.hook));
    if (!adds)
        all.erase(found);
    else if (found == all.end())
        all.push_back(callback);
    if (callback.hook == kFileMenuHook)
        host.menus().rebuild();
    return Value();
}

Value menuItem(KeldaHost &host, const CommandCall &call)
{
    const Flags flags(call, {{"-ex", "-exists"}, {"-p", "-parent", 1}, {"-l", "-label", 1}, {"-c", "-command", 1}});
    const QString id = flags.onlyPlain();
    if (flags.has("-exists"))
        return host.menus().contains(id);
    host.menus().put({id, flags.required("-parent"), flags.required("-label"), flags.value("-command").toString()});
    return id;
}

Value deleteUI(KeldaHost &host, const CommandCall &call)
{
    const QString id = Flags(call, {}).onlyPlain();
    if (!host.menus().remove(id))
        throw CommandError(QStringLiteral("deleteUI: the menu item '%1' does not exist").arg(id));
    return Value();
}

/// Returns the id of the text that the first two of \p count arguments identify: plug-in and key.
KStringResourceId textId(const CommandCall &call, std::size_t count)
{
    call.requireCount(count);
    const QStringList texts = call.texts();
    return KStringResourceId(texts[0].toUtf8().constData(), texts[1].toUtf8().constData(), "");
}

CommandError unregisteredText(const CommandCall &call)
{
    const QStringList texts = call.texts();
    return CommandError(QStringLiteral("%1: the text %2.%3 is not registered").arg(call.name, texts[0], texts[1]));
}

Value setStringResource(KeldaHost &host, const CommandCall &call)
{
    const KStringResourceId id = textId(call, 3);
    if (!host.replaceString(id, KQtUtil::toKString(call.arguments[2].toString())))
        throw unregisteredText(call);
    return Value();
}

Value getStringResource(KeldaHost &host, const CommandCall &call)
{
    KString text;
    if (!host.findString(textId(call, 2), text))
        throw unregisteredText(call);
    return KQtUtil::toQString(text);
}

template <KStatus (PluginManager::*change)(const QString &)>
Value changePlugins(KeldaHost &host, const CommandCall &call)
{
    const KStatus status = (host.plugins().*change)(Flags(call, {}).onlyPlain());
    if (!status)
        throw CommandError(KQtUtil::toQString(status.errorString()));
    return Value();
}

Value pluginInfo(KeldaHost &host, const CommandCall &call)
{
    const Flags flags(call, {{"-q", "-query"}, {"-ls", "-listPlugins"}, {"-v", "-version", 1}});
    return flags.has("-listPlugins") ? Value(host.plugins().loaded())
                                     : Value(host.plugins().version(flags.required("-version")));
}

/// Returns \p path with a separator at its end. Creates the folder if it is missing.
QString createdFolder(const QString &path)
{
    QDir().mkpath(path);
    return path.endsWith(QLatin1Char('/')) ? path : path + QLatin1Char('/');
}

Value internalVar(KeldaHost &host, const CommandCall &call)
{
    const Flags flags(call, {{"-q", "-query"}, {"-uad", "-userAppDir"}, {"-upd", "-userPrefDir"}});
    if (host.setup().userDir.isEmpty())
        return QString();
    const QString folder = createdFolder(host.setup().userDir);
    return flags.has("-userPrefDir") ? createdFolder(folder + QStringLiteral("prefs")) : folder;
}

Value getEnvironment(KeldaHost &host, const CommandCall &call)
{
    const QString name = Flags(call, {}).onlyPlain();
    return name == QLatin1String("KELDA_LOCATION") ? host.setup().location
                                                   : QString::fromLocal8Bit(qgetenv(name.toLocal8Bit().constData()));
}

Value about(KeldaHost &host, const CommandCall &call)
{
    const Flags flags(call, {{"-q", "-query"}, {"-ul", "-uiLanguage"}});
    return host.uiLanguage();
}

/// Returns 1 for success and 0 for failure.
Value sysFile(KeldaHost &, const CommandCall &call)
{
    const Flags flags(call, {{"-ex", "-exists"}, {"-del", "-delete"}});
    const QString path = flags.onlyPlain();
    return flags.has("-delete") ? QFile::remove(path) : QFileInfo::exists(path);
}

Value getFileList(KeldaHost &, const CommandCall &call)
{
    const Flags flags(call, {{"-fld", "-folder", 1}, {"-fs", "-filespec", 1}});
    const QString pattern = flags.has("-filespec") ? flags.required("-filespec") : QStringLiteral("*");
    return QDir(flags.required("-folder")).entryList({pattern}, QDir::AllEntries | QDir::NoDotAndDotDot, QDir::Name);
}

} // namespace

void addCoreCommands(KeldaHost &host)
{
    using Command = Value (*)(KeldaHost &, const CommandCall &);
    static constexpr std::pair<const char *, Command> kCommands[] = {
        {"eval", eval},
        {"source", source},
        {"print", print},
        {"error", error},
        {"commandEcho", commandEcho},
        {"waitCursor", waitCursor},
        {"quit", quit},
        {"callbacks", callbacks},
        {"menuItem", menuItem},
        {"deleteUI", deleteUI},
        {"setStringResource", setStringResource},
        {"getStringResource", getStringResource},
        {"loadPlugin", changePlugins<&PluginManager::load>},
        {"unloadPlugin", changePlugins<&PluginManager::unload>},
        {"pluginInfo", pluginInfo},
        {"internalVar", internalVar},
        {"getenv", getEnvironment},
        {"about", about},
        {"sysFile", sysFile},
        {"getFileList", getFileList},
    };
    for (const auto &[name, command] : kCommands) {
        host.interpreter().addCommand(QString::fromLatin1(name),
                                      [&host, run = command](const CommandCall &call) { return run(host, call); });
    }
    host.menus().setBuilder([&host] {
        if (host.hasInterface())
            host.executeCallbacks(kFileMenuHook);
    });
}
