#include "portals/Portal_Plyx_Login.h"

#include "cloud/RunningCall.h"
#include "http/httpClient.h"
#include "PlyxConfig.h"
#include "portals/Portal_Plyx_Replies.h"
#include "portals/Portal_Plyx_Requests.h"

#include <QScopedValueRollback>
#include <QUrl>
#include <QUrlQuery>

#include <utility>

using namespace ICloudPortalApi;

namespace {

const char applicationCode[] = "QK4ZT8";

KString valueOf(const QUrlQuery &query, const QString &name)
{
    return KQtUtil::toKString(query.queryItemValue(name, QUrl::FullyDecoded));
}

} // namespace

const char Portal_Plyx_Login::settingsName[] = "TavrinSettings_PlyxAppBrowser_Kelda";

void uiLoginCallback(void *context, bool succeeded)
{
    if (succeeded && context)
        static_cast<Portal_Plyx_Login *>(context)->SaveSessionSettings();
}

Portal_Plyx_Login::Portal_Plyx_Login()
    : SessionLogin(settingsName), m_host(PlyxConfig::host), m_applicationCode(applicationCode)
{
    m_loginUi.SetILogin(this);
}

bool Portal_Plyx_Login::Login(IPortalOwnerCB *owner)
{
    const unsigned attempt = ++m_attempt;
    m_owner = owner;
    m_isTelling = false;
    loadSession();
    const bool isValid = IsSessionValid();
    if (attempt != m_attempt)
        return false;
    if (isValid) {
        m_loginUi.CleanResources();
        tellOwner();
        return true;
    }

    dropSession();
    m_loginUi.setCallback(uiLoginCallback, this);
    if (m_loginUi.login(owner ? owner->GetParentLoginWidget() : nullptr))
        return true;
    if (attempt != m_attempt)
        return false;
    // The dialog asks again whether somebody is signed in; the service may have been unreachable the first time only.
    const bool isSignedIn = isConfirmed();
    m_loginUi.CleanResources();
    if (isSignedIn)
        tellOwner();
    else
        m_owner = nullptr;
    return isSignedIn;
}

bool Portal_Plyx_Login::LoginUIDoneCB(const QUrl &url)
{
    const QUrlQuery query(url);
    if (m_isTelling || !query.hasQueryItem(QStringLiteral("Session")))
        return false;
    const RunningCall running;
    ++m_attempt;
    SetSessionID(valueOf(query, QStringLiteral("Session")), valueOf(query, QStringLiteral("SecureSession")));
    SaveSessionSettings();
    tellOwner();
    return true;
}

void Portal_Plyx_Login::tellOwner()
{
    IPortalOwnerCB *owner = std::exchange(m_owner, nullptr);
    if (!owner)
        return;
    const QScopedValueRollback<bool> telling(m_isTelling, true);
    owner->LoginDoneCB(true);
}

bool Portal_Plyx_Login::Logout()
{
    ++m_attempt;
    m_owner = nullptr;
    m_loginUi.CleanResources();
    forgetSession();
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
