// openkelda/KPxCommand.h

#pragma once

#include "openkelda/KArgs.h"
#include "openkelda/KStatus.h"

/// A command that a plug-in adds. The host makes one object per call through the registered creator and owns it.
class KPxCommand
{
public:
    KPxCommand() = default;
    virtual ~KPxCommand();
    KPxCommand(const KPxCommand &) = delete;
    KPxCommand &operator=(const KPxCommand &) = delete;

    virtual KStatus doIt(const KArgList &arguments) = 0;
    /// The defaults of the three below belong to a command that cannot be undone.
    virtual KStatus undoIt();
    virtual KStatus redoIt();
    virtual bool isUndoable() const;
    virtual bool hasSyntax() const;
};
