// pelago/EndPoint.h
//
// The files below one storage address, with the credentials of one session.

#pragma once

#include "DavClient.h"
#include "DavPath.h"
#include "MultiStatus.h"
#include "Session.h"

#include <QUrl>
#include <QVector>

#include <memory>

namespace pelago {

/// The form of the address in a header Destination. A server behind a reverse proxy often has another scheme or host
/// name and refuses the full address.
enum class Destination { Full, PlainHttp, PathOnly };

class EndPoint
{
public:
    /// \p root is a folder address that \p session may use.
    EndPoint(std::shared_ptr<Session> session, const QUrl &root);

    QUrl address(const QString &id, DavPath::Form form) const { return DavPath::address(m_root, id, form); }
    /// Returns the value of a header Destination for the file \p id.
    QByteArray destination(const QString &id, Destination form) const;
    /// Sends \p call with the session's credentials. Spins the event loop. A 401 signs the session out only if the
    /// storage's root refuses the credentials too; otherwise the result is Skein_Result_Forbidden.
    DavResult send(DavCall call);
    /// Sends a PROPFIND; \p sink receives the entries as they arrive. Spins the event loop.
    DavResult propfind(const QUrl &url, const char *depth, const MultiStatus::Sink &sink);
    /// Ends running calls with Closed; later calls fail with Closed.
    void close() { m_client.close(); }
    bool isClosed() const { return m_client.isClosed(); }

    /// Sends OPTIONS; spins the event loop. After a success, later calls send no request. A server that refuses OPTIONS
    /// is treated like a server that cannot rename.
    Outcome queryCapabilities();
    /// Returns the forms to try for a rename, in order; empty if the server cannot rename.
    QVector<Destination> destinations() const { return m_destinations; }
    /// Moves the form that worked to the front.
    void preferDestination(Destination form);
    /// Later uploads store in place. Called after the server has refused every form.
    void disableRenaming() { m_destinations.clear(); }
    /// Returns true if files are replaced in place, by configuration or because the server replaces files in one step.
    bool replacesInPlace() const;

private:
    void checkRefusal(const DavCall &call, DavResult *result);

    std::shared_ptr<Session> m_session;
    QUrl m_root;
    DavClient m_client;
    bool m_isKnown = false; ///< queryCapabilities() has succeeded
    bool m_isGroupware = false;
    QVector<Destination> m_destinations;
};

} // namespace pelago
