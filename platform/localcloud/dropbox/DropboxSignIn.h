// localcloud/dropbox/DropboxSignIn.h
//
// The sign-in of the Dropbox service: the page on which the user allows the access, and the exchange of a code for a
// token. Tokens stay valid after a restart; a code is valid for ten minutes and one exchange.

#pragma once

#include "localcloud/http/HttpTypes.h"
#include "localcloud/TokenStore.h"

#include <QDateTime>
#include <QHash>

namespace localcloud {

class DropboxSignIn
{
public:
    explicit DropboxSignIn(const QString &tokenFile) : m_tokens(tokenFile) {}

    /// GET shows the page with the buttons "allow" and "deny". POST takes the form's "decision" and redirects to the
    /// address in the request, which must be on this machine. A faulty request fails with 400 and a page with the
    /// reason.
    void authorize(const HttpRequest &request, HttpResponse &response);

    /// Exchanges a code for a token. The parameters are in the query or in a form body. Errors are 400 with "error".
    void token(const HttpRequest &request, HttpResponse &response);

    static void accountInfo(HttpResponse &response);

    /// Returns true if the request has a valid token; else fills \p response with 401.
    bool isSignedIn(const HttpRequest &request, HttpResponse &response) const;

    QString issueCode(const QString &clientId, const QString &redirectUri);
    /// Returns a new token; empty if it cannot be stored.
    QString issueToken() { return m_tokens.add(randomKey()); }

private:
    struct Code
    {
        QString clientId;
        QString redirectUri;
        QDateTime expires;
    };
    bool redeemCode(const QString &code, const QString &clientId, const QString &redirectUri);

    TokenStore m_tokens;
    QHash<QString, Code> m_codes;
};

} // namespace localcloud
