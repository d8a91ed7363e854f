// localcloud/http/HttpTypes.h
//
// One parsed request, one response, and the record of an exchange. Also the functions that read headers and forms.

#pragma once

#include "localcloud/http/RequestBody.h"

#include <QByteArray>
#include <QPair>
#include <QString>
#include <QVector>

#include <optional>

class QJsonObject;

namespace localcloud {

/// Header lines in the order of their arrival, with the spelling of their names.
using HeaderList = QVector<QPair<QByteArray, QByteArray>>;

/// Returns the value of the first header called \p name (case-insensitive), null if it does not exist.
QByteArray headerValue(const HeaderList &headers, const char *name);

/// Returns whether the comma-separated header \p name contains \p token (case-insensitive).
bool headerHasToken(const HeaderList &headers, const char *name, const char *token);

/// Decodes UTF-8. Returns an empty optional for malformed bytes.
std::optional<QString> utf8Text(const QByteArray &bytes);

/// Returns the first value of \p name in the form "a=b&c=d", decoded once ("+" is a blank). Empty if it is missing.
QString formValue(const QByteArray &form, const char *name);

/// A complete request. The body is in memory or in a temporary file.
struct HttpRequest
{
    QByteArray method;
    QString host;     ///< lower case, without port
    QByteArray path;  ///< percent-encoded, as received
    QByteArray query; ///< after the "?", percent-encoded; null if the target has no "?"
    HeaderList headers;
    RequestBody body;
    bool tls = false;
    bool hasLength = false;      ///< the request has a Content-Length header
    bool signedRedirect = false; ///< a rule demands a redirect to an address that needs no token

    QByteArray header(const char *name) const { return headerValue(headers, name); }
    QByteArray target() const { return query.isNull() ? path : path + '?' + query; }
};

/// A response. Its body is \a body, or the first \a fileLength bytes of \a file.
/// The connection adds Content-Length and Connection.
struct HttpResponse
{
    int status = 200;
    HeaderList headers;
    QByteArray body;
    QString file; ///< path of a local file that is sent; empty for none
    qint64 fileLength = 0;

    int delayMs = 0;       ///< delay before the first byte
    bool noLength = false; ///< sends no Content-Length; the end of the connection ends the body
    qint64 cutAfter = -1;  ///< closes the connection after this many bytes of the body; -1 never
    bool hang = false;     ///< sends nothing and keeps the connection open
    bool garbage = false;  ///< sends bytes that are not HTTP, then closes the connection

    qint64 length() const { return file.isEmpty() ? body.size() : fileLength; }
    void setHeader(const QByteArray &name, const QByteArray &value);

    /// Each of the following replaces status, body and Content-Type.
    void set(int code, const QByteArray &type, const QByteArray &text);
    /// Status 200 with \p object.
    void setJson(const QJsonObject &object);
    /// A JSON object with \p message as "error".
    void setJsonError(int code, const QByteArray &message);
    void setText(int code, const QByteArray &message);
    /// Status 302 to \p location.
    void setRedirect(const QByteArray &location);
    /// Status 200 with the content of \p path, which is read while it is sent.
    void setFile(const QString &path);
};

/// Returns the reason phrase of \p status, "Status" for an unlisted one.
QByteArray reasonPhrase(int status);

/// Formats seconds since 1970 as headers do: "Sun, 06 Nov 1994 08:49:37 GMT".
QByteArray httpDate(qint64 seconds);

/// Returns the media type for the extension of \p fileName.
QByteArray mediaType(const QString &fileName);

} // namespace localcloud

/// One request that was served, secrets included.
struct RequestRecord
{
    QString host;
    bool tls = false;
    QByteArray method;
    QByteArray target; ///< path and query as received
    localcloud::HeaderList headers;
    qint64 bodyBytes = 0;
    QByteArray body; ///< empty if it was larger than 64 KiB
    int status = 0;  ///< 0 if a rule let the request hang or sent garbage

    QByteArray header(const char *name) const { return localcloud::headerValue(headers, name); }
};
