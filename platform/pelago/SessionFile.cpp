#include "SessionFile.h"

#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSaveFile>

namespace pelago {

namespace {

constexpr qint64 largestBytes = 64 * 1024;
constexpr int formatVersion = 1;

const QString versionKey = QStringLiteral("version");
const QString serverKey = QStringLiteral("server");
const QString userKey = QStringLiteral("user");
const QString secretKey = QStringLiteral("secret");
const QString firstNameKey = QStringLiteral("firstName");
const QString lastNameKey = QStringLiteral("lastName");

QString serverText(const QUrl &server)
{
    return QString::fromLatin1(server.toEncoded());
}

} // namespace

std::optional<Credentials> SessionFile::read(const QUrl &server) const
{
    QFile file(m_path);
    if (!QFileInfo(m_path).isFile() || file.size() > largestBytes || !file.open(QIODevice::ReadOnly))
        return std::nullopt;
    const QJsonObject content = QJsonDocument::fromJson(file.readAll()).object();
    const bool fits = content[versionKey].toInt() == formatVersion && content[serverKey] == serverText(server);
    const Credentials read{content[userKey].toString(), content[secretKey].toString(), content[firstNameKey].toString(),
                           content[lastNameKey].toString()};
    if (!fits || read.user.isEmpty() || read.secret.isEmpty())
        return std::nullopt;
    return read;
}

bool SessionFile::write(const QUrl &server, const Credentials &credentials) const
{
    if (m_path.isEmpty())
        return true;
    const QJsonObject content{{versionKey, formatVersion},           {serverKey, serverText(server)},
                              {userKey, credentials.user},           {secretKey, credentials.secret},
                              {firstNameKey, credentials.firstName}, {lastNameKey, credentials.lastName}};
    QSaveFile file(m_path);
    if (!file.open(QIODevice::WriteOnly))
        return false;
    // Before the first byte, so that no other user ever opens a file with content.
    if (!file.setPermissions(QFileDevice::ReadOwner | QFileDevice::WriteOwner))
        return false;
    file.write(QJsonDocument(content).toJson());
    return file.commit();
}

bool SessionFile::remove() const
{
    return m_path.isEmpty() || QFile::remove(m_path) || !QFileInfo::exists(m_path);
}

} // namespace pelago
