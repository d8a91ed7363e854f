#include <algorithm>
#include <localcloud/DropboxService.h>
#include <QCryptographicHash>
#include <QJsonArray>
#include <QJsonDocument>
#include <QUrl>

namespace localcloud {

namespace {

constexpr int kMaxSignedKeys = 1000;
constexpr int kDefaultFileLimit = 10000;
constexpr int kMaxFileLimit = 25000;

void setJson(HttpResponse &response, const QJsonObject &object)
{
    response.set(200, "application/json", QJsonDocument(object).toJson(QJsonDocument::Compact));
}

/// The number of entries asked for; -1 when it is no sensible number.
int fileLimit(const QByteArray &query)
{
    const QString text = formValue(query, "file_limit");
    bool ok = true;
    const int limit = text.isEmpty() ? kDefaultFileLimit : text.toInt(&ok);
    return ok && limit > 0 && limit <= kMaxFileLimit ? limit : -1;
}

/// "name (1).ext" and so on, the first that is free beside \p path.
QString freeName(const DropboxFolder &folder, const QString &path)
{
    const int dot = path.lastIndexOf('.');
    const bool hasExtension = dot > path.lastIndexOf('/') + 1;
    const QString stem = hasExtension ? path.left(dot) : path;
    const QString extension = hasExtension ? path.mid(dot) : QString();
    QString candidate = path;
    for (int i = 1; folder.find(candidate).exists(); ++i)
        candidate = stem + " (" + QString::number(i) + ')' + extension;
    return candidate;
}

} // namespace

void setFile(HttpResponse &response, const QString &file, qint64 size, const QByteArray &range)
{
    response.set(200, mediaType(file), {});
    response.setHeader("Accept-Ranges", "bytes");
    response.file = file;
    response.fileLength = size;
    const QByteArray spec = range.mid(6).trimmed();
    const int dash = spec.indexOf('-');
    if (!range.startsWith("bytes=") || dash < 0 || spec.contains(','))
        return;
    bool firstOk = true;
    bool lastOk = true;
    qint64 first = dash > 0 ? spec.left(dash).toLongLong(&firstOk) : 0;
    qint64 last = dash + 1 < spec.size() ? spec.mid(dash + 1).toLongLong(&lastOk) : size - 1;
    if (!firstOk || !lastOk || spec == "-" || last < -1 || (dash > 0 && dash + 1 < spec.size() && last < first))
        return;
    if (dash == 0) { // the last bytes
        first = std::max<qint64>(0, size - last);
        last = last > 0 ? size - 1 : -1;
    }
    last = std::min(last, size - 1);
    if (first > last) {
        setJsonError(response, 416, "The range lies beyond the end of the file.");
        response.setHeader("Content-Range", "bytes */" + QByteArray::number(size));
        return;
    }
    response.status = 206;
    response.fileOffset = first;
    response.fileLength = last - first + 1;
    response.setHeader("Content-Range", "bytes " + QByteArray::number(first) + '-' + QByteArray::number(last) + '/' +
                                            QByteArray::number(size));
}

DropboxService::DropboxService(const DropboxOptions &options, const QString &folder, const QString &tokenFile)
    : m_options(options), m_tokens(tokenFile), m_signIn(m_tokens, options.displayName), m_folder(folder)
{
    const QString &api = m_options.apiHost;
    const QString &content = m_options.contentHost;
    using Self = DropboxService;
    m_routes = {
        {m_options.webHost, "/1/oauth2/authorize", true, {"GET", "HEAD", "POST"}, &Self::authorize, false},
        {api, "/1/oauth2/token", true, {"POST"}, &Self::token, false},
        {api, "/1/account/info", true, {"GET", "HEAD"}, &Self::accountInfo, true},
        {api, "/1/account/info/", true, {"GET", "HEAD"}, &Self::accountInfo, true},
        {api, "/1/metadata/dropbox", true, {"GET", "HEAD"}, &Self::metadata, true},
        {api, "/1/metadata/dropbox/", false, {"GET", "HEAD"}, &Self::metadata, true},
        {content, "/1/files/dropbox/", false, {"GET", "HEAD"}, &Self::download, true},
        {content, "/1/files_put/dropbox/", false, {"PUT", "POST"}, &Self::upload, true},
        {m_options.signedHost, "/1/get/", false, {"GET", "HEAD"}, &Self::signedDownload, false},
    };
}

bool DropboxService::handles(const QString &host) const
{
    return std::any_of(m_routes.begin(), m_routes.end(), [&](const Route &route) { return route.host == host; });
}

bool DropboxService::handlesPath(const QByteArray &path) const
{
    return routeOf({}, path) != nullptr;
}

const DropboxService::Route *DropboxService::routeOf(const QString &host, const QByteArray &path) const
{
    const bool anyHost = !handles(host);
    const auto found = std::find_if(m_routes.begin(), m_routes.end(), [&](const Route &route) {
        return (anyHost || route.host == host) && (route.exact ? path == route.prefix : path.startsWith(route.prefix));
    });
    return found == m_routes.end() ? nullptr : &*found;
}

void DropboxService::handle(HttpRequest &request, HttpResponse &response)
{
    const Route *route = routeOf(request.host, request.path);
    if (!route) {
        setJsonError(response, 404, "There is no such call.");
    } else if (!route->methods.contains(request.method)) {
        setJsonError(response, 405, "This call is made with another method.");
        response.setHeader("Allow", route->methods.join(", "));
    } else if (!route->needsToken || m_signIn.isSignedIn(request, response)) {
        request.path = request.path.mid(route->prefix.size());
        (this->*route->handler)(request, response);
    }
}

void DropboxService::authorize(HttpRequest &request, HttpResponse &response)
{
    m_signIn.authorize(request, response);
}

void DropboxService::token(HttpRequest &request, HttpResponse &response)
{
    m_signIn.token(request, response);
}

void DropboxService::accountInfo(HttpRequest &, HttpResponse &response)
{
    m_signIn.accountInfo(response);
}

void DropboxService::metadata(HttpRequest &request, HttpResponse &response)
{
    const QString path = DropboxFolder::decodedPath(request.path);
    const int limit = fileLimit(request.query);
    if (path.isNull() || limit < 0) {
        setJsonError(response, 400, path.isNull() ? "The path is not allowed." : "file_limit is out of range.");
        return;
    }
    const QFileInfo info = m_folder.find(path);
    if (!info.exists()) {
        setJsonError(response, 404, "Nothing is stored at that path.");
        return;
    }
    QJsonObject reply = m_folder.metadata(path, info);
    if (info.isDir() && formValue(request.query, "list") != QLatin1String("false")) {
        const QJsonValue contents = m_folder.contents(path, info, limit);
        if (contents.isNull()) {
            setJsonError(response, 406, "The folder holds more entries than file_limit.");
            return;
        }
        const QByteArray bytes = QJsonDocument(contents.toArray()).toJson(QJsonDocument::Compact);
        const QByteArray hash = QCryptographicHash::hash(bytes, QCryptographicHash::Md5).toHex();
        if (formValue(request.query, "hash").toLatin1() == hash) {
            response.status = 304;
            return;
        }
        reply.insert("hash", QString::fromLatin1(hash));
        reply.insert("contents", contents);
    }
    setJson(response, reply);
}

void DropboxService::download(HttpRequest &request, HttpResponse &response)
{
    const QString path = DropboxFolder::decodedPath(request.path);
    const QFileInfo info = path.isNull() ? QFileInfo() : m_folder.find(path);
    if (path.isNull())
        setJsonError(response, 400, "The path is not allowed.");
    else if (!info.isFile())
        setJsonError(response, 404, "No file is stored at that path.");
    else if (m_options.signedRedirects || request.signedRedirect)
        redirectToSigned(request, path, response);
    else
        setFile(response, info.filePath(), info.size(), request.header("Range"));
}

void DropboxService::redirectToSigned(const HttpRequest &request, const QString &path, HttpResponse &response)
{
    if (m_signedKeys.size() >= kMaxSignedKeys)
        m_signedKeys.clear();
    const QString key = randomKey();
    m_signedKeys.insert(key, path);
    const QByteArray name = QUrl::toPercentEncoding(path.mid(path.lastIndexOf('/') + 1));
    response.set(302, "text/plain", "The file is at another address.\n");
    response.setHeader("Location", QByteArray(request.tls ? "https://" : "http://") + m_options.signedHost.toLatin1() +
                                       "/1/get/" + key.toLatin1() + '/' + name);
}

void DropboxService::signedDownload(HttpRequest &request, HttpResponse &response)
{
    const QString key = QString::fromLatin1(request.path.mid(0, request.path.indexOf('/')));
    const QString path = m_signedKeys.take(key);
    const QFileInfo info = path.isEmpty() ? QFileInfo() : m_folder.find(path);
    if (path.isEmpty())
        setJsonError(response, 403, "This address has been used or was never given out.");
    else if (!info.isFile())
        setJsonError(response, 404, "The file is gone.");
    else
        setFile(response, info.filePath(), info.size(), request.header("Range"));
}

void DropboxService::upload(HttpRequest &request, HttpResponse &response)
{
    QString path = DropboxFolder::decodedPath(request.path);
    if (!request.hasLength) {
        setJsonError(response, 411, "The length of the body must be announced.");
        return;
    }
    if (path.isNull() || path == QLatin1String("/")) {
        setJsonError(response, 400, "The path is not allowed.");
        return;
    }
    if (formValue(request.query, "overwrite") == QLatin1String("false"))
        path = freeName(m_folder, path);
    const QString local = m_folder.pathForWriting(path);
    if (local.isEmpty())
        setJsonError(response, 403, "Nothing can be stored at that path.");
    else if (!request.body.moveTo(local))
        setJsonError(response, 507, "The file cannot be stored.");
    else
        setJson(response, m_folder.metadata(path, QFileInfo(local)));
}

} // namespace localcloud
