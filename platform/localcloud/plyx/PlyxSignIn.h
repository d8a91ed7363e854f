// localcloud/plyx/PlyxSignIn.h
//
// The part of the Plyx service that signs users in: its web page, and the check of the headers that later requests
// carry.

#pragma once

#include <localcloud/http/HttpTypes.h>
#include <localcloud/plyx/PlyxSessions.h>

namespace localcloud {

/// The user whom the service knows, and the client that it serves.
struct PlyxAccount
{
    QString user = QStringLiteral("demo");
    QString password = QStringLiteral("demo");
    QString memberName = QStringLiteral("Robin Example");
    int memberId = 4711;
    QString applicationCode = QStringLiteral("QK4ZT8");
};

class PlyxSignIn
{
public:
    /// \p sessions outlives this object.
    PlyxSignIn(PlyxSessions &sessions, const PlyxAccount &account) : m_sessions(sessions), m_account(account) {}

    /// GET shows the page: fields "user" and "password", check box "stay", button "sign-in", after a failure the
    /// paragraph "error". POST takes the form; a right password redirects to done() with "Session" and
    /// "SecureSession" in the query, and so does a GET of a browser that stays signed in. 400 for an unknown "afc".
    void login(const HttpRequest &request, HttpResponse &response);

    /// The page that the sign-in ends on.
    void done(HttpResponse &response) const;

    /// Whether the request names the application and both halves of a session; answers 401 when it does not.
    bool isSignedIn(const HttpRequest &request, HttpResponse &response) const;

    /// Whether the application asks with both halves of the session there but empty, as it does before a sign-in.
    bool isNobody(const HttpRequest &request) const;

    /// The same as isSignedIn() without the secure half.
    bool hasSession(const HttpRequest &request, HttpResponse &response) const;

private:
    bool isKnownClient(const HttpRequest &request) const;
    void finish(HttpResponse &response);

    PlyxSessions &m_sessions;
    PlyxAccount m_account;
};

} // namespace localcloud
