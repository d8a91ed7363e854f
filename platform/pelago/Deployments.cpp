#include "Deployments.h"

#include "Trace.h"

#include <QFileInfo>
#include <QHostAddress>
#include <QSettings>
#include <QStandardPaths>

#include <algorithm>

namespace pelago {

namespace {

constexpr int longestTimeoutMs = 60 * 60 * 1000;

int effectivePort(const QUrl &address)
{
    return address.port(address.scheme() == QLatin1String("https") ? 443 : 80);
}

bool isThisMachine(const QString &host)
{
    return host == QLatin1String("localhost") || QHostAddress(host).isLoopback();
}

bool isProtected(const QUrl &address)
{
    return address.scheme() == QLatin1String("https") || isThisMachine(address.host());
}

Deployment builtIn(const QString &name)
{
    Deployment made;
    made.name = name;
    made.signIn = QUrl(QStringLiteral("https://cloud.zephal.example/signin"));
    made.storage = QUrl(QStringLiteral("https://cloud.zephal.example/dav/"));
    return made;
}

/// The value of \p key as it was written; the settings class takes a comma for the end of a list's element.
QString textOf(const QSettings &file, const char *key)
{
    return file.value(QLatin1String(key)).toStringList().join(QLatin1Char(',')).trimmed();
}

/// \p address if \p deployment may use it, otherwise an invalid one.
QUrl checked(const QUrl &address, const Deployment &deployment, const char *key)
{
    if (address.isValid() && (deployment.plainHttp || isProtected(address)))
        return address;
    trace(
        TraceLevel::Failures,
        QStringLiteral("pelago.ini: [%1] has no %2 address that can be used").arg(deployment.name, QLatin1String(key)));
    return QUrl();
}

/// Reads the group that \p file is in.
Deployment readGroup(const QSettings &file, const QString &name)
{
    Deployment read;
    read.name = name;
    read.kind = textOf(file, "kind").compare(QLatin1String("password"), Qt::CaseInsensitive) == 0 ? SignInKind::Password
                                                                                                  : SignInKind::Web;
    read.plainHttp = file.value(QStringLiteral("allowPlainHttp"), false).toBool();
    const int timeoutMs = file.value(QStringLiteral("idleTimeoutMs")).toInt();
    if (timeoutMs > 0)
        read.idleTimeoutMs = std::min(timeoutMs, longestTimeoutMs);
    read.storage = checked(folderAddress(textOf(file, "storage")), read, "storage");
    const QString signIn = textOf(file, "signIn");
    if (signIn.isEmpty() && read.kind == SignInKind::Password)
        read.signIn = read.storage;
    else
        read.signIn = checked(serverAddress(signIn), read, "signIn");
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

bool sameOrigin(const QUrl &one, const QUrl &other)
{
    return one.isValid() && one.scheme() == other.scheme() && one.host() == other.host() &&
           effectivePort(one) == effectivePort(other);
}

Deployments Deployments::load()
{
    const QString named = qEnvironmentVariable("PELAGO_CONFIG");
    if (!named.isEmpty())
        return Deployments(named);
    const QString folder = QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation);
    return Deployments(folder + QStringLiteral("/pelago.ini"));
}

Deployments::Deployments(const QString &file)
{
    const QStringList names = {QStringLiteral("production"), QStringLiteral("staging"), QStringLiteral("development")};
    QSettings settings(file, QSettings::IniFormat);
    settings.setIniCodec("UTF-8");
    const QFileInfo info(file);
    const bool readable = info.isFile() && info.isReadable() && settings.status() == QSettings::NoError;
    if (info.exists() && !readable)
        trace(TraceLevel::Failures, QStringLiteral("%1 cannot be read").arg(file));
    for (const QString &name : names) {
        settings.beginGroup(name);
        if (info.exists() && !readable)
            m_all.append(Deployment());
        else if (settings.childKeys().isEmpty())
            m_all.append(builtIn(name));
        else
            m_all.append(readGroup(settings, name));
        settings.endGroup();
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
