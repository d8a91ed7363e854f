// portals/Portal_DropBox_Login.h
//
// Signing in to Dropbox: the user allows the access in the system browser, whose redirect brings a code to a server on
// this machine; the code is exchanged for a token, which is kept in the settings file.

#pragma once

#include "cloud/signin/SessionLogin.h"

#include <QPointer>

class SimpleHttpServer;

/// Puts the application's key and secret together, 15 characters each.
void getCacheChecksum(KString &key, KString &secret);
/// Passes the code of a redirect on to the Portal_DropBox_Login that \p login points to.
void ReceiveDropBoxCodeRequest(void *login, KString &code);

class Portal_DropBox_Login : public ICloudPortalApi::SessionLogin
{
public:
    /// Names the settings file that keeps the session.
    static const char settingsName[];

    Portal_DropBox_Login();
    ~Portal_DropBox_Login() override;

    /// False when the browser was opened: \p owner (may be null) then hears the end, at most five minutes later, while
    /// the host goes on. A sign-in that is still waiting is replaced. Spins the event loop while a stored token is
    /// confirmed.
    bool Login(ICloudPortalApi::IPortalOwnerCB *owner) override;
    /// This portal shows no page of its own: false.
    bool LoginUIDoneCB(const QUrl &url) override;
    /// Forgets the session, here and in the settings file, and a sign-in that is waiting, whose owner hears nothing.
    bool Logout() override;
    /// A stored token that the service refuses is forgotten. A sign-in that is waiting goes on.
    bool IsLogin() override;
    /// False, without a request, when there is no token.
    bool GetUserInformation(HeaderMap &info) override;
    /// Builds an address only while a token is held.
    long CreateLoginRequest(char *buffer, unsigned long size) override;

    /// Second half of the sign-in: exchanges \p code for a token and tells the owner. "timeout" ends the sign-in as a
    /// failure. Spins the event loop.
    void LoginReceiveCode(const KString &code);
    /// True when the service names a user for the token held.
    bool IsSessionValid() override;
    /// Stops waiting for the redirect.
    void ResetServer();

    KString GetOauthRedirectUri() const;
    KString GetLoginRequestUrl() const;

    KString GetApiHost() const { return m_apiHost; }
    KString GetContentHost() const { return m_contentHost; }
    /// The headers that carry the token.
    HeaderMap GetRequestHeaders() const;

private:
    void waitForRedirect();
    /// Stops listening like ResetServer(), but leaves the server to answer the browser whose code it just passed on.
    void retireServer();
    /// Ends the running sign-in; the owner is told last, since it may start another.
    void finish(bool success);
    bool accountName(KString &name) const;

    unsigned short m_port = 80;
    ICloudPortalApi::IPortalOwnerCB *m_owner = nullptr;
    ICloudPortalApi::LoginUi m_loginUi;
    KString m_tokenType;
    KString m_apiHost;
    KString m_contentHost;
    KString m_webHost;
    KString m_appKey;
    KString m_appSecret;
    QObject m_serverParent; ///< takes along the servers that are closed but not yet gone
    QPointer<SimpleHttpServer> m_server;
    unsigned m_attempt = 0; ///< changes with every Login and Logout, so that what an older one began can tell
};
