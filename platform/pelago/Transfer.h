// pelago/Transfer.h
//
// Files on their way from and to the storage. Neither side ever has half a file under its real name.

#pragma once

#include <functional>
#include <QString>
#include <QStringList>

namespace pelago {

class EndPoint;

/// Gets bytes moved and their total, -1 when unknown.
using Progress = std::function<void(qint64 done, qint64 total)>;

/// Spins the event loop. 1 or a negative Skein_Result. \p target is the local file, whose folder exists.
int downloadFile(EndPoint &endPoint, const QString &id, const QString &target, const Progress &progress);

/// Stores \p localPath as \p id, which must not exist yet. Spins the event loop. 1 or a negative Skein_Result.
int uploadNew(EndPoint &endPoint, const QString &id, const QString &localPath, const Progress &progress);

/// Replaces the file \p id, or stores it when it is gone. Otherwise as uploadNew.
int uploadReplacing(EndPoint &endPoint, const QString &id, const QString &localPath, const Progress &progress);

} // namespace pelago
