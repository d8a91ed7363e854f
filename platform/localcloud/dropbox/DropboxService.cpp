#include <QCryptographicHash>
#include <QJsonArray>
#include <QJsonDocument>

#include <localcloud/dropbox/DropboxService.h>
#include <localcloud/http/Replies.h>

namespace localcloud {

namespace {

constexpr int kDefaultFileLimit = 10000;
constexpr int kMaxFileLimit = 25000;

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

DropboxService::DropboxService(const DropboxOptions &options, const QString &folder, const QString &tokenFile)
    : m_options(options), m_tokens(tokenFile), m_signIn(m_tokens, options.displayName), m_folder(folder)
{
    const QStringList api{m_options.apiHost};
    const QStringList content{m_options.contentHost};
    const QByteArrayList reading{"GET", "HEAD"};
    using Self = DropboxService;
    const auto call = [this](void (Self::*handler)(HttpRequest &, HttpResponse &)) {
        return [this, handler](HttpRequest &request, HttpResponse &response) { (this->*handler)(request, response); };
    };
    const auto signedIn = [this](const HttpRequest &request, HttpResponse &response) {
        return m_signIn.isSignedIn(request, response);
    };
    const auto authorize = [this](HttpRequest &request, HttpResponse &response) {
        m_signIn.authorize(request, response);
    };
    const auto token = [this](HttpRequest &request, HttpResponse &response) { m_signIn.token(request, response); };
    const auto account = [this](HttpRequest &, HttpResponse &response) { m_signIn.accountInfo(response); };
    const auto signedFile = [this](HttpRequest &request, HttpResponse &response) {
        m_signedFiles.serve(request, response);
    };
    m_routes = RouteTable({
        {{m_options.webHost}, "/1/oauth2/authorize", true, {"GET", "HEAD", "POST"}, authorize, nullptr},
        {api, "/1/oauth2/token", true, {"POST"}, token, nullptr},
        {api, "/1/account/info", true, reading, account, signedIn},
        {api, "/1/account/info/", true, reading, account, signedIn},
        {api, "/1/metadata/dropbox", true, reading, call(&Self::metadata), signedIn},
        {api, "/1/metadata/dropbox/", false, reading, call(&Self::metadata), signedIn},
        {content, "/1/files/dropbox/", false, reading, call(&Self::download), signedIn},
        {content, "/1/files_put/dropbox/", false, {"PUT", "POST"}, call(&Self::upload), signedIn},
        {{m_options.signedHost}, "/1/get/", false, reading, signedFile, nullptr},
    });
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
    else if (request.signedRedirect)
        m_signedFiles.redirect(request, m_options.signedHost, info.filePath(), response);
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
