// openkelda/host.h
//
// For hosts only: the interface that implements the API. Plug-ins must not include it.

#pragma once

#include "openkelda/openkelda.h"

/// A host program derives from this and installs one object. Without an installed host, commands fail, messages are
/// written to stderr, the run mode is batch and texts are the defaults.
class KHost
{
public:
    enum class MessageKind { kInfo, kWarning, kError };

    virtual ~KHost();
    KHost() = default;
    KHost(const KHost &) = delete;
    KHost &operator=(const KHost &) = delete;

    /// The installed host or null.
    static KHost *instance();
    /// The caller owns \p host. Null removes the installed host.
    static void install(KHost *host);

    virtual KStatus execute(const KString &command, KCommandResult &result, bool display, bool undo) = 0;
    virtual void message(MessageKind kind, const KString &text) = 0;
    virtual QWidget *mainWindow() = 0;
    virtual KGlobal::KeldaState state() = 0;

    virtual KStatus registerString(const KStringResourceId &id) = 0;
    /// Returns false if \p id is not registered.
    virtual bool findString(const KStringResourceId &id, KString &text) = 0;

    /// \p plugin is the object that this host passed to the entry point.
    virtual KStatus describePlugin(KObject plugin, const KString &vendor, const KString &version,
                                   const KString &requiredApi) = 0;
    virtual KStatus registerUIStrings(KObject plugin, KStatus (*registration)(), const KString &procedure) = 0;
    virtual KStatus registerCommand(KObject plugin, const KString &name, void *(*creator)(), KSyntax (*syntax)()) = 0;
    virtual KStatus deregisterCommand(KObject plugin, const KString &name) = 0;
};
