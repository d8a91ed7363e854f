// portals/Portal_Plyx_Login.h
//
// Sign-in to Plyx on the service's web page, shown in a dialog. The last address of the page contains two session
// identifiers, which are stored in the settings file and sent with every request.

#pragma once

#include "cloud/signin/SessionLogin.h"

/// Callback of the sign-in dialog. After a success, stores the session of the Portal_Plyx_Login \p context.
void uiLoginCallback(void *context, bool succeeded);

class Portal_Plyx_Login : public ICloudPortalApi::SessionLogin
{
public:
    /// The settings file that contains the session.
    static constexpr char kSettingsName[] = "TavrinSettings_PlyxAppBrowser_Kelda";

    Portal_Plyx_Login();

    /// Returns true if the service accepts the stored session, after \p owner (may be null) was notified. Otherwise
    /// shows the dialog and returns true; \p owner is notified later of a success, but not of a cancelled dialog.
    /// Returns false without a dialog. Spins the event loop while the service confirms a stored session.
    bool Login(ICloudPortalApi::IPortalOwnerCB *owner) override;
    /// Returns true if \p url contains a session, after it was stored and the owner was notified. Ignores addresses
    /// that arrive during this notification.
    bool LoginUIDoneCB(const QUrl &url) override;
    /// Clears the session, also in the settings file, and closes the dialog without notifying its owner.
    bool Logout() override;
    /// Returns false without a request if there is no session.
    bool GetUserInformation(HeaderMap &info) override;
    long CreateLoginRequest(char *buffer, unsigned long size) override;

    /// Returns true if the service returns a member for the current session.
    bool IsSessionValid() override;

    KString GetHost() const { return m_host; }
    /// Returns the headers with the application code and the session.
    HeaderMap GetRequestHeaders() const;

private:
    QByteArray memberReply() const;

    ICloudPortalApi::SignInAttempt m_attempt;
    ICloudPortalApi::LoginUi m_loginUi;
    KString m_host;
    KString m_applicationCode;
};
