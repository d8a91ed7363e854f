#include "tour/CloudProcess.h"

#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QJsonDocument>

#include <csignal>
#include <sys/prctl.h>

void DependentProcess::setupChildProcess()
{
    prctl(PR_SET_PDEATHSIG, SIGTERM);
}

CloudProcess::~CloudProcess()
{
    if (m_process.state() == QProcess::NotRunning)
        return;
    m_process.kill();
    m_process.waitForFinished(5000);
}

bool CloudProcess::start(const QString &folder, const QStringList &rules)
{
    m_folder = folder;
    QDir().mkpath(dataFolder());
    static int processes = 0;
    m_log = QStringLiteral("%1/requests-%2.log").arg(folder).arg(++processes);
    QFile::remove(m_log);
    QStringList arguments{QStringLiteral("--data"), dataFolder(), QStringLiteral("--ca-out"), caFile(),
                          QStringLiteral("--log"),  m_log};
    for (const QString &rule : rules)
        arguments << QStringLiteral("--rule") << rule;
    m_process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    m_process.start(QStringLiteral(TAVRIN_LOCALCLOUD), arguments);

    QDeadlineTimer deadline(60000);
    const QByteArray ready("ready ");
    while (!m_process.canReadLine() && !deadline.hasExpired() && m_process.state() != QProcess::NotRunning)
        m_process.waitForReadyRead(200);
    const QByteArray line = m_process.readLine().trimmed();
    if (!line.startsWith(ready)) {
        m_error = QStringLiteral("the local cloud did not start: %1 %2").arg(m_process.errorString(), QString(line));
        return false;
    }
    m_address = QUrl(QString::fromUtf8(line.mid(ready.size())));
    use();
    return true;
}

void CloudProcess::use() const
{
    const QByteArray address = m_address.toString().toUtf8();
    qputenv("http_proxy", address);
    qputenv("https_proxy", address);
    qputenv("no_proxy", "localhost,127.0.0.1");
}

std::vector<CloudProcess::Request> CloudProcess::requests(const QString &targetStart) const
{
    std::vector<Request> found;
    QFile file(m_log);
    if (!file.open(QIODevice::ReadOnly))
        return found;
    while (!file.atEnd()) {
        const QJsonObject entry = QJsonDocument::fromJson(file.readLine()).object();
        const Request request{entry[QLatin1String("host")].toString(), entry[QLatin1String("method")].toString(),
                              entry[QLatin1String("target")].toString(), entry[QLatin1String("tls")].toBool(),
                              entry[QLatin1String("status")].toInt()};
        if (!entry.isEmpty() && request.target.startsWith(targetStart))
            found.push_back(request);
    }
    return found;
}
