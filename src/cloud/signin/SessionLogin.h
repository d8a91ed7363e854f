// cloud/signin/SessionLogin.h
//
// The login of a service that hands out a session: one or two identifiers, which go with every request, are kept in a
// settings file, and are confirmed by the service once before they are trusted.

#pragma once

#include "cloud/portal/PortalBases.h"

namespace ICloudPortalApi {

class SessionLogin : public LoginBase
{
public:
    /// The session is read from the settings file each time, so that a sign-out made elsewhere is seen. The service is
    /// asked only until it has confirmed one.
    bool IsLogin() override;
    /// True when the service knows the session held. Spins the event loop if it asks.
    virtual bool IsSessionValid() = 0;

    /// Sets what is held; the settings file is written by SaveSessionSettings() alone.
    void SetSessionID(const KString &id);
    void SetSessionID(const KString &id, const KString &secureId);
    KString GetSessionID() const { return m_sessionId; }
    KString GetSecureSessionID() const { return m_secureSessionId; }
    /// Writes both identifiers to the settings file. If the file cannot be written, they are kept in memory as long as
    /// this object lives, and the first time a warning in the host's output names the file.
    void SaveSessionSettings();

protected:
    /// What confirmSession() found. A session that was replaced while the service was asked is neither: the answer says
    /// nothing about the new one.
    enum class Standing { SignedIn, SignedOut, Replaced };

    /// \p settingsName, a literal, names the settings file.
    explicit SessionLogin(const char *settingsName);

    /// The work of IsLogin().
    Standing confirmSession();
    /// True when the last confirmSession() found somebody signed in.
    bool isConfirmed() const { return m_isConfirmed; }
    /// Reads the session from the settings file, unless the last one could not be written there.
    void loadSession();
    /// Holds no session any more; the settings file keeps it.
    void dropSession();
    /// dropSession(), in the settings file too.
    void forgetSession();

private:
    const char *m_settingsName;
    KString m_sessionId;
    KString m_secureSessionId;
    bool m_isConfirmed = false;
    bool m_isInMemoryOnly = false; ///< the file could not be written and is not read any more
    bool m_isFailureShown = false;
};

} // namespace ICloudPortalApi
