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

const unsigned short preferredPort = 8080;
const unsigned short fallbackPort = 80;
const int answerLingerMs = 1000;

const auto &globalCacheSize = DropBoxConfig::keyPool;
const auto &globalCheckSum = DropBoxConfig::secretPool;
const auto &globalCounter = DropBoxConfig::keyOrder;
const auto &pluginRevision = DropBoxConfig::secretOrder;

} // namespace

const char Portal_DropBox_Login::settingsName[] = "TavrinSettings_DropBoxAppBrowser_Kelda";

void getCacheChecksum(KString &key, KString &secret)
{
    std::string keyText;
    std::string secretText;
    for (int i = 0; i < DropBoxConfig::credentialLength; ++i) {
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
    : SessionLogin(settingsName), m_apiHost(DropBoxConfig::apiHost), m_contentHost(DropBoxConfig::contentHost),
      m_webHost(DropBoxConfig::webHost)
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
    const unsigned attempt = ++m_attempt;
    m_owner = owner;
    ResetServer(); // first, so that a redirect of an earlier sign-in cannot end this one
    loadSession();
    const bool valid = IsSessionValid();
    if (attempt != m_attempt)
        return false;
    if (valid) {
        finish(true);
        return true;
    }
    dropSession();
    waitForRedirect();
    QDesktopServices::openUrl(QUrl(KQtUtil::toQString(GetLoginRequestUrl())));
    return false;
}

void Portal_DropBox_Login::waitForRedirect()
{
    {
        SimpleHttpServer probe;
        m_port = probe.tryListen(preferredPort) ? preferredPort : fallbackPort;
    }
    m_server = new SimpleHttpServer(&m_serverParent);
    m_server->setCallback(ReceiveDropBoxCodeRequest, this);
    m_server->StartListenPort(m_port);
}

void Portal_DropBox_Login::LoginReceiveCode(const KString &code)
{
    const RunningCall running;
    retireServer();
    if (code == "timeout") {
        KGlobal::displayError(TavrinStrings::getString(TavrinStrings::KCloudPortalDropBoxOAuthTimeout));
        finish(false);
        return;
    }

    const unsigned attempt = m_attempt;
    httpClient client;
    client.setHost(m_apiHost.utf8(), 0);
    QByteArray nothing;
    QByteArray body;
    const QString path =
        DropBoxRequests::token(KQtUtil::toQString(code), KQtUtil::toQString(m_appKey), KQtUtil::toQString(m_appSecret),
                               KQtUtil::toQString(GetOauthRedirectUri()));
    client.post(path, nothing, HeaderMap(), true, body);
    if (attempt != m_attempt)
        return;

    const DropBoxReplies::Token token = DropBoxReplies::token(body);
    dropSession();
    SetSessionID(token.accessToken, token.userId);
    m_tokenType = token.tokenType;
    SaveSessionSettings();
    finish(true);
}

void Portal_DropBox_Login::finish(bool success)
{
    m_loginUi.loginDone();
    IPortalOwnerCB *owner = m_owner;
    m_owner = nullptr;
    if (owner)
        owner->LoginDoneCB(success);
}

bool Portal_DropBox_Login::LoginUIDoneCB(const QUrl &)
{
    return false;
}

bool Portal_DropBox_Login::Logout()
{
    ++m_attempt;
    ResetServer();
    m_owner = nullptr;
    forgetSession();
    return true;
}

bool Portal_DropBox_Login::IsLogin()
{
    const Standing standing = confirmSession();
    if (standing == Standing::SignedOut)
        forgetSession();
    return standing == Standing::SignedIn;
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

void Portal_DropBox_Login::retireServer()
{
    SimpleHttpServer *server = m_server;
    if (!server)
        return;
    m_server = nullptr;
    server->stop();

    // Its slot may be on the stack, and the browser still reading the answer.
    auto *release = new QTimer(server);
    QObject::connect(release, &QTimer::timeout, server, [server] {
        if (!RunningCall::isAny())
            server->deleteLater();
    });
    release->start(answerLingerMs);
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
