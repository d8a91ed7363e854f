// pelago/Transfer.h
//
// Files on their way from and to the storage. Neither side ever has half a file under its real name.

#pragma once

#include "Outcome.h"

#include <QString>

#include <functional>

namespace pelago {

class EndPoint;

/// Gets bytes moved and their total, -1 when unknown.
using Progress = std::function<void(qint64 done, qint64 total)>;

/// Loads the file \p id into the local file \p target, whose folder exists. Spins the event loop. A reply without a
/// length is compared with the size that the server lists.
Outcome downloadFile(EndPoint &endPoint, const QString &id, const QString &target, const Progress &progress);

/// Stores \p localPath as \p id, which must not exist yet. Spins the event loop.
Outcome uploadNew(EndPoint &endPoint, const QString &id, const QString &localPath, const Progress &progress);

/// Replaces the file \p id, or stores it if it is gone. Otherwise as uploadNew.
Outcome uploadReplacing(EndPoint &endPoint, const QString &id, const QString &localPath, const Progress &progress);

} // namespace pelago
