// cloud/signin/SessionLogin.h
//
// Base class for the login of a service with sessions: one or two identifiers that are sent with every request. They
// are stored in a settings file, and the service must confirm them once before they are used.

#pragma once

#include "cloud/portal/PortalBases.h"

namespace ICloudPortalApi {

class SessionLogin : public LoginBase
{
public:
    /// Reads the settings file at each call, so that a sign-out of another process is detected. Calls IsSessionValid()
    /// only until the service has confirmed a session.
    bool IsLogin() override;
    /// Returns true if the service accepts the current session. May spin the event loop.
    virtual bool IsSessionValid() = 0;

    /// Changes the current session, but not the settings file.
    void SetSessionID(const KString &id);
    void SetSessionID(const KString &id, const KString &secureId);
    KString GetSessionID() const { return m_sessionId; }
    KString GetSecureSessionID() const { return m_secureSessionId; }
    /// Writes the current session to the settings file. If that fails, the session stays in memory only, and the first
    /// failure writes a warning with the file's path to the host's output.
    void SaveSessionSettings();

protected:
    /// Superseded: the session changed during the request, so the reply is not about the current session.
    enum class SessionCheck { Valid, Invalid, Superseded };

    /// \p settingsName is the name of the settings file and must be a literal.
    explicit SessionLogin(const char *settingsName);

    /// Implements IsLogin().
    SessionCheck checkSession();
    /// Returns true if the last checkSession() returned Valid.
    bool isConfirmed() const { return m_isConfirmed; }
    /// Reads the session from the settings file. Ignored if the file could not be written before.
    void loadSession();
    /// Clears the current session, but not the settings file.
    void clearSession();
    /// Clears the current session, also in the settings file.
    void deleteSession();

private:
    const char *m_settingsName;
    KString m_sessionId;
    KString m_secureSessionId;
    bool m_isConfirmed = false;
    bool m_isInMemoryOnly = false; ///< true after the settings file could not be written
    bool m_isFailureShown = false;
};

} // namespace ICloudPortalApi
