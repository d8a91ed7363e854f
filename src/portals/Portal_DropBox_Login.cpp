#include "portals/Portal_DropBox_Login.h"

#include "cloud/RunningCall.h"
#include "DropBoxConfig.h"
#include "http/httpClient.h"
#include "http/simpleHttpServer.h"
#include "portals/Portal_DropBox_Replies.h"
#include "portals/Portal_DropBox_Requests.h"
#include "TavrinStrings.h"

#include <QDesktopServices>
#include <QTimer>
#include <QUrl>

using namespace ICloudPortalApi;

namespace {

constexpr unsigned short kPreferredPort = 8080;
constexpr unsigned short kFallbackPort = 80;
constexpr int kServerReleaseMs = 1000;

const auto &globalCacheSize = DropBoxConfig::kKeyPool;
const auto &globalCheckSum = DropBoxConfig::kSecretPool;
const auto &globalCounter = DropBoxConfig::kKeyOrder;
const auto &pluginRevision = DropBoxConfig::kSecretOrder;

} // namespace

void getCacheChecksum(KString &key, KString &secret)
{
    std::string keyText;
    std::string secretText;
    for (int i = 0; i < DropBoxConfig::kCredentialLength; ++i) {
        keyText += globalCacheSize[globalCounter[i]];
        secretText += globalCheckSum[pluginRevision[i]];
    }
    key = KString(keyText);
    secret = KString(secretText);
}

void ReceiveDropBoxCodeRequest(void *login, KString &code)
{
    static_cast<Portal_DropBox_Login *>(login)->LoginReceiveCode(code);
}

Portal_DropBox_Login::Portal_DropBox_Login()
    : SessionLogin(kSettingsName), m_apiHost(DropBoxConfig::kApiHost), m_contentHost(DropBoxConfig::kContentHost),
      m_webHost(DropBoxConfig::kWebHost)
{
    m_loginUi.SetILogin(this);
    getCacheChecksum(m_appKey, m_appSecret);
}

Portal_DropBox_Login::~Portal_DropBox_Login()
{
    ResetServer();
}

bool Portal_DropBox_Login::Login(IPortalOwnerCB *owner)
{
    const SignInAttempt::Handle attempt = m_attempt.begin(owner);
    ResetServer(); // first, so that a redirect of an earlier sign-in cannot end this one
    loadSession();
    const bool isValid = IsSessionValid();
    if (attempt.expired())
        return false;
    if (isValid) {
        finish(true);
        return true;
    }
    clearSession();
    waitForRedirect();
    QDesktopServices::openUrl(QUrl(KQtUtil::toQString(GetLoginRequestUrl())));
    return false;
}

void Portal_DropBox_Login::waitForRedirect()
{
    {
        SimpleHttpServer probe;
        m_port = probe.tryListen(kPreferredPort) ? kPreferredPort : kFallbackPort;
    }
    m_server = new SimpleHttpServer(&m_serverParent);
    m_server->setCallback(ReceiveDropBoxCodeRequest, this);
    m_server->StartListenPort(m_port);
}

void Portal_DropBox_Login::LoginReceiveCode(const KString &code)
{
    const RunningCall running;
    releaseServerLater();
    if (code == "timeout") {
        KGlobal::displayError(TavrinStrings::getString(TavrinStrings::KCloudPortalDropBoxOAuthTimeout));
        finish(false);
        return;
    }

    const SignInAttempt::Handle attempt = m_attempt.current();
    httpClient client;
    client.setHost(m_apiHost.utf8(), 0);
    QByteArray emptyBody;
    QByteArray body;
    const QString path =
        DropBoxRequests::token(KQtUtil::toQString(code), KQtUtil::toQString(m_appKey), KQtUtil::toQString(m_appSecret),
                               KQtUtil::toQString(GetOauthRedirectUri()));
    client.post(path, emptyBody, HeaderMap(), true, body);
    if (attempt.expired())
        return;

    const DropBoxReplies::Token token = DropBoxReplies::token(body);
    clearSession();
    SetSessionID(token.accessToken, token.userId);
    m_tokenType = token.tokenType;
    SaveSessionSettings();
    finish(true);
}

void Portal_DropBox_Login::finish(bool success)
{
    m_loginUi.loginDone();
    m_attempt.end(success);
}

bool Portal_DropBox_Login::LoginUIDoneCB(const QUrl &)
{
    return false;
}

bool Portal_DropBox_Login::Logout()
{
    m_attempt.cancel();
    ResetServer();
    deleteSession();
    return true;
}

bool Portal_DropBox_Login::IsLogin()
{
    const SessionCheck check = checkSession();
    if (check == SessionCheck::Invalid)
        deleteSession();
    return check == SessionCheck::Valid;
}

bool Portal_DropBox_Login::IsSessionValid()
{
    KString name;
    return accountName(name) && !name.isEmpty();
}

bool Portal_DropBox_Login::GetUserInformation(HeaderMap &info)
{
    KString name;
    if (!accountName(name))
        return false;
    info[L"username"] = name.wide();
    return true;
}

bool Portal_DropBox_Login::accountName(KString &name) const
{
    if (GetSessionID().isEmpty())
        return false;
    httpClient client;
    client.setHost(m_apiHost.utf8(), 0);
    QByteArray body;
    client.get(DropBoxRequests::accountInfo(), GetRequestHeaders(), true, body);
    return DropBoxReplies::displayName(body, name);
}

long Portal_DropBox_Login::CreateLoginRequest(char *buffer, unsigned long size)
{
    return GetSessionID().isEmpty() ? -1 : writeAddress(GetLoginRequestUrl(), buffer, size);
}

void Portal_DropBox_Login::ResetServer()
{
    if (!m_server)
        return;
    m_server->stop();
    m_server->deleteLater();
    m_server = nullptr;
}

void Portal_DropBox_Login::releaseServerLater()
{
    SimpleHttpServer *server = m_server;
    if (!server)
        return;
    m_server = nullptr;
    server->stop();

    // Delete the server later, because its slot may be on the stack and the browser may still receive the page.
    auto *release = new QTimer(server);
    QObject::connect(release, &QTimer::timeout, server, [server] {
        if (!RunningCall::isAny())
            server->deleteLater();
    });
    release->start(kServerReleaseMs);
}

KString Portal_DropBox_Login::GetOauthRedirectUri() const
{
    return KString("http://localhost:") + static_cast<unsigned>(m_port) + "/crvn/kelda/oauth/dropbox/redirect";
}

KString Portal_DropBox_Login::GetLoginRequestUrl() const
{
    return KString("https://") + m_webHost + "/1/oauth2/authorize?client_id=" + m_appKey +
           "&response_type=code&redirect_uri=" + GetOauthRedirectUri();
}

HeaderMap Portal_DropBox_Login::GetRequestHeaders() const
{
    return {{L"Authorization", L"Bearer " + GetSessionID().wide()}};
}
