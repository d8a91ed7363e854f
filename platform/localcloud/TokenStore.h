// localcloud/TokenStore.h
//
// Tokens that a service has given out. They outlive the process in a file of mode 0600.

#pragma once

#include <QJsonObject>
#include <QString>

namespace localcloud {

class TokenStore
{
public:
    /// Reads the tokens kept in \p file, if it is there.
    explicit TokenStore(const QString &file);

    /// Makes \p token valid and returns it once it is on disk; empty when it cannot be kept.
    QString issue(const QString &token);
    bool isValid(const QString &token) const { return m_tokens.contains(token); }
    int count() const { return m_tokens.size(); }

    /// Makes every token invalid, on disk as well.
    void revokeAll();

private:
    bool save() const;

    QString m_file;
    QJsonObject m_tokens; ///< token to time of issue
};

} // namespace localcloud
