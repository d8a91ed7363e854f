// localcloud/http/HttpTypes.h
//
// One parsed request, one response, and the record of an exchange. Functions that read headers and forms.

#pragma once

#include <QByteArray>
#include <QPair>
#include <QString>
#include <QTemporaryFile>
#include <QVector>

#include <memory>
#include <optional>

class QJsonObject;

namespace localcloud {

/// Header lines in the order of their arrival, with the spelling of their names.
using HeaderList = QVector<QPair<QByteArray, QByteArray>>;

/// Returns the value of the first header \p name (case-insensitive), or null.
QByteArray headerValue(const HeaderList &headers, const char *name);

/// Returns true if the comma-separated header \p name contains \p token (case-insensitive).
bool headerHasToken(const HeaderList &headers, const char *name, const char *token);

/// Decodes UTF-8. Returns an empty optional for malformed bytes.
std::optional<QString> utf8Text(const QByteArray &bytes);

/// Returns the first value of \p name in the form "a=b&c=d", decoded once ("+" is a blank). Empty if it is missing.
QString formValue(const QByteArray &form, const char *name);

/// The body of a request. Up to 64 KiB stay in memory; a larger body is written to a temporary file, which a service
/// can move without copying.
class RequestBody
{
public:
    RequestBody() = default;
    /// Large bodies are written to a file in \p folder that only its owner can read.
    explicit RequestBody(const QString &folder) : m_folder(folder) {}

    /// Returns false if the bytes cannot be stored.
    bool append(const QByteArray &bytes);
    qint64 size() const { return m_size; }

    /// Returns the bytes of a body in memory; empty for a body in a file.
    const QByteArray &bytes() const { return m_bytes; }

    /// Moves the body to \p path in one step and replaces the file there. \p path is on the same file system as the
    /// folder given at construction. Returns false and changes nothing if that fails. Empties the body on success.
    bool moveTo(const QString &path);

private:
    bool openFile();

    QString m_folder;
    QByteArray m_bytes;
    std::shared_ptr<QTemporaryFile> m_file;
    qint64 m_size = 0;
};

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
    bool signedRedirect = false; ///< a rule requires a redirect to an address without a token

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
    QString file; ///< path of a local file to send; empty if \a body is sent
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

/// Returns the reason phrase of \p status, or "Status" for an unknown status.
QByteArray reasonPhrase(int status);

/// Formats seconds since 1970 as headers do: "Sun, 06 Nov 1994 08:49:37 GMT".
QByteArray httpDate(qint64 seconds);

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
    int status = 0;  ///< 0 after a rule with hang or garbage

    QByteArray header(const char *name) const { return localcloud::headerValue(headers, name); }
};
