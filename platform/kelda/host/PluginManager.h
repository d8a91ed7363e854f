// host/PluginManager.h
//
// Loads and unloads plug-in modules, and stores their registrations.

#pragma once

#include <openkelda/openkelda.h>

#include <QString>
#include <QStringList>

#include <memory>
#include <vector>

class KeldaHost;

class PluginManager
{
public:
    /// \p host must outlive this object.
    explicit PluginManager(KeldaHost &host);
    /// Does not call the plug-ins. Call unloadAll() before.
    ~PluginManager();

    /// Opens \p file (absolute, or relative to the current folder) and calls its initializePlugin. The plug-in's name
    /// is the file's name without folder and suffix. After a failure, whose status names the file, the module is
    /// closed.
    KStatus load(const QString &file);
    /// Calls uninitializePlugin, removes the plug-in's remaining commands, and closes the module. Fails if that entry
    /// point fails or one of the commands is running; the plug-in stays loaded then.
    KStatus unload(const QString &name);
    /// Unloads all plug-ins, last loaded first. Posts an error for each plug-in that fails to unload.
    void unloadAll();

    /// Returns the plug-ins' names in the order of loading.
    QStringList loaded() const;
    bool isLoaded(const QString &name) const { return loaded().contains(name); }
    /// Returns an empty text if the plug-in is not loaded.
    QString version(const QString &name) const;
    /// Returns the folder of the plug-in whose initializePlugin is running; empty at other times.
    QString loadingFolder() const;

    /// Calls the procedures that loading plug-ins passed to registerUIStrings(). Each is called once, after its
    /// definition.
    void runDefinedStringProcedures();

    // The calls of KHost.
    KStatus describe(KObject plugin, const KString &version, const KString &requiredApi);
    KStatus registerUIStrings(KObject plugin, KStatus (*registration)(), const KString &procedure);
    KStatus registerCommand(KObject plugin, const KString &name, void *(*creator)(), KSyntax (*syntax)());
    KStatus deregisterCommand(KObject plugin, const KString &name);

private:
    struct Plugin;
    Plugin *find(KObject handle) const;
    Plugin *find(const QString &name) const;
    KStatus initialize(Plugin &plugin);
    void release(Plugin &plugin);

    KeldaHost &m_host;
    std::vector<std::unique_ptr<Plugin>> m_plugins;
};
