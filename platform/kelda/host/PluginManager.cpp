#include "host/PluginManager.h"

#include "host/KeldaHost.h"
#include "host/MenuModel.h"

#include <QDir>
#include <QFileInfo>
#include <QScopeGuard>

#include <algorithm>
#include <dlfcn.h>
#include <functional>

namespace {

using EntryPoint = KStatus (*)(KObject);

/// The API version of this host. Plug-ins may also require "Any".
const KString kApiVersion("1.0");

EntryPoint entryPoint(void *module, const char *name)
{
    return reinterpret_cast<EntryPoint>(dlsym(module, name));
}

KStatus failure(const QString &reason)
{
    return KStatus::failure(KQtUtil::toKString(reason));
}

/// Calls a function of a plug-in and converts exceptions to failures.
KStatus guarded(const std::function<KStatus()> &call)
{
    try {
        return call();
    } catch (const std::exception &error) {
        return KStatus::failure(error.what());
    } catch (...) {
        return KStatus::failure("unknown exception");
    }
}

} // namespace

struct PluginManager::Plugin
{
    QString name;
    QString file;
    QString version;
    void *module = nullptr;
    QStringList commands;
    QStringList stringProcedures; ///< passed to registerUIStrings(), but not yet defined
    bool isLoading = true;
    bool isUnloading = false;
    int running = 0; ///< its running commands

    KObject handle() { return KObject(this); }
};

PluginManager::PluginManager(KeldaHost &host) : m_host(host) {}

PluginManager::~PluginManager() = default;

PluginManager::Plugin *PluginManager::find(KObject handle) const
{
    for (const auto &plugin : m_plugins) {
        if (plugin.get() == handle.handle())
            return plugin.get();
    }
    return nullptr;
}

PluginManager::Plugin *PluginManager::find(const QString &name) const
{
    for (const auto &plugin : m_plugins) {
        if (plugin->name == name)
            return plugin.get();
    }
    return nullptr;
}

KStatus PluginManager::load(const QString &file)
{
    const QFileInfo info(file);
    if (!info.isFile())
        return failure(QStringLiteral("the plug-in file %1 does not exist").arg(file));
    auto plugin = std::make_unique<Plugin>();
    plugin->name = info.completeBaseName();
    plugin->file = info.absoluteFilePath();
    if (find(plugin->name))
        return failure(QStringLiteral("cannot load %2: a plug-in %1 is already loaded").arg(plugin->name, file));

    plugin->module = dlopen(QFile::encodeName(plugin->file).constData(), RTLD_NOW | RTLD_LOCAL);
    if (!plugin->module)
        return failure(QStringLiteral("%1 is not a plug-in: %2").arg(file, QString::fromLocal8Bit(dlerror())));
    for (const char *name : {"initializePlugin", "uninitializePlugin"}) {
        if (!entryPoint(plugin->module, name)) {
            dlclose(plugin->module);
            return failure(
                QStringLiteral("%1 is not a plug-in: the entry point %2 is missing").arg(file, QLatin1String(name)));
        }
    }
    Plugin &loading = *plugin;
    m_plugins.push_back(std::move(plugin));
    return initialize(loading);
}

KStatus PluginManager::initialize(Plugin &plugin)
{
    const KStatus status =
        guarded([&plugin] { return entryPoint(plugin.module, "initializePlugin")(plugin.handle()); });
    if (!status) {
        const QString reason = QStringLiteral("the initialisation of %1 failed: %2")
                                   .arg(plugin.file, KQtUtil::toQString(status.errorString()));
        release(plugin);
        return failure(reason);
    }
    runDefinedStringProcedures();
    plugin.isLoading = false;
    plugin.stringProcedures.clear();
    return KStatus();
}

KStatus PluginManager::unload(const QString &name)
{
    Plugin *plugin = find(name);
    if (!plugin || plugin->isLoading || plugin->isUnloading)
        return failure(QStringLiteral("the plug-in %1 is not loaded").arg(name));
    if (plugin->running > 0)
        return failure(QStringLiteral("cannot unload the plug-in %1: one of its commands is running").arg(name));
    plugin->isUnloading = true;
    const KStatus status =
        guarded([plugin] { return entryPoint(plugin->module, "uninitializePlugin")(plugin->handle()); });
    plugin->isUnloading = false;
    if (!status)
        return failure(
            QStringLiteral("cannot unload the plug-in %1: %2").arg(name, KQtUtil::toQString(status.errorString())));
    release(*plugin);
    return KStatus();
}

