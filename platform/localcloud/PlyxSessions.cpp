#include <localcloud/PlyxSessions.h>
#include <localcloud/Secrets.h>
#include <QJsonArray>

namespace localcloud {

PlyxSessions::PlyxSessions(const QString &file) : m_file(file)
{
    const QJsonObject stored = readSecrets(file);
    const QJsonObject sessions = stored.value("sessions").toObject();
    for (auto it = sessions.begin(); it != sessions.end(); ++it)
        m_sessions.insert(it.key(), it.value().toString());
    for (const QJsonValue &key : stored.value("stay").toArray())
        m_stayKeys.insert(key.toString());
}

bool PlyxSessions::save() const
{
    QJsonObject sessions;
    for (auto it = m_sessions.begin(); it != m_sessions.end(); ++it)
        sessions.insert(it.key(), it.value());
    QJsonArray stay;
    for (const QString &key : m_stayKeys)
        stay.append(key);
    return writeSecrets(m_file, {{"sessions", sessions}, {"stay", stay}});
}

PlyxSession PlyxSessions::open()
{
    const PlyxSession session{randomBase64Key(), randomBase64Key()};
    m_sessions.insert(session.id, session.secureId);
    if (save())
        return session;
    m_sessions.remove(session.id);
    return {};
}

bool PlyxSessions::isOpen(const QString &id, const QString &secureId) const
{
    const auto found = m_sessions.find(id);
    return found != m_sessions.end() && *found == secureId;
}

QString PlyxSessions::issueStayKey()
{
    const QString key = randomKey();
    m_stayKeys.insert(key);
    if (save())
        return key;
    m_stayKeys.remove(key);
    return {};
}

void PlyxSessions::revokeAll()
{
    m_sessions.clear();
    m_stayKeys.clear();
    save();
}

} // namespace localcloud
