#include "SkeinCall.h"

#include <algorithm>
#include <cstring>
#include <limits>

using namespace pelago;

namespace pelago {

HandleTable<Session> &sessions()
{
    // Never deleted, because the end points use sessions.
    static auto *const kTable = new HandleTable<Session>(int64_t{1} << 32);
    return *kTable;
}

} // namespace pelago

namespace {

/// Returns the member \p name of the session's credentials and stores it in the session's member \p text.
const char *nameText(int64_t handle, QString Credentials::*name, QByteArray Session::*text) noexcept
{
    const char *result = "";
    withObject(sessions, handle, [&](Session &session) {
        const std::shared_ptr<Credentials> credentials = session.credentials();
        session.*text = credentials ? (credentials.get()->*name).toUtf8() : QByteArray();
        result = (session.*text).constData();
        return 1;
    });
    return result;
}

} // namespace

const char *pelago::addressText(Skein_Service_Deployment deployment, QUrl Deployment::*address,
                                QByteArray (&texts)[3]) noexcept
{
    const char *result = "";
    guarded([&]() -> int64_t {
        const int number = static_cast<int>(deployment);
        if (number < 0 || number > 2)
            return 0;
        const Deployment found = Deployments::load().at(number);
        if (!(found.*address).isValid())
            traceFailure(QStringLiteral("Use of pelago.ini"),
                         failure(Skein_Result_BadArgument, "configuration", found.problem));
        texts[number] = (found.*address).toEncoded();
        result = texts[number].constData();
        return 1;
    });
    return result;
}

const char *Skein_Auth_getServerAddress(Skein_Service_Deployment deployment)
{
    static QByteArray texts[3];
    return addressText(deployment, &Deployment::signIn, texts);
}

int64_t Skein_Auth_openSession(const char *, const char *, const char *sessionFile, const char *serverAddress)
{
    return guarded([&]() -> int64_t {
        const QUrl server = pelago::serverAddress(QString::fromUtf8(serverAddress));
        if (!Deployments::load().isAllowed(server))
            return Skein_Result_BadArgument;
        return sessions().add(std::make_shared<Session>(QString::fromUtf8(sessionFile), server));
    });
}

void Skein_Auth_closeSession(int64_t handle)
{
    closeHandle(sessions, handle);
}

int Skein_Auth_isUserLoggedIn(int64_t session)
{
    return withObject(sessions, session, [](const Session &found) { return found.isSignedIn() ? 1 : 0; });
}

long Skein_Auth_createLoginRequest(int64_t session, char *buffer, unsigned long size)
{
    return withObject(sessions, session, [=](const Session &found) -> int {
        if (found.deployment().kind == SignInKind::Password)
            return Skein_Result_PasswordSignIn;
        const QByteArray address = found.server().toEncoded();
        if (buffer && size > 0) {
            const auto length = std::min<unsigned long>(static_cast<unsigned long>(address.size()), size - 1);
            std::memcpy(buffer, address.constData(), length);
            buffer[length] = '\0';
        }
        return address.size() + 1;
    });
}

int Skein_Auth_completeLogin(int64_t session, const char *finalAddress)
{
    return withObject(sessions, session, [finalAddress](Session &found) {
        const int result = found.completeLogin(QUrl(QString::fromUtf8(finalAddress), QUrl::TolerantMode));
        if (result < 0)
            traceFailure(QStringLiteral("Sign-in"), failure(result));
        return result;
    });
}

int Skein_Auth_login(int64_t session, const char *user, const char *password)
{
    return withObject(sessions, session, [=](Session &found) {
        const Outcome outcome = found.login(QString::fromUtf8(user), QString::fromUtf8(password));
        traceFailure(QStringLiteral("Sign-in to ") + found.storage().toString(), outcome);
        return outcome.result;
    });
}

int Skein_Auth_logout(int64_t session)
{
    return withObject(sessions, session, [](Session &found) { return found.logout() ? 1 : Skein_Result_LocalFile; });
}

const char *Skein_Auth_getUserFirstName(int64_t session)
{
    return nameText(session, &Credentials::firstName, &Session::firstNameText);
}

const char *Skein_Auth_getUserLastName(int64_t session)
{
    return nameText(session, &Credentials::lastName, &Session::lastNameText);
}
