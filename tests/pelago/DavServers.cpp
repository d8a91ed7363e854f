#include "pelago/DavServers.h"

#include <localcloud/LocalCloud.h>

#include <QCryptographicHash>
#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QNetworkProxy>
#include <QProcess>
#include <QSslConfiguration>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTemporaryDir>

#include <unistd.h>

namespace {

void giveAway(const QString &path)
{
    if (geteuid() == 0 && chown(QFile::encodeName(path).constData(), 65534, 65534) != 0)
        qFatal("cannot give away %s", qPrintable(path));
}

/// A server from the system's packages, run by nobody in particular.
class ProcessServer : public DavServer
{
public:
    explicit ProcessServer(const QString &name)
    {
        // Not below TMPDIR, which only the user of the tests may enter.
        QFile::setPermissions(m_home.path(), QFileDevice::Permissions(0x7755));
        folder = m_home.path();
        for (const char *part : {"", "tmp", "root", "root/dav"})
            makeFolder(part);
        folder += "/root/dav";
        // Another program may take the port before the server does.
        for (int attempt = 0; attempt < 3; ++attempt) {
            QTcpServer probe;
            probe.listen(QHostAddress::LocalHost);
            const quint16 port = probe.serverPort();
            probe.close();
            if (run(command(name, QByteArray::number(port)), port))
                return;
        }
        qFatal("no WebDAV server: %s", m_process.readAll().constData());
    }
    ~ProcessServer() override
    {
        m_process.terminate();
        m_process.waitForFinished(5000);
    }

private:
    QStringList command(const QString &name, const QByteArray &port)
    {
        if (name == "rclone") {
            forgetsCutUploads = false;
            const QString line = "rclone serve webdav %1 --addr 127.0.0.1:%2 --baseurl /dav --config= --user demo "
                                 "--pass demo --dir-cache-time 1ms --poll-interval 0";
            return line.arg(folder, QString(port)).split(' ');
        }
        const QString settings = m_home.filePath("conf");
        const QByteArray password = QCryptographicHash::hash("demo", QCryptographicHash::Sha1).toBase64();
        writeFile(m_home.filePath("users"), "demo:{SHA}" + password + '\n');
        writeFile(settings, readFile(SERVER_SETTINGS "/" + name + ".conf").replace("PORT", port));
        if (name == "apache")
            return {"apache2", "-d", m_home.path(), "-f", settings, "-DFOREGROUND"};
        listsDotFiles = false;
        return {"nginx", "-e", "stderr", "-p", m_home.path(), "-c", settings};
    }

    bool run(const QStringList &command, quint16 port)
    {
        storage = QStringLiteral("http://127.0.0.1:%1/dav/").arg(port);
        QStringList line{"--pdeathsig", "TERM"};
        if (geteuid() == 0)
            line += {"--reuid=65534", "--regid=65534", "--clear-groups"};
        line += {"env", "-i", "PATH=/usr/bin:/bin:/usr/sbin:/sbin", "HOME=" + m_home.path(),
                 "TMPDIR=" + m_home.filePath("tmp")};
        m_process.setProcessChannelMode(QProcess::MergedChannels);
        m_process.setWorkingDirectory(m_home.path());
        m_process.start("setpriv", line + command);
        for (QDeadlineTimer patience(20000); m_process.state() != QProcess::NotRunning && !patience.hasExpired();) {
            QTcpSocket socket;
            socket.connectToHost(QHostAddress::LocalHost, port);
            if (socket.waitForConnected(1000))
                return true;
            m_process.waitForFinished(20);
        }
        return false;
    }

    QTemporaryDir m_home{"/tmp/tavrin-dav-XXXXXX"};
    QProcess m_process;
};

/// The demo's own service, behind its proxy and under its real name.
class Local : public DavServer
{
public:
    Local()
    {
        QString error;
        if (!m_cloud.start(&error))
            qFatal("no local cloud: %s", qPrintable(error));
        storage = "https://cloud.zephal.example/dav/";
        folder = m_cloud.zephalDir();
        QSslConfiguration tls = QSslConfiguration::defaultConfiguration();
        tls.addCaCertificate(m_cloud.caCertificate());
        QSslConfiguration::setDefaultConfiguration(tls);
        QNetworkProxy::setApplicationProxy(QNetworkProxy(QNetworkProxy::HttpProxy, "127.0.0.1", m_cloud.port()));
    }
    ~Local() override { QNetworkProxy::setApplicationProxy(QNetworkProxy::NoProxy); }

private:
    LocalCloud m_cloud;
};

} // namespace

std::unique_ptr<DavServer> DavServer::start(const QString &name)
{
    if (name == "localcloud")
        return std::make_unique<Local>();
    return std::make_unique<ProcessServer>(name);
}

void DavServer::makeFolder(const QString &id)
{
    QDir().mkpath(path(id));
    giveAway(path(id));
}

void DavServer::makeFile(const QString &id, const QByteArray &content)
{
    writeFile(path(id), content);
    giveAway(path(id));
}

QStringList DavServer::entries(const QString &folderId) const
{
    return QDir(path(folderId)).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot, QDir::Name);
}
