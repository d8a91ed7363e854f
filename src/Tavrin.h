// Tavrin.h
//
// The plug-in's front door: its entry points (declared in openkelda/KFnPlugin.h), the host command that it adds, and
// the creation of the portals.

#pragma once

#include "TavrinHelper.h"

#include <openkelda/openkelda.h>

/// The command "Tavrin". It cannot be undone.
class TavrinCmd : public KPxCommand
{
public:
    static const KString commandName;

    /// A new TavrinCmd, which the host owns.
    static void *creator();
    /// The flag "-spr"/"-showportal"; query mode, no edit mode.
    static KSyntax createSyntax();
    /// Removes what the plug-in added to the host's user interface.
    static void cleanup();

    /// With the flag, and in a host with a user interface, shows the cloud browser in front; otherwise does nothing.
    /// Always a success. Spins the event loop when it has to create the portals.
    KStatus doIt(const KArgList &arguments) override;
};

/// Creates the portals and their tabs in the dock panel and empties the download folder; once until the plug-in is
/// unloaded. Spins the event loop while stored sessions are confirmed.
void InitCloudPortal();
