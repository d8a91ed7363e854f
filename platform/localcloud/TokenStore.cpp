#include "localcloud/TokenStore.h"

#include <QFile>
#include <QJsonDocument>
#include <QRandomGenerator>
#include <QSaveFile>

namespace localcloud {

QString randomKey()
{
    static const char letters[] = "abcdefghijklmnopqrstuvwxyz0123456789";
    QString key;
    for (int i = 0; i < 64; ++i)
        key += QLatin1Char(letters[QRandomGenerator::system()->bounded(36)]);
    return key;
}

QString randomBase64Key()
{
    quint32 words[6];
    QRandomGenerator::system()->fillRange(words);
    const auto bytes = QByteArray::fromRawData(reinterpret_cast<const char *>(words), sizeof words);
    return "+/" + QString::fromLatin1(bytes.toBase64());
}

TokenStore::TokenStore(const QString &file) : m_file(file)
{
    QFile stored(file);
    if (stored.open(QIODevice::ReadOnly))
        m_tokens = QJsonDocument::fromJson(stored.readAll())["tokens"].toObject();
}

bool TokenStore::save() const
{
    QSaveFile target(m_file);
    if (!target.open(QIODevice::WriteOnly) || !target.setPermissions(QFile::ReadOwner | QFile::WriteOwner))
        return false;
    target.write(QJsonDocument(QJsonObject{{"tokens", m_tokens}}).toJson());
    return target.commit();
}

QString TokenStore::add(const QString &token, const QString &value)
{
    m_tokens.insert(token, value);
    if (save())
        return token;
    m_tokens.remove(token);
    return {};
}

void TokenStore::clear()
{
    m_tokens = {};
    save();
}

} // namespace localcloud
