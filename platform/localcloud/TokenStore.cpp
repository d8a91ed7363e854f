#include <QDateTime>

#include <localcloud/Secrets.h>
#include <localcloud/TokenStore.h>

namespace localcloud {

TokenStore::TokenStore(const QString &file) : m_file(file), m_tokens(readSecrets(file).value("tokens").toObject()) {}

bool TokenStore::save() const
{
    return writeSecrets(m_file, {{"tokens", m_tokens}});
}

QString TokenStore::issue(const QString &token)
{
    m_tokens.insert(token, QDateTime::currentDateTimeUtc().toString(Qt::ISODate));
    if (save())
        return token;
    m_tokens.remove(token);
    return {};
}

void TokenStore::revokeAll()
{
    m_tokens = {};
    save();
}

} // namespace localcloud
