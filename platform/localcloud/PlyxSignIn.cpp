#include <localcloud/PlyxSignIn.h>
#include <localcloud/Replies.h>
#include <QUrl>

namespace localcloud {

namespace {

const QByteArray kStayCookie("PlyxStay");
constexpr int kStaySeconds = 30 * 24 * 3600;

/// The frame of every page; \p body is HTML already. It keeps its width in a smaller window, because a dialog that
/// embeds the page takes its size from it.
QByteArray page(const QString &title, const QString &body)
{
    static const QString frame = QStringLiteral(R"(<!DOCTYPE html>
<html lang="en"><head><meta charset="utf-8"><title>%1</title>
<style>
html { background: #eef1f4; }
body { margin: 0; min-width: 440px; color: #33404d; font: 14px "DejaVu Sans", Arial, sans-serif; }
.bar { background: #14805e; color: #ffffff; padding: 16px 0; text-align: center; font-size: 22px;
       letter-spacing: 2px; }
.bar small { display: block; font-size: 11px; letter-spacing: 0; color: #bfe5d8; margin-top: 3px; }
.card { width: 332px; margin: 26px auto; padding: 22px 28px 24px; background: #ffffff; border: 1px solid #d5dce2;
        border-radius: 6px; }
h1 { font-size: 18px; margin: 0 0 16px; color: #1f2a33; font-weight: normal; }
p { line-height: 1.5; margin: 0 0 8px; }
.error { background: #fdecea; border: 1px solid #f3b9b3; border-radius: 4px; color: #9b2318; padding: 8px 12px; }
label { display: block; margin: 12px 0 5px; font-size: 12px; color: #5a6873; }
input.text { display: block; width: 100%; box-sizing: border-box; -webkit-box-sizing: border-box; font: inherit;
             padding: 8px 10px; border: 1px solid #b9c4cd; border-radius: 4px; color: #1f2a33; background: #ffffff; }
input.text:focus { border-color: #14805e; outline: 2px solid #a9d9c9; }
label.check { display: inline; margin: 0 0 0 4px; font-size: 13px; color: #33404d; }
.row { margin: 16px 0 18px; }
button { display: block; width: 100%; font: inherit; font-size: 15px; padding: 10px; border: 0; border-radius: 4px;
         background: #14805e; color: #ffffff; cursor: pointer; }
button:focus, button:hover { background: #0f6a4d; }
.hint { margin: 18px 0 0; font-size: 12px; color: #7a8791; text-align: center; }
</style></head><body><div class="bar">Plyx<small>local cloud</small></div><div class="card">%2</div></body></html>
)");
    return QString(frame)
        .replace(QLatin1String("%1"), title.toHtmlEscaped())
        .replace(QLatin1String("%2"), body)
        .toUtf8();
}

/// What the form shows besides its labels.
struct FormState
{
    QString user;
    bool stay = false;
    QString error; ///< shown above the form when it is not empty
};

QByteArray loginPage(const QByteArray &query, const PlyxAccount &account, const FormState &state)
{
    const auto &[user, stay, error] = state;
    const QString message = error.isEmpty() ? QString() : "<p id=\"error\" class=\"error\">" + error + "</p>";
    const QString form =
        QStringLiteral("<h1>Sign in to see your models</h1>") + message +
        QStringLiteral("<form method=\"post\" action=\"/TokenAPI/login.cfm?") + QString(query).toHtmlEscaped() +
        QStringLiteral("\"><label for=\"user\">User name</label>"
                       "<input class=\"text\" id=\"user\" name=\"user\" type=\"text\" autocomplete=\"off\" value=\"") +
        user.toHtmlEscaped() + '"' + (user.isEmpty() ? " autofocus" : "") +
        QStringLiteral("><label for=\"password\">Password</label>"
                       "<input class=\"text\" id=\"password\" name=\"password\" type=\"password\"") +
        (user.isEmpty() ? "" : " autofocus") +
        QStringLiteral("><div class=\"row\"><input id=\"stay\" name=\"stay\" type=\"checkbox\" value=\"yes\"") +
        (stay ? " checked" : "") +
        QStringLiteral("><label class=\"check\" for=\"stay\">Stay signed in</label></div>"
                       "<button id=\"sign-in\" type=\"submit\">Sign in</button></form>"
                       "<p class=\"hint\">Here on this computer the user is <b>") +
        account.user.toHtmlEscaped() + "</b>, the password <b>" + account.password.toHtmlEscaped() + "</b>.</p>";
    return page(QStringLiteral("Sign in to Plyx"), form);
}

QString cookieOf(const HttpRequest &request)
{
    for (const QByteArray &cookie : request.header("Cookie").split(';')) {
        const int equals = cookie.indexOf('=');
        if (cookie.left(equals).trimmed() == kStayCookie)
            return QString::fromLatin1(cookie.mid(equals + 1).trimmed());
    }
    return {};
}

bool refuse(HttpResponse &response)
{
    setJsonError(response, 401, "The request carries no valid session.");
    return false;
}

} // namespace

void PlyxSignIn::login(const HttpRequest &request, HttpResponse &response)
{
    response.setHeader("Cache-Control", "no-store");
    if (formValue(request.query, "afc") != m_account.applicationCode) {
        const QString body("<h1>This link does not work</h1><p>No application of that code is known here.</p>");
        response.set(400, "text/html; charset=utf-8", page(QStringLiteral("Error"), body));
        return;
    }
    if (request.method != "POST") {
        if (m_sessions.isStayKey(cookieOf(request)))
            finish(response);
        else
            response.set(200, "text/html; charset=utf-8", loginPage(request.query, m_account, {}));
        return;
    }
    const QByteArray &form = request.body.bytes();
    const QString user = formValue(form, "user");
    const bool stay = formValue(form, "stay") == QLatin1String("yes");
    if (user != m_account.user || formValue(form, "password") != m_account.password) {
        const QString error("The user name or the password is wrong.");
        response.set(200, "text/html; charset=utf-8", loginPage(request.query, m_account, {user, stay, error}));
        return;
    }
    if (stay)
        response.setHeader("Set-Cookie",
                           kStayCookie + '=' + m_sessions.issueStayKey().toLatin1() +
                               "; Path=/TokenAPI; Secure; HttpOnly; Max-Age=" + QByteArray::number(kStaySeconds));
    finish(response);
}

void PlyxSignIn::finish(HttpResponse &response)
{
    const PlyxSession session = m_sessions.open();
    if (session.id.isEmpty()) {
        const QString body("<h1>Sorry</h1><p>The session cannot be stored.</p>");
        response.set(500, "text/html; charset=utf-8", page(QStringLiteral("Error"), body));
        return;
    }
    response.set(302, "text/plain", "You are signed in.\n");
    response.setHeader("Location", "/TokenAPI/done.cfm?Session=" + QUrl::toPercentEncoding(session.id) +
                                       "&SecureSession=" + QUrl::toPercentEncoding(session.secureId));
}

void PlyxSignIn::done(HttpResponse &response) const
{
    const QString body("<h1>You are signed in</h1><p>This window may be closed.</p>");
    response.set(200, "text/html; charset=utf-8", page(QStringLiteral("Signed in"), body));
    response.setHeader("Cache-Control", "no-store");
}

bool PlyxSignIn::isKnownClient(const HttpRequest &request) const
{
    return request.header("X-AFC") == m_account.applicationCode.toLatin1();
}

bool PlyxSignIn::isSignedIn(const HttpRequest &request, HttpResponse &response) const
{
    const QString id = QString::fromLatin1(request.header("X-Session"));
    const QString secureId = QString::fromLatin1(request.header("X-Secure-Session"));
    return (isKnownClient(request) && m_sessions.isOpen(id, secureId)) || refuse(response);
}

bool PlyxSignIn::isNobody(const HttpRequest &request) const
{
    const auto isBlank = [&](const char *name) {
        return hasHeader(request.headers, name) && request.header(name).isEmpty();
    };
    return isKnownClient(request) && isBlank("X-Session") && isBlank("X-Secure-Session");
}

bool PlyxSignIn::hasSession(const HttpRequest &request, HttpResponse &response) const
{
    const QString id = QString::fromLatin1(request.header("X-Session"));
    return (isKnownClient(request) && m_sessions.isOpen(id)) || refuse(response);
}

} // namespace localcloud
