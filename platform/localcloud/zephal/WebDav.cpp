#include <QHash>

#include <algorithm>
#include <localcloud/http/Replies.h>
#include <localcloud/http/RequestParser.h>
#include <localcloud/zephal/DavConditions.h>
#include <localcloud/zephal/DavXml.h>
#include <localcloud/zephal/WebDav.h>
#include <memory>

namespace localcloud {

namespace {

constexpr int kListingSlice = 32 * 1024;

enum class Depth { Zero, One, Infinity, Malformed };

Depth depthOf(const HttpRequest &request)
{
    static const QHash<QByteArray, Depth> depths{
        {"", Depth::Infinity}, {"0", Depth::Zero}, {"1", Depth::One}, {"infinity", Depth::Infinity}};
    return depths.value(request.header("Depth").toLower(), Depth::Malformed);
}

void setMultiStatus(HttpResponse &response)
{
    response.set(207, "application/xml; charset=utf-8", {});
}

/// Whether \p path is \p folder or lies in it.
bool isIn(const QString &path, const QString &folder)
{
    return path == folder || path.startsWith(folder + '/');
}

/// A folder's multi-status, made while it is read. What is removed meanwhile is left out.
class Listing
{
public:
    Listing(const DavFolder &folder, const QString &path, const QByteArray &href, const DavQuery &query)
        : m_folder(folder), m_path(path), m_href(href), m_query(query), m_names(folder.names(path))
    {
        m_text = multiStatusStart() + propertiesResponse(href, folder.find(path), path, query);
    }

    QByteArray next()
    {
        for (; m_position < m_names.size() && m_text.size() < kListingSlice; ++m_position) {
            const QString &name = m_names[m_position];
            const DavEntry entry = m_folder.find(m_path + '/' + name);
            const QByteArray href = m_href + DavFolder::encodedPath(name) + (entry.isFolder() ? "/" : "");
            if (entry.isFile() || entry.isFolder())
                m_text += propertiesResponse(href, entry, name, m_query);
        }
        if (m_position == m_names.size()) {
            m_text += multiStatusEnd();
            ++m_position;
        }
        return std::exchange(m_text, QByteArray());
    }

private:
    DavFolder m_folder;
    QString m_path;
    QByteArray m_href;
    DavQuery m_query;
    QStringList m_names;
    QByteArray m_text;
    int m_position = 0;
};

} // namespace

/// One request on its way.
struct WebDav::Call
{
    HttpRequest &request;
    HttpResponse &response;
    QString path;
    DavEntry entry;
    bool folderAddress = false; ///< the address ends in a slash

