#include "Session.h"

#include "DavClient.h"
#include "MultiStatus.h"
#include "Trace.h"

#include <pelago/pelago.h>

#include <QUrlQuery>

namespace pelago {

namespace {

QByteArray basic(const QString &user, const QString &secret)
{
    return "Basic " + (user + QLatin1Char(':') + secret).toUtf8().toBase64();
}

/// The path that the sign-in page ends on.
QString donePath(const QUrl &server)
{
    QString path = server.path(QUrl::FullyEncoded);
    while (path.endsWith(QLatin1Char('/')))
        path.chop(1);
    return path + QStringLiteral("/done");
}

} // namespace

Session::Session(const QString &file, const QUrl &server)
    : m_file(file), m_server(server), m_credentials(m_file.read(server))
{}

QByteArray Session::authorization() const
{
    return m_credentials ? basic(m_credentials->user, m_credentials->secret) : QByteArray();
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

int Session::login(const QString &user, const QString &password)
{
    const Deployments all = Deployments::load();
    const Deployment served = all.forSignIn(m_server);
    const QUrl storage = served.storage.isValid() ? served.storage : folderAddress(m_server.toString());
    if (user.isEmpty() || user.contains(QLatin1Char(':')) || !all.isAllowed(storage))
        return Skein_Result_BadArgument;

    DavClient client(served.idleTimeoutMs);
    connect(this, &Session::closed, &client, &DavClient::close);
    bool folder = false;
    MultiStatus reply([&folder](const DavEntry &entry) { folder = folder || entry.folder; });
    DavCall call = reply.question(storage, "0");
    call.headers.append({"Authorization", basic(user, password)});
    const DavResult result = client.send(call);
    if (!result.isSuccess())
        return result.result;
    if (m_closed)
        return Skein_Result_Closed;
    if (!folder || !reply.isComplete())
        return Skein_Result_BadReply;
    signIn({user, password, QString(), user});
    return 1;
}

bool Session::logout()
{
    if (!m_file.remove())
        return false;
    m_credentials.reset();
    return true;
}

void Session::refused(const QByteArray &authorization)
{
    if (authorization.isEmpty() || authorization != this->authorization())
        return;
    trace(TraceLevel::Failures, QStringLiteral("the server takes the sign-in no more"));
    m_credentials.reset();
    m_file.remove();
}

void Session::close()
{
    m_closed = true;
    emit closed();
}

void Session::signIn(const Credentials &credentials)
{
    m_credentials = credentials;
    if (m_file.write(m_server, credentials))
        return;
    trace(TraceLevel::Failures, QStringLiteral("the session file cannot be written; the sign-in lasts until the end"));
    // What it holds belongs to somebody else's sign-in.
    m_file.remove();
}

} // namespace pelago
