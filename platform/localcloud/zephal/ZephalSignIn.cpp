#include <QUrl>

#include <localcloud/http/Replies.h>
#include <localcloud/Secrets.h>
#include <localcloud/WebPage.h>
#include <localcloud/zephal/ZephalSignIn.h>

namespace localcloud {

namespace {

const PageLook kLook{"Zephal", "#7a3f8f", "#5f2e71", "#e6d3ed", "#d6b8e0"};

} // namespace

QString ZephalSignIn::signInPage(const QString &user, const QString &error) const
{
    const QString hint = QStringLiteral("On this computer: user <b>%1</b>, password <b>%2</b>.");
    return signInForm({"Sign in to your documents", "/signin", user, error, QString(),
                       hint.arg(m_account.user.toHtmlEscaped(), m_account.password.toHtmlEscaped())});
}

void ZephalSignIn::signIn(const HttpRequest &request, HttpResponse &response)
{
    const QString title("Sign in to Zephal");
    const QByteArray &form = request.body.bytes();
    const QString user = formValue(form, "user");
    response.setHeader("Cache-Control", "no-store");
    if (request.method != "POST") {
        setPage(response, 200, kLook, title, signInPage({}, {}));
        return;
    }
    if (user != m_account.user || formValue(form, "password") != m_account.password) {
        setPage(response, 200, kLook, title,
                signInPage(user, QStringLiteral("The user name or the password is wrong.")));
        return;
    }
    const QString token = issueToken();
    if (token.isEmpty()) {
        setPage(response, 500, kLook, title, QStringLiteral("<h1>Sorry</h1><p>The sign-in cannot be stored.</p>"));
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
    setSignedInPage(response, kLook);
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
