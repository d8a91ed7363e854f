#include <localcloud/DropboxTokens.h>
#include <localcloud/Secrets.h>

namespace localcloud {

namespace {

constexpr int kCodeLifetimeSeconds = 600;
constexpr int kMaxCodes = 1000;

} // namespace

DropboxTokens::DropboxTokens(const QString &file) : m_file(file)
{
    const QJsonObject tokens = readSecrets(file).value("tokens").toObject();
    for (auto it = tokens.begin(); it != tokens.end(); ++it)
        m_tokens.insert(it.key(), QDateTime::fromString(it.value().toString(), Qt::ISODate));
}

bool DropboxTokens::save() const
{
    QJsonObject tokens;
    for (auto it = m_tokens.begin(); it != m_tokens.end(); ++it)
        tokens.insert(it.key(), it.value().toString(Qt::ISODate));
    return writeSecrets(m_file, {{"tokens", tokens}});
}

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
    const QString token = randomKey();
    m_tokens.insert(token, QDateTime::currentDateTimeUtc());
    if (save())
        return token;
    m_tokens.remove(token);
    return {};
}

void DropboxTokens::revokeAll()
{
    m_tokens.clear();
    save();
}

} // namespace localcloud
