// pelago/Session.h
//
// A session with one sign-in service.

#pragma once

#include "Credentials.h"
#include "Deployments.h"

#include <QByteArray>
#include <QObject>
#include <QString>
#include <QUrl>

#include <memory>

namespace pelago {

struct Outcome;

class Session : public QObject
{
    Q_OBJECT
public:
    /// Reads the credentials that \p file stores for \p server.
    Session(const QString &file, const QUrl &server);

    bool isSignedIn() const { return m_credentials != nullptr; }
    /// Returns null if not signed in, and a new object after each sign-in.
    std::shared_ptr<Credentials> credentials() const { return m_credentials; }
    /// Reads the deployment of this session from pelago.ini at each call.
    Deployment deployment() const { return Deployments::load().forSignIn(m_server); }
    const QUrl &server() const { return m_server; }
    /// Returns true if the credentials may be sent to \p storage.
    bool mayUse(const QUrl &storage) const;

    /// Signs in with \p finalAddress, the last address of the sign-in page, and returns 1. Returns 0 for any other
    /// address, and Skein_Result_NotSignedIn if the final address has no credentials.
    int completeLogin(const QUrl &finalAddress);
    /// Signs in if the storage accepts the password. Spins the event loop.
    Outcome login(const QString &user, const QString &password);
    /// Returns the address that login() uses.
    QUrl storage() const;
    /// Returns false if the session file cannot be removed; the user stays signed in then.
    bool logout();
    /// Signs out if \p refused, which a server refused, are still the current credentials. Removes the session file
    /// only if it contains them, because another program that shares it may have signed in again.
    void signOut(const std::shared_ptr<Credentials> &refused);
    /// Ends the calls that use these credentials.
    void close();

    QByteArray firstNameText; ///< the text that Skein_Auth_getUserFirstName returned
    QByteArray lastNameText;  ///< likewise for the last name

signals:
    void closed();

private:
    void setCredentials(const Credentials &credentials);
    void signIn(const Credentials &credentials);

    SessionFile m_file;
    QUrl m_server;
    std::shared_ptr<Credentials> m_credentials;
    bool m_closed = false;
};

} // namespace pelago
