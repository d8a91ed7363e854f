// pelago/DavClient.h
//
// Blocking WebDAV requests. While a request runs, the event loop processes timers, paint events and sockets, but no
// user input; requests may be nested. Callbacks of a request are called by send() itself, never by a signal.

#pragma once

#include "Credentials.h"
#include "Trace.h"

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

namespace pelago {

struct DavCall
{
    /// The time-out of a Change is longer after its whole body was sent. A CleanUp is sent by a closed client too, with
    /// a short time-out.
    enum class Kind { Query, Change, CleanUp };

    QByteArray verb;
    QUrl url;
    std::shared_ptr<Credentials> credentials; ///< null: without credentials; send() sets their scheme
    Kind kind = Kind::Query;
    QList<QPair<QByteArray, QByteArray>> headers;
    QByteArray body;
    QIODevice *file = nullptr; ///< sent instead of \a body if not null; open, owned by the caller
    int expected = 0;          ///< the only accepted status; 0 accepts 200, 201 and 204
    /// Receives the body of an accepted reply in pieces of at most 1 MiB, and the announced length of the body, -1 when
    /// unknown. If it returns false, the call fails with BadReply.
    std::function<bool(qint64 announced, const QByteArray &bytes)> sink;
    /// Receives how many bytes of the request's body have been sent.
    std::function<void(qint64 bytes)> sent;
};

struct DavResult : Outcome
{
    qint64 announced = -1;  ///< length of the reply's body in bytes, -1 when unknown
    qint64 received = 0;    ///< bytes of the reply's body that were read
    QByteArray allow;       ///< header Allow
    QByteArray dav;         ///< header DAV
    QByteArray challenges;  ///< header WWW-Authenticate
    bool hasFileId = false; ///< the reply has a header OC-ETag or OC-FileId
};

class DavClient : public QObject
{
    Q_OBJECT
public:
    /// A call fails with TimedOut if no byte is sent or received for \p idleTimeoutMs.
    explicit DavClient(int idleTimeoutMs);

    /// Sends \p call; spins the event loop, and the client must exist until it returns. A redirect that only appends a
    /// slash to the path is followed once; any other redirect fails. Credentials of an unknown scheme are sent only
    /// after a reply 401.
    DavResult send(const DavCall &call);
    /// Ends running calls, except CleanUp calls, with Closed; later calls fail with Closed.
    void close();
    bool isClosed() const { return m_closed; }

signals:
    void closed();

private:
    DavResult sendFollowingSlash(const DavCall &call);
    DavResult sendOnce(const DavCall &call, QUrl *slashForm);
    void exchange(const DavCall &call, QNetworkReply &reply, DavResult *result);
    QNetworkReply *start(const DavCall &call);

    QNetworkAccessManager m_manager;
    std::shared_ptr<Credentials> m_cached; ///< the Digest credentials that m_manager may have cached
    int m_idleTimeoutMs;
    bool m_closed = false;
};

} // namespace pelago
