// pelago/Storage.h
//
// Listings, downloads and uploads of one end point. Every function spins the event loop.

#pragma once

#include "MultiStatus.h"
#include "Trace.h"

#include <pelago/pelago.h>

#include <QString>

#include <functional>

namespace pelago {

class EndPoint;

/// Receives the transferred and the total bytes of a file; the total is -1 when unknown.
using Progress = std::function<void(qint64 done, qint64 total)>;

/// Calls \p contentCb for each entry of \p folderId after the whole listing has arrived: folders first, then by name in
/// the order of the user's locale, numbers by value. The result is the number of entries, or negative.
Outcome listFolder(EndPoint &endPoint, const QString &folderId, Skein_ContentCb contentCb, void *context);

Outcome findEntry(EndPoint &endPoint, const QString &id, DavEntry *entry);

/// Downloads the file \p id to the local file \p target, whose folder must exist. An older file is replaced only by a
/// complete one. The bytes of a reply without a length are compared with the listed size.
Outcome downloadFile(EndPoint &endPoint, const QString &id, const QString &target, const Progress &progress);

/// Stores \p localPath as the new file \p id. Fails with Conflict if the name is taken.
Outcome uploadNew(EndPoint &endPoint, const QString &id, const QString &localPath, const Progress &progress);

/// Replaces the content of the file \p id; stores a new file if it does not exist.
Outcome uploadReplacing(EndPoint &endPoint, const QString &id, const QString &localPath, const Progress &progress);

} // namespace pelago
