// localcloud/dropbox/DropboxService.h
//
// The Dropbox interface of version 1 over a folder of real files: sign-in pages, account, listing, download, upload.

#pragma once

#include <localcloud/CloudService.h>
#include <localcloud/dropbox/DropboxFolder.h>
#include <localcloud/dropbox/DropboxSignIn.h>
#include <localcloud/dropbox/DropboxTokens.h>
#include <localcloud/http/OneTimeFiles.h>
#include <localcloud/http/RouteTable.h>

namespace localcloud {

/// The names that the service answers to, and its user.
struct DropboxOptions
{
    QString webHost = QStringLiteral("www.dropbox.com");
    QString apiHost = QStringLiteral("api.dropbox.com");
    QString contentHost = QStringLiteral("api-content.dropbox.com");
    QString signedHost = QStringLiteral("dl.dropboxusercontent.com"); ///< where one-time addresses lead
    QString displayName = QStringLiteral("Robin Example");
};

class DropboxService : public CloudService
{
public:
    /// Serves \p folder, which exists; keeps tokens in \p tokenFile.
    DropboxService(const DropboxOptions &options, const QString &folder, const QString &tokenFile);

    bool handles(const QString &host) const override { return m_routes.hasHost(host); }
    bool handlesPath(const QByteArray &path) const override { return m_routes.hasPath(path); }
    void handle(HttpRequest &request, HttpResponse &response) override { m_routes.dispatch(request, response); }

    DropboxTokens &tokens() { return m_tokens; }

private:
    void metadata(HttpRequest &request, HttpResponse &response);
    void download(HttpRequest &request, HttpResponse &response);
    void upload(HttpRequest &request, HttpResponse &response);

    DropboxOptions m_options;
    DropboxTokens m_tokens;
    DropboxSignIn m_signIn;
    DropboxFolder m_folder;
    OneTimeFiles m_signedFiles{"/1/get/"};
    RouteTable m_routes;
};

} // namespace localcloud
