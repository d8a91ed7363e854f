// localcloud/http/RequestLog.h
//
// Writes one JSON object per request to a log file, credentials included. Only the file's owner can read it.

#pragma once

#include "localcloud/http/HttpTypes.h"

#include <QFile>

namespace localcloud {

class RequestLog
{
public:
    /// Appends to \p path and sets its mode to 0600. Returns false and sets \p error if it cannot be opened.
    bool open(const QString &path, QString *error);

    /// Writes one line without delay. Ignored without an open file.
    void write(const RequestRecord &record);

private:
    QFile m_file;
};

} // namespace localcloud
