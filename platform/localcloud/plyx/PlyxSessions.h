// localcloud/plyx/PlyxSessions.h
//
// The sessions that the Plyx service has opened, and the keys of browsers that stay signed in. Both outlive the process
// in a file of mode 0600.

#pragma once

#include <QJsonArray>
#include <QJsonObject>
#include <QString>

namespace localcloud {

/// The pair that names a session. Both hold "+" and "/", so that they survive an address only when escaped.
struct PlyxSession
{
    QString id;
    QString secureId;
};

class PlyxSessions
{
public:
    /// Reads what \p file keeps, if it is there.
    explicit PlyxSessions(const QString &file);

    /// A new session, already on disk; empty when it cannot be kept. Others stay valid.
    PlyxSession open();

    /// Whether \p id names a session.
    bool isOpen(const QString &id) const { return m_sessions.contains(id); }
    /// Whether both belong to the same session.
    bool isOpen(const QString &id, const QString &secureId) const { return m_sessions.value(id) == secureId; }

    /// A key that signs in without a password; empty when it cannot be kept.
    QString issueStayKey();
    bool isStayKey(const QString &key) const { return m_stayKeys.contains(key); }

    int count() const { return m_sessions.size(); }
    /// Ends every session and forgets every key, on disk as well.
    void revokeAll();

private:
    bool save() const;

    QString m_file;
    QJsonObject m_sessions; ///< id to secure id
    QJsonArray m_stayKeys;
};

} // namespace localcloud
