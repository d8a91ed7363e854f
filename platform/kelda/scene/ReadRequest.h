// scene/ReadRequest.h
//
// What the host asks of its reader process. Both ends are built together, so the form on the wire is theirs alone.

#pragma once

#include "scene/FileOptions.h"

#include <QDataStream>

struct ReadRequest
{
    QString path;
    QString translator; ///< its name; empty for whatever the file's first bytes suggest
    OptionValues options;
};

inline QDataStream &operator<<(QDataStream &stream, const ReadRequest &request)
{
    return stream << request.path << request.translator << request.options;
}

inline QDataStream &operator>>(QDataStream &stream, ReadRequest &request)
{
    return stream >> request.path >> request.translator >> request.options;
}
