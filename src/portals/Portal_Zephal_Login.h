// portals/Portal_Zephal_Login.h
//
// Sign-in to Zephal with the cloud library, which stores the session in a file in the host's preferences folder, and
// the storage end point of a signed-in session.

#pragma once

#include "cloud/portal/PortalBases.h"

#include <pelago/pelago.h>

#include <memory>

namespace Skein {
class LoginUi;
}

/// The credentials of this application: 172 characters of base64, or an empty text for an unknown deployment.
KString getTestConsumerKey(Skein_Service_Deployment deployment);
KString getTestConsumerSecret(Skein_Service_Deployment deployment);

class Portal_Zephal_Login : public ICloudPortalApi::LoginBase
{
public:
    /// Opens the session. A session that was stored in an earlier run is signed in immediately.
    Portal_Zephal_Login();
    ~Portal_Zephal_Login() override;
    Portal_Zephal_Login(const Portal_Zephal_Login &) = delete;
    Portal_Zephal_Login &operator=(const Portal_Zephal_Login &) = delete;

    /// Opens the session again, to use a changed configuration, and shows a sign-in dialog in place of an earlier one.
    /// \p owner (may be null) is notified later of a success, but not of a cancelled dialog. Returns false without a
    /// dialog. May spin the event loop.
    bool Login(ICloudPortalApi::IPortalOwnerCB *owner) override;
    /// Notifies the owner of a success and returns true. Ignores \p url.
    bool LoginUIDoneCB(const QUrl &url) override;
    /// Returns false and changes nothing if the library fails to sign out.
    bool Logout() override;
    /// Sends no request.
    bool IsLogin() override;
    /// Reads the name from the session. Returns false if the session has no name.
    bool GetUserInformation(HeaderMap &info) override;
    /// Returns 0, because this portal does not use ICloudPortalApi::LoginUi.
    long CreateLoginRequest(char *buffer, unsigned long size) override;

    /// Creates the storage end point if the user is signed in, or deletes it if not.
    void InitializeStorage();
    /// Returns a negative number if the end point does not exist or could not be created.
    int64_t GetStorageEndPoint() const { return m_endPoint; }
    /// Returns the identifier of this login object, a UUID in braces.
    KString GetClientIdentifier() const { return m_clientIdentifier; }

private:
    static void signInEnded(void *context, bool success);
    void openSession();
    void destroyEndPoint();

    int64_t m_session = -1;
    int64_t m_endPoint = -1;
    KString m_clientIdentifier;
    KString m_sessionFile;
    KString m_consumerKey;
    KString m_consumerSecret;
    std::unique_ptr<Skein::LoginUi> m_loginUi;
    ICloudPortalApi::IPortalOwnerCB *m_owner = nullptr;
};
