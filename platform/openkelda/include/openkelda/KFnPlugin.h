// openkelda/KFnPlugin.h
//
// What a plug-in may do with itself, and the two functions by which the host loads and unloads it.

#pragma once

#include "openkelda/KArgs.h"
#include "openkelda/KObject.h"
#include "openkelda/KStatus.h"
#include "openkelda/KString.h"

class KFnPlugin
{
public:
    /// Makes the plug-in known under \p vendor and \p version. \p status, when given, receives a failure for a null
    /// object or for an API that this host does not offer ("Any" always suits); every call on it then fails too.
    KFnPlugin(KObject plugin, const char *vendor, const char *version, const char *requiredApi,
              KStatus *status = nullptr);

    /// Calls \p registration at once, then the command-language procedure \p procedure: at once if there is one by that
    /// name, else as soon as a command that the plug-in runs while it is loading has defined it. The procedure may
    /// replace texts with setStringResource.
    KStatus registerUIStrings(KStatus (*registration)(), const char *procedure);
    /// \p creator returns a new KPxCommand, which the host deletes; \p syntax may be null. A name in use is a failure.
    KStatus registerCommand(const KString &name, void *(*creator)(), KSyntax (*syntax)() = nullptr);
    /// Fails for a name that this plug-in did not register.
    KStatus deregisterCommand(const KString &name);

private:
    KObject m_plugin;
    KStatus m_status;
};

/// The entry points of a plug-in module, exported under these plain names. The host calls the first after opening the
/// module and the second before closing it; a failure of the second leaves the plug-in loaded.
#ifdef __clang__
#pragma clang diagnostic push
#pragma clang diagnostic ignored "-Wreturn-type-c-linkage"
#endif
extern "C" KStatus initializePlugin(KObject plugin);
extern "C" KStatus uninitializePlugin(KObject plugin);
#ifdef __clang__
#pragma clang diagnostic pop
#endif
