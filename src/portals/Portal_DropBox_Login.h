// portals/Portal_DropBox_Login.h
//
// Sign-in to Dropbox: the user allows the access in the system browser. The browser's redirect passes a code to a
// loopback server. The code is exchanged for a token, which is stored in the settings file.

#pragma once

#include "cloud/signin/SessionLogin.h"

#include <QPointer>

class SimpleHttpServer;

/// Assembles the application's key and secret, 15 characters each.
void getCacheChecksum(KString &key, KString &secret);
/// Callback of the loopback server. Calls LoginReceiveCode() of the Portal_DropBox_Login \p login.
void ReceiveDropBoxCodeRequest(void *login, KString &code);

class Portal_DropBox_Login : public ICloudPortalApi::SessionLogin
{
public:
    /// The settings file that contains the session.
    static constexpr char kSettingsName[] = "TavrinSettings_DropBoxAppBrowser_Kelda";

    Portal_DropBox_Login();
    ~Portal_DropBox_Login() override;

    /// Returns true if the service accepts the stored token, after \p owner (may be null) was notified. Otherwise opens
    /// the browser and returns false; \p owner is notified at the end, after five minutes at most. Supersedes an
    /// earlier sign-in. Spins the event loop while the service confirms a stored token.
    bool Login(ICloudPortalApi::IPortalOwnerCB *owner) override;
    /// Returns false, because this portal does not use LoginUi.
    bool LoginUIDoneCB(const QUrl &url) override;
    /// Clears the session, also in the settings file. Ends a running sign-in without notifying its owner.
    bool Logout() override;
    /// Clears a stored token that the service rejects. Does not end a running sign-in.
    bool IsLogin() override;
    /// Returns false without a request if there is no token.
    bool GetUserInformation(HeaderMap &info) override;
    /// Returns -1 without a token.
    long CreateLoginRequest(char *buffer, unsigned long size) override;

    /// Exchanges \p code for a token, stores it and notifies the owner. "timeout" ends the sign-in as a failure. Spins
    /// the event loop.
    void LoginReceiveCode(const KString &code);
    /// Returns true if the service returns a user name for the current token.
    bool IsSessionValid() override;
    /// Deletes the loopback server.
    void ResetServer();

    KString GetOauthRedirectUri() const;
    KString GetLoginRequestUrl() const;

    KString GetApiHost() const { return m_apiHost; }
    KString GetContentHost() const { return m_contentHost; }
    /// Returns the header with the token.
    HeaderMap GetRequestHeaders() const;

private:
    void waitForRedirect();
    /// Like ResetServer(), but deletes the server only after it has sent the page to the browser.
    void releaseServerLater();
    void finish(bool success);
    bool accountName(KString &name) const;

    unsigned short m_port = 80;
    ICloudPortalApi::SignInAttempt m_attempt;
    ICloudPortalApi::LoginUi m_loginUi;
    KString m_tokenType;
    KString m_apiHost;
    KString m_contentHost;
    KString m_webHost;
    KString m_appKey;
    KString m_appSecret;
    QObject m_serverParent; ///< owns all servers, also those of releaseServerLater()
    QPointer<SimpleHttpServer> m_server;
};
