// localcloud/zephal/DavStorage.h
//
// The part of WebDAV (RFC 4918) that the cloud library uses, over a folder on disk: PROPFIND, GET, PUT, MOVE and
// DELETE. PUT and MOVE store a file in one step. The properties are those of the files.

#pragma once

#include "localcloud/http/HttpTypes.h"
#include "localcloud/ServedFolder.h"

#include <QByteArrayList>

namespace localcloud {

class DavStorage
{
public:
    /// \p folder must exist. \p base is the path of its address, without a slash at its end.
    DavStorage(const QString &folder, const QByteArray &base) : m_folder(folder), m_base(base) {}

    static const QByteArrayList &methods();

    /// Serves a request whose path is relative to the base.
    void serve(HttpRequest &request, HttpResponse &response) const;

private:
    void list(const HttpRequest &request, const QString &path, HttpResponse &response) const;
    void put(HttpRequest &request, const QString &path, HttpResponse &response) const;
    void move(const HttpRequest &request, const QString &path, HttpResponse &response) const;
    void remove(const QString &path, HttpResponse &response) const;
    QByteArray propertiesOf(const QString &path, const QFileInfo &info) const;
    QString destinationOf(const HttpRequest &request, HttpResponse &response) const;
    bool isInFolder(const QString &path, HttpResponse &response) const;

    ServedFolder m_folder;
    QByteArray m_base;
};

} // namespace localcloud
