// localcloud/http/RequestLog.h
//
// The record of what was asked: one JSON object per request and line, credentials included, so the file is its owner's.

#pragma once

#include <QFile>

#include <localcloud/http/HttpTypes.h>

namespace localcloud {

class RequestLog
{
public:
    /// Appends to \p path, made with mode 0600. False with a reason.
    bool open(const QString &path, QString *error);

    /// Writes one line at once. Does nothing without an open file.
    void write(const RequestRecord &record);

private:
    QFile m_file;
};

} // namespace localcloud
