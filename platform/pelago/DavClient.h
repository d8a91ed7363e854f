// pelago/DavClient.h
//
// Blocking WebDAV requests. While one runs, timers, paints and sockets are served and user input waits; requests may
// run inside one another. Everything a request reports, it reports from its own stack frame and never from a socket's
// signal.

#pragma once

#include "Outcome.h"
#include "SessionFile.h"

#include <QByteArray>
#include <QList>
#include <QNetworkAccessManager>
#include <QObject>
#include <QPair>
#include <QUrl>

#include <functional>
#include <memory>

class QIODevice;
class QNetworkReply;
class QNetworkRequest;

namespace pelago {

struct DavCall
{
    /// A server may take longer to answer once it has got all of a Change.
    enum class Kind { Question, Change, CleanUp };

    QByteArray verb;
    QUrl url;
    std::shared_ptr<Credentials> credentials; ///< null sends none; the client sets their scheme
    Kind kind = Kind::Question;
    QList<QPair<QByteArray, QByteArray>> headers;
    QByteArray body;
    QIODevice *file = nullptr; ///< the body instead, read as it is sent; open, not owned
    int expected = 0;          ///< the only status to accept; 0 for 200, 201 and 204
    /// Gets the bytes of an accepted reply in pieces of at most 1 MiB, and the announced length of them all, -1 when
    /// unknown. False ends the call with BadReply.
    std::function<bool(qint64 announced, const QByteArray &bytes)> sink;
    /// Gets how much of the body has been sent.
    std::function<void(qint64 bytes)> sent;
};

struct DavResult : Outcome
{
    qint64 announced = -1;  ///< bytes of the reply's body, -1 when unknown
    qint64 received = 0;    ///< bytes of it that were read
    QByteArray allow;       ///< the header of that name
    QByteArray dav;         ///< likewise
    QByteArray challenges;  ///< the header WWW-Authenticate
    bool hasFileId = false; ///< whether the reply names the file's identity, as groupware servers do
};

class DavClient : public QObject
{
    Q_OBJECT
public:
    /// A call fails with TimedOut when nothing has moved for \p idleTimeoutMs.
    explicit DavClient(int idleTimeoutMs);

    /// Spins the event loop. The caller keeps the client alive. A redirect that only adds a slash is repeated once, any
    /// other one fails. Credentials of an unknown scheme are sent after the server has asked for them.
    DavResult send(const DavCall &call);
    /// Ends what runs and whatever is sent later, but for CleanUp calls, which then wait for a short time only.
    void close();
    bool isClosed() const { return m_closed; }

signals:
    void closed();

private:
    DavResult follow(const DavCall &call);
    DavResult sendOnce(const DavCall &call, QUrl *slashForm);
    void exchange(const DavCall &call, QNetworkReply &reply, DavResult *result);
    QNetworkReply *start(const DavCall &call);

    QNetworkAccessManager m_manager;
    std::shared_ptr<Credentials> m_cached; ///< which the manager may remember
    int m_idleTimeoutMs;
    bool m_closed = false;
};

} // namespace pelago
