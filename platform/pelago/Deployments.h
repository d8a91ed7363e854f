// pelago/Deployments.h
//
// Which servers there are: the user's pelago.ini, or the built-in addresses.

#pragma once

#include <QString>
#include <QUrl>
#include <QVector>

namespace pelago {

enum class SignInKind { Web, Password };

/// How an upload replaces a file. Auto puts in place where the server says that it replaces files in one step.
enum class Replacing { Auto, Move, Put };

struct Deployment
{
    QString name;
    QUrl signIn;  ///< invalid when the file gives none that can be used
    QUrl storage; ///< likewise; its path ends in "/"
    SignInKind kind = SignInKind::Web;
    bool plainHttp = false; ///< whether hosts other than this machine may be asked without TLS
    int idleTimeoutMs = 60000;
    Replacing replacing = Replacing::Auto;
    QString problem; ///< where the file is wrong, if an address is invalid: "line 3", "production/storage", or its path
};

class Deployments
{
public:
    /// The file that PELAGO_CONFIG names, otherwise pelago.ini in the user's configuration folder.
    static QString path();
    static Deployments load() { return Deployments(path()); }
    /// A file that does not exist gives the built-in addresses, one that cannot be read none at all.
    explicit Deployments(const QString &path);

    /// \p number as in Skein_Service_Deployment; one without addresses for any other.
    Deployment at(int number) const { return m_all.value(number); }
    /// The first one that signs in at \p signIn, otherwise one with defaults and without addresses.
    Deployment forSignIn(const QUrl &signIn) const;
    /// Whether credentials may go to \p address: TLS, or this machine, or allowed by the file for that origin.
    bool isAllowed(const QUrl &address) const;

private:
    QVector<Deployment> m_all;
};

/// \p text as an address without name, password, query or fragment; invalid when it is none for http or https.
QUrl serverAddress(const QString &text);
/// The same, with a path that ends in "/".
QUrl folderAddress(const QString &text);
/// Whether what is sent to \p address stays secret: TLS, or this machine.
bool isProtected(const QUrl &address);
bool sameOrigin(const QUrl &one, const QUrl &other);

} // namespace pelago
