#include "DavClient.h"

#include "Deployments.h"
#include "ReplyLoop.h"
#include "Trace.h"

#include <pelago/pelago.h>

#include <QAuthenticator>
#include <QDir>
#include <QElapsedTimer>
#include <QIODevice>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QSslError>

#include <algorithm>
#include <arpa/inet.h>
#include <limits>
#include <netinet/tcp.h>
#include <sys/socket.h>

namespace pelago {

namespace {

constexpr qint64 kSliceBytes = 1024 * 1024;
constexpr qint64 kReadBufferBytes = 4 * kSliceBytes;
constexpr qint64 kMaxErrorPageBytes = kSliceBytes;
constexpr int kStoreTimeoutFactor = 5;
constexpr qint64 kSlowestBytesPerMs = 128;
constexpr int kCleanUpTimeoutMs = 5000;

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

/// Sets the members of \p result that come from the reply's headers.
void readHeaders(const QNetworkReply &reply, DavResult *result)
{
    result->status = reply.attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    result->allow = reply.rawHeader("Allow");
    result->dav = reply.rawHeader("DAV");
    result->challenges = reply.rawHeader("WWW-Authenticate");
    result->hasFileId = reply.hasRawHeader("OC-ETag") || reply.hasRawHeader("OC-FileId");
    const QVariant length = reply.header(QNetworkRequest::ContentLengthHeader);
    result->announced = length.isValid() ? length.toLongLong() : -1;
}

/// Returns the address that \p reply redirects to, without user name, query and fragment, which may be secret. Empty
/// without a redirect.
QUrl redirectTarget(const QNetworkReply &reply)
{
    const QByteArray location = reply.rawHeader("Location");
    const QUrl target = reply.request().url().resolved(QUrl::fromEncoded(location));
    return location.isEmpty() ? QUrl()
                              : target.adjusted(QUrl::RemoveUserInfo | QUrl::RemoveQuery | QUrl::RemoveFragment);
}

/// Returns the request's address with a slash appended to its path if \p reply redirects there, otherwise an empty
/// address. Ignores the scheme and the port of the redirect, because servers behind a proxy often send their internal
/// ones.
QUrl slashFormOf(const QNetworkReply &reply, int status)
{
    QUrl requested = reply.request().url();
    const QString path = requested.path(QUrl::FullyEncoded) + QLatin1Char('/');
    const bool redirects = status == 301 || status == 302 || status == 307 || status == 308;
    const QUrl target = requested.resolved(QUrl::fromEncoded(reply.rawHeader("Location")));
    const bool plain = !target.hasQuery() && !target.hasFragment() && target.userInfo().isEmpty();
    if (!redirects || !plain || target.path(QUrl::FullyEncoded) != path || target.host() != requested.host())
        return QUrl();
    requested.setPath(path, QUrl::TolerantMode);
    return requested;
}

/// Returns the time-out after the whole body was sent. Qt reports this when a proxy has received the file, which the
/// proxy must then send to the server.
int storeTimeoutMs(int idleTimeoutMs, qint64 bodyBytes)
{
    const qint64 proxyMs = std::min<qint64>(bodyBytes / kSlowestBytesPerMs, std::numeric_limits<int>::max() / 2);
    return kStoreTimeoutFactor * idleTimeoutMs + static_cast<int>(proxyMs);
}

/// Reads at most one slice of the body. Returns false if the rest of the reply is not needed.
bool readSlice(const DavCall &call, QNetworkReply &reply, DavResult *result)
{
    readHeaders(reply, result);
    const QByteArray bytes = reply.read(std::min(reply.bytesAvailable(), kSliceBytes));
    result->received += bytes.size();
    if (!isExpected(call, result->status))
        return result->received <= kMaxErrorPageBytes;
    return !call.sink || bytes.isEmpty() || call.sink(result->announced, bytes);
}

QString hostName(const QSslCertificate &certificate)
{
    const QStringList names =
        certificate.subjectAlternativeNames().values() + certificate.subjectInfo(QSslCertificate::CommonName);
    return names.isEmpty() ? QString() : names.first();
}

/// Sets the cause of a failure without a status.
void setNetworkCause(const QNetworkReply &reply, const QList<QSslError> &tlsErrors, DavResult *result)
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
        result->detail = hostName(tlsErrors.first().certificate());
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

/// Returns the result of a finished reply whose headers and body were read into \p read.
int finishedResult(const DavCall &call, const QNetworkReply &reply, const DavResult &read)
{
    if (read.status == 0)
        return Skein_Result_Network;
    if (!isExpected(call, read.status))
        return resultOf(read.status);
    // Qt sometimes reports success when the connection closes early.
    const bool isShort = read.status != 204 && read.announced > read.received;
    return reply.error() != QNetworkReply::NoError || isShort ? Skein_Result_Network : 1;
}

/// Returns the port of the peer of \p descriptor; 0 if it is not a connected TCP socket.
quint16 peerPort(int descriptor)
{
    int type = 0;
    socklen_t typeSize = sizeof(type);
    if (getsockopt(descriptor, SOL_SOCKET, SO_TYPE, &type, &typeSize) != 0 || type != SOCK_STREAM)
        return 0;
    sockaddr_storage peer{};
    socklen_t size = sizeof(peer);
    if (getpeername(descriptor, reinterpret_cast<sockaddr *>(&peer), &size) != 0)
        return 0;
    if (peer.ss_family == AF_INET)
        return ntohs(reinterpret_cast<const sockaddr_in *>(&peer)->sin_port);
    return peer.ss_family == AF_INET6 ? ntohs(reinterpret_cast<const sockaddr_in6 *>(&peer)->sin6_port) : quint16{0};
}

/// Sets TCP_NODELAY on this process's connections to any server's \p port, so that a kept connection sends the next
/// request at once. Qt writes headers and body separately and has no setting for this; without it the kernel delays the
/// body by about 40 ms (Nagle's algorithm with delayed acknowledgements). Ignored on systems without /proc.
void disableSendDelay(int port)
{
    const QStringList descriptors = QDir(QStringLiteral("/proc/self/fd")).entryList(QDir::Files | QDir::System);
    for (const QString &name : descriptors) {
        const int descriptor = name.toInt();
        const int on = 1;
        if (port != 0 && peerPort(descriptor) == port)
            setsockopt(descriptor, IPPROTO_TCP, TCP_NODELAY, &on, sizeof(on));
    }
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
    const bool sentCredentials = !call.credentials || call.credentials->scheme != AuthScheme::Unknown;
    DavResult result = sendFollowingSlash(call);
    if (result.status != 401 || sentCredentials)
        return result;
    if (call.credentials->scheme == AuthScheme::Unknown) // a nested call may have set it
        call.credentials->scheme = offeredScheme(result.challenges, call.url);
    if (call.credentials->scheme == AuthScheme::Unknown) {
        result.cause = "sign-in-method";
        result.detail = schemeNames(result.challenges);
        return result;
    }
    if (!call.file || call.file->seek(0))
        return sendFollowingSlash(call);
    result.result = Skein_Result_LocalFile;
    return result;
}

/// Sends \p call, and once more if the server redirects to the same path with a slash.
DavResult DavClient::sendFollowingSlash(const DavCall &call)
{
    QUrl slashForm;
    // Not for GET: a path with a slash is a folder, for which servers send an HTML page.
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

/// Sends \p call once. Sets \p slashForm, if not null, if the server redirects to that form of the address.
DavResult DavClient::sendOnce(const DavCall &call, QUrl *slashForm)
{
    DavResult result;
    result.result = Skein_Result_Closed;
    if (m_closed && call.kind != DavCall::Kind::CleanUp)
        return result;

    QElapsedTimer clock;
    clock.start();
    const std::unique_ptr<QNetworkReply> reply(start(call));
    QList<QSslError> tlsErrors;
    connect(reply.get(), &QNetworkReply::sslErrors,
            [&tlsErrors](const QList<QSslError> &errors) { tlsErrors = errors; });
    bool answered = false;
    connect(&m_manager, &QNetworkAccessManager::authenticationRequired, reply.get(),
            [&](QNetworkReply *challenged, QAuthenticator *authenticator) {
                const bool usesDigest = call.credentials && call.credentials->scheme == AuthScheme::Digest;
                if (challenged != reply.get() || !usesDigest || std::exchange(answered, true))
                    return;
                authenticator->setUser(call.credentials->user);
                authenticator->setPassword(call.credentials->secret);
            });
    exchange(call, *reply, &result);
    if (result.result == Skein_Result_Network && result.status == 0)
        setNetworkCause(*reply, tlsErrors, &result);
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

/// Reads \p reply until it has finished, failed, or is not needed any more.
void DavClient::exchange(const DavCall &call, QNetworkReply &reply, DavResult *result)
{
    const bool cleansUp = call.kind == DavCall::Kind::CleanUp;
    const qint64 bodyBytes = call.file ? call.file->size() : call.body.size();
    ReplyLoop loop(*this, reply, cleansUp ? ReplyLoop::Closing::IsIgnored : ReplyLoop::Closing::Ends);
    qint64 reported = 0;
    for (;;) {
        const bool isStoring = call.kind == DavCall::Kind::Change && loop.sent() >= bodyBytes;
        const int idleMs = isStoring ? storeTimeoutMs(m_idleTimeoutMs, bodyBytes) : m_idleTimeoutMs;
        const ReplyLoop::Event event = reply.bytesAvailable() > 0
                                           ? loop.poll()
                                           : loop.wait(cleansUp ? std::min(idleMs, kCleanUpTimeoutMs) : idleMs);
        if (event == ReplyLoop::Event::TimedOut || event == ReplyLoop::Event::Closed) {
            result->result = event == ReplyLoop::Event::Closed ? Skein_Result_Closed : Skein_Result_TimedOut;
            return;
        }
        if (call.sent && loop.sent() > reported) {
            reported = loop.sent();
            call.sent(reported);
        }
        if (!readSlice(call, reply, result)) {
            result->result = resultOf(result->status);
            return;
        }
        if (event == ReplyLoop::Event::Finished && reply.bytesAvailable() == 0) {
            result->result = finishedResult(call, reply, *result);
            // Qt does not report the end of a body if the reply arrives immediately.
            if (call.sent && result->isSuccess() && reported < bodyBytes)
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
    // The manager's cache is used for Digest only, and must not contain older credentials.
    if (scheme == AuthScheme::Digest && std::exchange(m_cached, call.credentials) != call.credentials)
        m_manager.clearAccessCache();
    request.setAttribute(QNetworkRequest::AuthenticationReuseAttribute,
                         scheme == AuthScheme::Digest ? QNetworkRequest::Automatic : QNetworkRequest::Manual);
    if (scheme == AuthScheme::Basic)
        request.setRawHeader("Authorization", basicValue(*call.credentials));
    request.setAttribute(QNetworkRequest::CookieLoadControlAttribute, QNetworkRequest::Manual);
    request.setAttribute(QNetworkRequest::CookieSaveControlAttribute, QNetworkRequest::Manual);
    request.setAttribute(QNetworkRequest::CacheLoadControlAttribute, QNetworkRequest::AlwaysNetwork);
    disableSendDelay(call.url.port(call.url.scheme() == QLatin1String("https") ? 443 : 80));
    request.setRawHeader("User-Agent", "pelago");
    // With a content encoding, the announced length would not be the number of stored bytes.
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
    reply->setReadBufferSize(kReadBufferBytes);
    return reply;
}

} // namespace pelago

#include "moc_DavClient.cpp"
