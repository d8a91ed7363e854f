// localcloud/http/Certificates.h
//
// A certificate authority and the server certificates that it signs. The openssl command creates them at their first
// use, which blocks for some ten milliseconds without spinning the event loop.

#pragma once

#include <QHash>
#include <QSslCertificate>
#include <QSslKey>
#include <QString>

#include <memory>
#include <optional>

namespace localcloud {

/// Certificate and key of a TLS server for one host name.
struct ServerIdentity
{
    QSslCertificate certificate;
    QSslKey key;
};

class CertificateAuthority
{
public:
    /// Returns the authority that the process shares; its files are deleted at exit. Returns null and sets \p error if
    /// openssl fails.
    static std::shared_ptr<CertificateAuthority> forProcess(QString *error);

    /// Stores the files in \p folder, which only its owner can read. A later run uses them again.
    explicit CertificateAuthority(const QString &folder);

    /// Loads the authority. Creates a new one if it is missing or expires within 30 days. Returns false and sets
    /// \p error on failure.
    bool open(QString *error);

    /// Returns the PEM file of the authority's certificate.
    QString caFile() const;
    QSslCertificate certificate() const { return m_certificate; }

    /// Returns the certificate for the name \p host, which is created once per process. Returns an empty optional and
    /// sets \p error if openssl fails.
    std::optional<ServerIdentity> identity(const QString &host, QString *error);

private:
    bool load();
    bool writeConfig(const QString &host, QString *error) const;
    QString path(const char *name) const;

    QString m_folder;
    QSslCertificate m_certificate;
    QHash<QString, ServerIdentity> m_identities;
};

} // namespace localcloud
