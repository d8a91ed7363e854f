// localcloud/dropbox/DropboxTokens.h
//
// The codes and tokens that the Dropbox service has given out. Tokens outlive the process in a file of mode 0600; codes
// live ten minutes and are good for one exchange.

#pragma once

#include <QDateTime>
#include <QHash>
#include <QString>
#include <QUrl>

#include <localcloud/TokenStore.h>

namespace localcloud {

class DropboxTokens
{
public:
    /// Reads the tokens kept in \p file, if it is there.
    explicit DropboxTokens(const QString &file) : m_tokens(file) {}

    QString issueCode(const QString &clientId, const QString &redirectUri);

    /// Takes back \p code; true when it was issued to this client for this address and has not expired.
    bool redeemCode(const QString &code, const QString &clientId, const QString &redirectUri);

    /// A new token, already on disk. Empty when it cannot be kept.
    QString issueToken();
    bool isValid(const QString &token) const { return m_tokens.isValid(token); }

    /// Makes every token invalid, on disk as well.
    void revokeAll() { m_tokens.revokeAll(); }

private:
    struct Code
    {
        QString clientId;
        QString redirectUri;
        QDateTime expires;
    };

    TokenStore m_tokens;
    QHash<QString, Code> m_codes;
};

} // namespace localcloud
