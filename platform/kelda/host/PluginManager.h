// host/PluginManager.h
//
// Loads and unloads plug-in modules and keeps what they registered.

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
    /// Forgets the plug-ins without calling them; see unloadAll().
    ~PluginManager();

    /// Opens \p file (absolute, or relative to the current folder) and calls its initializePlugin. The plug-in's name
    /// is the file's name without folder and suffix. A failure names the file, and leaves nothing behind.
    KStatus load(const QString &file);
    /// Calls uninitializePlugin, removes commands that the plug-in left, and closes the module. The plug-in stays
    /// loaded when that entry point fails or while one of its commands runs.
    KStatus unload(const QString &name);
    /// Unloads all, last loaded first. One that refuses is skipped; the host posts its error.
    void unloadAll();

    /// Names in the order of loading.
    QStringList loaded() const;
    bool isLoaded(const QString &name) const { return loaded().contains(name); }
    /// Null texts for a plug-in that is not loaded.
    QString vendor(const QString &name) const;
    QString version(const QString &name) const;
    /// Folder of the plug-in whose initializePlugin is running; empty when none is.
    QString loadingFolder() const;

    /// Calls the text procedures of loading plug-ins that have been defined since they were announced.
    void runDefinedStringProcedures();

    KStatus describe(KObject plugin, const KString &vendor, const KString &version, const KString &requiredApi);
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
