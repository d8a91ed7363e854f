#include "EndPoint.h"

#include <pelago/pelago.h>

#include <algorithm>

namespace pelago {

namespace {

QList<QByteArray> tokens(const QByteArray &header)
{
    QList<QByteArray> words;
    for (const QByteArray &word : header.split(','))
        words.append(word.trimmed());
    return words;
}

/// Returns true if a header DAV has the tokens of a groupware server, which replaces a file in one step.
bool isGroupwareHeader(const QByteArray &header)
{
    const QList<QByteArray> words = tokens(header.toLower());
    return std::any_of(words.begin(), words.end(), [](const QByteArray &word) {
        return word.startsWith("nextcloud-") || word.startsWith("nc-") || word.startsWith("oc-");
    });
}

/// Returns true if the server refuses OPTIONS but may accept other requests.
bool refusesOptions(const DavResult &result)
{
    const bool isRequestError = result.status >= 400 && result.status < 500;
    const bool isTemporary = result.status == 408 || result.status == 429;
    return (isRequestError && !isTemporary && result.result != Skein_Result_NotSignedIn) || result.status == 501;
}

} // namespace

EndPoint::EndPoint(std::shared_ptr<Session> session, const QUrl &root)
    : m_session(std::move(session)), m_root(root), m_client(m_session->deployment().idleTimeoutMs)
{
    QObject::connect(m_session.get(), &Session::closed, &m_client, &DavClient::close);
}

QByteArray EndPoint::destination(const QString &id, Destination form) const
{
    QUrl url = address(id, DavPath::Form::File);
    if (form == Destination::PathOnly)
        return url.path(QUrl::FullyEncoded).toLatin1();
    if (form == Destination::PlainHttp)
        url.setScheme(QStringLiteral("http"));
    return url.toEncoded();
}

DavResult EndPoint::send(DavCall call)
{
    call.credentials = m_session->credentials();
    DavResult result;
    result.result = Skein_Result_NotSignedIn;
    if (!call.credentials)
        return result;
    result = m_client.send(call);
    m_isGroupware = m_isGroupware || result.hasFileId || isGroupwareHeader(result.dav);
    if (result.status == 401)
        checkRefusal(call, &result);
    return result;
}

/// Signs out only if the root refuses the credentials too, because some servers return 401 instead of 403 if a
/// signed-in user lacks the right to one folder.
void EndPoint::checkRefusal(const DavCall &call, DavResult *result)
{
    int status = 401;
    if (call.url != m_root || call.verb != "PROPFIND") {
        MultiStatus reply([](const DavEntry &) {});
        DavCall rootCall = reply.request(m_root, "0");
        rootCall.credentials = call.credentials;
        const DavResult root = m_client.send(rootCall);
        status = root.status;
        if (status == 0 || status >= 500)
            static_cast<Outcome &>(*result) = root;
    }
    if (status == 401)
        m_session->signOut(call.credentials);
    else if (status > 0 && status < 500)
        result->result = Skein_Result_Forbidden;
}

DavResult EndPoint::propfind(const QUrl &url, const char *depth, const MultiStatus::Sink &sink)
{
    MultiStatus reply(sink);
    DavResult result = send(reply.request(url, depth));
    if (result.isSuccess() && !reply.isComplete())
        result.result = Skein_Result_BadReply;
    return result;
}

Outcome EndPoint::queryCapabilities()
{
    DavResult result;
    result.result = 1;
    if (m_isKnown)
        return result;
    DavCall call;
    call.verb = "OPTIONS";
    call.url = m_root; // some servers refuse OPTIONS for folders that do not exist
    result = send(call);
    if (!result.isSuccess() && !refusesOptions(result))
        return result;
    m_isKnown = true;
    if (result.isSuccess() && tokens(result.allow).contains("MOVE")) {
        m_destinations = {Destination::Full, Destination::PathOnly};
        if (m_root.scheme() == QLatin1String("https"))
            m_destinations.insert(1, Destination::PlainHttp);
    }
    result.result = 1;
    return result;
}

void EndPoint::preferDestination(Destination form)
{
    if (m_destinations.removeOne(form))
        m_destinations.prepend(form);
}

bool EndPoint::replacesInPlace() const
{
    const Replacing replacing = m_session->deployment().replacing;
    return replacing == Replacing::Put || (replacing == Replacing::Auto && m_isGroupware);
}

} // namespace pelago
