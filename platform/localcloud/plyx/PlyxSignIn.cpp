#include "localcloud/plyx/PlyxSignIn.h"

#include "localcloud/SignInPage.h"

#include <QUrl>

namespace localcloud {

namespace {

const PageLook kPlyxLook{"Plyx", "#14805e", "#0f6a4d", "#bfe5d8", "#a9d9c9"};
const QByteArray kApplicationCode = QByteArrayLiteral("QK4ZT8");

void setLoginPage(HttpResponse &response, const QByteArray &query, const QString &user, const QString &error)
{
    const QString action = "/TokenAPI/login.cfm?" + QString(query).toHtmlEscaped();
    const QString form = signInForm({"Sign in to see your models", action, user, error});
    setPage(response, 200, kPlyxLook, QStringLiteral("Sign in to Plyx"), form);
}

void setErrorPage(HttpResponse &response, int status, const QString &text)
{
    setPage(response, status, kPlyxLook, QStringLiteral("Error"), "<h1>Error</h1><p>" + text + "</p>");
}

bool isKnownClient(const HttpRequest &request)
{
    return request.header("X-AFC") == kApplicationCode;
}

bool allowOrRefuse(bool isAllowed, HttpResponse &response)
{
    if (!isAllowed)
        response.setJsonError(401, "The request has no valid session.");
    return isAllowed;
}

} // namespace

void PlyxSignIn::login(const HttpRequest &request, HttpResponse &response)
{
    const QByteArray &form = request.body.bytes();
    const QString user = formValue(form, "user");
    if (formValue(request.query, "afc").toLatin1() != kApplicationCode) {
        setErrorPage(response, 400, QStringLiteral("Unknown application code."));
        return;
    }
    if (request.method == "GET") {
        setLoginPage(response, request.query, {}, {});
        return;
    }
    if (user != kDemoUser || formValue(form, "password") != kDemoPassword) {
        setLoginPage(response, request.query, user, QStringLiteral("The user name or the password is wrong."));
        return;
    }
    const PlyxSession session = openSession();
    if (session.id.isEmpty()) {
        setErrorPage(response, 500, QStringLiteral("The session cannot be stored."));
        return;
    }
    response.setRedirect("/TokenAPI/done.cfm?Session=" + QUrl::toPercentEncoding(session.id) +
                         "&SecureSession=" + QUrl::toPercentEncoding(session.secureId));
}

void PlyxSignIn::done(HttpResponse &response)
{
    setSignedInPage(response, kPlyxLook);
}

PlyxSession PlyxSignIn::openSession()
{
    const PlyxSession session{randomBase64Key(), randomBase64Key()};
    return m_sessions.add(session.id, session.secureId).isEmpty() ? PlyxSession() : session;
}

bool PlyxSignIn::isSignedIn(const HttpRequest &request, HttpResponse &response) const
{
    const QString id = QString::fromLatin1(request.header("X-Session"));
    const QString secureId = QString::fromLatin1(request.header("X-Secure-Session"));
    return allowOrRefuse(isKnownClient(request) && m_sessions.contains(id) && m_sessions.value(id) == secureId,
                         response);
}

bool PlyxSignIn::hasSession(const HttpRequest &request, HttpResponse &response) const
{
    const QString id = QString::fromLatin1(request.header("X-Session"));
    return allowOrRefuse(isKnownClient(request) && m_sessions.contains(id), response);
}

bool PlyxSignIn::isSignedOut(const HttpRequest &request) const
{
    const auto isBlank = [&](const char *name) {
        const QByteArray value = request.header(name);
        return value.isEmpty() && !value.isNull();
    };
    return isKnownClient(request) && isBlank("X-Session") && isBlank("X-Secure-Session");
}

} // namespace localcloud
