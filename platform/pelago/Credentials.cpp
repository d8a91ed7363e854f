#include "Credentials.h"

#include "Deployments.h"

#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSaveFile>
#include <QVector>

namespace pelago {

namespace {

constexpr qint64 kMaxFileBytes = 64 * 1024;
constexpr int kFormatVersion = 1;

const QString kVersionKey = QStringLiteral("version");
const QString kServerKey = QStringLiteral("server");
const QString kUserKey = QStringLiteral("user");
const QString kSecretKey = QStringLiteral("secret");
const QString kFirstNameKey = QStringLiteral("firstName");
const QString kLastNameKey = QStringLiteral("lastName");

QString serverText(const QUrl &server)
{
    return QString::fromLatin1(server.toEncoded());
}

struct Challenge
{
    QByteArray scheme;
    QByteArray algorithm; ///< lower case
};

QVector<Challenge> parseChallenges(const QByteArray &header)
{
    static const QByteArray kAlgorithm = "algorithm=";
    QVector<Challenge> challenges;
    for (const QByteArray &part : header.split(',')) {
        const QByteArray word = part.trimmed().split(' ').first();
        if (!word.isEmpty() && !word.contains('='))
            challenges.append({word, QByteArray()});
        const int algorithm = part.toLower().indexOf(kAlgorithm);
        if (algorithm >= 0 && !challenges.isEmpty())
            challenges.last().algorithm = part.toLower().mid(algorithm + kAlgorithm.size()).trimmed().replace('"', "");
    }
    return challenges;
}

} // namespace

AuthScheme offeredScheme(const QByteArray &challenges, const QUrl &url)
{
    bool basic = false;
    bool digest = false;
    for (const Challenge &challenge : parseChallenges(challenges)) {
        if (challenge.scheme.toLower() == "basic")
            basic = true;
        else if (challenge.scheme.toLower() == "digest")
            digest = challenge.algorithm.isEmpty() || challenge.algorithm.startsWith("md5");
    }
    if (digest && !(basic && isProtected(url)))
        return AuthScheme::Digest;
    return basic ? AuthScheme::Basic : AuthScheme::Unknown;
}

QString schemeNames(const QByteArray &challenges)
{
    QStringList names;
    for (const Challenge &challenge : parseChallenges(challenges))
        names << QString::fromLatin1(challenge.scheme);
    return names.isEmpty() ? QStringLiteral("none") : names.join(QStringLiteral(", "));
}

std::optional<Credentials> SessionFile::read(const QUrl &server) const
{
    QFile file(m_path);
    if (!QFileInfo(m_path).isFile() || file.size() > kMaxFileBytes || !file.open(QIODevice::ReadOnly))
        return std::nullopt;
    const QJsonObject content = QJsonDocument::fromJson(file.readAll()).object();
    const bool fits = content[kVersionKey].toInt() == kFormatVersion && content[kServerKey] == serverText(server);
    const Credentials read{content[kUserKey].toString(), content[kSecretKey].toString(),
                           content[kFirstNameKey].toString(), content[kLastNameKey].toString()};
    if (!fits || read.user.isEmpty() || read.secret.isEmpty())
        return std::nullopt;
    return read;
}

bool SessionFile::write(const QUrl &server, const Credentials &credentials) const
{
    if (m_path.isEmpty())
        return true;
    const QJsonObject content{{kVersionKey, kFormatVersion},          {kServerKey, serverText(server)},
                              {kUserKey, credentials.user},           {kSecretKey, credentials.secret},
                              {kFirstNameKey, credentials.firstName}, {kLastNameKey, credentials.lastName}};
    QSaveFile file(m_path);
    if (!file.open(QIODevice::WriteOnly))
        return false;
    // Set before the first byte is written, so that other users can never read the content.
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
