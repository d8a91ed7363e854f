#include "localcloud/http/HttpTypes.h"

#include <QDateTime>
#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLocale>
#include <QTextCodec>

#include <cstdio>

namespace localcloud {

static constexpr qint64 kMemoryLimit = 64LL * 1024;

QByteArray headerValue(const HeaderList &headers, const char *name)
{
    for (const auto &[key, value] : headers) {
        if (qstricmp(key.constData(), name) == 0)
            return value;
    }
    return {};
}

bool headerHasToken(const HeaderList &headers, const char *name, const char *token)
{
    for (const QByteArray &part : headerValue(headers, name).split(',')) {
        if (qstricmp(part.trimmed().constData(), token) == 0)
            return true;
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

bool RequestBody::append(const QByteArray &bytes)
{
    m_size += bytes.size();
    if (!m_file && m_size <= kMemoryLimit) {
        m_bytes += bytes;
        return true;
    }
    if (!m_file && !openFile())
        return false;
    return m_file->write(bytes) == bytes.size();
}

bool RequestBody::openFile()
{
    m_file = std::make_shared<QTemporaryFile>(m_folder + QStringLiteral("/upload-XXXXXX"));
    if (!m_file->open() || m_file->write(m_bytes) != m_bytes.size())
        return false;
    m_bytes.clear();
    return true;
}

bool RequestBody::moveTo(const QString &path)
{
    if (!m_file && !openFile())
        return false;
    m_file->setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ReadGroup | QFile::ReadOther);
    if (!m_file->flush())
        return false;
    const QByteArray from = QFile::encodeName(m_file->fileName());
    if (std::rename(from.constData(), QFile::encodeName(path).constData()) != 0)
        return false;
    m_file->setAutoRemove(false);
    m_file.reset();
    m_size = 0;
    return true;
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

void HttpResponse::set(int code, const QByteArray &type, const QByteArray &text)
{
    status = code;
    body = text;
    file.clear();
    setHeader("Content-Type", type);
}

void HttpResponse::setJson(const QJsonObject &object)
{
    set(200, "application/json", QJsonDocument(object).toJson(QJsonDocument::Compact));
}

void HttpResponse::setJsonError(int code, const QByteArray &message)
{
    setJson({{"error", QString::fromUtf8(message)}});
    status = code;
}

void HttpResponse::setText(int code, const QByteArray &message)
{
    set(code, "text/plain; charset=utf-8", message + '\n');
}

void HttpResponse::setRedirect(const QByteArray &location)
{
    setText(302, "The resource is at another address.");
    setHeader("Location", location);
}

void HttpResponse::setFile(const QString &path)
{
    set(200, mediaType(path), {});
    file = path;
    fileLength = QFileInfo(path).size();
}

QByteArray reasonPhrase(int status)
{
    static const QHash<int, QByteArray> phrases{
        {200, "OK"},
        {201, "Created"},
        {204, "No Content"},
        {207, "Multi-Status"},
        {302, "Found"},
        {400, "Bad Request"},
        {401, "Unauthorized"},
        {403, "Forbidden"},
        {404, "Not Found"},
        {405, "Method Not Allowed"},
        {406, "Not Acceptable"},
        {409, "Conflict"},
        {411, "Length Required"},
        {412, "Precondition Failed"},
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
    const QDateTime time = QDateTime::fromSecsSinceEpoch(seconds, Qt::UTC);
    return QLocale::c().toString(time, QStringLiteral("ddd, dd MMM yyyy HH:mm:ss 'GMT'")).toLatin1();
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
