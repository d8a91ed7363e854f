#include "localcloud/dropbox/DropboxService.h"

#include <QCryptographicHash>
#include <QDateTime>
#include <QDir>
#include <QJsonArray>
#include <QJsonObject>
#include <QLocale>
#include <QUrl>

namespace localcloud {

namespace {

constexpr int kMaxEntries = 10000;
const QString kSignedHost = QStringLiteral("dl.dropboxusercontent.com");

QString modifiedText(const QDateTime &time)
{
    return QLocale::c().toString(time.toUTC(), QStringLiteral("ddd, dd MMM yyyy HH:mm:ss")) + " +0000";
}

QString sizeText(qint64 bytes)
{
    if (bytes < 1024)
        return QString::number(bytes) + " bytes";
    const double kilobytes = static_cast<double>(bytes) / 1024.0;
    return kilobytes < 1024.0 ? QString::number(kilobytes, 'f', 1) + " KB"
                              : QString::number(kilobytes / 1024.0, 'f', 1) + " MB";
}

/// Returns twelve hexadecimal digits that change with the content of a file and are constant for a folder.
QByteArray revisionOf(const QString &path, const QFileInfo &info)
{
    QByteArray text = path.toUtf8();
    if (!info.isDir())
        text +=
            '\n' + QByteArray::number(info.size()) + '\n' + QByteArray::number(info.lastModified().toMSecsSinceEpoch());
    return QCryptographicHash::hash(text, QCryptographicHash::Sha1).toHex().left(12);
}

QString iconOf(const QFileInfo &info, const QByteArray &type)
{
    if (info.isDir())
        return QStringLiteral("folder");
    if (type.startsWith("image/"))
        return QStringLiteral("page_white_picture");
    return type.startsWith("text/") ? QStringLiteral("page_white_text") : QStringLiteral("page_white");
}

/// Returns the metadata of the entry at \p path, for a folder without its contents.
QJsonObject metadataOf(const QString &path, const QFileInfo &info)
{
    const QByteArray revision = revisionOf(path, info);
    const QByteArray type = mediaType(path);
    QJsonObject entry{
        {"rev", QString::fromLatin1(revision)},
        {"revision", static_cast<int>(revision.left(7).toUInt(nullptr, 16))},
        {"thumb_exists", false},
        {"bytes", info.isDir() ? 0 : info.size()},
        {"size", info.isDir() ? QStringLiteral("0 bytes") : sizeText(info.size())},
        {"modified", modifiedText(info.lastModified())},
        {"path", path.isEmpty() ? QStringLiteral("/") : path},
        {"is_dir", info.isDir()},
        {"root", "dropbox"},
        {"icon", iconOf(info, type)},
    };
    if (!info.isDir())
        entry.insert("mime_type", QString::fromLatin1(type));
    return entry;
}

} // namespace

DropboxService::DropboxService(const ServiceStorage &storage) : m_signIn(storage.tokenFile), m_folder(storage.folder)
{
    using Match = Route::Match;
    using Transport = Route::Transport;
    const QStringList web{"www.dropbox.com"};
    const QStringList api{"api.dropbox.com"};
    const QStringList content{"api-content.dropbox.com"};
    const auto isSignedIn = [this](const auto &request, auto &response) {
        return m_signIn.isSignedIn(request, response);
    };
    const auto authorize = [this](auto &request, auto &response) { m_signIn.authorize(request, response); };
    const auto token = [this](auto &request, auto &response) { m_signIn.token(request, response); };
    const auto account = [](auto &, auto &response) { DropboxSignIn::accountInfo(response); };
    const auto listing = [this](auto &request, auto &response) { list(request, response); };
    const auto file = [this](auto &request, auto &response) { download(request, response); };
    const auto storing = [this](auto &request, auto &response) { upload(request, response); };
    addRoute({web, "/1/oauth2/authorize", Match::Whole, {"GET", "POST"}, Transport::Tls, authorize, {}});
    addRoute({api, "/1/oauth2/token", Match::Whole, {"POST"}, Transport::Tls, token, {}});
    addRoute({api, "/1/account/info/", Match::Whole, {"GET"}, Transport::Tls, account, isSignedIn});
    addRoute({api, "/1/metadata/dropbox/", Match::Prefix, {"GET"}, Transport::Tls, listing, isSignedIn});
    addRoute({content, "/1/files/dropbox/", Match::Prefix, {"GET"}, Transport::Tls, file, isSignedIn});
    addRoute({content, "/1/files_put/dropbox/", Match::Prefix, {"PUT", "POST"}, Transport::Tls, storing, isSignedIn});
    addRoute({{kSignedHost}, "/1/get/", Match::Prefix, {"GET"}, Transport::Tls, file, {}});
}

void DropboxService::list(const HttpRequest &request, HttpResponse &response) const
{
    const auto path = ServedFolder::decodedPath(request.path);
    const QFileInfo info = path ? m_folder.find(*path) : QFileInfo();
    if (!info.exists()) {
        response.setJsonError(path ? 404 : 400, path ? "The path does not exist." : "The path is malformed.");
        return;
    }
    QJsonObject reply = metadataOf(*path, info);
    if (info.isDir()) {
        QJsonArray contents;
        for (const QFileInfo &child : m_folder.entries(*path))
            contents.append(metadataOf(*path + '/' + child.fileName(), child));
        if (contents.size() > kMaxEntries) {
            response.setJsonError(406, "The folder has too many entries.");
            return;
        }
        reply.insert("contents", contents);
    }
    response.setJson(reply);
}

void DropboxService::download(const HttpRequest &request, HttpResponse &response) const
{
    const auto path = ServedFolder::decodedPath(request.path);
    const QFileInfo info = path ? m_folder.find(*path) : QFileInfo();
    if (!info.isFile())
        response.setJsonError(path ? 404 : 400, path ? "The file does not exist." : "The path is malformed.");
    else if (request.signedRedirect)
        response.setRedirect("https://" + kSignedHost.toLatin1() + "/1/get/" + QUrl::toPercentEncoding(*path, "/"));
    else
        response.setFile(info.filePath());
}

void DropboxService::upload(HttpRequest &request, HttpResponse &response) const
{
    const auto path = ServedFolder::decodedPath(request.path);
    if (!request.hasLength) {
        response.setJsonError(411, "The request has no Content-Length.");
        return;
    }
    if (!path || path->isEmpty()) {
        response.setJsonError(400, "The path is malformed.");
        return;
    }
    const QString local = m_folder.localPath(*path);
    const QString folder = path->left(path->lastIndexOf('/'));
    QString existing = folder;
    while (!existing.isEmpty() && !QFileInfo(m_folder.localPath(existing)).exists())
        existing.truncate(existing.lastIndexOf('/'));
    if (!m_folder.find(existing).isDir() || !QDir().mkpath(m_folder.localPath(folder)) || QFileInfo(local).isDir())
        response.setJsonError(403, "A file cannot be stored at that path.");
    else if (!request.body.moveTo(local))
        response.setJsonError(507, "The file cannot be stored.");
    else
        response.setJson(metadataOf(*path, QFileInfo(local)));
}

} // namespace localcloud
