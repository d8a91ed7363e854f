#include <localcloud/plyx/PlyxSessions.h>
#include <localcloud/Secrets.h>

namespace localcloud {

PlyxSessions::PlyxSessions(const QString &file) : m_file(file)
{
    const QJsonObject stored = readSecrets(file);
    m_sessions = stored.value("sessions").toObject();
    m_stayKeys = stored.value("stay").toArray();
}

bool PlyxSessions::save() const
{
    return writeSecrets(m_file, {{"sessions", m_sessions}, {"stay", m_stayKeys}});
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

QString PlyxSessions::issueStayKey()
{
    const QString key = randomKey();
    m_stayKeys.append(key);
    if (save())
        return key;
    m_stayKeys.removeLast();
    return {};
}

void PlyxSessions::revokeAll()
{
    m_sessions = {};
    m_stayKeys = {};
    save();
}

} // namespace localcloud
