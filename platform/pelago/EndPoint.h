// pelago/EndPoint.h
//
// The files below one storage address, for the user of one session.

#pragma once

#include "DavClient.h"
#include "DavPath.h"
#include "MultiStatus.h"
#include "Session.h"

#include <memory>
#include <QUrl>

namespace pelago {

class EndPoint
{
public:
    /// \p root is a folder address that \p session may use.
    EndPoint(std::shared_ptr<Session> session, const QUrl &root);

    QUrl address(const QString &id, DavPath::Form form) const { return DavPath::address(m_root, id, form); }
    /// Sends \p call with the session's credentials; a 401 signs the session out. Spins the event loop.
    DavResult send(DavCall call);
    /// A PROPFIND: \p sink gets the entries while they arrive. Spins the event loop.
    DavResult ask(const QUrl &url, const char *depth, const MultiStatus::Sink &sink);
    /// Ends what runs and refuses everything later.
    void close() { m_client.close(); }
    bool isClosed() const { return m_client.isClosed(); }

    /// Whether the server renames files. Asks it once, about \p folderId; spins the event loop. False with a negative
    /// result in \p failure when it cannot be asked.
    bool canMove(const QString &folderId, int *failure);
    /// To be called when a server that promised to rename files did not.
    void cannotMove() { m_moves = Answer::No; }

private:
    enum class Answer { Unknown, Yes, No };

    std::shared_ptr<Session> m_session;
    QUrl m_root;
    DavClient m_client;
    Answer m_moves = Answer::Unknown;
};

} // namespace pelago
