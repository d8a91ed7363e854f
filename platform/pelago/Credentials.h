// pelago/Credentials.h
//
// A user's credentials, how they are sent to a server, and the file that keeps them until the next start.

#pragma once

#include <QString>
#include <QUrl>

#include <optional>

namespace pelago {

/// Unknown until a server has listed the schemes that it accepts.
enum class AuthScheme { Unknown, Basic, Digest };

struct Credentials
{
    QString user;
    QString secret; ///< a password or an issued token
    QString firstName;
    QString lastName;
    AuthScheme scheme = AuthScheme::Unknown; ///< not stored in the file
};

/// The scheme to use for \p url, chosen from a header WWW-Authenticate. Unknown if the header offers neither Basic nor
/// Digest with MD5, the only algorithm that Qt computes.
AuthScheme offeredScheme(const QByteArray &challenges, const QUrl &url);
/// The names of the schemes in a header WWW-Authenticate, for a message to the user.
QString schemeNames(const QByteArray &challenges);

/// A JSON file that only its owner can read.
class SessionFile
{
public:
    /// With an empty \p path, nothing is stored.
    explicit SessionFile(const QString &path) : m_path(path) {}

    /// The credentials stored for \p server. Empty if the file is missing, unreadable, damaged or of another server.
    std::optional<Credentials> read(const QUrl &server) const;
    /// Replaces the content. On failure it returns false, and the old content stays.
    bool write(const QUrl &server, const Credentials &credentials) const;
    /// Removes the file. Returns whether the file does not exist afterwards.
    bool remove() const;

private:
    QString m_path;
};

} // namespace pelago
