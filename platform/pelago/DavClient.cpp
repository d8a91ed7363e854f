#include "DavClient.h"

#include "Deployments.h"
#include "ReplyLoop.h"
#include "Trace.h"

#include <pelago/pelago.h>

#include <memory>
#include <QElapsedTimer>
#include <QIODevice>
#include <QNetworkReply>
#include <QNetworkRequest>

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

int statusOf(const QNetworkReply &reply)
{
    return reply.attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
}

/// What the headers tell.
void readHead(const QNetworkReply &reply, DavResult *result)
{
    result->status = statusOf(reply);
    result->allow = reply.rawHeader("Allow");
    const QVariant length = reply.header(QNetworkRequest::ContentLengthHeader);
    result->announced = length.isValid() ? length.toLongLong() : -1;
}

/// The address that \p reply redirects to if it differs by a slash at the end of the path only, otherwise an empty one.
QUrl slashFormOf(const QNetworkReply &reply, int status)
{
    const QUrl asked = reply.request().url();
    const bool redirects = status == 301 || status == 302 || status == 307 || status == 308;
    const QUrl target = redirects ? asked.resolved(QUrl::fromEncoded(reply.rawHeader("Location"))) : QUrl();
    const bool slash = target.path(QUrl::FullyEncoded) == asked.path(QUrl::FullyEncoded) + QLatin1Char('/');
    const bool plain = !target.hasQuery() && !target.hasFragment() && target.userInfo().isEmpty();
    return slash && plain && sameOrigin(target, asked) ? target : QUrl();
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
        const QByteArray bytes = m_reply.read(sliceBytes);
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

/// How a reply that has ended by itself has ended.
int finishedResult(const DavCall &call, const QNetworkReply &reply, const DavResult &so)
{
    if (so.status == 0)
        return Skein_Result_Network;
    if (!isExpected(call, so.status))
        return resultOf(so.status);
    // Now and then the toolkit takes a connection that closed too early for the end of the reply.
    const bool isShort = so.status != 204 && so.announced > so.received;
    return reply.error() != QNetworkReply::NoError || isShort ? Skein_Result_Network : 1;
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
    exchange(call, *reply, &result);
    if (slashForm && result.result == Skein_Result_Redirected)
        *slashForm = slashFormOf(*reply, result.status);
    const bool failed = !result.isSuccess();
    trace(failed ? TraceLevel::Failures : TraceLevel::Requests,
          QStringLiteral("%1 %2: status %3, result %4, %5 ms")
              .arg(QString::fromLatin1(call.verb), call.url.path(QUrl::FullyEncoded))
              .arg(result.status)
              .arg(result.result)
              .arg(clock.elapsed()));
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
            return;
        }
    }
}

QNetworkReply *DavClient::start(const DavCall &call)
{
    QNetworkRequest request(call.url);
    request.setAttribute(QNetworkRequest::RedirectPolicyAttribute, QNetworkRequest::ManualRedirectPolicy);
    request.setAttribute(QNetworkRequest::Http2AllowedAttribute, false);
    request.setAttribute(QNetworkRequest::AuthenticationReuseAttribute, QNetworkRequest::Manual);
    request.setAttribute(QNetworkRequest::CookieLoadControlAttribute, QNetworkRequest::Manual);
    request.setAttribute(QNetworkRequest::CookieSaveControlAttribute, QNetworkRequest::Manual);
    request.setAttribute(QNetworkRequest::CacheLoadControlAttribute, QNetworkRequest::AlwaysNetwork);
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
