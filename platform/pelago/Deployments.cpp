#include "Deployments.h"

#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QHostAddress>
#include <QStandardPaths>
#include <QVariant>

#include <algorithm>
#include <optional>

namespace pelago {

namespace {

constexpr int kMaxTimeoutMs = 60 * 60 * 1000;

int effectivePort(const QUrl &address)
{
    return address.port(address.scheme() == QLatin1String("https") ? 443 : 80);
}

bool isThisMachine(const QString &host)
{
    return host == QLatin1String("localhost") || QHostAddress(host).isLoopback();
}

Deployment builtIn(const QString &name)
{
    Deployment made;
    made.name = name;
    made.signIn = QUrl(QStringLiteral("https://cloud.zephal.example/signin"));
    made.storage = QUrl(QStringLiteral("https://cloud.zephal.example/dav/"));
    return made;
}

using Section = QHash<QString, QString>;

/// Removes the double quotes around \p text, if any.
QString unquoted(const QString &text)
{
    const bool quoted = text.size() > 1 && text.startsWith(QLatin1Char('"')) && text.endsWith(QLatin1Char('"'));
    return quoted ? text.mid(1, text.size() - 2) : text;
}

/// Returns the sections of \p file by name. A value ends at the end of the line; "#" and ";" begin a comment only at
/// the start of a line. Returns an empty optional and sets \p problem if a line cannot be read.
std::optional<QHash<QString, Section>> readSections(QFile &file, QString *problem)
{
    QHash<QString, Section> sections;
    QString section;
    for (int number = 1; !file.atEnd(); ++number) {
        const QString line = QString::fromUtf8(file.readLine()).remove(QChar(QChar::ByteOrderMark)).trimmed();
        const int equals = line.indexOf(QLatin1Char('='));
        if (line.isEmpty() || line.startsWith(QLatin1Char('#')) || line.startsWith(QLatin1Char(';')))
            continue;
        if (line.startsWith(QLatin1Char('[')) && line.endsWith(QLatin1Char(']'))) {
            section = line.mid(1, line.size() - 2).trimmed();
        } else if (equals > 0) {
            sections[section][line.left(equals).trimmed()] = unquoted(line.mid(equals + 1).trimmed());
        } else {
            *problem = QStringLiteral("line %1").arg(number);
            return std::nullopt;
        }
    }
    return sections;
}

/// Returns \p address if \p deployment may use it. Otherwise returns an invalid address and sets the deployment's
/// problem.
QUrl checked(const QUrl &address, const QString &key, Deployment *deployment)
{
    if (address.isValid() && (deployment->plainHttp || isProtected(address)))
        return address;
    deployment->problem = deployment->name + QLatin1Char('/') + key;
    return QUrl();
}

Deployment readSection(const Section &section, const QString &name)
{
    const auto value = [&section](const char *key) { return section.value(QLatin1String(key)); };
    Deployment read;
    read.name = name;
    if (value("kind").compare(QLatin1String("password"), Qt::CaseInsensitive) == 0)
        read.kind = SignInKind::Password;
    if (value("replace") == QLatin1String("move"))
        read.replacing = Replacing::Move;
    else if (value("replace") == QLatin1String("put"))
        read.replacing = Replacing::Put;
    read.plainHttp = QVariant(value("allowPlainHttp")).toBool();
    const int timeoutMs = value("idleTimeoutMs").toInt();
    if (timeoutMs > 0)
        read.idleTimeoutMs = std::min(timeoutMs, kMaxTimeoutMs);
    read.storage = checked(folderAddress(value("storage")), QStringLiteral("storage"), &read);
    if (value("signIn").isEmpty() && read.kind == SignInKind::Password)
        read.signIn = read.storage;
    else
        read.signIn = checked(serverAddress(value("signIn")), QStringLiteral("signIn"), &read);
    return read;
}

} // namespace

QUrl serverAddress(const QString &text)
{
    const QUrl address(text, QUrl::TolerantMode);
    const bool http = address.scheme() == QLatin1String("http") || address.scheme() == QLatin1String("https");
    const bool bare = address.userInfo().isEmpty() && !address.hasQuery() && !address.hasFragment();
    return http && bare && !address.host().isEmpty() ? address : QUrl();
}

QUrl folderAddress(const QString &text)
{
    QUrl address = serverAddress(text);
    if (address.isValid() && !address.path().endsWith(QLatin1Char('/')))
        address.setPath(address.path(QUrl::FullyEncoded) + QLatin1Char('/'), QUrl::TolerantMode);
    return address;
}

bool isProtected(const QUrl &address)
{
    return address.scheme() == QLatin1String("https") || isThisMachine(address.host());
}

bool sameOrigin(const QUrl &one, const QUrl &other)
{
    return one.isValid() && one.scheme() == other.scheme() && one.host() == other.host() &&
           effectivePort(one) == effectivePort(other);
}

QString Deployments::path()
{
    const QString named = qEnvironmentVariable("PELAGO_CONFIG");
    const QString folder = QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation);
    return named.isEmpty() ? folder + QStringLiteral("/pelago.ini") : named;
}

Deployments::Deployments(const QString &path)
{
    QFile file(path);
    Deployment unreadable;
    std::optional<QHash<QString, Section>> sections;
    if (!file.exists())
        sections.emplace();
    else if (QFileInfo(path).isFile() && file.open(QIODevice::ReadOnly))
        sections = readSections(file, &unreadable.problem);
    else
        unreadable.problem = path;
    for (const QString &name :
         {QStringLiteral("production"), QStringLiteral("staging"), QStringLiteral("development")}) {
        if (!sections)
            m_all.append(unreadable);
        else
            m_all.append(sections->contains(name) ? readSection(sections->value(name), name) : builtIn(name));
    }
}

Deployment Deployments::forSignIn(const QUrl &signIn) const
{
    const auto found =
        std::find_if(m_all.begin(), m_all.end(), [&signIn](const Deployment &each) { return each.signIn == signIn; });
    return found == m_all.end() ? Deployment() : *found;
}

bool Deployments::isAllowed(const QUrl &address) const
{
    if (!address.isValid() || isProtected(address))
        return address.isValid();
    return std::any_of(m_all.begin(), m_all.end(), [&address](const Deployment &each) {
        return each.plainHttp && (sameOrigin(each.signIn, address) || sameOrigin(each.storage, address));
    });
}

} // namespace pelago
