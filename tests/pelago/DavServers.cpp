#include "pelago/DavServers.h"

#include <localcloud/LocalCloud.h>

#include <QCryptographicHash>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QNetworkProxy>
#include <QProcess>
#include <QSslConfiguration>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTemporaryDir>

#include <unistd.h>

namespace {

constexpr uint nobody = 65534;

void giveAway(const QString &path)
{
    if (geteuid() == 0 && chown(QFile::encodeName(path).constData(), nobody, nobody) != 0)
        qFatal("cannot give away %s", qPrintable(path));
}

quint16 freePort()
{
    QTcpServer probe;
    probe.listen(QHostAddress::LocalHost);
    return probe.serverPort();
}

/// A server from the system's packages.
class ProcessServer : public DavServer
{
public:
    ~ProcessServer() override
    {
        m_process.terminate();
        m_process.waitForFinished(5000);
    }

    void run()
    {
        // Not below TMPDIR, which only the user of the tests may enter.
        QFile::setPermissions(m_home.path(), QFileDevice::Permissions(0x7755));
        m_folder = m_home.filePath("root/dav");
        for (const char *part : {"", "/root", "/root/dav", "/tmp"}) {
            QDir().mkpath(m_home.path() + part);
            giveAway(m_home.path() + part);
        }
        const QByteArray hash = QCryptographicHash::hash("demo", QCryptographicHash::Sha1).toBase64();
        writeText("users", "demo:{SHA}" + hash + '\n');
        // Another program may take the port before the server does.
        for (int attempt = 0; attempt < 3; ++attempt) {
            if (runOnce(freePort()))
                return;
        }
        qFatal("no WebDAV server %s", m_process.readAll().constData());
    }

protected:
    virtual QStringList command(const QString &port) = 0;
    QString home(const char *name) const { return m_home.filePath(name); }
    void writeText(const char *name, const QByteArray &text)
    {
        QFile file(home(name));
        if (!file.open(QIODevice::WriteOnly) || file.write(text) != text.size())
            qFatal("cannot write %s", name);
    }

private:
    bool runOnce(quint16 port)
    {
        m_storage = QStringLiteral("http://127.0.0.1:%1/dav/").arg(port);
        QStringList line{"--pdeathsig", "TERM"};
        if (geteuid() == 0)
            line << "--reuid=65534"
                 << "--regid=65534"
                 << "--clear-groups";
        m_process.setWorkingDirectory(m_home.path());
        m_process.setProcessChannelMode(QProcess::MergedChannels);
        QProcessEnvironment environment;
        environment.insert("PATH", "/usr/local/bin:/usr/bin:/bin:/usr/sbin:/sbin");
        environment.insert("HOME", m_home.path());
        environment.insert("TMPDIR", home("tmp"));
        m_process.setProcessEnvironment(environment);
        m_process.start("setpriv", line + command(QString::number(port)));
        QElapsedTimer clock;
        clock.start();
        while (m_process.state() != QProcess::NotRunning && clock.elapsed() < 20000) {
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

class Apache : public ProcessServer
{
    QStringList command(const QString &port) override
    {
        QByteArray text =
            "ServerName 127.0.0.1\nListen 127.0.0.1:" + port.toUtf8() + "\nPidFile pid\nErrorLog errors\n";
        text += "DefaultRuntimeDir tmp\nDocumentRoot root\nDavLockDB tmp/locks\n";
        for (const char *name : {"mpm_event", "authn_core", "authn_file", "authz_core", "authz_user", "auth_basic",
                                 "dav", "dav_fs", "dir"})
            text += QByteArray("LoadModule ") + name + "_module /usr/lib/apache2/modules/mod_" + name + ".so\n";
        text += "<Location /dav>\nDav On\nDirectoryIndex disabled\nAuthType Basic\nAuthName x\nAuthUserFile users\n"
                "Require valid-user\n</Location>\n";
        writeText("apache.conf", text);
        return {"apache2", "-d", home(""), "-f", home("apache.conf"), "-D", "FOREGROUND"};
    }
};

class Nginx : public ProcessServer
{
public:
    Nginx() { m_traits.listsDotFiles = false; }

private:
    QStringList command(const QString &port) override
    {
        QByteArray text = "load_module /usr/lib/nginx/modules/ngx_http_dav_ext_module.so;\ndaemon off;\npid pid;\n"
                          "events {}\nhttp {\naccess_log off;\n";
        for (const char *kind : {"client_body", "proxy", "fastcgi", "uwsgi", "scgi"})
            text += QByteArray(kind) + "_temp_path tmp/" + kind + ";\n";
        text += "server {\nlisten 127.0.0.1:" + port.toUtf8() +
                ";\nroot root;\nclient_max_body_size 0;\n"
                "location /dav/ {\ndav_methods PUT DELETE MKCOL COPY MOVE;\ndav_ext_methods PROPFIND OPTIONS;\n"
                "auth_basic x;\nauth_basic_user_file users;\n}\n}\n}\n";
        writeText("nginx.conf", text);
        return {"nginx", "-p", home(""), "-c", home("nginx.conf"), "-e", "stderr"};
    }
};

class Rclone : public ProcessServer
{
public:
    Rclone() { m_traits.forgetsCutUploads = false; }

private:
    QStringList command(const QString &port) override
    {
        return {"rclone",    "serve", "webdav",           m_folder, "--addr",          "127.0.0.1:" + port,
                "--baseurl", "/dav",  "--config",         "",       "--user",          "demo",
                "--pass",    "demo",  "--dir-cache-time", "1ms",    "--poll-interval", "0"};
    }
};

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
        m_storage = "https://cloud.zephal.example/dav/";
        m_folder = m_cloud.zephalDir();
        QSslConfiguration tls = QSslConfiguration::defaultConfiguration();
        tls.addCaCertificate(m_cloud.caCertificate());
        QSslConfiguration::setDefaultConfiguration(tls);
        QNetworkProxyFactory::setApplicationProxyFactory(new OnlyFor(m_cloud.port()));
    }
    ~Local() override { QNetworkProxyFactory::setApplicationProxyFactory(nullptr); }

private:
    LocalCloud m_cloud;
};

template <class Server>
std::unique_ptr<DavServer> running()
{
    auto server = std::make_unique<Server>();
    server->run();
    return server;
}

} // namespace

QStringList DavServer::names()
{
    return {"apache", "nginx", "rclone", "localcloud"};
}

std::unique_ptr<DavServer> DavServer::start(const QString &name)
{
    if (name == "apache")
        return running<Apache>();
    if (name == "nginx")
        return running<Nginx>();
    if (name == "rclone")
        return running<Rclone>();
    return std::make_unique<Local>();
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
