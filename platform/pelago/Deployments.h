// pelago/Deployments.h
//
// The servers: the sections of the user's pelago.ini, or the built-in addresses.

#pragma once

#include <QString>
#include <QUrl>
#include <QVector>

namespace pelago {

enum class SignInKind { Web, Password };

/// How an upload replaces a file. Auto uses Put for servers that replace files in one step, otherwise Move.
enum class Replacing { Auto, Move, Put };

struct Deployment
{
    QString name;
    QUrl signIn;  ///< invalid if the file has no usable address
    QUrl storage; ///< likewise; its path ends in "/"
    SignInKind kind = SignInKind::Web;
    bool plainHttp = false; ///< true allows other machines without TLS
    int idleTimeoutMs = 60000;
    Replacing replacing = Replacing::Auto;
    QString problem; ///< the faulty place for an invalid address: "line 3", "production/storage", or the file's path
};

class Deployments
{
public:
    /// Returns the value of PELAGO_CONFIG, or pelago.ini in the user's configuration folder.
    static QString path();
    static Deployments load() { return Deployments(path()); }
    /// If the file does not exist, the built-in addresses are used; if it cannot be read, all addresses are invalid.
    explicit Deployments(const QString &path);

    /// \p number as in Skein_Service_Deployment. For any other number, the addresses are invalid.
    Deployment at(int number) const { return m_all.value(number); }
    /// Returns the first deployment with this sign-in address, or a default one with invalid addresses.
    Deployment forSignIn(const QUrl &signIn) const;
    /// Returns true if credentials may be sent to \p address: with TLS, to this machine, or if the file allows its
    /// origin.
    bool isAllowed(const QUrl &address) const;

private:
    QVector<Deployment> m_all;
};

/// Converts \p text to an address. Invalid unless it is http or https without user name, query and fragment.
QUrl serverAddress(const QString &text);
/// Like serverAddress(), with a slash appended to the path if it is missing.
QUrl folderAddress(const QString &text);
/// Returns true if other machines cannot read data sent to \p address: with TLS, or on this machine.
bool isProtected(const QUrl &address);
bool sameOrigin(const QUrl &one, const QUrl &other);

} // namespace pelago
