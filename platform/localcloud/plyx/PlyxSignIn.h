// localcloud/plyx/PlyxSignIn.h
//
// The sign-in of the Plyx service: its web page, its sessions, and the check of the headers of later requests.

#pragma once

#include "localcloud/http/HttpTypes.h"
#include "localcloud/TokenStore.h"

namespace localcloud {

/// Identifies a session. Both strings contain "+" and "/", so addresses must escape them.
struct PlyxSession
{
    QString id;
    QString secureId;
};

class PlyxSignIn
{
public:
    explicit PlyxSignIn(const QString &tokenFile) : m_sessions(tokenFile) {}

    /// GET shows the page. POST takes the fields "user" and "password"; it shows the page with an error, or redirects
    /// to /TokenAPI/done.cfm with "Session" and "SecureSession" in the query. The status is 400 for an unknown "afc".
    void login(const HttpRequest &request, HttpResponse &response);

    /// Fills \p response with the page at the end of a sign-in.
    static void done(HttpResponse &response);

    /// Returns a new session; empty if it cannot be stored.
    PlyxSession openSession();

    /// Returns true if the request has the application code and both strings of a session; else fills \p response with
    /// 401.
    bool isSignedIn(const HttpRequest &request, HttpResponse &response) const;
    /// Like isSignedIn(), without the secure string.
    bool hasSession(const HttpRequest &request, HttpResponse &response) const;
    /// Returns true if the request has the application code and two empty strings, as before a sign-in.
    bool isSignedOut(const HttpRequest &request) const;

private:
    TokenStore m_sessions; ///< id and secure id
};

} // namespace localcloud
