#include <QFileInfo>
#include <QJsonArray>

#include <algorithm>
#include <limits>
#include <localcloud/http/Replies.h>
#include <localcloud/plyx/PlyxSeed.h>
#include <localcloud/plyx/PlyxService.h>

namespace localcloud {

namespace {

constexpr qint64 kDefaultPageSize = 20;
constexpr qint64 kMaxPageSize = 200;

/// The number called \p name in the query, \p fallback when it is absent; nothing when it is malformed or negative.
std::optional<qint64> numberIn(const QByteArray &query, const char *name, qint64 fallback)
{
    const QString text = formValue(query, name);
    bool ok = true;
    const qint64 number = text.isEmpty() ? fallback : text.toLongLong(&ok);
    return ok && number >= 0 ? std::optional(number) : std::nullopt;
}

/// What search and listing have in common; nothing when a number is malformed.
std::optional<PlyxQuery> queryOf(const QByteArray &parameters)
{
    PlyxQuery query;
    const QString types = formValue(parameters, "file_type_ids");
    for (const QString &type : types.split(',', Qt::SkipEmptyParts)) {
        bool ok = false;
        query.fileTypes.insert(type.toInt(&ok));
        if (!ok)
            return {};
    }
    if (!formValue(parameters, "media_type_id").isEmpty()) {
        const auto gallery = numberIn(parameters, "media_type_id", 0);
        if (!gallery || *gallery > std::numeric_limits<int>::max())
            return {};
        query.gallery = static_cast<int>(*gallery);
    }
    query.freeOnly = formValue(parameters, "content") == QLatin1String("free");
    query.keywords = formValue(parameters, "keyword");
    query.everyKeyword = formValue(parameters, "is_all_keywords") == QLatin1String("all");
    query.byDate = formValue(parameters, "sort_by") == QLatin1String("date");
    query.descending = formValue(parameters, "sort_order") == QLatin1String("desc");
    return query;
}

QJsonArray listOf(const QVector<PlyxFile> &files, const char *idKey)
{
    QJsonArray list;
    for (const PlyxFile &file : files)
        list.append(QJsonObject{{"NAME", file.name}, {idKey, file.id}});
    return list;
}

} // namespace

PlyxService::PlyxService(const PlyxOptions &options, const QString &folder, const QString &sessionFile)
    : m_options(options), m_folder(folder), m_sessions(sessionFile), m_signIn(m_sessions, options.account),
      m_routes(routes())
{}

QVector<Route> PlyxService::routes()
{
    using Self = PlyxService;
    const QStringList web{m_options.host};
    const QStringList &files = m_options.downloadHosts;
    const QByteArrayList reading{"GET", "HEAD"};
    const auto call = [this](void (Self::*handler)(HttpRequest &, HttpResponse &)) {
        return [this, handler](HttpRequest &request, HttpResponse &response) { (this->*handler)(request, response); };
    };
    const auto overTls = [this](const HttpRequest &request, HttpResponse &response) {
        return arrivedOver(Transport::Tls, request, response);
    };
    const auto signedIn = [this](const HttpRequest &request, HttpResponse &response) {
        return arrivedOver(Transport::Tls, request, response) && m_signIn.isSignedIn(request, response);
    };
    const auto signedInOrNobody = [this](const HttpRequest &request, HttpResponse &response) {
        return arrivedOver(Transport::Tls, request, response) &&
               (m_signIn.isNobody(request) || m_signIn.isSignedIn(request, response));
    };
    const auto plain = [this](const HttpRequest &request, HttpResponse &response) {
        return arrivedOver(Transport::Plain, request, response) && m_signIn.hasSession(request, response);
    };
    const auto login = [this](HttpRequest &request, HttpResponse &response) { m_signIn.login(request, response); };
    const auto done = [this](HttpRequest &, HttpResponse &response) { m_signIn.done(response); };
    return {
        {web, "/TokenAPI/login.cfm", true, {"GET", "HEAD", "POST"}, login, overTls},
        {web, "/TokenAPI/done.cfm", true, reading, done, overTls},
        {web, "/API/v1/Member", true, reading, call(&Self::member), signedInOrNobody},
        {web, "/API/v1/Member/Assets", true, reading, call(&Self::memberAssets), signedIn},
        {web, "/API/v1/Search", true, reading, call(&Self::search), signedIn},
        {web, "/API/v1/Asset/", false, reading, call(&Self::asset), signedIn},
        {web, "/API/v1/Server/Download", true, reading, call(&Self::chooseServer), plain},
        {web, "/thumbnails/", false, reading, call(&Self::thumbnail), nullptr},
        {files, "/v1/Download", true, reading, call(&Self::download), signedIn},
        {files, "/v1/Once/", false, {"GET"}, call(&Self::keyedDownload), overTls},
    };
}

bool PlyxService::arrivedOver(Transport transport, const HttpRequest &request, HttpResponse &response) const
{
    const bool wanted = transport == Transport::Tls;
    if (request.tls == wanted || !handles(request.host)) // straight to this machine it is plain HTTP always
        return true;
    setJsonError(response, 403, wanted ? "This call is served over https." : "This call is served over plain http.");
    return false;
}

void PlyxService::member(HttpRequest &request, HttpResponse &response)
{
    const PlyxAccount &account = m_options.account;
    if (m_signIn.isNobody(request))
        setJson(response, {{"ERROR", "Nobody is signed in."}});
    else
        setJson(response, {{"MEMBERID", account.memberId}, {"MEMBERNAME", account.memberName}, {"TYPE", "free"}});
}

void PlyxService::memberAssets(HttpRequest &request, HttpResponse &response)
{
    list(request, PlyxShelf::Own, response);
}

void PlyxService::search(HttpRequest &request, HttpResponse &response)
{
    list(request, PlyxShelf::Published, response);
}

void PlyxService::list(const HttpRequest &request, PlyxShelf shelf, HttpResponse &response) const
{
    auto query = queryOf(request.query);
    const auto pageNumber = numberIn(request.query, "page_num", 1);
    const auto pageSize = numberIn(request.query, "page_size", kDefaultPageSize);
    if (!query || !pageNumber || !pageSize || *pageSize == 0) {
        setJsonError(response, 400, "A number in the query is malformed or out of range.");
        return;
    }
    query->shelf = shelf;
    const QVector<const PlyxAsset *> found = m_catalogue.search(*query);
    const qint64 size = std::min(*pageSize, kMaxPageSize);
    const qint64 page = std::max<qint64>(*pageNumber, 1); // some clients count from 0
    const qint64 total = found.size();
    const qint64 first = page > total ? total : std::min(total, (page - 1) * size);
    QJsonArray entries;
    for (qint64 i = first; i < std::min(total, first + size); ++i)
        entries.append(summary(*found[static_cast<int>(i)]));
    setJson(response, {{"ASSETS", QJsonObject{{"ASSET", entries}}},
                       {"CURRENT_PAGE", page},
                       {"TOTAL_PAGE_COUNT", (total + size - 1) / size},
                       {"TOTAL_RESULT_COUNT", total}});
}

QJsonObject PlyxService::summary(const PlyxAsset &asset) const
{
    return {{"ASSET_ID", asset.id},
            {"ASSET_NAME", asset.name},
            {"ARTIST_NAME", asset.artist},
            {"DATE_PUBLISHED", asset.published},
            {"THUMBNAIL_FILE", "https://" + m_options.host + "/thumbnails/" + asset.thumbnail}};
}

void PlyxService::asset(HttpRequest &request, HttpResponse &response)
{
    bool ok = false;
    const qint64 id = request.path.toLongLong(&ok);
    const PlyxAsset *found = m_catalogue.find(id);
    if (!ok || !found) {
        setJsonError(response, ok ? 404 : 400, ok ? "There is no such asset." : "The asset's number is malformed.");
        return;
    }
    QJsonObject object = summary(*found);
    object.insert("FILEFORMATS", QJsonObject{{"FILEFORMAT", listOf(found->formats, "FILEID")}});
    if (!found->textures.isEmpty())
        object.insert("TEXTURESFILES", QJsonObject{{"TEXTURESFILE", listOf(found->textures, "ID")}});
    setJson(response, {{"ASSET", object}});
}

void PlyxService::chooseServer(HttpRequest &, HttpResponse &response)
{
    const QStringList &hosts = m_options.downloadHosts;
    setJson(response, {{"DOWNLOAD", hosts[m_nextServer]}});
    response.setHeader("Cache-Control", "no-store");
    m_nextServer = (m_nextServer + 1) % hosts.size();
}

void PlyxService::download(HttpRequest &request, HttpResponse &response)
{
    const QStringList ids = formValue(request.query, "id").split('_');
    bool assetOk = false;
    bool fileOk = false;
    const qint64 assetId = ids.first().toLongLong(&assetOk);
    const qint64 fileId = ids.last().toLongLong(&fileOk);
    if (ids.size() != 2 || !assetOk || !fileOk) {
        setJsonError(response, 400, "The id must be the numbers of asset and file, joined by an underscore.");
        return;
    }
    const PlyxAsset *found = m_catalogue.find(assetId);
    const PlyxFile *file = found ? found->file(fileId) : nullptr;
    if (!file || !QFileInfo(file->path).isFile()) {
        setJsonError(response, 404, "There is no such file.");
        return;
    }
    const int here = m_options.downloadHosts.indexOf(request.host);
    const QString &host = m_options.downloadHosts[(here + 1) % m_options.downloadHosts.size()];
    m_downloads.redirect(request, host, file->path, response);
    response.setHeader("Cache-Control", "no-store");
}

void PlyxService::keyedDownload(HttpRequest &request, HttpResponse &response)
{
    // Storage of this kind refuses requests that are signed twice, and a session has no business here.
    if (!request.header("X-Session").isEmpty() || !request.header("X-Secure-Session").isEmpty()) {
        setJsonError(response, 400, "The address is the only ticket; no session may come with it.");
        return;
    }
    m_downloads.serve(request, response);
}

void PlyxService::thumbnail(HttpRequest &request, HttpResponse &response)
{
    const QString name = QString::fromUtf8(QByteArray::fromPercentEncoding(request.path));
    const QString path = m_catalogue.thumbnail(name);
    const QByteArray drawn = path.isEmpty() || QFile::exists(path) ? QByteArray() : seedThumbnail(name);
    if (!drawn.isEmpty())
        Seeder(QFileInfo(path).path()).write(QFileInfo(path).fileName(), drawn);
    const QFileInfo info(path);
    if (path.isEmpty() || !info.isFile())
        setJsonError(response, 404, "There is no such picture.");
    else
        setFile(response, path, info.size(), request.header("Range"));
}

} // namespace localcloud
