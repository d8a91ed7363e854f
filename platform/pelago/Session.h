// pelago/Session.h
//
// One user's sign-in with one sign-in service.

#pragma once

#include "Deployments.h"
#include "SessionFile.h"

#include <optional>
#include <QByteArray>
#include <QObject>
#include <QString>
#include <QUrl>

namespace pelago {

struct DavResult;

class Session : public QObject
{
    Q_OBJECT
public:
    /// Picks up what \p file remembers for \p server.
    Session(const QString &file, const QUrl &server);

    bool isSignedIn() const { return m_credentials.has_value(); }
    /// Nobody's when not signed in.
    Credentials credentials() const { return m_credentials.value_or(Credentials()); }
    /// The value of an Authorization header; empty when not signed in.
    QByteArray authorization() const;
    /// The deployment that this session belongs to, as the file of deployments has it now.
    Deployment deployment() const { return Deployments::load().forSignIn(m_server); }
    const QUrl &server() const { return m_server; }
    /// Whether the credentials may go to \p storage.
    bool mayUse(const QUrl &storage) const;

    /// 1 when \p finalAddress is the one that ends the page's work and signs in, 0 when it is another one.
    int completeLogin(const QUrl &finalAddress);
    /// Asks the storage; spins the event loop. 1 or a negative Skein_Result.
    int login(const QString &user, const QString &password);
    /// False when the session file cannot be removed; the user stays signed in then.
    bool logout();
    /// To be called when a server refused \p authorization: signs out if it is still the present one.
    void refused(const QByteArray &authorization);
    /// Ends what runs with these credentials.
    void close();

    QByteArray firstNameText; ///< what callers of the flat interface hold
    QByteArray lastNameText;  ///< likewise

signals:
    void closed();

private:
    void signIn(const Credentials &credentials);

    SessionFile m_file;
    QUrl m_server;
    std::optional<Credentials> m_credentials;
    bool m_closed = false;
};

} // namespace pelago