    void answer(int status, const QByteArray &message) { setText(response, status, message); }
    /// Answers when there is something to refuse.
    bool isRefused(const Refusal &refusal)
    {
        if (refusal.status != 0)
            answer(refusal.status, refusal.message);
        return refusal.status != 0;
    }
    void tellVersion(const DavEntry &version)
    {
        response.setHeader("ETag", version.etag);
        response.setHeader("Last-Modified", httpDate(version.modified));
    }
};

const QVector<QPair<QByteArray, WebDav::Handler>> &WebDav::handlers()
{
    using Self = WebDav;
    static const QVector<QPair<QByteArray, Handler>> table{
        {"OPTIONS", &Self::options},
        {"GET", &Self::get},
        {"HEAD", &Self::get},
        {"PUT", &Self::put},
        {"DELETE", &Self::remove},
        {"PROPFIND", &Self::propfind},
        {"PROPPATCH", &Self::proppatch},
        {"MKCOL", &Self::makeFolder},
        {"COPY", &Self::transfer},
        {"MOVE", &Self::transfer},
    };
    return table;
}

QByteArrayList WebDav::methods()
{
    QByteArrayList names;
    for (const auto &handler : handlers())
        names.append(handler.first);
    return names;
}

void WebDav::handle(HttpRequest &request, HttpResponse &response)
{
    const auto path = DavFolder::decodedPath(request.path);
    if (!path) {
        setText(response, 400, "The path is not allowed.");
        return;
    }
    Call call{request, response, *path, m_folder.find(*path), request.path.isEmpty() || request.path.endsWith('/')};
    if (call.entry.isFile() && call.folderAddress && request.method != "MKCOL")
        call.entry = {};
    for (const auto &[method, handler] : handlers()) {
        if (method == request.method)
            (this->*handler)(call);
    }
}

QByteArray WebDav::hrefOf(const QString &path, const DavEntry &entry) const
{
    return m_base + DavFolder::encodedPath(path) + (entry.isFolder() ? "/" : "");
}

bool WebDav::hasParent(const QString &path) const
{
    return m_folder.find(path.left(path.lastIndexOf('/'))).isFolder();
}

WebDav::Refusal WebDav::pathOf(const QByteArray &address, const HttpRequest &request, QString &path) const
{
    QByteArray rest = address;
    const int scheme = address.indexOf("://");
    if (!address.startsWith('/')) {
        const int slash = std::max(address.indexOf('/', scheme + 3), 0);
        const QByteArray name = address.left(std::max(scheme, 0)).toLower();
        if ((name != "http" && name != "https") || slash == 0)
            return {400, "The address is malformed."};
        if (hostOf(address.mid(scheme + 3, slash - scheme - 3)) != request.host)
            return {502, "The address is on another server."};
        rest = address.mid(slash);
    }
    if (rest != m_base && !rest.startsWith(m_base + '/'))
        return {502, "The address is outside of this storage."};
    const auto decoded = DavFolder::decodedPath(rest.mid(m_base.size()));
    if (!decoded || rest.contains('?'))
        return {400, "The path is not allowed."};
    path = *decoded;
    return {};
}

bool WebDav::conditionsHold(Call &call) const
{
    const auto lookup = [&](const QByteArray &address) {
        QString path;
        return pathOf(address, call.request, path).status == 0 ? m_folder.find(path) : DavEntry();
    };
    const int status = conditionStatus(call.request, call.entry, lookup);
    if (status == 304) {
        call.response.status = status;
        call.tellVersion(call.entry);
    } else if (status != 0) {
        call.answer(status, status == 412 ? "A condition does not hold." : "The If header is malformed.");
    }
    return status == 0;
}

void WebDav::options(Call &call)
{
    call.response.setHeader("DAV", "1");
    call.response.setHeader("Allow", methods().join(", "));
    call.response.setHeader("MS-Author-Via", "DAV");
}

void WebDav::propfind(Call &call)
{
    const Depth depth = depthOf(call.request);
    const auto query = parsePropfind(call.request.body.bytes());
    if (call.request.body.size() > 0 && call.request.body.bytes().isEmpty()) {
        call.answer(413, "The request is too large.");
    } else if (depth == Depth::Malformed || !query) {
        call.answer(400, query ? "The Depth header is malformed." : "The body asks for no properties.");
    } else if (!call.entry.isFile() && !call.entry.isFolder()) {
        call.answer(404, "Nothing is stored at that path.");
    } else if (depth == Depth::Infinity && call.entry.isFolder()) {
        call.response.set(403, "application/xml; charset=utf-8", preconditionBody("propfind-finite-depth"));
    } else if (conditionsHold(call)) {
        const QByteArray href = hrefOf(call.path, call.entry);
        setMultiStatus(call.response);
        if (call.entry.isFolder() && !call.folderAddress)
            call.response.setHeader("Content-Location", href);
        if (call.entry.isFolder() && depth == Depth::One) {
            const auto listing = std::make_shared<Listing>(m_folder, call.path, href, *query);
            call.response.source = [listing] { return listing->next(); };
        } else {
            call.response.body =
                multiStatusStart() + propertiesResponse(href, call.entry, call.path, *query) + multiStatusEnd();
        }
    }
}

void WebDav::proppatch(Call &call)
{
    const auto properties = parseProppatch(call.request.body.bytes());
    if (!properties) {
        call.answer(400, "The body changes no properties.");
    } else if (!call.entry.isFile() && !call.entry.isFolder()) {
        call.answer(404, "Nothing is stored at that path.");
    } else if (conditionsHold(call)) {
        setMultiStatus(call.response);
        call.response.body =
            multiStatusStart() + refusalResponse(hrefOf(call.path, call.entry), *properties) + multiStatusEnd();
    }
}

void WebDav::get(Call &call)
{
    if (call.entry.isFolder()) {
        call.answer(405, "A folder is listed with PROPFIND.");
        call.response.setHeader("Allow", "OPTIONS, DELETE, PROPFIND, PROPPATCH, COPY, MOVE");
    } else if (!call.entry.isFile()) {
        call.answer(404, "No file is stored at that path.");
    } else if (conditionsHold(call)) {
        setFile(call.response, m_folder.localPath(call.path), call.entry.size, validRange(call.request, call.entry));
        call.tellVersion(call.entry);
    }
}

WebDav::Refusal WebDav::putRefusal(const Call &call) const
{
    if (!call.request.hasLength)
        return {411, "The length of the body must be announced."};
    if (hasHeader(call.request.headers, "Content-Range"))
        return {400, "Files are stored as a whole."};
    if (m_folder.find(call.path).isFolder())
        return {405, "There is a folder at that path."};
    if (!hasParent(call.path) || call.folderAddress)
        return {409, "There is no folder to store the file in."};
    if (call.entry.exists() && !call.entry.isFile())
        return {403, "Nothing can be stored at that path."};
    return {};
}

void WebDav::put(Call &call)
{
    if (call.isRefused(putRefusal(call)) || !conditionsHold(call))
        return;
    if (!m_folder.store(call.path, call.request.body)) {
        call.answer(507, "The file cannot be stored.");
        return;
    }
    call.response.status = call.entry.exists() ? 204 : 201;
    call.tellVersion(m_folder.find(call.path));
}

void WebDav::remove(Call &call)
{
    if (call.path.isEmpty())
        call.answer(403, "The storage itself stays.");
    else if (!call.entry.isFile() && !call.entry.isFolder())
        call.answer(404, "Nothing is stored at that path.");
    else if (call.entry.isFolder() && depthOf(call.request) != Depth::Infinity)
        call.answer(400, "A folder is removed with all that is in it.");
    else if (!conditionsHold(call))
        return;
    else if (!m_folder.remove(call.path))
        call.answer(403, "It cannot be removed.");
    else
        call.response.status = 204;
}

WebDav::Refusal WebDav::makeFolderRefusal(const Call &call) const
{
    if (call.request.body.size() > 0)
        return {415, "A folder is made without a body."};
    if (call.entry.exists())
        return {405, "Something is stored at that path already."};
    if (!hasParent(call.path))
        return {409, "There is no folder to make it in."};
    return {};
}

void WebDav::makeFolder(Call &call)
{
    if (call.isRefused(makeFolderRefusal(call)) || !conditionsHold(call))
        return;
    if (m_folder.makeFolder(call.path))
        call.response.status = 201;
    else
        call.answer(507, "The folder cannot be made.");
}

WebDav::Refusal WebDav::transferRefusal(const Call &call, const QString &to) const
{
    const Depth depth = depthOf(call.request);
    const bool onlyFolder = depth == Depth::Zero && call.request.method == "COPY";
    const QByteArray overwrite = call.request.header("Overwrite").toUpper();
    const DavEntry target = m_folder.find(to);
    if (!overwrite.isEmpty() && overwrite != "T" && overwrite != "F")
        return {400, "The Overwrite header is malformed."};
    if (call.entry.isFolder() && depth != Depth::Infinity && !onlyFolder)
        return {400, "The Depth header does not fit."};
    if (!call.entry.isFile() && !call.entry.isFolder())
        return {404, "Nothing is stored at that path."};
    if (call.path == to || isIn(call.path, to) || (isIn(to, call.path) && !onlyFolder))
        return {403, "One of the two paths lies in the other."};
    if (target.kind == DavEntry::Kind::Other)
        return {403, "Nothing can be stored at that path."};
    if (!hasParent(to))
        return {409, "There is no folder to store it in."};
    if (target.exists() && overwrite == "F")
        return {412, "Something is stored there already."};
    return {};
}

void WebDav::transfer(Call &call)
{
    QString to;
    if (call.isRefused(pathOf(call.request.header("Destination"), call.request, to)) ||
        call.isRefused(transferRefusal(call, to)) || !conditionsHold(call))
        return;
    const bool replaces = m_folder.find(to).exists();
    const auto depth =
        depthOf(call.request) == Depth::Zero ? DavFolder::CopyDepth::FolderOnly : DavFolder::CopyDepth::Everything;
    const bool moves = call.request.method == "MOVE";
    if (moves ? m_folder.move(call.path, to) : m_folder.copy(call.path, to, depth))
        call.response.status = replaces ? 204 : 201;
    else
        call.answer(moves ? 403 : 507, "It cannot be stored there.");
}

} // namespace localcloud
