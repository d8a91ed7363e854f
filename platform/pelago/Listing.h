// pelago/Listing.h
//
// What a folder holds.

#pragma once

#include "MultiStatus.h"

#include <pelago/pelago.h>

#include <QString>

namespace pelago {

class EndPoint;

/// Calls \p contentCb for each entry of \p folderId once all have arrived. Spins the event loop. Returns their number
/// or a negative Skein_Result.
int listFolder(EndPoint &endPoint, const QString &folderId, Skein_ContentCb contentCb, void *context);

/// Asks about one file or folder. Spins the event loop. 1 with the entry, or a negative Skein_Result.
int findEntry(EndPoint &endPoint, const QString &id, DavEntry *entry);

} // namespace pelago
