// openkelda/KGlobal.h
//
// Host-wide services: commands, messages and the run mode. Call them on the user-interface thread only.

#pragma once

#include "openkelda/KCommandResult.h"
#include "openkelda/KStatus.h"
#include "openkelda/KString.h"

class KGlobal
{
public:
    enum KeldaState { kInteractive = 0, kBatch, kLibraryApp, kBaseUI };

    /// Runs command-language text. The status of a failure contains file, line and reason. \p display echoes the
    /// command and its result. Commands that show a dialog spin the event loop.
    static KStatus executeCommand(const KString &command, bool display = false, bool undo = false);
    static KStatus executeCommand(const KString &command, KCommandResult &result, bool display = false,
                                  bool undo = false);
    /// Returns the result as text: numbers in decimal, array elements joined by blanks; empty without a result.
    static KString executeCommandStringResult(const KString &command, bool display = false, bool undo = false,
                                              KStatus *status = nullptr);

    /// Posts a message to the host, or to stderr without a host.
    static void displayInfo(const KString &text);
    static void displayWarning(const KString &text);
    static void displayError(const KString &text);

    static KeldaState keldaState();
};
