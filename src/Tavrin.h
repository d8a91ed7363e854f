// Tavrin.h
//
// The entry points of the plug-in (declared in openkelda/KFnPlugin.h), its host command, and the creation of the
// portals.

#pragma once

#include "TavrinHelper.h"

#include <openkelda/openkelda.h>

/// The host command "Tavrin", without undo.
class TavrinCmd : public KPxCommand
{
public:
    static const KString commandName;

    /// Returns a new TavrinCmd, owned by the host.
    static void *creator();
    /// Returns the syntax: the flag "-spr"/"-showportal", with query mode and without edit mode.
    static KSyntax createSyntax();
    /// Removes the plug-in's additions to the host's user interface.
    static void cleanup();

    /// Shows and raises the cloud browser if the flag is set and the host has a user interface. Always succeeds. Spins
    /// the event loop if it creates the portals.
    KStatus doIt(const KArgList &arguments) override;
};

/// Creates the portals and their tabs in the dock and empties the download folder. Ignored after the first call, until
/// the plug-in is unloaded. Spins the event loop while the services confirm stored sessions.
void InitCloudPortal();
