#include <QDateTime>
#include <QFileInfo>
#include <QHash>
#include <QLocale>
#include <QTextCodec>

#include <algorithm>
#include <localcloud/http/HttpTypes.h>

namespace localcloud {

namespace {

const QString kDateFormat = QStringLiteral("ddd, dd MMM yyyy HH:mm:ss 'GMT'");

} // namespace

QByteArray headerValue(const HeaderList &headers, const char *name)
{
    for (const auto &entry : headers) {
        if (qstricmp(entry.first.constData(), name) == 0)
            return entry.second;
    }
    return {};
}

bool hasHeader(const HeaderList &headers, const char *name)
{
    return std::any_of(headers.begin(), headers.end(),
                       [name](const auto &entry) { return qstricmp(entry.first.constData(), name) == 0; });
}

bool headerHasToken(const HeaderList &headers, const char *name, const char *token)
{
    for (const auto &entry : headers) {
        if (qstricmp(entry.first.constData(), name) != 0)
            continue;
        for (const QByteArray &part : entry.second.split(',')) {
            if (qstricmp(part.trimmed().constData(), token) == 0)
                return true;
        }
    }
    return false;
}

std::optional<QString> utf8Text(const QByteArray &bytes)
{
    QTextCodec::ConverterState state;
    const QString text = QTextCodec::codecForName("UTF-8")->toUnicode(bytes.constData(), bytes.size(), &state);
    return state.invalidChars == 0 && state.remainingChars == 0 ? std::optional(text) : std::nullopt;
}

QString formValue(const QByteArray &form, const char *name)
{
    const auto decoded = [](QByteArray text) { return QByteArray::fromPercentEncoding(text.replace('+', ' ')); };
    for (const QByteArray &pair : form.split('&')) {
        const int equals = pair.indexOf('=');
        if (equals >= 0 && decoded(pair.left(equals)) == name)
            return QString::fromUtf8(decoded(pair.mid(equals + 1)));
    }
    return {};
}

void HttpResponse::set(int code, const QByteArray &type, const QByteArray &text)
{
    status = code;
    body = text;
    file.clear();
    source = nullptr;
    setHeader("Content-Type", type);
}

void HttpResponse::setHeader(const QByteArray &name, const QByteArray &value)
{
    for (auto &entry : headers) {
        if (qstricmp(entry.first.constData(), name.constData()) == 0) {
            entry.second = value;
            return;
        }
    }
    headers.append({name, value});
}

QByteArray reasonPhrase(int status)
{
    static const QHash<int, QByteArray> phrases{
        {200, "OK"},
        {201, "Created"},
        {204, "No Content"},
        {206, "Partial Content"},
        {207, "Multi-Status"},
        {302, "Found"},
        {304, "Not Modified"},
        {400, "Bad Request"},
        {401, "Unauthorized"},
        {403, "Forbidden"},
        {404, "Not Found"},
        {405, "Method Not Allowed"},
        {406, "Not Acceptable"},
        {408, "Request Timeout"},
        {409, "Conflict"},
        {411, "Length Required"},
        {412, "Precondition Failed"},
        {413, "Payload Too Large"},
        {415, "Unsupported Media Type"},
        {416, "Range Not Satisfiable"},
        {431, "Request Header Fields Too Large"},
        {500, "Internal Server Error"},
        {501, "Not Implemented"},
        {502, "Bad Gateway"},
        {503, "Service Unavailable"},
        {505, "HTTP Version Not Supported"},
        {507, "Insufficient Storage"},
    };
    return phrases.value(status, "Status");
}

QByteArray httpDate(qint64 seconds)
{
    return QLocale::c().toString(QDateTime::fromSecsSinceEpoch(seconds, Qt::UTC), kDateFormat).toLatin1();
}

std::optional<qint64> parseHttpDate(const QByteArray &text)
{
    QDateTime time = QLocale::c().toDateTime(QString::fromLatin1(text), kDateFormat);
    time.setTimeSpec(Qt::UTC);
    return time.isValid() ? std::optional(time.toSecsSinceEpoch()) : std::nullopt;
}

QByteArray mediaType(const QString &fileName)
{
    static const QHash<QString, QByteArray> types{
        {"obj", "model/obj"},         {"mtl", "model/mtl"},        {"stl", "model/stl"},
        {"glb", "model/gltf-binary"}, {"gltf", "model/gltf+json"}, {"png", "image/png"},
        {"jpg", "image/jpeg"},        {"txt", "text/plain"},       {"html", "text/html; charset=utf-8"},
        {"json", "application/json"}, {"zip", "application/zip"},
    };
    return types.value(QFileInfo(fileName).suffix().toLower(), "application/octet-stream");
}

} // namespace localcloud
