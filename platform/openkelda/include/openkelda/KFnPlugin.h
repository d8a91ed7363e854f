// openkelda/KFnPlugin.h
//
// The registrations of a plug-in, and its two entry points.

#pragma once

#include "openkelda/KArgs.h"
#include "openkelda/KObject.h"
#include "openkelda/KStatus.h"
#include "openkelda/KString.h"

class KFnPlugin
{
public:
    /// Sets vendor and version of the plug-in. Sets \p status, if not null, to a failure for a null object or an API
    /// version that the host does not have ("Any" is always accepted). All calls on this object fail then.
    KFnPlugin(KObject plugin, const char *vendor, const char *version, const char *requiredApi,
              KStatus *status = nullptr);

    /// Calls \p registration, then the command-language procedure \p procedure, which may replace texts with
    /// setStringResource. If it is not defined yet, it is called as soon as the loading plug-in runs a command that
    /// defines it.
    KStatus registerUIStrings(KStatus (*registration)(), const char *procedure);
    /// \p creator returns a new KPxCommand, which the host deletes. \p syntax may be null. Fails if the name is in use.
    KStatus registerCommand(const KString &name, void *(*creator)(), KSyntax (*syntax)() = nullptr);
    /// Fails for a name that this plug-in has not registered.
    KStatus deregisterCommand(const KString &name);

private:
    KObject m_plugin;
    KStatus m_status;
};

/// The entry points of a plug-in module, exported with C names. The host calls the first after opening the module and
/// the second before closing it. If the second fails, the plug-in stays loaded.
#ifdef __clang__
#pragma clang diagnostic push
#pragma clang diagnostic ignored "-Wreturn-type-c-linkage"
#endif
extern "C" KStatus initializePlugin(KObject plugin);
extern "C" KStatus uninitializePlugin(KObject plugin);
#ifdef __clang__
#pragma clang diagnostic pop
#endif
