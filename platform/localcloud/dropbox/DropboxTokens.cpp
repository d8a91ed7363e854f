#include <localcloud/dropbox/DropboxTokens.h>
#include <localcloud/Secrets.h>

namespace localcloud {

namespace {

constexpr int kCodeLifetimeSeconds = 600;
constexpr int kMaxCodes = 1000;

} // namespace

QString DropboxTokens::issueCode(const QString &clientId, const QString &redirectUri)
{
    if (m_codes.size() >= kMaxCodes)
        m_codes.clear();
    const QString code = randomKey();
    m_codes.insert(code, {clientId, redirectUri, QDateTime::currentDateTimeUtc().addSecs(kCodeLifetimeSeconds)});
    return code;
}

bool DropboxTokens::redeemCode(const QString &code, const QString &clientId, const QString &redirectUri)
{
    const auto found = m_codes.find(code);
    if (found == m_codes.end())
        return false;
    const Code known = *found;
    m_codes.erase(found);
    return known.clientId == clientId && known.redirectUri == redirectUri &&
           known.expires > QDateTime::currentDateTimeUtc();
}

QString DropboxTokens::issueToken()
{
    return m_tokens.issue(randomKey());
}

} // namespace localcloud
