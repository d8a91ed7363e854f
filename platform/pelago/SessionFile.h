// pelago/SessionFile.h
//
// What is needed to come back signed in, in a file that only its owner can read.

#pragma once

#include <QString>
#include <QUrl>

#include <optional>

namespace pelago {

/// How a name and a secret go to the server. Unknown until a server has said what it accepts.
enum class AuthScheme { Unknown, Basic, Digest };

/// Who is signed in, and what proves it to the storage.
struct Credentials
{
    QString user;
    QString secret; ///< a password or an issued token
    QString firstName;
    QString lastName;
    AuthScheme scheme = AuthScheme::Unknown; ///< not written to the file
};

class SessionFile
{
public:
    /// An empty \p path remembers nothing.
    explicit SessionFile(const QString &path) : m_path(path) {}

    /// What was remembered for \p server; nothing when the file is missing, unreadable, damaged or another server's.
    std::optional<Credentials> read(const QUrl &server) const;
    /// Replaces the content in one step. False when it cannot; the old content stays then.
    bool write(const QUrl &server, const Credentials &credentials) const;
    /// Removes the file. True when there is none afterwards.
    bool remove() const;

private:
    QString m_path;
};

} // namespace pelago
