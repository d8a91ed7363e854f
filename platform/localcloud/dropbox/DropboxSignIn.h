// localcloud/dropbox/DropboxSignIn.h
//
// The part of the Dropbox service that signs users in: the page that asks, the exchange of a code for a token, and the
// account behind a token.

#pragma once

#include <localcloud/dropbox/DropboxTokens.h>
#include <localcloud/http/HttpTypes.h>

namespace localcloud {

class DropboxSignIn
{
public:
    DropboxSignIn(DropboxTokens &tokens, const QString &displayName) : m_tokens(tokens), m_displayName(displayName) {}

    /// GET shows the page with the buttons "allow" and "deny"; POST takes the form's "decision" and redirects to the
    /// address that the client named, which must be a loopback one. A faulty request gets a page that says why, 400.
    void authorize(const HttpRequest &request, HttpResponse &response);

    /// POST: a code for a token; parameters in the query or in a form body. Errors are 400 with "error".
    void token(const HttpRequest &request, HttpResponse &response);

    /// GET: the account of the token in the request.
    void accountInfo(HttpResponse &response) const;

    /// Whether the request carries a valid token; answers 401 when it does not.
    bool isSignedIn(const HttpRequest &request, HttpResponse &response) const;

private:
    DropboxTokens &m_tokens;
    QString m_displayName;
};

} // namespace localcloud
