// pelago/Session.h
//
// One user's sign-in with one sign-in service.

#pragma once

#include "Deployments.h"
#include "SessionFile.h"

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
    /// Picks up what \p file remembers for \p server.
    Session(const QString &file, const QUrl &server);

    bool isSignedIn() const { return m_credentials != nullptr; }
    /// Null when not signed in; a new object for each sign-in.
    std::shared_ptr<Credentials> credentials() const { return m_credentials; }
    /// The deployment that this session belongs to, as the file of deployments has it now.
    Deployment deployment() const { return Deployments::load().forSignIn(m_server); }
    const QUrl &server() const { return m_server; }
    /// Whether the credentials may go to \p storage.
    bool mayUse(const QUrl &storage) const;

    /// 1 when \p finalAddress is the one that ends the page's work and signs in, 0 when it is another one.
    int completeLogin(const QUrl &finalAddress);
    /// Asks the storage; spins the event loop.
    Outcome login(const QString &user, const QString &password);
    /// Where login() signs in.
    QUrl storage() const;
    /// False when the session file cannot be removed; the user stays signed in then.
    bool logout();
    /// Signs out if \p refused, which a server refused, are still the present credentials. The session file is
    /// removed only if it holds them: programs that share it may have signed in anew.
    void signOut(const std::shared_ptr<Credentials> &refused);
    /// Ends what runs with these credentials.
    void close();

    QByteArray firstNameText; ///< what callers of the flat interface hold
    QByteArray lastNameText;  ///< likewise

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
