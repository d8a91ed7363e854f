#include "host/CallbackRegistry.h"
#include "host/CommandHelpers.h"
#include "host/CoreCommands.h"
#include "host/KeldaHost.h"
#include "host/MenuModel.h"
#include "host/PluginManager.h"

namespace {

/// The hook whose callbacks fill the File menu.
const QString fileMenuHook = QStringLiteral("addItemToFileMenu");

Value callbacks(KeldaHost &host, const CommandCall &call)
{
    const Flags flags(call, {{"-ac", "-addCallback", 1},
                             {"-rc", "-removeCallback", 1},
                             {"-lc", "-listCallbacks"},
                             {"-ec", "-executeCallbacks"},
                             {"-h", "-hook", 1},
                             {"-o", "-owner", 1}});
    const QString hook = required(call, flags, "-hook");
    const QString owner = flags.value("-owner").toString();
    if (flags.has("-addCallback")) {
        host.callbacks().add(hook, flags.value("-addCallback").toString(), owner);
    } else if (flags.has("-removeCallback")) {
        const QString procedure = flags.value("-removeCallback").toString();
        if (!host.callbacks().remove(hook, procedure, owner))
            throw CommandError(QStringLiteral("callbacks: %1 is not hooked to %2 by '%3'").arg(procedure, hook, owner));
    } else if (flags.has("-executeCallbacks")) {
        host.executeCallbacks(hook);
        return Value();
    } else {
        return host.callbacks().procedures(hook);
    }
    if (hook == fileMenuHook)
        host.menus().rebuild();
    return Value();
}

Value menuItem(KeldaHost &host, const CommandCall &call)
{
    const Flags flags(call, {{"-ex", "-exists"}, {"-p", "-parent", 1}, {"-l", "-label", 1}, {"-c", "-command", 1}});
    const QString id = onlyPlain(call, flags);
    if (flags.has("-exists"))
        return host.menus().contains(id);
    host.menus().put(
        {id, required(call, flags, "-parent"), required(call, flags, "-label"), flags.value("-command").toString()});
    return id;
}

Value deleteUI(KeldaHost &host, const CommandCall &call)
{
    const QString id = onlyArgument(call);
    if (!host.menus().remove(id))
        throw CommandError(QStringLiteral("deleteUI: there is no '%1'").arg(id));
    return Value();
}

Value waitCursor(KeldaHost &host, const CommandCall &call)
{
    return runSwitch(call, host.isWaiting(), [&host](bool on) { host.setWaiting(on); });
}

/// The text that the first two arguments name, plug-in and key. \p count arguments are wanted in all.
KStringResourceId namedText(const CommandCall &call, std::size_t count)
{
    call.requireCount(count);
    const QStringList texts = call.texts();
    return KStringResourceId(texts[0].toUtf8().constData(), texts[1].toUtf8().constData(), "");
}

CommandError unregistered(const CommandCall &call)
{
    return CommandError(QStringLiteral("%1: no text is registered as %2.%3")
                            .arg(call.name, call.texts().value(0), call.texts().value(1)));
}

Value setStringResource(KeldaHost &host, const CommandCall &call)
{
    const KStringResourceId id = namedText(call, 3);
    if (!host.replaceString(id, KQtUtil::toKString(call.arguments[2].toString())))
        throw unregistered(call);
    return Value();
}

Value getStringResource(KeldaHost &host, const CommandCall &call)
{
    KString text;
    if (!host.findString(namedText(call, 2), text))
        throw unregistered(call);
    return KQtUtil::toQString(text);
}

Value changePlugins(KeldaHost &host, const CommandCall &call, KStatus (PluginManager::*change)(const QString &))
{
    const Flags flags(call, {{"-qt", "-quiet"}});
    const KStatus status = (host.plugins().*change)(onlyPlain(call, flags));
    if (!status)
        throw CommandError(KQtUtil::toQString(status.errorString()));
    return Value();
}

Value pluginInfo(KeldaHost &host, const CommandCall &call)
{
    const Flags flags(
        call, {{"-q", "-query"}, {"-l", "-loaded"}, {"-ls", "-listPlugins"}, {"-vd", "-vendor"}, {"-v", "-version"}});
    if (flags.has("-listPlugins"))
        return host.plugins().loaded();
    const QString name = onlyPlain(call, flags);
    if (flags.has("-vendor"))
        return host.plugins().vendor(name);
    if (flags.has("-version"))
        return host.plugins().version(name);
    return host.plugins().isLoaded(name);
}

} // namespace

void addInterfaceCommands(KeldaHost &host)
{
    using Command = Value (*)(KeldaHost &, const CommandCall &);
    static constexpr struct
    {
        const char *name;
        Command command;
    } commands[] = {{"callbacks", callbacks},
                    {"menuItem", menuItem},
                    {"deleteUI", deleteUI},
                    {"waitCursor", waitCursor},
                    {"setStringResource", setStringResource},
                    {"getStringResource", getStringResource},
                    {"pluginInfo", pluginInfo}};
    for (const auto &entry : commands) {
        host.interpreter().addCommand(
            QString::fromLatin1(entry.name),
            [&host, command = entry.command](const CommandCall &call) { return command(host, call); });
    }
    host.interpreter().addCommand(QStringLiteral("loadPlugin"), [&host](const CommandCall &call) {
        return changePlugins(host, call, &PluginManager::load);
    });
    host.interpreter().addCommand(QStringLiteral("unloadPlugin"), [&host](const CommandCall &call) {
        return changePlugins(host, call, &PluginManager::unload);
    });
    host.menus().setBuilder([&host] {
        if (host.hasInterface())
            host.executeCallbacks(fileMenuHook);
    });
}
