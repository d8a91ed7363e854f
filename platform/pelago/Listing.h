// pelago/Listing.h
//
// What a folder holds.

#pragma once

#include "MultiStatus.h"
#include "Outcome.h"

#include <pelago/pelago.h>

#include <QString>

namespace pelago {

class EndPoint;

/// Calls \p contentCb for each entry of \p folderId once all have arrived, folders first, then by name as the user's
/// locale orders them, with numbers by value. Spins the event loop. The result is their number if it is not negative.
Outcome listFolder(EndPoint &endPoint, const QString &folderId, Skein_ContentCb contentCb, void *context);

/// Asks about one file or folder. Spins the event loop.
Outcome findEntry(EndPoint &endPoint, const QString &id, DavEntry *entry);

} // namespace pelago
