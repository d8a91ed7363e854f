#include "localcloud/plyx/PlyxService.h"

#include <QFileInfo>
#include <QJsonArray>
#include <QJsonObject>
#include <QUrl>

#include <algorithm>
#include <limits>

namespace localcloud {

namespace {

constexpr int kMemberId = 4711;
constexpr qint64 kDefaultPageSize = 20;
constexpr qint64 kMaxPageSize = 200;
const QString kHost = QStringLiteral("www.plyx.example");
const QStringList kDownloadHosts{QStringLiteral("files1.plyx.example"), QStringLiteral("files2.plyx.example")};

/// Returns the number \p name in the query; \p fallback if it is missing, or -1 if it is malformed or negative.
qint64 numberIn(const QByteArray &query, const char *name, qint64 fallback)
{
    const QString text = formValue(query, name);
    bool ok = true;
    const qint64 number = text.isEmpty() ? fallback : text.toLongLong(&ok);
    return ok && number >= 0 && number <= std::numeric_limits<int>::max() ? number : -1;
}

QJsonArray listOf(const QVector<PlyxFile> &files, const char *idKey)
{
    QJsonArray list;
    for (const PlyxFile &file : files)
        list.append(QJsonObject{{"NAME", file.name}, {idKey, file.id}});
    return list;
}

QJsonObject summaryOf(const PlyxAsset &asset)
{
    return {{"ASSET_ID", asset.id},
            {"ASSET_NAME", asset.name},
            {"ARTIST_NAME", asset.artist},
            {"DATE_PUBLISHED", asset.published},
            {"THUMBNAIL_FILE", "https://" + kHost + "/thumbnails/" + asset.thumbnail}};
}

} // namespace

PlyxService::PlyxService(const ServiceStorage &storage) : m_folder(storage.folder), m_signIn(storage.tokenFile)
{
    using Match = Route::Match;
    using Transport = Route::Transport;
    const QStringList web{kHost};
    const QByteArrayList get{"GET"};
    const auto isSignedIn = [this](const auto &request, auto &response) {
        return m_signIn.isSignedIn(request, response);
    };
    const auto isSignedInOrOut = [this](const auto &request, auto &response) {
        return m_signIn.isSignedOut(request) || m_signIn.isSignedIn(request, response);
    };
    const auto hasSession = [this](const auto &request, auto &response) {
        return m_signIn.hasSession(request, response);
    };
    const auto login = [this](auto &request, auto &response) { m_signIn.login(request, response); };
    const auto done = [](auto &, auto &response) { PlyxSignIn::done(response); };
    const auto memberCall = [this](auto &request, auto &response) { member(request, response); };
    const auto own = [this](auto &request, auto &response) { list(request, Shelf::Own, response); };
    const auto search = [this](auto &request, auto &response) { list(request, Shelf::Published, response); };
    const auto details = [this](auto &request, auto &response) { asset(request, response); };
    const auto server = [this](auto &, auto &response) { chooseServer(response); };
    const auto picture = [this](auto &request, auto &response) { thumbnail(request, response); };
    const auto redirect = [this](auto &request, auto &response) { download(request, response); };
    const auto file = [this](auto &request, auto &response) { sendFile(request, response); };
    addRoute({web, "/TokenAPI/login.cfm", Match::Whole, {"GET", "POST"}, Transport::Tls, login, {}});
    addRoute({web, "/TokenAPI/done.cfm", Match::Whole, get, Transport::Tls, done, {}});
    addRoute({web, "/API/v1/Member", Match::Whole, get, Transport::Tls, memberCall, isSignedInOrOut});
    addRoute({web, "/API/v1/Member/Assets", Match::Whole, get, Transport::Tls, own, isSignedIn});
    addRoute({web, "/API/v1/Search", Match::Whole, get, Transport::Tls, search, isSignedIn});
    addRoute({web, "/API/v1/Asset/", Match::Prefix, get, Transport::Tls, details, isSignedIn});
    addRoute({web, "/API/v1/Server/Download", Match::Whole, get, Transport::Plain, server, hasSession});
    addRoute({web, "/thumbnails/", Match::Prefix, get, Transport::Any, picture, {}});
    addRoute({kDownloadHosts, "/v1/Download", Match::Whole, get, Transport::Tls, redirect, isSignedIn});
    addRoute({kDownloadHosts, "/v1/File/", Match::Prefix, get, Transport::Tls, file, {}});
}

void PlyxService::member(const HttpRequest &request, HttpResponse &response) const
{
    if (m_signIn.isSignedOut(request))
        response.setJson({{"ERROR", "Not signed in."}});
    else
        response.setJson({{"MEMBERID", kMemberId}, {"MEMBERNAME", "Robin Example"}, {"TYPE", "free"}});
}

void PlyxService::list(const HttpRequest &request, Shelf shelf, HttpResponse &response) const
{
    const qint64 gallery = numberIn(request.query, "media_type_id", 0);
    const qint64 fileType = numberIn(request.query, "file_type_ids", 0);
    const qint64 page = std::max<qint64>(numberIn(request.query, "page_num", 1), 1);
    const qint64 size = std::min(numberIn(request.query, "page_size", kDefaultPageSize), kMaxPageSize);
    if (gallery < 0 || fileType < 0 || numberIn(request.query, "page_num", 1) < 0 || size <= 0) {
        response.setJsonError(400, "A number in the query is malformed or out of range.");
        return;
    }
    PlyxQuery query;
    query.shelf = shelf;
    query.gallery = static_cast<int>(gallery);
    query.fileType = static_cast<int>(fileType);
    query.freeOnly = formValue(request.query, "content") == QLatin1String("free");
    query.keywords = formValue(request.query, "keyword");
    const QVector<const PlyxAsset *> found = m_catalogue.search(query);
    const qint64 total = found.size();
    QJsonArray entries;
    for (qint64 i = (page - 1) * size; i < std::min(total, page * size); ++i)
        entries.append(summaryOf(*found[static_cast<int>(i)]));
    response.setJson({{"ASSETS", QJsonObject{{"ASSET", entries}}},
                      {"CURRENT_PAGE", page},
                      {"TOTAL_PAGE_COUNT", (total + size - 1) / size},
                      {"TOTAL_RESULT_COUNT", total}});
}

void PlyxService::asset(const HttpRequest &request, HttpResponse &response) const
{
    const PlyxAsset *found = m_catalogue.find(request.path.toLongLong());
    if (!found) {
        response.setJsonError(404, "The asset does not exist.");
        return;
    }
    QJsonObject object = summaryOf(*found);
    object.insert("FILEFORMATS", QJsonObject{{"FILEFORMAT", listOf(found->formats, "FILEID")}});
    if (!found->textures.isEmpty())
        object.insert("TEXTURESFILES", QJsonObject{{"TEXTURESFILE", listOf(found->textures, "ID")}});
    response.setJson({{"ASSET", object}});
}

void PlyxService::chooseServer(HttpResponse &response)
{
    response.setJson({{"DOWNLOAD", kDownloadHosts[m_nextServer]}});
    response.setHeader("Cache-Control", "no-store");
    m_nextServer = (m_nextServer + 1) % kDownloadHosts.size();
}

void PlyxService::download(const HttpRequest &request, HttpResponse &response) const
{
    const QString id = formValue(request.query, "id");
    const PlyxFile *file = m_catalogue.file(id);
    if (!file) {
        response.setJsonError(404, "The file does not exist.");
        return;
    }
    const int next = (kDownloadHosts.indexOf(request.host) + 1) % kDownloadHosts.size();
    const QByteArray name = QUrl::toPercentEncoding(QFileInfo(file->path).fileName());
    response.setRedirect("https://" + kDownloadHosts[next].toLatin1() + "/v1/File/" + id.toLatin1() + '/' + name);
}

/// Refuses requests with a session, because storage servers refuse requests that are signed twice.
void PlyxService::sendFile(const HttpRequest &request, HttpResponse &response) const
{
    const PlyxFile *file = m_catalogue.file(QString::fromLatin1(request.path).section('/', 0, 0));
    if (!request.header("X-Session").isEmpty() || !request.header("X-Secure-Session").isEmpty())
        response.setJsonError(400, "The request must not have a session.");
    else if (!file)
        response.setJsonError(404, "The file does not exist.");
    else
        response.setFile(file->path);
}

void PlyxService::thumbnail(const HttpRequest &request, HttpResponse &response) const
{
    const QString name = QString::fromUtf8(QByteArray::fromPercentEncoding(request.path));
    const QString path = m_folder + "/thumbnails/" + name;
    if (m_catalogue.hasThumbnail(name) && QFileInfo(path).isFile())
        response.setFile(path);
    else
        response.setJsonError(404, "The picture does not exist.");
}

} // namespace localcloud
