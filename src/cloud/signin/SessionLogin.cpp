#include "cloud/signin/SessionLogin.h"

#include "TavrinStrings.h"

#include <openkelda/KGlobal.h>
#include <openkelda/KQtUtil.h>

namespace ICloudPortalApi {

SessionLogin::SessionLogin(const char *settingsName) : m_settingsName(settingsName) {}

bool SessionLogin::IsLogin()
{
    return checkSession() == SessionCheck::Valid;
}

SessionLogin::SessionCheck SessionLogin::checkSession()
{
    loadSession();
    if (m_sessionId.isEmpty()) {
        m_isConfirmed = false;
    } else if (!m_isConfirmed) {
        const KString checkedId = m_sessionId;
        const bool isValid = IsSessionValid();
        if (m_sessionId != checkedId)
            return SessionCheck::Superseded;
        m_isConfirmed = isValid;
    }
    return m_isConfirmed ? SessionCheck::Valid : SessionCheck::Invalid;
}

void SessionLogin::SetSessionID(const KString &id)
{
    m_sessionId = id;
}

void SessionLogin::SetSessionID(const KString &id, const KString &secureId)
{
    m_sessionId = id;
    m_secureSessionId = secureId;
}

void SessionLogin::SaveSessionSettings()
{
    Tavrin::Settings settings(m_settingsName);
    const bool isStored = settings.getSessionID() == m_sessionId && settings.getSecureSessionID() == m_secureSessionId;
    if (isStored && !m_isInMemoryOnly)
        return;
    settings.setSessionID(m_sessionId);
    settings.setSecureSessionID(m_secureSessionId);
    m_isInMemoryOnly = !settings.store();
    if (!m_isInMemoryOnly || m_isFailureShown)
        return;
    m_isFailureShown = true;
    KGlobal::displayWarning(TavrinStrings::getString(TavrinStrings::kCloudPortalLoginNotStored) +
                            KQtUtil::toKString(settings.path()));
}

void SessionLogin::loadSession()
{
    if (m_isInMemoryOnly)
        return;
    const Tavrin::Settings settings(m_settingsName);
    SetSessionID(settings.getSessionID(), settings.getSecureSessionID());
}

void SessionLogin::clearSession()
{
    SetSessionID(KString(), KString());
    m_isConfirmed = false;
}

void SessionLogin::deleteSession()
{
    clearSession();
    SaveSessionSettings();
}

} // namespace ICloudPortalApi
