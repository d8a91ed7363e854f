#include "DavClient.h"

#include "Deployments.h"
#include "NoDelay.h"
#include "ReplyLoop.h"
#include "Trace.h"

#include <pelago/pelago.h>

#include <QAuthenticator>
#include <QElapsedTimer>
#include <QIODevice>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QSslError>

#include <algorithm>
#include <limits>

namespace pelago {

namespace {

constexpr qint64 sliceBytes = 1024 * 1024;
constexpr qint64 readBufferBytes = 4 * sliceBytes;
constexpr qint64 largestErrorPage = sliceBytes;
constexpr int putAwayFactor = 5;
constexpr qint64 slowestBytesPerMs = 128;
constexpr int cleanUpMs = 5000;

int resultOf(int status)
{
    switch (status) {
    case 401:
        return Skein_Result_NotSignedIn;
    case 404:
    case 410:
        return Skein_Result_NotFound;
    case 403:
    case 405:
    case 423:
        return Skein_Result_Forbidden;
    case 409:
    case 412:
        return Skein_Result_Conflict;
    case 413:
    case 507:
        return Skein_Result_NoSpace;
    default:
        break;
    }
    if (status >= 300 && status < 400)
        return Skein_Result_Redirected;
    return status >= 200 && status < 300 ? Skein_Result_BadReply : Skein_Result_ServerError;
}

bool isExpected(const DavCall &call, int status)
{
    return call.expected != 0 ? status == call.expected : status == 200 || status == 201 || status == 204;
}

QByteArray basicValue(const Credentials &credentials)
{
    return "Basic " + (credentials.user + QLatin1Char(':') + credentials.secret).toUtf8().toBase64();
}

int statusOf(const QNetworkReply &reply)
{
    return reply.attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
}

/// What the headers tell.
void readHead(const QNetworkReply &reply, DavResult *result)
{
    result->status = statusOf(reply);
    result->allow = reply.rawHeader("Allow");
    result->dav = reply.rawHeader("DAV");
    result->challenges = reply.rawHeader("WWW-Authenticate");
    result->hasFileId = reply.hasRawHeader("OC-ETag") || reply.hasRawHeader("OC-FileId");
    const QVariant length = reply.header(QNetworkRequest::ContentLengthHeader);
    result->announced = length.isValid() ? length.toLongLong() : -1;
}

/// The address that \p reply redirects to, without what may be secret; empty without one.
QUrl redirectTarget(const QNetworkReply &reply)
{
    const QByteArray location = reply.rawHeader("Location");
    const QUrl target = reply.request().url().resolved(QUrl::fromEncoded(location));
    return location.isEmpty() ? QUrl()
                              : target.adjusted(QUrl::RemoveUserInfo | QUrl::RemoveQuery | QUrl::RemoveFragment);
}

/// The address of the request with a slash at the end of its path if that is where \p reply redirects to, otherwise an
/// empty one. The scheme and the port do not count: behind a proxy many servers name their own.
QUrl slashFormOf(const QNetworkReply &reply, int status)
{
    QUrl asked = reply.request().url();
    const QString path = asked.path(QUrl::FullyEncoded) + QLatin1Char('/');
    const bool redirects = status == 301 || status == 302 || status == 307 || status == 308;
    const QUrl target = asked.resolved(QUrl::fromEncoded(reply.rawHeader("Location")));
    const bool plain = !target.hasQuery() && !target.hasFragment() && target.userInfo().isEmpty();
    if (!redirects || !plain || target.path(QUrl::FullyEncoded) != path || target.host() != asked.host())
        return QUrl();
    asked.setPath(path, QUrl::TolerantMode);
    return asked;
}

/// How long a server may be silent once it has been given all of a change. Behind a proxy that moment comes when the
/// toolkit has taken the file, which then still has to travel.
int putAwayMs(int idleMs, qint64 bodyBytes)
{
    const qint64 travelMs = std::min<qint64>(bodyBytes / slowestBytesPerMs, std::numeric_limits<int>::max() / 2);
    return putAwayFactor * idleMs + static_cast<int>(travelMs);
}

/// Moves what has arrived to where it belongs, one piece at a time.
class Receiver
{
public:
    Receiver(const DavCall &call, QNetworkReply &reply, DavResult *result)
        : m_call(call), m_reply(reply), m_result(result)
    {}

