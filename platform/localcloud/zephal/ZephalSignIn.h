// localcloud/zephal/ZephalSignIn.h
//
// The part of the document cloud that signs users in: its web page, and the check of the credentials that storage
// requests carry.

#pragma once

#include <localcloud/http/HttpTypes.h>
#include <localcloud/TokenStore.h>

namespace localcloud {

/// The user whom the service knows.
struct ZephalAccount
{
    QString user = QStringLiteral("demo");
    QString password = QStringLiteral("demo");
    QString firstName = QStringLiteral("Robin");
    QString lastName = QStringLiteral("Example");
};

class ZephalSignIn
{
public:
    /// \p tokens outlives this object.
    ZephalSignIn(TokenStore &tokens, const ZephalAccount &account) : m_tokens(tokens), m_account(account) {}

    /// GET shows the page: fields "user" and "password", button "sign-in", after a failure the paragraph "error". POST
    /// takes the form; a right password redirects to done() with "user", "token", "first" and "last" in the query.
    void signIn(const HttpRequest &request, HttpResponse &response);

    /// The page that the sign-in ends on.
    void done(HttpResponse &response) const;

    /// Whether the request carries the user's name with a token, or with the password for clients that know no page;
    /// answers 401 when it does not.
    bool isSignedIn(const HttpRequest &request, HttpResponse &response) const;

    /// A new token; empty when it cannot be kept.
    QString issueToken();

private:
    QString signInPage(const QString &user, const QString &error) const;

    TokenStore &m_tokens;
    ZephalAccount m_account;
};

} // namespace localcloud
