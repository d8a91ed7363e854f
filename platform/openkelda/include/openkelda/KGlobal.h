// openkelda/KGlobal.h
//
// Host-wide services: commands, messages and the run mode. All of them belong to the user-interface thread.

#pragma once

#include "openkelda/KCommandResult.h"
#include "openkelda/KStatus.h"
#include "openkelda/KString.h"

class KGlobal
{
public:
    enum KeldaState { kInteractive = 0, kBatch, kLibraryApp, kBaseUI };

    /// Runs command-language text to its end. A failure carries file, line and reason. \p display echoes the command
    /// and its result. A command that shows a dialog spins the event loop.
    static KStatus executeCommand(const KString &command, bool display = false, bool undo = false);
    static KStatus executeCommand(const KString &command, KCommandResult &result, bool display = false,
                                  bool undo = false);
    /// The result as text: empty on failure and for no result; numbers in decimal, an array's texts joined by blanks.
    static KString executeCommandStringResult(const KString &command, bool display = false, bool undo = false,
                                              KStatus *status = nullptr);

    /// One entry in the host's message area (stderr without a host).
    static void displayInfo(const KString &text);
    static void displayWarning(const KString &text);
    static void displayError(const KString &text);

    static KeldaState keldaState();
};
