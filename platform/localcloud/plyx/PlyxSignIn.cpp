#include "localcloud/plyx/PlyxSignIn.h"

#include "localcloud/SignInPage.h"

#include <QUrl>

namespace localcloud {

namespace {

const PageLook kPlyxLook{"Plyx", "#14805e", "#0f6a4d", "#bfe5d8", "#a9d9c9"};
const QByteArray kApplicationCode = QByteArrayLiteral("QK4ZT8");

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
    if (formValue(request.query, "afc").toLatin1() != kApplicationCode) {
        setErrorPage(response, 400, kPlyxLook, QStringLiteral("Unknown application code."));
        return;
    }
    const QString action = "/TokenAPI/login.cfm?" + QString(request.query).toHtmlEscaped();
    if (!checkSignIn(request, response, kPlyxLook, QStringLiteral("Sign in to see your models"), action))
        return;
    const PlyxSession session = openSession();
    if (session.id.isEmpty()) {
        setErrorPage(response, 500, kPlyxLook, QStringLiteral("The session cannot be stored."));
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
