#include "EndPoint.h"

#include <pelago/pelago.h>

namespace pelago {

EndPoint::EndPoint(std::shared_ptr<Session> session, const QUrl &root)
    : m_session(std::move(session)), m_root(root), m_client(m_session->deployment().idleTimeoutMs)
{
    QObject::connect(m_session.get(), &Session::closed, &m_client, &DavClient::close);
}

DavResult EndPoint::send(DavCall call)
{
    const QByteArray authorization = m_session->authorization();
    DavResult result;
    result.result = Skein_Result_NotSignedIn;
    if (authorization.isEmpty())
        return result;
    call.headers.append({"Authorization", authorization});
    result = m_client.send(call);
    if (result.status == 401)
        m_session->refused(authorization);
    return result;
}

DavResult EndPoint::ask(const QUrl &url, const char *depth, const MultiStatus::Sink &sink)
{
    MultiStatus reply(sink);
    DavResult result = send(reply.question(url, depth));
    if (result.isSuccess() && !reply.isComplete())
        result.result = Skein_Result_BadReply;
    return result;
}

bool EndPoint::canMove(const QString &folderId, int *failure)
{
    *failure = 0;
    if (m_moves == Answer::Unknown) {
        DavCall call;
        call.verb = "OPTIONS";
        call.url = address(folderId, DavPath::Form::Folder);
        const DavResult result = send(call);
        if (!result.isSuccess()) {
            *failure = result.result;
            return false;
        }
        bool moves = false;
        for (const QByteArray &verb : result.allow.split(','))
            moves = moves || verb.trimmed() == "MOVE";
        m_moves = moves ? Answer::Yes : Answer::No;
    }
    return m_moves == Answer::Yes;
}

} // namespace pelago
