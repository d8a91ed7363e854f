#include "localcloud/dropbox/DropboxSignIn.h"

#include "localcloud/SignInPage.h"

#include <QJsonObject>
#include <QUrl>

namespace localcloud {

namespace {

constexpr int kUserId = 4711;
constexpr int kCodeLifetimeSeconds = 600;

const PageLook kDropBoxLook{"Dropbox", "#1f6ab5", "#18548f", "#c9def2", "#b3d1ee"};

bool isLoopback(const QUrl &url)
{
    const QString host = url.host();
    return url.isValid() && url.scheme() == QLatin1String("http") && url.userInfo().isEmpty() &&
           (host == QLatin1String("localhost") || host == QLatin1String("127.0.0.1") || host == QLatin1String("::1"));
}

QString hiddenField(const QString &name, const QString &value)
{
    return QStringLiteral("<input type=\"hidden\" name=\"") + name + "\" value=\"" + value.toHtmlEscaped() + "\">";
}

/// The parameters of an application. \a fault is empty if they are valid.
struct AuthorizeRequest
{
    explicit AuthorizeRequest(const QByteArray &form)
        : clientId(formValue(form, "client_id")), redirectUri(formValue(form, "redirect_uri")),
          state(formValue(form, "state"))
    {
        if (clientId.isEmpty())
            fault = QStringLiteral("The parameter client_id is missing.");
        else if (formValue(form, "response_type") != QLatin1String("code"))
            fault = QStringLiteral("The parameter response_type must be \"code\".");
        else if (!isLoopback(QUrl(redirectUri)))
            fault =
                QStringLiteral("The redirect_uri must be an address of this computer, not \"%1\".").arg(redirectUri);
    }

    QString clientId;
    QString redirectUri;
    QString state;
    QString fault;
};

void setAuthorizePage(HttpResponse &response, const AuthorizeRequest &parameters)
{
    const QString body =
        QStringLiteral("<h1>Connect an application</h1><p><code>") + parameters.clientId.toHtmlEscaped() +
        QStringLiteral("</code> would like to use your Dropbox. It will be able to</p>"
                       "<ul><li>see your files and folders</li><li>download your files</li>"
                       "<li>store and replace files</li></ul>"
                       "<form method=\"post\" action=\"/1/oauth2/authorize\">") +
        hiddenField("client_id", parameters.clientId) + hiddenField("response_type", "code") +
        hiddenField("redirect_uri", parameters.redirectUri) + hiddenField("state", parameters.state) +
        QStringLiteral(
            "<button id=\"allow\" type=\"submit\" name=\"decision\" value=\"allow\">Allow</button>"
            "<button id=\"deny\" class=\"plain\" type=\"submit\" name=\"decision\" value=\"deny\">Deny</button>"
            "</form><p class=\"hint\">You will return to ") +
        QUrl(parameters.redirectUri).authority().toHtmlEscaped() + "</p>";
    setPage(response, 200, kDropBoxLook, QStringLiteral("Connect an application"), body);
}

} // namespace

void DropboxSignIn::authorize(const HttpRequest &request, HttpResponse &response)
{
    const bool posted = request.method == "POST";
    const QByteArray &form = posted ? request.body.bytes() : request.query;
    const AuthorizeRequest parameters(form);
    response.setHeader("Cache-Control", "no-store");
    if (!parameters.fault.isEmpty()) {
        setErrorPage(response, 400, kDropBoxLook, parameters.fault.toHtmlEscaped());
        return;
    }
    if (!posted) {
        setAuthorizePage(response, parameters);
        return;
    }
    const bool allowed = formValue(form, "decision") == QLatin1String("allow");
    QString location = parameters.redirectUri + (parameters.redirectUri.contains('?') ? '&' : '?');
    location += allowed ? "code=" + issueCode(parameters.clientId, parameters.redirectUri)
                        : QStringLiteral("error=access_denied&error_description=The+user+chose+not+to+connect.");
    if (!parameters.state.isEmpty())
        location += "&state=" + QString::fromLatin1(QUrl::toPercentEncoding(parameters.state));
    response.setRedirect(location.toUtf8());
}

QString DropboxSignIn::issueCode(const QString &clientId, const QString &redirectUri)
{
    const QString code = randomKey();
    m_codes.insert(code, {clientId, redirectUri, QDateTime::currentDateTimeUtc().addSecs(kCodeLifetimeSeconds)});
    return code;
}

/// Removes \p code. Returns true if it was issued to this client for this address and has not expired.
bool DropboxSignIn::redeemCode(const QString &code, const QString &clientId, const QString &redirectUri)
{
    const Code known = m_codes.take(code);
    return known.clientId == clientId && known.redirectUri == redirectUri &&
           known.expires > QDateTime::currentDateTimeUtc();
}

void DropboxSignIn::token(const HttpRequest &request, HttpResponse &response)
{
    const auto parameter = [&](const char *name) {
        const QString value = formValue(request.query, name);
        return value.isEmpty() ? formValue(request.body.bytes(), name) : value;
    };
    const QString clientId = parameter("client_id");
    response.setHeader("Cache-Control", "no-store");
    if (parameter("grant_type") != QLatin1String("authorization_code")) {
        response.setJsonError(400, "unsupported_grant_type");
    } else if (clientId.isEmpty() || parameter("client_secret").isEmpty()) {
        response.setJsonError(400, "invalid_client");
    } else if (!redeemCode(parameter("code"), clientId, parameter("redirect_uri"))) {
        response.setJsonError(400, "invalid_grant");
    } else if (const QString token = issueToken(); token.isEmpty()) {
        response.setJsonError(500, "The token cannot be stored.");
    } else {
        response.setJson({{"access_token", token}, {"token_type", "bearer"}, {"uid", QString::number(kUserId)}});
    }
}

void DropboxSignIn::accountInfo(HttpResponse &response)
{
    const QJsonObject quota{{"quota", 2147483648.0}, {"normal", 0}, {"shared", 0}};
    response.setJson({{"display_name", "Robin Example"},
                      {"uid", kUserId},
                      {"country", "CH"},
                      {"email", "local@localhost"},
                      {"quota_info", quota},
                      {"locale", "en"}});
}

bool DropboxSignIn::isSignedIn(const HttpRequest &request, HttpResponse &response) const
{
    const QByteArray value = request.header("Authorization");
    if (value.left(7).toLower() == "bearer " && m_tokens.contains(QString::fromLatin1(value.mid(7).trimmed())))
        return true;
    response.setJsonError(401, "The request has no valid access token.");
    response.setHeader("WWW-Authenticate", "Bearer");
    return false;
}

} // namespace localcloud
