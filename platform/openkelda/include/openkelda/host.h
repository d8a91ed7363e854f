// openkelda/host.h
//
// For hosts only: the interface behind the whole API. A plug-in never includes this.

#pragma once

#include "openkelda/openkelda.h"

/// A host program derives from this and installs one object. With none installed, commands fail with a status,
/// messages go to stderr, the run mode is batch and texts are the defaults.
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
    /// \p host stays the caller's and must outlive its installation; null removes the present one.
    static void install(KHost *host);

    virtual KStatus execute(const KString &command, KCommandResult &result, bool display, bool undo) = 0;
    virtual void message(MessageKind kind, const KString &text) = 0;
    virtual QWidget *mainWindow() = 0;
    virtual KGlobal::KeldaState state() = 0;

    virtual KStatus registerString(const KStringResourceId &id) = 0;
    /// False when \p id is not registered.
    virtual bool findString(const KStringResourceId &id, KString &text) = 0;

    /// \p plugin is the handle that this host passed to the entry point.
    virtual KStatus describePlugin(KObject plugin, const KString &vendor, const KString &version,
                                   const KString &requiredApi) = 0;
    virtual KStatus registerUIStrings(KObject plugin, KStatus (*registration)(), const KString &procedure) = 0;
    virtual KStatus registerCommand(KObject plugin, const KString &name, void *(*creator)(), KSyntax (*syntax)()) = 0;
    virtual KStatus deregisterCommand(KObject plugin, const KString &name) = 0;
};
