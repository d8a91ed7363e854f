#include "localcloud/zephal/DavStorage.h"

#include "localcloud/http/RequestParser.h"

#include <QDateTime>
#include <QFile>
#include <QUrl>

#include <cstdio>
#include <sys/stat.h>

namespace localcloud {

namespace {

/// Returns a strong entity tag with its quotes; empty for a folder or a missing file.
QByteArray tagOf(const QFileInfo &info)
{
    struct stat status = {};
    if (!info.isFile() || ::stat(QFile::encodeName(info.filePath()).constData(), &status) != 0)
        return {};
    const auto hex = [](qint64 number) { return QByteArray::number(number, 16); };
    return '"' + hex(static_cast<qint64>(status.st_ino)) + '-' + hex(status.st_size) + '-' +
           hex(status.st_mtim.tv_sec) + '-' + hex(status.st_mtim.tv_nsec) + '"';
}

/// Evaluates If-Match and If-None-Match against the stored file.
bool conditionsHold(const HttpRequest &request, const QFileInfo &stored)
{
    const QByteArray match = request.header("If-Match");
    const QByteArray noneMatch = request.header("If-None-Match");
    return (match.isEmpty() || match == tagOf(stored)) && (noneMatch != "*" || !stored.exists());
}

/// Evaluates the header If with one entity tag of the destination: <ADDRESS> ([TAG]).
bool ifHeaderHolds(const HttpRequest &request, const QFileInfo &destination)
{
    const QByteArray header = request.header("If");
    return header.isEmpty() || header.endsWith(" ([" + tagOf(destination) + "])");
}

} // namespace

const QByteArrayList &DavStorage::methods()
{
    static const QByteArrayList names{"OPTIONS", "PROPFIND", "GET", "PUT", "MOVE", "DELETE"};
    return names;
}

void DavStorage::serve(HttpRequest &request, HttpResponse &response) const
{
    const auto path = ServedFolder::decodedPath(request.path);
    if (!path) {
        response.setText(400, "The path is malformed.");
        return;
    }
    const QFileInfo info = m_folder.find(*path);
    if (request.method == "OPTIONS") {
        response.setHeader("DAV", "1");
        response.setHeader("Allow", methods().join(", "));
    } else if (request.method == "PUT") {
        put(request, *path, response);
    } else if (!info.exists() || (info.isFile() && request.path.endsWith('/'))) {
        response.setText(404, "The path does not exist.");
    } else if (request.method == "PROPFIND") {
        list(request, *path, response);
    } else if (info.isDir()) {
        response.setText(405, "The method is not allowed for a folder.");
    } else if (request.method == "GET") {
        response.setFile(info.filePath());
        response.setHeader("ETag", tagOf(info));
    } else if (request.method == "MOVE") {
        move(request, *path, response);
    } else {
        remove(*path, response);
    }
}

QByteArray DavStorage::propertiesOf(const QString &path, const QFileInfo &info) const
{
    const auto element = [](const QByteArray &name, const QByteArray &inside) {
        return "<D:" + name + '>' + inside + "</D:" + name + '>';
    };
    const QByteArray href = m_base + QUrl::toPercentEncoding(path, "/") + (info.isDir() ? "/" : "");
    QByteArray properties = element("resourcetype", info.isDir() ? "<D:collection/>" : "") +
                            element("getlastmodified", httpDate(info.lastModified().toSecsSinceEpoch()));
    if (info.isFile())
        properties += element("getcontentlength", QByteArray::number(info.size())) + element("getetag", tagOf(info)) +
                      element("getcontenttype", mediaType(path));
    const QByteArray status = element("status", "HTTP/1.1 200 OK");
    return element("response", element("href", href) + element("propstat", element("prop", properties) + status)) +
           '\n';
}

void DavStorage::list(const HttpRequest &request, const QString &path, HttpResponse &response) const
{
    const QFileInfo info = m_folder.find(path);
    const QByteArray depth = request.header("Depth");
    if (depth != "0" && depth != "1") {
        response.setText(403, "The header Depth must be 0 or 1.");
        return;
    }
    QByteArray xml = "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<D:multistatus xmlns:D=\"DAV:\">\n";
    xml += propertiesOf(path, info);
    if (depth == "1" && info.isDir()) {
        for (const QFileInfo &entry : m_folder.entries(path))
            xml += propertiesOf(path + '/' + entry.fileName(), entry);
    }
    response.set(207, "application/xml; charset=utf-8", xml + "</D:multistatus>\n");
}

/// Returns true if the folder above \p path exists; else fills \p response.
bool DavStorage::isInFolder(const QString &path, HttpResponse &response) const
{
    if (!path.isEmpty() && m_folder.find(path.left(path.lastIndexOf('/'))).isDir())
        return true;
    response.setText(409, "The folder does not exist.");
    return false;
}

void DavStorage::put(HttpRequest &request, const QString &path, HttpResponse &response) const
{
    const QFileInfo stored = m_folder.find(path);
    if (!request.hasLength) {
        response.setText(411, "The request has no Content-Length.");
    } else if (stored.isDir()) {
        response.setText(405, "The method is not allowed for a folder.");
    } else if (!isInFolder(path, response)) {
        return;
    } else if (!conditionsHold(request, stored)) {
        response.setText(412, "A condition is not met.");
    } else if (!request.body.moveTo(m_folder.localPath(path))) {
        response.setText(507, "The file cannot be stored.");
    } else {
        response.status = stored.exists() ? 204 : 201;
        response.setHeader("ETag", tagOf(m_folder.find(path)));
    }
}

/// Returns the decoded path in the header Destination, which is an address on the same host or its path. If it is
/// outside of the storage, returns null and fills \p response.
QString DavStorage::destinationOf(const HttpRequest &request, HttpResponse &response) const
{
    QByteArray address = request.header("Destination");
    const int scheme = address.indexOf("://");
    if (scheme > 0) {
        const int slash = address.indexOf('/', scheme + 3);
        if (hostOf(address.mid(scheme + 3, slash - scheme - 3)) == request.host)
            address.remove(0, slash);
    }
    const auto path = ServedFolder::decodedPath(address.mid(m_base.size()));
    if (address.startsWith(m_base + '/') && path && !path->isEmpty())
        return *path;
    response.setText(502, "The destination is outside of this storage.");
    return {};
}

void DavStorage::move(const HttpRequest &request, const QString &path, HttpResponse &response) const
{
    const QString target = destinationOf(request, response);
    if (target.isNull() || !isInFolder(target, response))
        return;
    const QFileInfo replaced = m_folder.find(target);
    const QByteArray from = QFile::encodeName(m_folder.localPath(path));
    const QByteArray to = QFile::encodeName(m_folder.localPath(target));
    if (replaced.isDir())
        response.setText(409, "The destination is a folder.");
    else if ((replaced.exists() && request.header("Overwrite") == "F") || !ifHeaderHolds(request, replaced))
        response.setText(412, "A condition is not met.");
    else if (std::rename(from.constData(), to.constData()) != 0)
        response.setText(403, "The file cannot be moved.");
    else
        response.status = replaced.exists() ? 204 : 201;
}

void DavStorage::remove(const QString &path, HttpResponse &response) const
{
    if (QFile::remove(m_folder.localPath(path)))
        response.status = 204;
    else
        response.setText(403, "The file cannot be deleted.");
}

} // namespace localcloud
