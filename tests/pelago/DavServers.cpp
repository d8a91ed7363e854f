#include "pelago/DavServers.h"

#include <QtNetwork>

#include <unistd.h>
#include <vector>

namespace {

void makeWritable(const QString &path)
{
    if (geteuid() == 0 && chown(QFile::encodeName(path).constData(), 65534, 65534) != 0)
        qFatal("cannot change the owner of %s", qPrintable(path));
}

/// A server from the system's packages, run by an unprivileged user.
class ProcessServer : public DavServer
{
public:
    explicit ProcessServer(const QString &name)
    {
        // Not below TMPDIR, which other users cannot enter.
        QFile::setPermissions(m_home.path(), QFileDevice::Permissions(0x7755));
        folder = m_home.path();
        for (const char *part : {"", "tmp", "root", "root/dav"})
            makeFolder(part);
        folder += "/root/dav";
        writeFile(m_home.filePath("users"),
                  "demo:{SHA}" + QCryptographicHash::hash("demo", QCryptographicHash::Sha1).toBase64() + '\n');
        writeFile(m_home.filePath("digests"),
                  "demo:x:" + QCryptographicHash::hash("demo:x:demo", QCryptographicHash::Md5).toHex() + '\n');
        const bool isProxied = name == "proxied";
        quint16 port = start(isProxied ? QString("apache") : name, QByteArray());
        if (isProxied) {
            makeCertificate();
            port = start(name, QByteArray::number(port));
        }
        storage = QStringLiteral("%1://127.0.0.1:%2/dav/").arg(isProxied ? "https" : "http").arg(port);
    }
    ~ProcessServer() override
    {
        for (const auto &process : m_processes) {
            process->terminate();
            process->waitForFinished(5000);
        }
    }

private:
    /// Starts the program for \p name and returns its port. If \p behind is not empty, it is a proxy for that port.
    quint16 start(const QString &name, const QByteArray &behind)
    {
        // Another program may take the port before the server does.
        for (int attempt = 0; attempt < 3; ++attempt) {
            QTcpServer probe;
            probe.listen(QHostAddress::LocalHost);
            const quint16 port = probe.serverPort();
            probe.close();
            if (run(command(name, QByteArray::number(port), behind), port))
                return port;
        }
        qFatal("no WebDAV server: %s", m_processes.back()->readAll().constData());
    }

    QStringList command(const QString &name, const QByteArray &port, const QByteArray &behind)
    {
        if (name == "rclone") {
            forgetsCutUploads = false;
            const QString line = "rclone serve webdav %1 --addr 127.0.0.1:%2 --baseurl /dav --config= --user demo "
                                 "--pass demo --dir-cache-time 1ms --poll-interval 0";
            return line.arg(folder, QString(port)).split(' ');
        }
        const bool isApache = name == "apache" || name == "digest";
        const QString source = behind.isEmpty() ? (isApache ? QString("apache") : name) : QString("proxy");
        const QString settings = m_home.filePath(source + ".conf");
        writeFile(settings,
                  readFile(SERVER_SETTINGS "/" + source + ".conf").replace("PORT", port).replace("BEHIND", behind));
        if (isApache)
            return QStringList{"apache2", "-d", m_home.path(), "-f", settings, "-DFOREGROUND"} +
                   (name == "digest" ? QStringList{"-D", "Digest"} : QStringList());
        listsDotFiles = listsDotFiles && !behind.isEmpty();
        return {"nginx", "-e", "stderr", "-p", m_home.path(), "-c", settings};
    }

    /// Creates a self-signed certificate for nginx, which this process trusts from now on.
    void makeCertificate()
    {
        const QString line = "req -x509 -newkey ec -pkeyopt ec_paramgen_curve:prime256v1 -nodes -keyout %1/key -out "
                             "%1/certificate -subj /CN=dav.example -addext subjectAltName=IP:127.0.0.1";
        if (QProcess::execute("openssl", line.arg(m_home.path()).split(' ')) != 0)
            qFatal("no certificate");
        makeWritable(m_home.filePath("key"));
        certificateFile = m_home.filePath("certificate");
        QSslConfiguration tls = QSslConfiguration::defaultConfiguration();
        tls.addCaCertificate(QSslCertificate(readFile(certificateFile)));
        QSslConfiguration::setDefaultConfiguration(tls);
    }

    bool run(const QStringList &command, quint16 port)
    {
        m_processes.push_back(std::make_unique<QProcess>());
        QProcess &process = *m_processes.back();
        QStringList line{"--pdeathsig", "TERM"};
        if (geteuid() == 0)
            line += {"--reuid=65534", "--regid=65534", "--clear-groups"};
        line += {"env", "-i", "PATH=/usr/bin:/bin:/usr/sbin:/sbin", "HOME=" + m_home.path(),
                 "TMPDIR=" + m_home.filePath("tmp")};
        process.setProcessChannelMode(QProcess::MergedChannels);
        process.setWorkingDirectory(m_home.path());
        process.start("setpriv", line + command);
        for (QDeadlineTimer patience(20000); process.state() != QProcess::NotRunning && !patience.hasExpired();) {
            QTcpSocket socket;
            socket.connectToHost(QHostAddress::LocalHost, port);
            if (socket.waitForConnected(1000))
                return true;
            process.waitForFinished(20);
        }
        return false;
    }

    QTemporaryDir m_home{"/tmp/tavrin-dav-XXXXXX"};
    std::vector<std::unique_ptr<QProcess>> m_processes;
};

} // namespace

std::unique_ptr<DavServer> DavServer::start(const QString &name)
{
    return std::make_unique<ProcessServer>(name);
}

void DavServer::makeFolder(const QString &id)
{
    QDir().mkpath(path(id));
    makeWritable(path(id));
}

void DavServer::makeFile(const QString &id, const QByteArray &content)
{
    writeFile(path(id), content);
    makeWritable(path(id));
}

QStringList DavServer::entries(const QString &folderId) const
{
    return QDir(path(folderId)).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot, QDir::Name);
}
