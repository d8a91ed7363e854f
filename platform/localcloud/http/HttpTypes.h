// localcloud/http/HttpTypes.h
//
// What travels between a connection and a service: one parsed request, one response to be written, and the record of
// the exchange that stays behind.

#pragma once

#include <QByteArray>
#include <QPair>
#include <QString>
#include <QVector>

#include <functional>
#include <localcloud/http/RequestBody.h>
#include <optional>

namespace localcloud {

/// Header lines in the order of their arrival, names as they came.
using HeaderList = QVector<QPair<QByteArray, QByteArray>>;

/// The value of the first header called \p name (case does not count); empty when there is none.
QByteArray headerValue(const HeaderList &headers, const char *name);

/// Whether there is a header called \p name, be it empty.
bool hasHeader(const HeaderList &headers, const char *name);

/// Whether the header \p name holds \p token in its comma-separated list (case does not count).
bool headerHasToken(const HeaderList &headers, const char *name, const char *token);

/// Reads UTF-8 strictly: nothing for bytes that are none.
std::optional<QString> utf8Text(const QByteArray &bytes);

/// The value of \p name in "a=b&c=d", decoded once: "+" is a blank, "%xx" a byte. Of equal names the first counts.
QString formValue(const QByteArray &form, const char *name);

/// A complete request. The body is already here, in memory or in a temporary file.
struct HttpRequest
{
    QByteArray method;
    QString host;     ///< lower case, without port
    QByteArray path;  ///< percent-encoded, as it came
    QByteArray query; ///< after the "?", percent-encoded
    HeaderList headers;
    RequestBody body;
    bool tls = false;
    bool hasLength = false;      ///< a Content-Length or a chunked body was announced
    bool signedRedirect = false; ///< a rule asks for a redirect to an address that needs no header

    QByteArray header(const char *name) const { return headerValue(headers, name); }
    QByteArray target() const { return query.isNull() ? path : path + '?' + query; }
};

/// A response; the body is \a body, or \a fileLength bytes of \a file from \a fileOffset on, or what \a source gives.
/// Content-Length or Transfer-Encoding, Date and Connection are added by the connection.
struct HttpResponse
{
    int status = 200;
    HeaderList headers;
    QByteArray body;
    QString file; ///< path of a local file that is streamed; empty for none
    qint64 fileOffset = 0;
    qint64 fileLength = 0;
    /// Gives the body piece by piece as the client takes it, an empty one at its end.
    std::function<QByteArray()> source;

    int delayMs = 0;       ///< waits before the first byte
    bool noLength = false; ///< sends no Content-Length; the end of the connection ends the body
    qint64 cutAfter = -1;  ///< closes the connection after so many bytes of the body; -1 never
    bool hang = false;     ///< never answers
    bool garbage = false;  ///< answers with bytes that are no HTTP

    /// Replaces status, body and Content-Type.
    void set(int code, const QByteArray &type, const QByteArray &text);
    void setHeader(const QByteArray &name, const QByteArray &value);
    /// Of a body whose length is known.
    qint64 length() const { return file.isEmpty() ? body.size() : fileLength; }
};

/// The reason phrase of a status; "Status" for one that has none here.
QByteArray reasonPhrase(int status);

/// A time in seconds since 1970 as headers show it, "Sun, 06 Nov 1994 08:49:37 GMT".
QByteArray httpDate(qint64 seconds);
/// Reads it back; nothing for another form.
std::optional<qint64> parseHttpDate(const QByteArray &text);

/// The media type that goes with the extension of \p fileName.
QByteArray mediaType(const QString &fileName);

} // namespace localcloud

/// One request that was served, secrets included.
struct RequestRecord
{
    QString host;
    bool tls = false;
    QByteArray method;
    QByteArray target; ///< path and query as they came
    localcloud::HeaderList headers;
    qint64 bodyBytes = 0;
    QByteArray body; ///< the request's body when it is not larger than 64 KiB, else empty
    int status = 0;  ///< 0 when a rule let the request hang or answered garbage

    /// The value of the first header of that name, case not counting; empty when there is none.
    QByteArray header(const char *name) const { return localcloud::headerValue(headers, name); }
};