    bool hasMore() const { return m_reply.bytesAvailable() > 0; }
    /// False when the rest of the reply is of no more use.
    bool take()
    {
        readHead(m_reply, m_result);
        const QByteArray bytes = m_reply.read(std::min(m_reply.bytesAvailable(), sliceBytes));
        m_result->received += bytes.size();
        if (!isExpected(m_call, m_result->status))
            return m_result->received <= largestErrorPage;
        return !m_call.sink || bytes.isEmpty() || m_call.sink(m_result->announced, bytes);
    }

private:
    const DavCall &m_call;
    QNetworkReply &m_reply;
    DavResult *m_result;
};

/// The host names of \p certificate, as a user would write them.
QString hostNames(const QSslCertificate &certificate)
{
    const QStringList names =
        certificate.subjectAlternativeNames().values() + certificate.subjectInfo(QSslCertificate::CommonName);
    return names.isEmpty() ? QString() : names.first();
}

/// Why a reply without a status failed.
void explainBreak(const QNetworkReply &reply, const QList<QSslError> &tlsErrors, DavResult *result)
{
    const QUrl url = reply.request().url();
    const auto untrusted = std::find_if(tlsErrors.begin(), tlsErrors.end(), [](const QSslError &each) {
        return each.error() != QSslError::HostNameMismatch;
    });
    if (untrusted != tlsErrors.end()) {
        result->cause = "certificate";
        result->detail = untrusted->errorString();
    } else if (!tlsErrors.isEmpty()) {
        result->cause = "host-name";
        result->detail = hostNames(tlsErrors.first().certificate());
    } else if (reply.error() == QNetworkReply::SslHandshakeFailedError) {
        result->cause = "tls";
    } else if (reply.error() == QNetworkReply::HostNotFoundError) {
        result->cause = "unknown-host";
        result->detail = url.host();
    } else if (reply.error() == QNetworkReply::ConnectionRefusedError || reply.error() == QNetworkReply::TimeoutError ||
               reply.error() == QNetworkReply::UnknownNetworkError) {
        result->cause = "unreachable";
        result->detail = url.adjusted(QUrl::RemovePath).toString();
    } else if (reply.error() >= QNetworkReply::ProxyConnectionRefusedError &&
               reply.error() <= QNetworkReply::UnknownProxyError) {
        result->cause = "proxy";
        result->detail = reply.errorString();
    }
}

/// The result of a reply that has ended by itself.
int finishedResult(const DavCall &call, const QNetworkReply &reply, const DavResult &so)
{
    if (so.status == 0)
        return Skein_Result_Network;
    if (!isExpected(call, so.status))
        return resultOf(so.status);
    // Qt sometimes reports success when the connection closes early.
    const bool isShort = so.status != 204 && so.announced > so.received;
    return reply.error() != QNetworkReply::NoError || isShort ? Skein_Result_Network : 1;
}

/// The best scheme that \p challenges offer for \p url, Unknown without one. The toolkit computes Digest with MD5 only.
AuthScheme offeredScheme(const QByteArray &challenges, const QUrl &url)
{
    bool basic = false;
    bool digest = false;
    QByteArray scheme;
    for (const QByteArray &part : challenges.toLower().split(',')) {
        const QByteArray word = part.trimmed().split(' ').value(0);
        if (!word.contains('='))
            scheme = word;
        basic = basic || scheme == "basic";
        digest = digest || scheme == "digest";
        const int algorithm = part.indexOf("algorithm=");
        if (algorithm >= 0 && scheme == "digest")
            digest = part.mid(algorithm + 10).trimmed().replace('"', "").startsWith("md5");
    }
    if (digest && !(basic && isProtected(url)))
        return AuthScheme::Digest;
    return basic ? AuthScheme::Basic : AuthScheme::Unknown;
}

/// The names of the schemes in \p challenges, for the user.
QString schemeNames(const QByteArray &challenges)
{
    QStringList names;
    for (const QByteArray &part : challenges.split(',')) {
        const QString word = QString::fromLatin1(part.trimmed().split(' ').value(0));
        if (!word.isEmpty() && !word.contains(QLatin1Char('=')))
            names << word;
    }
    return names.isEmpty() ? QStringLiteral("none") : names.join(QStringLiteral(", "));
}

} // namespace

DavClient::DavClient(int idleTimeoutMs) : m_idleTimeoutMs(idleTimeoutMs) {}

void DavClient::close()
{
    m_closed = true;
    emit closed();
}

DavResult DavClient::send(const DavCall &call)
{
    if (!call.credentials)
        return follow(call);
    const bool asks = call.credentials->scheme == AuthScheme::Unknown;
    DavResult result = follow(call);
    if (result.status != 401 || !asks)
        return result;
    if (call.credentials->scheme == AuthScheme::Unknown)
        call.credentials->scheme = offeredScheme(result.challenges, call.url);
    if (call.credentials->scheme == AuthScheme::Unknown) {
        result.cause = "sign-in-method";
        result.detail = schemeNames(result.challenges);
        return result;
    }
    if (!call.file || call.file->seek(0))
        return follow(call);
    result.result = Skein_Result_LocalFile;
    return result;
}

/// Sends \p call, and once more if the server wants a slash at the end of the path.
DavResult DavClient::follow(const DavCall &call)
{
    QUrl slashForm;
    // A file has no slash form: what GET finds there is a page about a folder.
    DavResult result = sendOnce(call, call.verb == "GET" ? nullptr : &slashForm);
    if (!slashForm.isValid())
        return result;
    DavCall again = call;
    again.url = slashForm;
    if (again.file && !again.file->seek(0)) {
        result.result = Skein_Result_LocalFile;
        return result;
    }
    return sendOnce(again, nullptr);
}

/// One exchange. \p slashForm, if not null, receives where to ask again, and stays empty when that is of no use.
DavResult DavClient::sendOnce(const DavCall &call, QUrl *slashForm)
{
    const bool cleansUp = call.kind == DavCall::Kind::CleanUp;
    DavResult result;
    result.result = Skein_Result_Closed;
    if (m_closed && !cleansUp)
        return result;

    QElapsedTimer clock;
    clock.start();
    const std::unique_ptr<QNetworkReply> reply(start(call));
    QList<QSslError> tlsErrors;
    connect(reply.get(), &QNetworkReply::sslErrors,
            [&tlsErrors](const QList<QSslError> &errors) { tlsErrors = errors; });
    bool answered = false;
    connect(&m_manager, &QNetworkAccessManager::authenticationRequired, reply.get(),
            [&](QNetworkReply *asking, QAuthenticator *authenticator) {
                const bool usesDigest = call.credentials && call.credentials->scheme == AuthScheme::Digest;
                if (asking != reply.get() || !usesDigest || std::exchange(answered, true))
                    return;
                authenticator->setUser(call.credentials->user);
                authenticator->setPassword(call.credentials->secret);
            });
    exchange(call, *reply, &result);
    if (result.result == Skein_Result_Network && result.status == 0)
        explainBreak(*reply, tlsErrors, &result);
    if (result.result == Skein_Result_Redirected)
        result.detail = redirectTarget(*reply).toString();
    if (slashForm && result.result == Skein_Result_Redirected)
        *slashForm = slashFormOf(*reply, result.status);
    const QString numbers =
        QStringLiteral(": status %1, result %2, %3 ms").arg(result.status).arg(result.result).arg(clock.elapsed());
    trace(TraceLevel::Requests,
          QString::fromLatin1(call.verb) + QLatin1Char(' ') + call.url.path(QUrl::FullyEncoded) + numbers);
    return result;
}

/// Serves \p reply until it has ended or is of no more use.
void DavClient::exchange(const DavCall &call, QNetworkReply &reply, DavResult *result)
{
    const bool cleansUp = call.kind == DavCall::Kind::CleanUp;
    const qint64 bodyBytes = call.file ? call.file->size() : call.body.size();
    ReplyLoop loop(*this, reply, cleansUp ? ReplyLoop::Closing::IsIgnored : ReplyLoop::Closing::Ends);
    Receiver receiver(call, reply, result);
    qint64 told = 0;
    for (;;) {
        const bool putsAway = call.kind == DavCall::Kind::Change && loop.sent() >= bodyBytes;
        const int idleMs = putsAway ? putAwayMs(m_idleTimeoutMs, bodyBytes) : m_idleTimeoutMs;
        const ReplyLoop::Event event =
            receiver.hasMore() ? loop.look() : loop.wait(cleansUp ? std::min(idleMs, cleanUpMs) : idleMs);
        if (event == ReplyLoop::Event::TimedOut || event == ReplyLoop::Event::Closed) {
            result->result = event == ReplyLoop::Event::Closed ? Skein_Result_Closed : Skein_Result_TimedOut;
            return;
        }
        if (call.sent && loop.sent() > told) {
            told = loop.sent();
            call.sent(told);
        }
        if (!receiver.take()) {
            result->result = resultOf(result->status);
            return;
        }
        if (event == ReplyLoop::Event::Finished && !receiver.hasMore()) {
            result->result = finishedResult(call, reply, *result);
            // The toolkit does not report the end of a body that is answered at once.
            if (call.sent && result->isSuccess() && told < bodyBytes)
                call.sent(bodyBytes);
            return;
        }
    }
}

QNetworkReply *DavClient::start(const DavCall &call)
{
    QNetworkRequest request(call.url);
    request.setAttribute(QNetworkRequest::RedirectPolicyAttribute, QNetworkRequest::ManualRedirectPolicy);
    request.setAttribute(QNetworkRequest::Http2AllowedAttribute, false);
    const AuthScheme scheme = call.credentials ? call.credentials->scheme : AuthScheme::Unknown;
    // What the manager remembers serves Digest only, for the present credentials.
    if (scheme == AuthScheme::Digest && std::exchange(m_cached, call.credentials) != call.credentials)
        m_manager.clearAccessCache();
    request.setAttribute(QNetworkRequest::AuthenticationReuseAttribute,
                         scheme == AuthScheme::Digest ? QNetworkRequest::Automatic : QNetworkRequest::Manual);
    if (scheme == AuthScheme::Basic)
        request.setRawHeader("Authorization", basicValue(*call.credentials));
    request.setAttribute(QNetworkRequest::CookieLoadControlAttribute, QNetworkRequest::Manual);
    request.setAttribute(QNetworkRequest::CookieSaveControlAttribute, QNetworkRequest::Manual);
    request.setAttribute(QNetworkRequest::CacheLoadControlAttribute, QNetworkRequest::AlwaysNetwork);
    sendWithoutDelay(static_cast<quint16>(call.url.port(call.url.scheme() == QLatin1String("https") ? 443 : 80)));
    request.setRawHeader("User-Agent", "pelago");
    // What is stored is what arrives, and its length is the one that the server announced.
    request.setRawHeader("Accept-Encoding", "identity");
    for (const auto &[name, value] : call.headers)
        request.setRawHeader(name, value);
    QNetworkReply *reply = nullptr;
    if (call.file) {
        request.setHeader(QNetworkRequest::ContentLengthHeader, call.file->size());
        reply = m_manager.sendCustomRequest(request, call.verb, call.file);
    } else {
        reply = m_manager.sendCustomRequest(request, call.verb, call.body);
    }
    reply->setReadBufferSize(readBufferBytes);
    return reply;
}

} // namespace pelago
