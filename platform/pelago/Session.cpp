#include "Session.h"

#include "DavClient.h"
#include "MultiStatus.h"
#include "Trace.h"

#include <pelago/pelago.h>

#include <QUrlQuery>

#include <optional>

namespace pelago {

namespace {

/// The path of the sign-in page's final address.
QString donePath(const QUrl &server)
{
    QString path = server.path(QUrl::FullyEncoded);
    while (path.endsWith(QLatin1Char('/')))
        path.chop(1);
    return path + QStringLiteral("/done");
}

} // namespace

Session::Session(const QString &file, const QUrl &server) : m_file(file), m_server(server)
{
    if (const std::optional<Credentials> stored = m_file.read(server))
        setCredentials(*stored);
}

void Session::setCredentials(const Credentials &credentials)
{
    m_credentials = std::make_shared<Credentials>(credentials);
    // A sign-in page issues a password for Basic. Other servers list their schemes in a reply 401.
    if (deployment().kind == SignInKind::Web && m_credentials->scheme == AuthScheme::Unknown)
        m_credentials->scheme = AuthScheme::Basic;
}

bool Session::mayUse(const QUrl &storage) const
{
    const Deployments all = Deployments::load();
    const bool known = sameOrigin(storage, m_server) || sameOrigin(storage, all.forSignIn(m_server).storage);
    return known && all.isAllowed(storage);
}

int Session::completeLogin(const QUrl &finalAddress)
{
    if (!sameOrigin(finalAddress, m_server) || finalAddress.path(QUrl::FullyEncoded) != donePath(m_server))
        return 0;
    const QUrlQuery query(finalAddress);
    const auto value = [&query](const char *key) {
        return query.queryItemValue(QLatin1String(key), QUrl::FullyDecoded);
    };
    const Credentials issued{value("user"), value("token"), value("first"), value("last")};
    if (issued.secret.isEmpty() || issued.user.isEmpty() || issued.user.contains(QLatin1Char(':')))
        return Skein_Result_NotSignedIn;
    signIn(issued);
    return 1;
}

QUrl Session::storage() const
{
    const QUrl storage = deployment().storage;
    return storage.isValid() ? storage : folderAddress(m_server.toString());
}

Outcome Session::login(const QString &user, const QString &password)
{
    if (user.contains(QLatin1Char(':')))
        return failure(Skein_Result_BadArgument, "user-name");
    if (user.isEmpty() || !Deployments::load().isAllowed(storage()))
        return failure(Skein_Result_BadArgument);

    DavClient client(deployment().idleTimeoutMs);
    connect(this, &Session::closed, &client, &DavClient::close);
    bool folder = false;
    MultiStatus reply([&folder](const DavEntry &entry) { folder = folder || entry.folder; });
    DavCall call = reply.request(storage(), "0");
    call.credentials = std::make_shared<Credentials>(Credentials{user, password, QString(), user});
    DavResult result = client.send(call);
    if (m_closed)
        return failure(Skein_Result_Closed);
    if (result.status == 400 || result.status == 405 || result.status == 501)
        result.cause = "not-webdav";
    if (!result.isSuccess())
        return result;
    if (!folder || !reply.isComplete())
        return failure(Skein_Result_BadReply);
    signIn(*call.credentials);
    return result;
}

bool Session::logout()
{
    if (!m_file.remove())
        return false;
    m_credentials.reset();
    return true;
}

void Session::signOut(const std::shared_ptr<Credentials> &refused)
{
    if (!refused || refused != m_credentials)
        return;
    m_credentials.reset();
    const std::optional<Credentials> stored = m_file.read(m_server);
    if (stored && stored->user == refused->user && stored->secret == refused->secret)
        m_file.remove();
}

void Session::close()
{
    m_closed = true;
    emit closed();
}

void Session::signIn(const Credentials &credentials)
{
    setCredentials(credentials);
    if (m_file.write(m_server, credentials))
        return;
    traceFailure(QStringLiteral("Storing the sign-in for the next start"), failure(Skein_Result_LocalFile));
    // The old content belongs to another sign-in.
    m_file.remove();
}

} // namespace pelago

#include "moc_Session.cpp"
