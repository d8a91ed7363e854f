#include "localcloud/http/Certificates.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QProcess>
#include <QRandomGenerator>
#include <QTemporaryDir>

namespace localcloud {

namespace {

constexpr int kOpenSslTimeoutMs = 20000;
constexpr QFile::Permissions kPrivateFile = QFile::ReadOwner | QFile::WriteOwner;

/// Runs the openssl command. Returns false and sets \p error if it fails.
bool runOpenSsl(const QStringList &arguments, QString *error)
{
    QProcess process;
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start(QStringLiteral("openssl"), arguments, QIODevice::ReadOnly);
    const bool finished = process.waitForStarted() && process.waitForFinished(kOpenSslTimeoutMs);
    if (finished && process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0)
        return true;
    *error = QStringLiteral("openssl failed: ") +
             (finished ? QString::fromLocal8Bit(process.readAll()).trimmed() : process.errorString());
    return false;
}

QByteArray contentOf(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

QStringList newCertificate(const QString &section, const QString &name, int days)
{
    const QString command("req -new -x509 -sha256 -newkey ec -pkeyopt ec_paramgen_curve:prime256v1 -nodes");
    return command.split(' ') << "-days" << QString::number(days) << "-subj"
                              << "/CN=" + name << "-extensions" << section;
}

} // namespace

std::shared_ptr<CertificateAuthority> CertificateAuthority::forProcess(QString *error)
{
    static QTemporaryDir folder;
    static std::shared_ptr<CertificateAuthority> shared;
    if (!shared) {
        auto made = std::make_shared<CertificateAuthority>(folder.path());
        if (!made->open(error))
            return {};
        shared = made;
    }
    return shared;
}

CertificateAuthority::CertificateAuthority(const QString &folder) : m_folder(folder) {}

QString CertificateAuthority::path(const char *name) const
{
    return m_folder + '/' + QLatin1String(name);
}

QString CertificateAuthority::caFile() const
{
    return path("ca.pem");
}

bool CertificateAuthority::load()
{
    const auto certificates = QSslCertificate::fromPath(caFile());
    const QSslKey key(contentOf(path("ca.key")), QSsl::Ec);
    if (certificates.size() != 1 || key.isNull())
        return false;
    if (certificates.first().expiryDate() < QDateTime::currentDateTimeUtc().addDays(30))
        return false;
    m_certificate = certificates.first();
    return true;
}

bool CertificateAuthority::open(QString *error)
{
    QDir().mkpath(m_folder);
    QFile::setPermissions(m_folder, kPrivateFile | QFile::ExeOwner);
    if (load())
        return true;
    if (!writeConfig(QStringLiteral("localhost"), error))
        return false;
    const QString name = QStringLiteral("Local cloud ") + QString::number(QRandomGenerator::system()->generate(), 16);
    const QStringList arguments = newCertificate(QStringLiteral("authority"), name, 3650);
    if (!runOpenSsl(arguments +
                        QStringList{"-config", path("openssl.cnf"), "-keyout", path("ca.key"), "-out", caFile()},
                    error))
        return false;
    QFile::setPermissions(path("ca.key"), kPrivateFile);
    if (load())
        return true;
    *error = QStringLiteral("openssl wrote an unusable authority into ") + m_folder;
    return false;
}

bool CertificateAuthority::writeConfig(const QString &host, QString *error) const
{
    QFile file(path("openssl.cnf"));
    const QByteArray text = "[req]\ndistinguished_name=name\nprompt=no\n[name]\n"
                            "[authority]\nbasicConstraints=critical,CA:TRUE\nkeyUsage=critical,keyCertSign,cRLSign\n"
                            "subjectKeyIdentifier=hash\n"
                            "[server]\nbasicConstraints=critical,CA:FALSE\nkeyUsage=critical,digitalSignature\n"
                            "extendedKeyUsage=serverAuth\nsubjectKeyIdentifier=hash\nauthorityKeyIdentifier=keyid\n"
                            "subjectAltName=DNS:" +
                            host.toLatin1() + '\n';
    if (file.open(QIODevice::WriteOnly) && file.write(text) == text.size())
        return true;
    *error = file.fileName() + QStringLiteral(": ") + file.errorString();
    return false;
}

std::optional<ServerIdentity> CertificateAuthority::identity(const QString &host, QString *error)
{
    const auto known = m_identities.constFind(host);
    if (known != m_identities.constEnd())
        return *known;
    if (!writeConfig(host, error))
        return {};
    const QStringList arguments = newCertificate(QStringLiteral("server"), QStringLiteral("Local cloud server"), 397);
    const QString key = path("server.key");
    const QString certificate = path("server.pem");
    if (!runOpenSsl(arguments + QStringList{"-config", path("openssl.cnf"), "-CA", caFile(), "-CAkey", path("ca.key"),
                                            "-keyout", key, "-out", certificate},
                    error))
        return {};
    ServerIdentity made;
    made.key = QSslKey(contentOf(key), QSsl::Ec);
    made.certificate = QSslCertificate(contentOf(certificate));
    QFile::remove(key);
    QFile::remove(certificate);
    m_identities.insert(host, made);
    return made;
}

} // namespace localcloud
