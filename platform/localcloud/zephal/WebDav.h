// localcloud/zephal/WebDav.h
//
// The methods of WebDAV (RFC 4918, class 1: no locks) over a folder on disk. Properties are those of the files; none
// can be set.

#pragma once

#include <QByteArrayList>

#include <localcloud/http/HttpTypes.h>
#include <localcloud/zephal/DavFolder.h>

namespace localcloud {

class WebDav
{
public:
    /// \p base is the path of the folder's address, "/dav".
    WebDav(const DavFolder &folder, const QByteArray &base) : m_folder(folder), m_base(base) {}

    /// Those that handle() knows.
    static QByteArrayList methods();

    /// Serves a request whose path begins after the base and its slash.
    void handle(HttpRequest &request, HttpResponse &response);

private:
    struct Call;
    using Handler = void (WebDav::*)(Call &);
    struct Refusal
    {
        int status = 0; ///< 0 lets the request pass
        const char *message = "";
    };

    static const QVector<QPair<QByteArray, Handler>> &handlers();
    void options(Call &call);
    void propfind(Call &call);
    void proppatch(Call &call);
    void get(Call &call);
    void put(Call &call);
    void remove(Call &call);
    void makeFolder(Call &call);
    void transfer(Call &call);

    bool conditionsHold(Call &call) const;
    Refusal putRefusal(const Call &call) const;
    Refusal makeFolderRefusal(const Call &call) const;
    Refusal transferRefusal(const Call &call, const QString &to) const;
    bool hasParent(const QString &path) const;
    Refusal pathOf(const QByteArray &address, const HttpRequest &request, QString &path) const;
    QByteArray hrefOf(const QString &path, const DavEntry &entry) const;

    DavFolder m_folder;
    QByteArray m_base;
};

} // namespace localcloud