void PluginManager::release(Plugin &plugin)
{
    for (const QString &command : plugin.commands)
        m_host.interpreter().removeCommand(command);
    dlclose(plugin.module);
    const auto same = [&plugin](const auto &other) { return other.get() == &plugin; };
    m_plugins.erase(std::find_if(m_plugins.begin(), m_plugins.end(), same));
}

void PluginManager::unloadAll()
{
    const QStringList names = loaded();
    for (auto name = names.crbegin(); name != names.crend(); ++name) {
        const KStatus status = unload(*name);
        if (!status)
            m_host.message(KHost::MessageKind::kError, status.errorString());
    }
}

QStringList PluginManager::loaded() const
{
    QStringList names;
    for (const auto &plugin : m_plugins) {
        if (!plugin->isLoading)
            names.append(plugin->name);
    }
    return names;
}

QString PluginManager::version(const QString &name) const
{
    const Plugin *plugin = find(name);
    return plugin ? plugin->version : QString();
}

QString PluginManager::loadingFolder() const
{
    for (auto plugin = m_plugins.rbegin(); plugin != m_plugins.rend(); ++plugin) {
        if ((*plugin)->isLoading)
            return QFileInfo((*plugin)->file).absolutePath();
    }
    return QString();
}

void PluginManager::runDefinedStringProcedures()
{
    QStringList defined;
    for (const auto &plugin : m_plugins) {
        for (const QString &procedure : qAsConst(plugin->stringProcedures)) {
            if (m_host.interpreter().hasProcedure(procedure))
                defined.append(procedure);
        }
        for (const QString &procedure : qAsConst(defined))
            plugin->stringProcedures.removeAll(procedure);
    }
    for (const QString &procedure : qAsConst(defined)) {
        try {
            m_host.interpreter().call(procedure, {});
        } catch (const ScriptError &error) {
            m_host.reportFailure(error.message());
        }
    }
    // The existing menu entries show the former texts.
    if (!defined.isEmpty())
        m_host.menus().rebuild();
}

KStatus PluginManager::describe(KObject plugin, const KString &version, const KString &requiredApi)
{
    Plugin *known = find(plugin);
    if (!known)
        return KStatus::failure("the plug-in object is not from this host");
    if (requiredApi != "Any" && requiredApi != kApiVersion)
        return KStatus::failure("this host does not offer API version " + requiredApi);
    known->version = KQtUtil::toQString(version);
    return KStatus();
}

KStatus PluginManager::registerUIStrings(KObject plugin, KStatus (*registration)(), const KString &procedure)
{
    Plugin *known = find(plugin);
    if (!known)
        return KStatus::failure("the plug-in object is not from this host");
    const KStatus status = registration ? guarded(registration) : KStatus();
    if (!status)
        return status;
    known->stringProcedures.append(KQtUtil::toQString(procedure));
    runDefinedStringProcedures();
    return KStatus();
}

KStatus PluginManager::registerCommand(KObject plugin, const KString &name, void *(*creator)(), KSyntax (*syntax)())
{
    Q_UNUSED(syntax) // the command parses its arguments itself
    Plugin *known = find(plugin);
    if (!known || name.isEmpty() || !creator)
        return KStatus::failure("a command needs a plug-in of this host, a name and a creator");
    const QString text = KQtUtil::toQString(name);
    const auto run = [known, creator, text](const CommandCall &call) {
        KArgList arguments;
        for (const QString &argument : call.texts())
            arguments.append(KQtUtil::toKString(argument));
        ++known->running;
        const auto guard = qScopeGuard([known] { --known->running; });
        const KStatus status = guarded([&] {
            const std::unique_ptr<KPxCommand> command(static_cast<KPxCommand *>(creator()));
            return command ? command->doIt(arguments) : KStatus::failure("the command object could not be created");
        });
        if (!status)
            throw CommandError(text + QStringLiteral(": ") + KQtUtil::toQString(status.errorString()));
        return Value();
    };
    if (m_host.interpreter().hasProcedure(text) || !m_host.interpreter().addCommand(text, run))
        return KStatus::failure("the name " + name + " is already in use");
    known->commands.append(text);
    return KStatus();
}

KStatus PluginManager::deregisterCommand(KObject plugin, const KString &name)
{
    Plugin *known = find(plugin);
    if (!known || !known->commands.removeOne(KQtUtil::toQString(name)))
        return KStatus::failure("the plug-in has not registered a command " + name);
    m_host.interpreter().removeCommand(KQtUtil::toQString(name));
    return KStatus();
}
