#include "pelago/DavServers.h"

#include <QtNetwork>

#include <unistd.h>

namespace {

void makeWritable(const QString &path)
{
    if (geteuid() == 0 && chown(QFile::encodeName(path).constData(), 65534, 65534) != 0)
        qFatal("cannot change the owner of %s", qPrintable(path));
}

} // namespace

DavServer::DavServer(const QString &name)
{
    folder = m_home.path();
    QFile::setPermissions(m_home.path(), QFileDevice::Permissions(0x7755));
    for (const char *part : {"", "tmp", "root", "root/dav"})
        makeFolder(part);
    folder += "/root/dav";
    writeFile(m_home.filePath("users"),
              "demo:{SHA}" + QCryptographicHash::hash("demo", QCryptographicHash::Sha1).toBase64() + '\n');
    writeFile(m_home.filePath("digests"),
              "demo:x:" + QCryptographicHash::hash("demo:x:demo", QCryptographicHash::Md5).toHex() + '\n');
    if (name != "proxied") {
        storage = QString("http://127.0.0.1:%1/dav/").arg(start(name));
        return;
    }
    makeCertificate();
    storage = QString("https://127.0.0.1:%1/dav/").arg(start("proxy", QByteArray::number(start("apache"))));
}

DavServer::~DavServer()
{
    for (const auto &process : m_processes) {
        process->terminate();
        process->waitForFinished(5000);
    }
}

/// Starts the program for \p name and returns its port. "proxy" is a proxy for the port \p behind.
quint16 DavServer::start(const QString &name, const QByteArray &behind)
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

QStringList DavServer::command(const QString &name, const QByteArray &port, const QByteArray &behind)
{
    if (name.endsWith("rclone")) {
        const QString line = "rclone serve webdav %1 --addr 127.0.0.1:%2 --baseurl /dav --config= --user demo "
                             "--pass demo --dir-cache-time %3 --poll-interval 0";
        return line.arg(folder, QString(port), name == "rclone" ? "0s" : "5m").split(' ');
    }
    const QString source = name == "digest" ? "apache" : name;
    const QString settings = m_home.filePath(source + ".conf");
    writeFile(settings,
              readFile(SERVER_SETTINGS "/" + source + ".conf").replace("PORT", port).replace("BEHIND", behind));
    if (source == "apache")
        return {"apache2", "-d", m_home.path(), "-f", settings, "-DFOREGROUND", "-D", name};
    return {"nginx", "-e", "stderr", "-p", m_home.path(), "-c", settings};
}

/// Creates a self-signed certificate for nginx, which this process trusts from now on.
void DavServer::makeCertificate()
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

/// Starts a program as an unprivileged user. Returns whether it listens on \p port within 20 seconds.
bool DavServer::run(const QStringList &command, quint16 port)
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
