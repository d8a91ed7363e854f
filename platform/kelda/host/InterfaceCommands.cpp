#include "host/CallbackRegistry.h"
#include "host/CommandHelpers.h"
#include "host/CoreCommands.h"
#include "host/KeldaHost.h"
#include "host/MenuModel.h"
#include "host/PluginManager.h"

namespace {

/// The hook whose callbacks fill the File menu.
const QString fileMenuHook = QStringLiteral("addItemToFileMenu");

QString required(const CommandCall &call, const Flags &flags, const char *flag)
{
    if (!flags.has(flag))
        throw CommandError(QStringLiteral("%1: flag %2 is missing").arg(call.name, QLatin1String(flag)));
    return flags.value(flag).toString();
}

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
    requirePlain(call, flags, 1);
    const QString id = plainText(flags, 0);
    if (flags.has("-exists"))
        return host.menus().contains(id);
    host.menus().put(
        {id, required(call, flags, "-parent"), required(call, flags, "-label"), flags.value("-command").toString()});
    return id;
}

Value deleteUI(KeldaHost &host, const CommandCall &call)
{
    const Flags flags(call, {});
    requirePlain(call, flags, 1);
    if (!host.menus().remove(plainText(flags, 0)))
        throw CommandError(QStringLiteral("deleteUI: there is no '%1'").arg(plainText(flags, 0)));
    return Value();
}

Value waitCursor(KeldaHost &host, const CommandCall &call)
{
    if (isQuery(call)) {
        const Flags flags(call, {{"-q", "-query"}, {"-st", "-state"}});
        return host.isWaiting();
    }
    const Flags flags(call, {{"-st", "-state", 1}});
    host.setWaiting(switchValue(call, required(call, flags, "-state")));
    return Value();
}

Value setStringResource(KeldaHost &host, const CommandCall &call)
{
    if (call.arguments.size() != 3)
        throw CommandError(QStringLiteral("setStringResource: plug-in, key and text are wanted"));
    const QString plugin = call.arguments[0].toString();
    const QString key = call.arguments[1].toString();
    if (!host.replaceString(plugin, key, call.arguments[2].toString()))
        throw CommandError(QStringLiteral("setStringResource: no text is registered as %1.%2").arg(plugin, key));
    return Value();
}

Value getStringResource(KeldaHost &host, const CommandCall &call)
{
    if (call.arguments.size() != 2)
        throw CommandError(QStringLiteral("getStringResource: plug-in and key are wanted"));
    const QString plugin = call.arguments[0].toString();
    const QString key = call.arguments[1].toString();
    QString text;
    if (!host.findString(plugin, key, text))
        throw CommandError(QStringLiteral("getStringResource: no text is registered as %1.%2").arg(plugin, key));
    return text;
}

Value changePlugins(KeldaHost &host, const CommandCall &call, KStatus (PluginManager::*change)(const QString &))
{
    const Flags flags(call, {{"-qt", "-quiet"}});
    requirePlain(call, flags, 1);
    const KStatus status = (host.plugins().*change)(plainText(flags, 0));
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
    requirePlain(call, flags, 1);
    const QString name = plainText(flags, 0);
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
        if (host.state() == KGlobal::kInteractive || host.state() == KGlobal::kBaseUI)
            host.executeCallbacks(fileMenuHook);
    });
}
