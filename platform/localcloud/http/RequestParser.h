// localcloud/http/RequestParser.h
//
// Reading HTTP/1 requests from bytes, without a socket: the head in one piece, a chunked body piece by piece.

#pragma once

#include <QByteArray>
#include <QString>

#include <localcloud/http/HttpTypes.h>

namespace localcloud {

/// A parsed request head. When \a status is not 0 the head was refused and only that status means anything.
struct RequestHead
{
    int status = 0;
    QByteArray method;
    QByteArray authority;  ///< "name[:port]" of an absolute or CONNECT target, else of the Host header
    QByteArray path;       ///< with its leading slash; empty for CONNECT
    QByteArray query;      ///< null when the target has no "?"
    bool absolute = false; ///< the target named the host itself, as for a proxy
    HeaderList headers;
    qint64 contentLength = 0;
    bool chunked = false;
    bool hasLength = false;
    bool keepAlive = true;
    bool oldVersion = false; ///< HTTP/1.0, which knows no chunks
    bool expectContinue = false;

    bool isConnect() const { return method == "CONNECT"; }
};

/// The length of the request head at the start of \p buffer, its empty line included; -1 while it is not complete.
int headLength(const QByteArray &buffer);

/// Parses one complete head. Two lengths, a folded line, a bad name or a missing host are refused with 400, other
/// transfer codings with 501, other protocol versions with 505.
RequestHead parseHead(const QByteArray &bytes);

/// The name in "name[:port]" or "[v6][:port]", in lower case; empty when name or port is not valid.
QString hostOf(const QByteArray &authority);

/// Decodes a chunked body that may arrive in pieces of any size.
class ChunkedDecoder
{
public:
    /// Takes what it can from the front of \p input and appends the decoded bytes to \p output. False on a malformed
    /// body.
    bool feed(QByteArray &input, QByteArray &output);
    bool isDone() const { return m_state == State::Done; }

private:
    enum class State { Size, Data, DataEnd, Trailer, Done };
    bool readSize(const QByteArray &line);

    State m_state = State::Size;
    qint64 m_left = 0;
    int m_trailerBytes = 0;
};

} // namespace localcloud
