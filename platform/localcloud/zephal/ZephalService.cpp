#include <localcloud/http/Replies.h>
#include <localcloud/zephal/ZephalService.h>

namespace localcloud {

ZephalService::ZephalService(const ZephalOptions &options, const ZephalPlaces &places)
    : m_tokens(places.tokenFile), m_signIn(m_tokens, options.account),
      m_storage(DavFolder(places.folder, places.workFolder), "/dav")
{
    const QStringList host{options.host};
    const auto overTls = [this](const HttpRequest &request, HttpResponse &response) {
        const bool fits = request.tls || !handles(request.host); // straight to this machine it is plain HTTP always
        if (!fits)
            setText(response, 403, "This page is served over https.");
        return fits;
    };
    const auto signedIn = [this](const HttpRequest &request, HttpResponse &response) {
        return m_signIn.isSignedIn(request, response);
    };
    const auto page = [this](HttpRequest &request, HttpResponse &response) { m_signIn.signIn(request, response); };
    const auto done = [this](HttpRequest &, HttpResponse &response) { m_signIn.done(response); };
    const auto storage = [this](HttpRequest &request, HttpResponse &response) { m_storage.handle(request, response); };
    m_routes = RouteTable({
        {host, "/signin", true, {"GET", "HEAD", "POST"}, page, overTls},
        {host, "/signin/done", true, {"GET", "HEAD"}, done, overTls},
        {host, "/dav", true, WebDav::methods(), storage, signedIn},
        {host, "/dav/", false, WebDav::methods(), storage, signedIn},
    });
}

} // namespace localcloud
