#include <localcloud/DropboxTokens.h>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRandomGenerator>
#include <QSaveFile>

namespace localcloud {

namespace {

constexpr int kCodeLifetimeSeconds = 600;
constexpr int kMaxCodes = 1000;

} // namespace

QString randomKey()
{
    static const char letters[] = "abcdefghijklmnopqrstuvwxyz0123456789";
    QString key;
    for (int i = 0; i < 64; ++i)
        key += QLatin1Char(letters[QRandomGenerator::system()->bounded(36)]);
    return key;
}

DropboxTokens::DropboxTokens(const QString &file) : m_file(file)
{
    QFile stored(file);
    if (!stored.open(QIODevice::ReadOnly))
        return;
    const QJsonObject tokens = QJsonDocument::fromJson(stored.readAll()).object().value("tokens").toObject();
    for (auto it = tokens.begin(); it != tokens.end(); ++it)
        m_tokens.insert(it.key(), QDateTime::fromString(it.value().toString(), Qt::ISODate));
}

bool DropboxTokens::save() const
{
    QJsonObject tokens;
    for (auto it = m_tokens.begin(); it != m_tokens.end(); ++it)
        tokens.insert(it.key(), it.value().toString(Qt::ISODate));
    QSaveFile file(m_file);
    if (!file.open(QIODevice::WriteOnly) || !file.setPermissions(QFile::ReadOwner | QFile::WriteOwner))
        return false;
    file.write(QJsonDocument(QJsonObject{{"tokens", tokens}}).toJson());
    return file.commit();
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
