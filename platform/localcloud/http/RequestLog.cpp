#include "localcloud/http/RequestLog.h"

#include <QJsonDocument>
#include <QJsonObject>

namespace localcloud {

namespace {

QByteArray lineFor(const RequestRecord &record)
{
    QJsonObject headers;
    for (const auto &entry : record.headers) {
        const QString name = QString::fromLatin1(entry.first);
        const QString value = QString::fromUtf8(entry.second);
        headers.insert(name, headers.contains(name) ? headers.value(name).toString() + ", " + value : value);
    }
    const QJsonObject object{
        {"host", record.host},
        {"tls", record.tls},
        {"method", QString::fromLatin1(record.method)},
        {"target", QString::fromUtf8(record.target)},
        {"headers", headers},
        {"bodyBytes", record.bodyBytes},
        {"status", record.status},
    };
    return QJsonDocument(object).toJson(QJsonDocument::Compact) + '\n';
}

} // namespace

bool RequestLog::open(const QString &path, QString *error)
{
    m_file.close();
    m_file.setFileName(path);
    if (m_file.open(QIODevice::WriteOnly | QIODevice::Append)) {
        m_file.setPermissions(QFile::ReadOwner | QFile::WriteOwner);
        return true;
    }
    *error = path + QStringLiteral(": ") + m_file.errorString();
    return false;
}

void RequestLog::write(const RequestRecord &record)
{
    if (!m_file.isOpen())
        return;
    m_file.write(lineFor(record));
    m_file.flush();
}

} // namespace localcloud
