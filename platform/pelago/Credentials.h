// pelago/Credentials.h
//
// A user's credentials, the choice of the scheme with which they are sent, and the file that stores them.

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

/// Chooses the scheme for \p url from a header WWW-Authenticate. Returns Unknown if the header offers neither Basic nor
/// Digest with MD5, the only algorithm that Qt supports.
AuthScheme offeredScheme(const QByteArray &challenges, const QUrl &url);
/// Returns the names of the schemes in a header WWW-Authenticate, for a message to the user.
QString schemeNames(const QByteArray &challenges);

/// A JSON file that only its owner can read.
class SessionFile
{
public:
    /// If \p path is empty, the credentials are not stored.
    explicit SessionFile(const QString &path) : m_path(path) {}

    /// Returns the credentials stored for \p server; empty if the file is missing, unreadable, damaged or for another
    /// server.
    std::optional<Credentials> read(const QUrl &server) const;
    /// Replaces the content. After a failure returns false; the old content stays.
    bool write(const QUrl &server, const Credentials &credentials) const;
    /// Removes the file. Returns true if it does not exist afterwards.
    bool remove() const;

private:
    QString m_path;
};

} // namespace pelago
