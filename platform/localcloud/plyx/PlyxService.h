// localcloud/plyx/PlyxService.h
//
// The model-sharing service Plyx over a folder of published models: sign-in page, member, search, assets, downloads.
// Downloads come from hosts of their own, which answer with one redirect to an address that works once.

#pragma once

#include <localcloud/CloudService.h>
#include <localcloud/http/OneTimeFiles.h>
#include <localcloud/http/RouteTable.h>
#include <localcloud/plyx/PlyxCatalogue.h>
#include <localcloud/plyx/PlyxSessions.h>
#include <localcloud/plyx/PlyxSignIn.h>

namespace localcloud {

/// The names that the service answers to, and its user.
struct PlyxOptions
{
    QString host = QStringLiteral("www.plyx.example");
    QStringList downloadHosts{QStringLiteral("files1.plyx.example"),
                              QStringLiteral("files2.plyx.example")}; ///< not empty
    PlyxAccount account;
};

class PlyxService : public CloudService
{
public:
    /// Serves the catalogue in \p folder once open() was called; keeps sessions in \p sessionFile.
    PlyxService(const PlyxOptions &options, const QString &folder, const QString &sessionFile);

    /// Reads the catalogue; false with a reason when it is damaged.
    bool open(QString *error) { return m_catalogue.open(m_folder, error); }

    bool handles(const QString &host) const override { return m_routes.hasHost(host); }
    bool handlesPath(const QByteArray &path) const override { return m_routes.hasPath(path); }
    void handle(HttpRequest &request, HttpResponse &response) override { m_routes.dispatch(request, response); }

    PlyxSessions &sessions() { return m_sessions; }

private:
    enum class Transport { Tls, Plain };
    QVector<Route> routes();
    bool arrivedOver(Transport transport, const HttpRequest &request, HttpResponse &response) const;

    void member(HttpRequest &request, HttpResponse &response);
    void memberAssets(HttpRequest &request, HttpResponse &response);
    void search(HttpRequest &request, HttpResponse &response);
    void asset(HttpRequest &request, HttpResponse &response);
    void chooseServer(HttpRequest &request, HttpResponse &response);
    void download(HttpRequest &request, HttpResponse &response);
    void keyedDownload(HttpRequest &request, HttpResponse &response);
    void thumbnail(HttpRequest &request, HttpResponse &response);
    void list(const HttpRequest &request, PlyxShelf shelf, HttpResponse &response) const;
    QJsonObject summary(const PlyxAsset &asset) const;

    PlyxOptions m_options;
    QString m_folder;
    PlyxSessions m_sessions;
    PlyxSignIn m_signIn;
    PlyxCatalogue m_catalogue;
    OneTimeFiles m_downloads{"/v1/Once/"};
    RouteTable m_routes;
    int m_nextServer = 0;
};

} // namespace localcloud
