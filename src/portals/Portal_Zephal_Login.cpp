#include "portals/Portal_Zephal_Login.h"

#include "portals/SkeinLoginUi.h"
#include "ZephalConfig.h"

#include <QMainWindow>
#include <QUrl>
#include <QUuid>

#include <iterator>

using namespace ICloudPortalApi;

namespace {

const Skein_Service_Deployment deployment = ZephalConfig::kDeployment;
constexpr int64_t kNoEndPoint = -1;

/// Assembles the text of a credential; empty for an unknown deployment.
template <std::size_t count>
KString credentialOf(const ZephalConfig::Credential (&credentials)[count], Skein_Service_Deployment wanted)
{
    std::string text;
    const auto index = static_cast<std::size_t>(wanted);
    if (index < count) {
        for (const unsigned char place : credentials[index].order)
            text += credentials[index].pool[place];
    }
    return KString(text);
}

} // namespace

KString getTestConsumerKey(Skein_Service_Deployment wanted)
{
    return credentialOf(ZephalConfig::kKeys, wanted);
}

KString getTestConsumerSecret(Skein_Service_Deployment wanted)
{
    return credentialOf(ZephalConfig::kSecrets, wanted);
}

Portal_Zephal_Login::Portal_Zephal_Login()
{
    const KString folder = KGlobal::executeCommandStringResult("internalVar -userPrefDir");
    if (!folder.isEmpty())
        m_sessionFile = folder + "session.skein";
    m_consumerKey = getTestConsumerKey(deployment);
    m_consumerSecret = getTestConsumerSecret(deployment);
    openSession();
    if (IsLogin())
        InitializeStorage();
    m_clientIdentifier = KQtUtil::toKString(QUuid::createUuid().toString());
}

void Portal_Zephal_Login::openSession()
{
    m_session = Skein_Auth_openSession(m_consumerKey.utf8(), m_consumerSecret.utf8(), m_sessionFile.utf8(),
                                       Skein_Auth_getServerAddress(deployment));
}

Portal_Zephal_Login::~Portal_Zephal_Login()
{
    destroyEndPoint();
    Skein_Auth_closeSession(m_session);
}

bool Portal_Zephal_Login::Login(IPortalOwnerCB *owner)
{
    m_owner = owner;
    m_loginUi.reset();
    // Open the session again, because its configuration may have changed.
    if (!IsLogin()) {
        destroyEndPoint();
        Skein_Auth_closeSession(m_session);
        openSession();
    }
    m_loginUi = std::make_unique<Skein::LoginUi>(m_session);
    m_loginUi->setCallback(signInEnded, this);

    QWidget *parent = qobject_cast<QMainWindow *>(KQtUtil::mainWindow());
    QWidget *ownersWidget = owner ? owner->GetParentLoginWidget() : nullptr;
    return m_loginUi->login(ownersWidget ? ownersWidget : parent, Skein_Auth_LoginViewMode_Dialog);
}

void Portal_Zephal_Login::signInEnded(void *context, bool success)
{
    if (!success || !context)
        return;
    auto *login = static_cast<Portal_Zephal_Login *>(context);
    login->InitializeStorage();
    login->LoginUIDoneCB(QUrl());
}

bool Portal_Zephal_Login::LoginUIDoneCB(const QUrl &)
{
    if (m_owner)
        m_owner->LoginDoneCB(true);
    return true;
}

bool Portal_Zephal_Login::Logout()
{
    if (Skein_Auth_logout(m_session) != 1)
        return false;
    InitializeStorage();
    return true;
}

bool Portal_Zephal_Login::IsLogin()
{
    return Skein_Auth_isUserLoggedIn(m_session) == 1;
}

bool Portal_Zephal_Login::GetUserInformation(HeaderMap &info)
{
    const KString first(Skein_Auth_getUserFirstName(m_session));
    const KString last(Skein_Auth_getUserLastName(m_session));
    if (first.isEmpty() && last.isEmpty())
        return false;
    const char *const between = first.isEmpty() || last.isEmpty() ? "" : " ";
    info[L"username"] = (first + between + last).wide();
    return true;
}

long Portal_Zephal_Login::CreateLoginRequest(char *, unsigned long)
{
    return 0;
}

void Portal_Zephal_Login::InitializeStorage()
{
    if (!IsLogin())
        destroyEndPoint();
    else if (m_endPoint < 0)
        m_endPoint = Skein_Storage_createEndPoint(m_session, Skein_Storage_getServerAddress(deployment), 0, "my", 0, 0);
}

void Portal_Zephal_Login::destroyEndPoint()
{
    if (m_endPoint < 0)
        return;
    Skein_Storage_destroyEndPoint(m_endPoint);
    m_endPoint = kNoEndPoint;
}
