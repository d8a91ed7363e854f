#include <localcloud/Secrets.h>
#include <localcloud/TokenStore.h>

namespace localcloud {

TokenStore::TokenStore(const QString &file) : m_file(file)
{
    const QJsonObject tokens = readSecrets(file).value("tokens").toObject();
    for (auto it = tokens.begin(); it != tokens.end(); ++it)
        m_tokens.insert(it.key(), QDateTime::fromString(it.value().toString(), Qt::ISODate));
}

bool TokenStore::save() const
{
    QJsonObject tokens;
    for (auto it = m_tokens.begin(); it != m_tokens.end(); ++it)
        tokens.insert(it.key(), it.value().toString(Qt::ISODate));
    return writeSecrets(m_file, {{"tokens", tokens}});
}

QString TokenStore::issue(const QString &token)
{
    m_tokens.insert(token, QDateTime::currentDateTimeUtc());
    if (save())
        return token;
    m_tokens.remove(token);
    return {};
}

void TokenStore::revokeAll()
{
    m_tokens.clear();
    save();
}

} // namespace localcloud
