#include <QFile>
#include <QJsonDocument>
#include <QRandomGenerator>
#include <QSaveFile>

#include <localcloud/Secrets.h>

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

QJsonObject readSecrets(const QString &file)
{
    QFile stored(file);
    return stored.open(QIODevice::ReadOnly) ? QJsonDocument::fromJson(stored.readAll()).object() : QJsonObject();
}

bool writeSecrets(const QString &file, const QJsonObject &object)
{
    QSaveFile target(file);
    if (!target.open(QIODevice::WriteOnly) || !target.setPermissions(QFile::ReadOwner | QFile::WriteOwner))
        return false;
    target.write(QJsonDocument(object).toJson());
    return target.commit();
}

} // namespace localcloud
