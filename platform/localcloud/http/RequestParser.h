// localcloud/http/RequestParser.h
//
// Parses the head of an HTTP/1.1 request. Performs no input or output.

#pragma once

#include "localcloud/http/HttpTypes.h"

#include <QByteArray>
#include <QString>

namespace localcloud {

/// A parsed request head. If \a status is not 0, the request must be refused with that status, and the other members
/// are unset.
struct RequestHead
{
    int status = 0;
    QByteArray method;
    QByteArray authority; ///< "name[:port]" of an absolute or CONNECT target, else of the Host header
    QByteArray path;      ///< with its leading slash; empty for CONNECT
    QByteArray query;     ///< null if the target has no "?"
    HeaderList headers;
    qint64 contentLength = 0;
    bool hasLength = false;
    bool keepAlive = true;
    bool expectContinue = false;

    bool isConnect() const { return method == "CONNECT"; }
};

/// Returns the length of the request head at the start of \p buffer, empty line included; -1 while it is incomplete.
int headLength(const QByteArray &buffer);

/// Parses one complete head. Refuses malformed ones with 400, transfer codings with 501 and versions other than
/// HTTP/1.1 with 505.
RequestHead parseHead(const QByteArray &bytes);

/// Returns the name in "name[:port]" in lower case; empty if the name or the port is malformed.
QString hostOf(const QByteArray &authority);

} // namespace localcloud
