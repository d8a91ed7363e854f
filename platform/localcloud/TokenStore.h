// localcloud/TokenStore.h
//
// The tokens that a service has issued, each with a value. They are stored in a file of mode 0600.

#pragma once

#include <QJsonObject>
#include <QString>

namespace localcloud {

/// Returns 64 random characters from a-z and 0-9.
QString randomKey();

/// Returns "+/" and 32 random characters of Base64, which must be escaped in addresses.
QString randomBase64Key();

class TokenStore
{
public:
    /// Reads the tokens in \p file, if it exists.
    explicit TokenStore(const QString &file);

    /// Stores \p token and returns it; empty if the file cannot be written.
    QString add(const QString &token, const QString &value = {});
    bool contains(const QString &token) const { return m_tokens.contains(token); }
    /// Returns the value of \p token, or a null text for an unknown token.
    QString value(const QString &token) const { return m_tokens.value(token).toString(); }
    int count() const { return m_tokens.size(); }

    /// Removes all tokens, also from the file.
    void clear();

private:
    bool save() const;

    QString m_file;
    QJsonObject m_tokens; ///< token to value
};

} // namespace localcloud
