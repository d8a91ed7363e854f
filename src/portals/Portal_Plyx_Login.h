// portals/Portal_Plyx_Login.h
//
// Signing in to Plyx on the service's own page, shown in a dialog. The address at which the page ends carries two
// session identifiers, which are kept in the settings file and go with every request.

#pragma once

#include "cloud/signin/SessionLogin.h"

/// Hears how the sign-in dialog ended; stores the session of the Portal_Plyx_Login that \p context points to.
void uiLoginCallback(void *context, bool succeeded);

class Portal_Plyx_Login : public ICloudPortalApi::SessionLogin
{
public:
    /// Names the settings file that keeps the session.
    static const char settingsName[];

    Portal_Plyx_Login();

    /// A stored session that the service still knows signs in at once. Otherwise the dialog is shown, true too, and
    /// \p owner (may be null) hears its success while the host goes on; it hears nothing when the user closes the
    /// dialog. False when there is no dialog. Spins the event loop while a stored session is confirmed.
    bool Login(ICloudPortalApi::IPortalOwnerCB *owner) override;
    /// True when \p url carries a session, which is stored then. What arrives while the owner is being told is ignored.
    bool LoginUIDoneCB(const QUrl &url) override;
    /// Forgets the session, here and in the settings file, and closes the dialog, whose owner hears nothing.
    bool Logout() override;
    /// False, without a request, when there is no session.
    bool GetUserInformation(HeaderMap &info) override;
    long CreateLoginRequest(char *buffer, unsigned long size) override;

    /// True when the service names a member for the session held.
    bool IsSessionValid() override;

    KString GetHost() const { return m_host; }
    /// The headers that carry the application code and the session.
    HeaderMap GetRequestHeaders() const;

private:
    void tellOwner();
    QByteArray memberReply() const;

    ICloudPortalApi::IPortalOwnerCB *m_owner = nullptr;
    ICloudPortalApi::LoginUi m_loginUi;
    KString m_host;
    KString m_applicationCode;
    bool m_isTelling = false; ///< the owner is hearing of the last sign-in, which may spin the event loop
    unsigned m_attempt = 0;   ///< changes with every sign-in and sign-out, so that what an older one began can tell
};
