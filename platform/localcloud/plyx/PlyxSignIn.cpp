#include <QUrl>

#include <localcloud/http/Replies.h>
#include <localcloud/plyx/PlyxSignIn.h>
#include <localcloud/WebPage.h>

namespace localcloud {

namespace {

const QByteArray kStayCookie("PlyxStay");
constexpr int kStaySeconds = 30 * 24 * 3600;

const PageLook kLook{"Plyx", "#14805e", "#0f6a4d", "#bfe5d8", "#a9d9c9"};

/// What the form shows besides its labels.
struct FormState
{
    QString user;
    bool stay = false;
    QString error; ///< shown above the form when it is not empty
};

void setLoginPage(HttpResponse &response, const QByteArray &query, const PlyxAccount &account, const FormState &state)
{
    const QString action = "/TokenAPI/login.cfm?" + QString(query).toHtmlEscaped();
    const QString stay = QStringLiteral("<input id=\"stay\" name=\"stay\" type=\"checkbox\" value=\"yes\"%1>"
                                        "<label class=\"check\" for=\"stay\">Stay signed in</label>");
    const QString hint = QStringLiteral("Here on this computer the user is <b>%1</b>, the password <b>%2</b>.");
    const QString form = signInForm({"Sign in to see your models", action, state.user, state.error,
                                     stay.arg(state.stay ? " checked" : ""),
                                     hint.arg(account.user.toHtmlEscaped(), account.password.toHtmlEscaped())});
    setPage(response, 200, kLook, QStringLiteral("Sign in to Plyx"), form);
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
        setPage(response, 400, kLook, QStringLiteral("Error"), body);
        return;
    }
    if (request.method != "POST") {
        if (m_sessions.isStayKey(cookieOf(request)))
            finish(response);
        else
            setLoginPage(response, request.query, m_account, {});
        return;
    }
    const QByteArray &form = request.body.bytes();
    const QString user = formValue(form, "user");
    const bool stay = formValue(form, "stay") == QLatin1String("yes");
    if (user != m_account.user || formValue(form, "password") != m_account.password) {
        const QString error("The user name or the password is wrong.");
        setLoginPage(response, request.query, m_account, {user, stay, error});
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
        setPage(response, 500, kLook, QStringLiteral("Error"), body);
        return;
    }
    response.set(302, "text/plain", "You are signed in.\n");
    response.setHeader("Location", "/TokenAPI/done.cfm?Session=" + QUrl::toPercentEncoding(session.id) +
                                       "&SecureSession=" + QUrl::toPercentEncoding(session.secureId));
}

void PlyxSignIn::done(HttpResponse &response) const
{
    setSignedInPage(response, kLook);
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
