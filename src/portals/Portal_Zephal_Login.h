// portals/Portal_Zephal_Login.h
//
// Signing in to Zephal through the cloud library, which keeps the session in a file of the host's preference folder,
// and the storage end point that belongs to a signed-in session.

#pragma once

#include "cloud/portal/PortalBases.h"

#include <pelago/pelago.h>

#include <memory>

namespace Skein {
class LoginUi;
}

/// What names this application to a deployment: base64 of 172 characters, empty for an unknown deployment.
KString getTestConsumerKey(Skein_Service_Deployment deployment);
KString getTestConsumerSecret(Skein_Service_Deployment deployment);

class Portal_Zephal_Login : public ICloudPortalApi::LoginBase
{
public:
    /// Opens the session; one remembered from an earlier run is signed in at once.
    Portal_Zephal_Login();
    ~Portal_Zephal_Login() override;
    Portal_Zephal_Login(const Portal_Zephal_Login &) = delete;
    Portal_Zephal_Login &operator=(const Portal_Zephal_Login &) = delete;

    /// Opens the session anew, so that corrected addresses count, and shows a new sign-in dialog in place of an earlier
    /// one. \p owner (may be null) hears its success while the host
    /// goes on; it hears nothing when the user closes the dialog. False when nothing was shown. May spin the event
    /// loop.
    bool Login(ICloudPortalApi::IPortalOwnerCB *owner) override;
    /// Tells the owner of a success whatever \p url is: true.
    bool LoginUIDoneCB(const QUrl &url) override;
    /// False, and everything as before, when the library cannot sign out.
    bool Logout() override;
    /// Never asks the service.
    bool IsLogin() override;
    /// From what the session remembers of the user; false when it knows no name.
    bool GetUserInformation(HeaderMap &info) override;
    /// The library's own dialog asks for the address: 0, and nothing is written.
    long CreateLoginRequest(char *buffer, unsigned long size) override;

    /// Brings the storage end point in step with the sign-in: drops it when signed out, makes one when signed in.
    void InitializeStorage();
    /// Negative when there is none, or none could be made.
    int64_t GetStorageEndPoint() const { return m_endPoint; }
    /// Identifies this login object: a UUID in braces.
    KString GetClientIdentifier() const { return m_clientIdentifier; }

private:
    static void signInEnded(void *context, bool success);
    void openSession();
    void dropEndPoint();

    int64_t m_session = -1;
    int64_t m_endPoint = -1;
    KString m_clientIdentifier;
    KString m_sessionFile;
    KString m_consumerKey;
    KString m_consumerSecret;
    std::unique_ptr<Skein::LoginUi> m_loginUi;
    ICloudPortalApi::IPortalOwnerCB *m_owner = nullptr;
};
