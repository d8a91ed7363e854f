#include <localcloud/Replies.h>
#include <localcloud/Secrets.h>
#include <localcloud/WebPage.h>
#include <localcloud/ZephalSignIn.h>
#include <QUrl>

namespace localcloud {

namespace {

void setPage(HttpResponse &response, int status, const QString &title, const QString &body)
{
    static const PageLook look{"Zephal", "#7a3f8f", "#5f2e71", "#e6d3ed", "#d6b8e0"};
    response.set(status, "text/html; charset=utf-8", webPage(look, title, body));
}

} // namespace

QString ZephalSignIn::signInPage(const QString &user, const QString &error) const
{
    static const QString form = QStringLiteral(R"(<h1>Sign in to your documents</h1>%1
<form method="post" action="/signin"><label for="user">User name</label>
<input class="text" id="user" name="user" type="text" autocomplete="off" value="%2"%3>
<label for="password">Password</label><input class="text" id="password" name="password" type="password"%4>
<div class="row"></div><button id="sign-in" type="submit">Sign in</button></form>
<p class="hint">On this computer: user <b>%5</b>, password <b>%6</b>.</p>)");
    const QString message = error.isEmpty() ? QString() : "<p id=\"error\" class=\"error\">" + error + "</p>";
    const QString focus(" autofocus");
    return form.arg(message, user.toHtmlEscaped(), user.isEmpty() ? focus : QString(),
                    user.isEmpty() ? QString() : focus, m_account.user.toHtmlEscaped(),
                    m_account.password.toHtmlEscaped());
}

void ZephalSignIn::signIn(const HttpRequest &request, HttpResponse &response)
{
    const QString title("Sign in to Zephal");
    const QByteArray &form = request.body.bytes();
    const QString user = formValue(form, "user");
    response.setHeader("Cache-Control", "no-store");
    if (request.method != "POST") {
        setPage(response, 200, title, signInPage({}, {}));
        return;
    }
    if (user != m_account.user || formValue(form, "password") != m_account.password) {
        setPage(response, 200, title, signInPage(user, QStringLiteral("The user name or the password is wrong.")));
        return;
    }
    const QString token = issueToken();
    if (token.isEmpty()) {
        setPage(response, 500, title, QStringLiteral("<h1>Sorry</h1><p>The sign-in cannot be stored.</p>"));
        return;
    }
    QByteArray query;
    for (const auto &[name, value] : {std::pair("?user=", m_account.user),
                                      {"&token=", token},
                                      {"&first=", m_account.firstName},
                                      {"&last=", m_account.lastName}})
        query += name + QUrl::toPercentEncoding(value);
    setText(response, 302, "You are signed in.");
    response.setHeader("Location", (request.tls ? "https://" + request.host.toLatin1() : "") + "/signin/done" + query);
}

void ZephalSignIn::done(HttpResponse &response) const
{
    setPage(response, 200, QStringLiteral("Signed in"),
            QStringLiteral("<h1>You are signed in</h1><p>This window may be closed.</p>"));
    response.setHeader("Cache-Control", "no-store");
}

QString ZephalSignIn::issueToken()
{
    return m_tokens.issue(randomBase64Key());
}

bool ZephalSignIn::isSignedIn(const HttpRequest &request, HttpResponse &response) const
{
    const QByteArray header = request.header("Authorization");
    const auto decoded =
        QByteArray::fromBase64Encoding(header.mid(6).trimmed(), QByteArray::AbortOnBase64DecodingErrors);
    const QString pair = QString::fromUtf8(decoded.decoded);
    const QString secret = pair.mid(m_account.user.size() + 1);
    if (qstrnicmp(header.constData(), "Basic ", 6) == 0 && decoded && pair.startsWith(m_account.user + ':') &&
        (secret == m_account.password || m_tokens.isValid(secret)))
        return true;
    setText(response, 401, "The request carries no valid credentials.");
    response.setHeader("WWW-Authenticate", "Basic realm=\"Zephal\", charset=\"UTF-8\"");
    return false;
}

} // namespace localcloud
