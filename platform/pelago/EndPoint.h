// pelago/EndPoint.h
//
// The files below one storage address, for the user of one session.

#pragma once

#include "DavClient.h"
#include "DavPath.h"
#include "MultiStatus.h"
#include "Session.h"

#include <QUrl>
#include <QVector>

#include <memory>

namespace pelago {

/// The forms of a Destination header. Behind a reverse proxy a server often knows itself under another scheme or host
/// name, and then refuses the full address.
enum class Destination { Full, PlainHttp, PathOnly };

class EndPoint
{
public:
    /// \p root is a folder address that \p session may use.
    EndPoint(std::shared_ptr<Session> session, const QUrl &root);

    QUrl address(const QString &id, DavPath::Form form) const { return DavPath::address(m_root, id, form); }
    /// The address of the file \p id as a header names it.
    QByteArray destination(const QString &id, Destination form) const;
    /// Sends \p call with the session's credentials. Spins the event loop. A 401 signs the session out only if the
    /// storage's root refuses the credentials too; otherwise the result is Skein_Result_Forbidden.
    DavResult send(DavCall call);
    /// A PROPFIND: \p sink gets the entries while they arrive. Spins the event loop.
    DavResult ask(const QUrl &url, const char *depth, const MultiStatus::Sink &sink);
    /// Ends what runs and refuses everything later.
    void close() { m_client.close(); }
    bool isClosed() const { return m_client.isClosed(); }

    /// Asks the server once what it can do; later calls return 1 at once. Spins the event loop. A server that refuses
    /// the question does not rename.
    Outcome learn();
    /// The forms to try when a file is renamed, the one that worked last first; empty if the server does not rename.
    QVector<Destination> destinations() const { return m_destinations; }
    /// Puts the form that worked in front.
    void renamedWith(Destination form);
    /// Stores files in place from now on: the server has refused every form of renaming.
    void cannotRename() { m_destinations.clear(); }
    /// Whether files are replaced in place, by the configuration or because the server replaces files in one step.
    bool replacesInPlace() const;

private:
    void settleRefusal(const DavCall &call, DavResult *result);

    std::shared_ptr<Session> m_session;
    QUrl m_root;
    DavClient m_client;
    bool m_isKnown = false; ///< whether learn() has asked
    bool m_isGroupware = false;
    QVector<Destination> m_destinations;
};

} // namespace pelago
