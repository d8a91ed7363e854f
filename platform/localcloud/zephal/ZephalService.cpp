#include "localcloud/zephal/ZephalService.h"

#include "localcloud/SignInPage.h"

#include <QUrl>

namespace localcloud {

namespace {

const PageLook kZephalLook{"Zephal", "#7a3f8f", "#5f2e71", "#e6d3ed", "#d6b8e0"};

} // namespace

ZephalService::ZephalService(const ServiceStorage &storage)
    : m_tokens(storage.tokenFile), m_storage(storage.folder, "/dav")
{
    using Match = Route::Match;
    using Transport = Route::Transport;
    const QStringList host{"cloud.zephal.example"};
    const QByteArrayList &methods = DavStorage::methods();
    const auto page = [this](auto &request, auto &response) { signIn(request, response); };
    const auto done = [](auto &, auto &response) { setSignedInPage(response, kZephalLook); };
    const auto files = [this](auto &request, auto &response) { m_storage.serve(request, response); };
    const auto isAllowed = [this](const auto &request, auto &response) { return isSignedIn(request, response); };
    addRoute({host, "/signin", Match::Whole, {"GET", "POST"}, Transport::Tls, page, {}});
    addRoute({host, "/signin/done", Match::Whole, {"GET"}, Transport::Tls, done, {}});
    addRoute({host, "/dav", Match::Whole, methods, Transport::Tls, files, isAllowed});
    addRoute({host, "/dav/", Match::Prefix, methods, Transport::Tls, files, isAllowed});
}

void ZephalService::signIn(const HttpRequest &request, HttpResponse &response)
{
    if (!checkSignIn(request, response, kZephalLook, QStringLiteral("Sign in to your documents"), "/signin"))
        return;
    const QString token = issueToken();
    if (token.isEmpty()) {
        setErrorPage(response, 500, kZephalLook, QStringLiteral("The token cannot be stored."));
        return;
    }
    const QByteArray query = "user=" + QUrl::toPercentEncoding(kDemoUser) + "&token=" + QUrl::toPercentEncoding(token) +
                             "&first=Robin&last=Example";
    response.setRedirect("https://" + request.host.toLatin1() + "/signin/done?" + query);
}

bool ZephalService::isSignedIn(const HttpRequest &request, HttpResponse &response) const
{
    const QByteArray header = request.header("Authorization");
    const auto decoded =
        QByteArray::fromBase64Encoding(header.mid(6).trimmed(), QByteArray::AbortOnBase64DecodingErrors);
    const QString pair = QString::fromUtf8(decoded.decoded);
    const QString secret = pair.mid(kDemoUser.size() + 1);
    if (qstrnicmp(header.constData(), "Basic ", 6) == 0 && decoded && pair.startsWith(kDemoUser + ':') &&
        (secret == kDemoPassword || m_tokens.contains(secret)))
        return true;
    response.setText(401, "The request has no valid credentials.");
    response.setHeader("WWW-Authenticate", "Basic realm=\"Zephal\", charset=\"UTF-8\"");
    return false;
}

} // namespace localcloud
