// localcloud/zephal/ZephalService.h
//
// The document cloud Zephal: a sign-in page at /signin, and a folder of files over WebDAV below /dav/. The storage also
// answers plain http, for test programs on this machine that speak no TLS through a proxy: credentials that travel so
// are readable on their way, and only the loopback proxy makes that harmless. The sign-in page wants https.

#pragma once

#include <localcloud/CloudService.h>
#include <localcloud/http/RouteTable.h>
#include <localcloud/TokenStore.h>
#include <localcloud/zephal/WebDav.h>
#include <localcloud/zephal/ZephalSignIn.h>

namespace localcloud {

/// The name that the service answers to, and its user.
struct ZephalOptions
{
    QString host = QStringLiteral("cloud.zephal.example");
    ZephalAccount account;
};

/// Where the service keeps what.
struct ZephalPlaces
{
    QString folder;     ///< the files that it serves; exists
    QString workFolder; ///< on the same file system, exists
    QString tokenFile;
};

class ZephalService : public CloudService
{
public:
    ZephalService(const ZephalOptions &options, const ZephalPlaces &places);

    bool handles(const QString &host) const override { return m_routes.hasHost(host); }
    bool handlesPath(const QByteArray &path) const override { return m_routes.hasPath(path); }
    void handle(HttpRequest &request, HttpResponse &response) override { m_routes.dispatch(request, response); }

    ZephalSignIn &signIn() { return m_signIn; }
    TokenStore &tokens() { return m_tokens; }

private:
    TokenStore m_tokens;
    ZephalSignIn m_signIn;
    WebDav m_storage;
    RouteTable m_routes;
};

} // namespace localcloud
