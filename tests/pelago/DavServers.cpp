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
        folder = m_home.filePath("root/dav");
        for (const char *part : {"", "/root", "/root/dav", "/tmp"}) {
            QDir().mkpath(m_home.path() + part);
            giveAway(m_home.path() + part);
        }
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
    QString write(const char *name, const QByteArray &text)
    {
        QFile file(m_home.filePath(name));
        if (!file.open(QIODevice::WriteOnly) || file.write(text) != text.size())
            qFatal("cannot write %s", name);
        return file.fileName();
    }
    QStringList command(const QString &name, const QByteArray &port);
    bool run(const QStringList &command, quint16 port);

    QTemporaryDir m_home{"/tmp/tavrin-dav-XXXXXX"};
    QProcess m_process;
};

QStringList ProcessServer::command(const QString &name, const QByteArray &port)
{
    write("users", "demo:{SHA}" + QCryptographicHash::hash("demo", QCryptographicHash::Sha1).toBase64() + '\n');
    if (name == "apache") {
        QByteArray text = R"(ServerName 127.0.0.1
PidFile pid
ErrorLog errors
DefaultRuntimeDir tmp
DocumentRoot root
DavLockDB tmp/locks
<Location /dav>
Dav On
AuthType Basic
AuthName x
AuthUserFile users
Require valid-user
</Location>
)";
        for (const char *module : {"dir", "dav_fs", "dav", "auth_basic", "authz_user", "authz_core", "authn_file",
                                   "authn_core", "mpm_event"})
            text.prepend(QByteArray("LoadModule ") + module + "_module /usr/lib/apache2/modules/mod_" + module +
                         ".so\n");
        return {"apache2",     "-d", m_home.path(), "-f", write("conf", "Listen 127.0.0.1:" + port + '\n' + text),
                "-DFOREGROUND"};
    }
    if (name == "nginx") {
        listsDotFiles = false;
        const QByteArray text = R"(load_module /usr/lib/nginx/modules/ngx_http_dav_ext_module.so;
daemon off;
pid pid;
events {}
http {
  access_log off;
  client_body_temp_path tmp/1; proxy_temp_path tmp/2; fastcgi_temp_path tmp/3; uwsgi_temp_path tmp/4; scgi_temp_path tmp/5;
  server { listen 127.0.0.1:PORT; root root; client_max_body_size 0;
    location /dav/ { dav_methods PUT DELETE MKCOL COPY MOVE; dav_ext_methods PROPFIND OPTIONS;
      auth_basic x; auth_basic_user_file users; } } }
)";
        return {
            "nginx", "-e", "stderr", "-p", m_home.path(), "-c", write("conf", QByteArray(text).replace("PORT", port))};
    }
    forgetsCutUploads = false;
    const QString line = "rclone serve webdav %1 --addr 127.0.0.1:%2 --baseurl /dav --config= --user demo --pass demo "
                         "--dir-cache-time 1ms --poll-interval 0";
    return line.arg(folder, QString(port)).split(' ');
}

bool ProcessServer::run(const QStringList &command, quint16 port)
{
    storage = QStringLiteral("http://127.0.0.1:%1/dav/").arg(port);
    QStringList line{"--pdeathsig", "TERM"};
    if (geteuid() == 0)
        line << "--reuid=65534"
             << "--regid=65534"
             << "--clear-groups";
    QProcessEnvironment environment;
    environment.insert("PATH", "/usr/bin:/bin:/usr/sbin:/sbin");
    environment.insert("HOME", m_home.path());
    environment.insert("TMPDIR", m_home.filePath("tmp"));
    m_process.setProcessEnvironment(environment);
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

/// The proxy of the local cloud, for the local cloud's host only.
class OnlyFor : public QNetworkProxyFactory
{
public:
    explicit OnlyFor(quint16 port) : m_proxy(QNetworkProxy::HttpProxy, "127.0.0.1", port) {}
    QList<QNetworkProxy> queryProxy(const QNetworkProxyQuery &query) override
    {
        return {query.peerHostName() == "cloud.zephal.example" ? m_proxy : QNetworkProxy(QNetworkProxy::NoProxy)};
    }

private:
    QNetworkProxy m_proxy;
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
        QNetworkProxyFactory::setApplicationProxyFactory(new OnlyFor(m_cloud.port()));
    }
    ~Local() override { QNetworkProxyFactory::setApplicationProxyFactory(nullptr); }

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
    QFile file(path(id));
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size())
        qFatal("cannot write %s", qPrintable(id));
    giveAway(path(id));
}

QByteArray DavServer::content(const QString &id) const
{
    QFile file(path(id));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : "unreadable: " + id.toUtf8();
}

QStringList DavServer::entries(const QString &folderId) const
{
    return QDir(path(folderId)).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot, QDir::Name);
}
