#include "openkelda/KPxCommand.h"

KPxCommand::~KPxCommand() = default;

KStatus KPxCommand::undoIt()
{
    return KStatus::failure("the command cannot be undone");
}

KStatus KPxCommand::redoIt()
{
    return KStatus::failure("the command cannot be redone");
}

bool KPxCommand::isUndoable() const
{
    return false;
}

bool KPxCommand::hasSyntax() const
{
    return false;
}
