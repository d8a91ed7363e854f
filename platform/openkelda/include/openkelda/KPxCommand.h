// openkelda/KPxCommand.h

#pragma once

#include "openkelda/KArgs.h"
#include "openkelda/KStatus.h"

/// A command of a plug-in. For each call the host creates one object with the registered creator and deletes it
/// afterwards.
class KPxCommand
{
public:
    KPxCommand() = default;
    virtual ~KPxCommand();
    KPxCommand(const KPxCommand &) = delete;
    KPxCommand &operator=(const KPxCommand &) = delete;

    virtual KStatus doIt(const KArgList &arguments) = 0;
    /// By default, a command cannot be undone.
    virtual KStatus undoIt();
    virtual KStatus redoIt();
    virtual bool isUndoable() const;
    virtual bool hasSyntax() const;
};
