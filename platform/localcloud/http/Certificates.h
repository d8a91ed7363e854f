// localcloud/http/Certificates.h
//
// An authority of its own and server certificates signed by it, made with the openssl command when they are first
// needed. Creation takes some ten milliseconds and blocks, but never spins the event loop.

#pragma once

#include <QHash>
#include <QSslCertificate>
#include <QSslKey>
#include <QString>

#include <memory>
#include <optional>

namespace localcloud {

/// What a TLS server shows for one host name.
struct ServerIdentity
{
    QSslCertificate certificate;
    QSslKey key;
};

class CertificateAuthority
{
public:
    /// The authority of this process, in a temporary folder that goes with it. Null, with a reason, when openssl fails.
    static std::shared_ptr<CertificateAuthority> forProcess(QString *error);

    /// Keeps its files in \p folder (created, for its owner only), so that the next run is trusted as well.
    explicit CertificateAuthority(const QString &folder);

    /// Loads the authority or makes a new one when there is none, or one that is about to expire.
    bool open(QString *error);

    /// The authority's certificate as a PEM file.
    QString caFile() const;
    QSslCertificate certificate() const { return m_certificate; }

    /// A certificate for \p host (a name or an address); made once and then kept in memory.
    std::optional<ServerIdentity> identity(const QString &host, QString *error);

private:
    bool load();
    bool writeConfig(const QString &alternativeName, QString *error) const;
    QString path(const char *name) const;

    QString m_folder;
    QSslCertificate m_certificate;
    QHash<QString, ServerIdentity> m_identities;
};

} // namespace localcloud
