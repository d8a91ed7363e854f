#include "portals/Portal_Plyx_Login.h"

#include "http/httpClient.h"
#include "PlyxConfig.h"
#include "portals/Portal_Plyx_Replies.h"
#include "portals/Portal_Plyx_Requests.h"

#include <QUrl>
#include <QUrlQuery>

using namespace ICloudPortalApi;

namespace {

constexpr char kApplicationCode[] = "QK4ZT8";

KString valueOf(const QUrlQuery &query, const QString &name)
{
    return KQtUtil::toKString(query.queryItemValue(name, QUrl::FullyDecoded));
}

} // namespace

void uiLoginCallback(void *context, bool succeeded)
{
    if (succeeded && context)
        static_cast<Portal_Plyx_Login *>(context)->SaveSessionSettings();
}

Portal_Plyx_Login::Portal_Plyx_Login()
    : SessionLogin(kSettingsName), m_host(PlyxConfig::kHost), m_applicationCode(kApplicationCode)
{
    m_loginUi.SetILogin(this);
}

bool Portal_Plyx_Login::Login(IPortalOwnerCB *owner)
{
    const SignInAttempt::Handle attempt = m_attempt.begin(owner);
    loadSession();
    const bool isValid = IsSessionValid();
    if (attempt.expired())
        return false;
    if (isValid) {
        m_loginUi.CleanResources();
        m_attempt.end(true);
        return true;
    }

    clearSession();
    m_loginUi.setCallback(uiLoginCallback, this);
    if (m_loginUi.login(owner ? owner->GetParentLoginWidget() : nullptr))
        return true;
    if (attempt.expired())
        return false;
    // LoginUi calls IsLogin() again, which succeeds if the service was unreachable only at the first request.
    m_loginUi.CleanResources();
    if (!isConfirmed()) {
        m_attempt.cancel();
        return false;
    }
    m_attempt.end(true);
    return true;
}

bool Portal_Plyx_Login::LoginUIDoneCB(const QUrl &url)
{
    const QUrlQuery query(url);
    if (m_attempt.isNotifying() || !query.hasQueryItem(QStringLiteral("Session")))
        return false;
    SetSessionID(valueOf(query, QStringLiteral("Session")), valueOf(query, QStringLiteral("SecureSession")));
    SaveSessionSettings();
    m_attempt.end(true);
    return true;
}

bool Portal_Plyx_Login::Logout()
{
    m_attempt.cancel();
    m_loginUi.CleanResources();
    deleteSession();
    return true;
}

bool Portal_Plyx_Login::IsSessionValid()
{
    return PlyxReplies::isMember(memberReply());
}

bool Portal_Plyx_Login::GetUserInformation(HeaderMap &info)
{
    if (GetSessionID().isEmpty())
        return false;
    KString name;
    if (!PlyxReplies::memberName(memberReply(), name) || name.isEmpty())
        return false;
    info[L"username"] = name.wide();
    return true;
}

QByteArray Portal_Plyx_Login::memberReply() const
{
    httpClient client;
    client.setHost(m_host.utf8(), 0);
    QByteArray body;
    client.get(PlyxRequests::member(), GetRequestHeaders(), true, body);
    return body;
}

long Portal_Plyx_Login::CreateLoginRequest(char *buffer, unsigned long size)
{
    const KString address =
        KString("https://") + m_host + "/TokenAPI/login.cfm?afc=" + m_applicationCode + "&secure=1&display=iframe";
    return writeAddress(address, buffer, size);
}

HeaderMap Portal_Plyx_Login::GetRequestHeaders() const
{
    return {{L"X-AFC", m_applicationCode.wide()},
            {L"X-Session", GetSessionID().wide()},
            {L"X-Secure-Session", GetSecureSessionID().wide()}};
}
