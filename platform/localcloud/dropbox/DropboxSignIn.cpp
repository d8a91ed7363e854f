#include <QUrl>

#include <localcloud/dropbox/DropboxSignIn.h>
#include <localcloud/http/Replies.h>

namespace localcloud {

namespace {

const QString kUserId = QStringLiteral("4711");

/// Answers with a page; \p body is HTML already.
void setPage(HttpResponse &response, int status, const QString &title, const QString &body)
{
    static const QString frame = QStringLiteral(R"(<!DOCTYPE html>
<html lang="en"><head><meta charset="utf-8"><title>%1</title>
<style>
body { margin: 0; background: #2b2b2b; color: #d8d8d8; font: 14px "DejaVu Sans", Arial, sans-serif; }
.bar { background: #1f1f1f; padding: 14px 24px; font-weight: bold; color: #f0f0f0; border-bottom: 1px solid #3c3c3c; }
.card { max-width: 420px; margin: 56px auto; padding: 28px 32px; background: #383838; border: 1px solid #4a4a4a;
        border-radius: 6px; }
h1 { font-size: 20px; margin: 0 0 12px; color: #ffffff; font-weight: normal; }
p, li { line-height: 1.5; }
ul { padding-left: 20px; color: #b8b8b8; }
code { background: #2b2b2b; padding: 1px 5px; border-radius: 3px; word-wrap: break-word; }
form { margin-top: 24px; text-align: right; }
button { font: inherit; padding: 9px 26px; margin-left: 10px; border-radius: 4px; border: 1px solid #5c5c5c;
         background: #4a4a4a; color: #f0f0f0; cursor: pointer; }
button.main { background: #2d7dd2; border-color: #2d7dd2; color: #ffffff; }
button:focus { outline: 2px solid #8fc1f5; }
.small { color: #9a9a9a; font-size: 12px; margin-bottom: 0; }
</style></head><body><div class="bar">Dropbox &middot; local cloud</div><div class="card">%2</div></body></html>
)");
    response.set(status, "text/html; charset=utf-8", frame.arg(title.toHtmlEscaped(), body).toUtf8());
}

void setErrorPage(HttpResponse &response, const QString &reason)
{
    const QString body = QStringLiteral("<h1>This link does not work</h1><p>") + reason.toHtmlEscaped() + "</p>";
    setPage(response, 400, QStringLiteral("Error"), body);
}

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

/// What a client asks for; empty \a fault when it is in order.
struct AuthorizeRequest
{
    explicit AuthorizeRequest(const QByteArray &form)
        : clientId(formValue(form, "client_id")), redirectUri(formValue(form, "redirect_uri")),
          state(formValue(form, "state"))
    {
        if (clientId.isEmpty())
            fault = QStringLiteral("The application did not say which one it is: client_id is missing.");
        else if (formValue(form, "response_type") != QLatin1String("code"))
            fault = QStringLiteral("Only response_type \"code\" is served here.");
        else if (!isLoopback(QUrl(redirectUri)))
            fault =
                QStringLiteral("The address to return to must be on this computer: \"%1\" is not.").arg(redirectUri);
    }

    QString clientId;
    QString redirectUri;
    QString state;
    QString fault;
};

void setAuthorizePage(HttpResponse &response, const AuthorizeRequest &asked)
{
    const QString body =
        QStringLiteral("<h1>Connect an application</h1><p><code>") + asked.clientId.toHtmlEscaped() +
        QStringLiteral("</code> would like to use your Dropbox. It will be able to</p>"
                       "<ul><li>see your files and folders</li><li>download your files</li>"
                       "<li>store and replace files</li></ul>"
                       "<form method=\"post\" action=\"/1/oauth2/authorize\">") +
        hiddenField("client_id", asked.clientId) + hiddenField("response_type", "code") +
        hiddenField("redirect_uri", asked.redirectUri) + hiddenField("state", asked.state) +
        QStringLiteral("<button id=\"deny\" type=\"submit\" name=\"decision\" value=\"deny\">Deny</button>"
                       "<button id=\"allow\" class=\"main\" type=\"submit\" name=\"decision\" value=\"allow\">Allow"
                       "</button></form><p class=\"small\">You will return to ") +
        QUrl(asked.redirectUri).authority().toHtmlEscaped() + "</p>";
    setPage(response, 200, QStringLiteral("Connect an application"), body);
}

} // namespace

void DropboxSignIn::authorize(const HttpRequest &request, HttpResponse &response)
{
    const bool posted = request.method == "POST";
    const QByteArray &form = posted ? request.body.bytes() : request.query;
    const AuthorizeRequest asked(form);
    response.setHeader("Cache-Control", "no-store");
    if (!asked.fault.isEmpty()) {
        setErrorPage(response, asked.fault);
        return;
    }
    if (!posted) {
        setAuthorizePage(response, asked);
        return;
    }
    const bool allowed = formValue(form, "decision") == QLatin1String("allow");
    QString location = asked.redirectUri + (asked.redirectUri.contains('?') ? '&' : '?');
    location += allowed ? "code=" + m_tokens.issueCode(asked.clientId, asked.redirectUri)
                        : QStringLiteral("error=access_denied&error_description=The+user+chose+not+to+connect.");
    if (!asked.state.isEmpty())
        location += "&state=" + QString::fromLatin1(QUrl::toPercentEncoding(asked.state));
    response.set(302, "text/plain", "The browser returns to the application.\n");
    response.setHeader("Location", location.toUtf8());
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
        setJsonError(response, 400, "unsupported_grant_type");
    } else if (clientId.isEmpty() || parameter("client_secret").isEmpty()) {
        setJsonError(response, 400, "invalid_client");
    } else if (!m_tokens.redeemCode(parameter("code"), clientId, parameter("redirect_uri"))) {
        setJsonError(response, 400, "invalid_grant");
    } else if (const QString token = m_tokens.issueToken(); token.isEmpty()) {
        setJsonError(response, 500, "The token cannot be stored.");
    } else {
        const QJsonObject object{{"access_token", token}, {"token_type", "bearer"}, {"uid", kUserId}};
        setJson(response, object);
    }
}

void DropboxSignIn::accountInfo(HttpResponse &response) const
{
    const QJsonObject quota{{"quota", 2147483648.0}, {"normal", 0}, {"shared", 0}};
    const QJsonObject object{{"display_name", m_displayName}, {"uid", kUserId.toInt()}, {"country", "CH"},
                             {"email", "local@localhost"},    {"quota_info", quota},    {"locale", "en"}};
    setJson(response, object);
}

bool DropboxSignIn::isSignedIn(const HttpRequest &request, HttpResponse &response) const
{
    const QByteArray value = request.header("Authorization");
    if (value.left(7).toLower() == "bearer " && m_tokens.isValid(QString::fromLatin1(value.mid(7).trimmed())))
        return true;
    setJsonError(response, 401, "No valid access token came with the request.");
    response.setHeader("WWW-Authenticate", "Bearer");
    return false;
}

} // namespace localcloud
