#include "FileServer.h"

#include "References.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QTcpServer>
#include <QTcpSocket>

#include <cstdio>

namespace {

constexpr int kStartTimeoutMs = 20000;

const char kConfiguration[] = R"(
daemon off;
master_process off;
pid pid;
events {}
http {
  access_log off;
  sendfile on;
  client_body_temp_path body;
  proxy_temp_path proxy;
  fastcgi_temp_path fastcgi;
  uwsgi_temp_path uwsgi;
  scgi_temp_path scgi;
  server {
    listen 127.0.0.1:%1;
    listen 127.0.0.1:%2 ssl;
    ssl_certificate certificate.pem;
    ssl_certificate_key key.pem;
    root files;
    client_max_body_size 0;
    location /up/ {
      client_body_in_file_only clean;
      proxy_pass_request_body off;
      proxy_set_header Content-Length "";
      proxy_method GET;
      rewrite ^ /stored break;
      proxy_pass http://127.0.0.1:%1;
    }
    location = /stored { return 200; }
  }
}
)";

quint16 freePort()
{
    QTcpServer probe;
    probe.listen(QHostAddress::LocalHost);
    return probe.serverPort();
}

} // namespace

FileServer::~FileServer()
{
    m_process.terminate();
    m_process.waitForFinished(5000);
}

QString FileServer::address(bool https) const
{
    return QStringLiteral("%1://127.0.0.1:%2/").arg(https ? "https" : "http").arg(port(https));
}

bool FileServer::start()
{
    m_httpPort = freePort();
    m_httpsPort = freePort();
    QDir().mkpath(folder());
    if (!writeConfiguration())
        return false;
    m_process.setProcessChannelMode(QProcess::ForwardedChannels);
    m_process.start(QStringLiteral("nginx"),
                    {QStringLiteral("-p"), m_home.path(), QStringLiteral("-c"),
                     m_home.filePath(QStringLiteral("nginx.conf")), QStringLiteral("-e"), QStringLiteral("stderr")});
    QElapsedTimer clock;
    clock.start();
    while (m_process.state() != QProcess::NotRunning && clock.elapsed() < kStartTimeoutMs) {
        if (isListening(m_httpPort) && isListening(m_httpsPort))
            return true;
        m_process.waitForFinished(20);
    }
    std::fprintf(stderr, "nginx did not start: %s\n", qPrintable(m_process.errorString()));
    return false;
}

bool FileServer::writeConfiguration() const
{
    const QStringList words = QStringLiteral("req -x509 -newkey rsa:2048 -nodes -days 2 -subj /CN=127.0.0.1 "
                                             "-addext subjectAltName=IP:127.0.0.1 -out")
                                  .split(' ');
    const QStringList files{certificate(), QStringLiteral("-keyout"), m_home.filePath(QStringLiteral("key.pem"))};
    outputOf(QStringLiteral("openssl"), words + files);
    QFile file(m_home.filePath(QStringLiteral("nginx.conf")));
    const QByteArray text = QString::fromLatin1(kConfiguration).arg(m_httpPort).arg(m_httpsPort).toUtf8();
    return QFile::exists(certificate()) && file.open(QIODevice::WriteOnly) && file.write(text) == text.size();
}

bool FileServer::isListening(quint16 port) const
{
    QTcpSocket socket;
    socket.connectToHost(QHostAddress::LocalHost, port);
    return socket.waitForConnected(1000);
}
