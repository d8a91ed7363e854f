// Lists a folder of 10,000 files from three WebDAV servers with the cloud library, against rclone and against curl with
// the same question. Usage: bench_zephal [ROUNDS]

#include "pelago/Cloud.h"
#include "pelago/DavServers.h"
#include "Programs.h"
#include "Report.h"
#include "tour/CloudProcess.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTemporaryDir>

#include <limits>

namespace {

const int files = 10000;
const double failed = std::numeric_limits<double>::quiet_NaN();
const QString shelf = QStringLiteral("parts");
const QString question = QStringLiteral("<?xml version=\"1.0\" encoding=\"utf-8\"?>\n"
                                        "<propfind xmlns=\"DAV:\"><prop><resourcetype/><getcontentlength/>"
                                        "<getlastmodified/><getetag/><getcontenttype/></prop></propfind>");

/// rclone's server as it is by default. That of the tests looks at the disk for every single entry, minutes long here.
class RcloneServer : public DavServer
{
public:
    RcloneServer()
    {
        QTcpServer probe;
        probe.listen(QHostAddress::LocalHost);
        const QString authority = QStringLiteral("127.0.0.1:%1").arg(probe.serverPort());
        const quint16 port = probe.serverPort();
        probe.close();
        folder = m_home.path();
        storage = QStringLiteral("http://%1/dav/").arg(authority);
        m_process.start(QStringLiteral("rclone"),
                        {QStringLiteral("serve"), QStringLiteral("webdav"), folder, QStringLiteral("--addr"), authority,
                         QStringLiteral("--baseurl"), QStringLiteral("/dav"), QStringLiteral("--config"), QString(),
                         QStringLiteral("--user"), QStringLiteral("demo"), QStringLiteral("--pass"),
                         QStringLiteral("demo")});
        QElapsedTimer clock;
        clock.start();
        QTcpSocket socket;
        do {
            m_process.waitForFinished(20);
            socket.connectToHost(QHostAddress::LocalHost, port);
        } while (!socket.waitForConnected(1000) && clock.elapsed() < 20000);
    }
    ~RcloneServer() override
    {
        m_process.terminate();
        m_process.waitForFinished(5000);
    }

private:
    QTemporaryDir m_home;
    DependentProcess m_process;
};

std::unique_ptr<DavServer> start(const QString &name)
{
    if (name == QLatin1String("rclone"))
        return std::make_unique<RcloneServer>();
    return DavServer::start(name);
}

double since(const QElapsedTimer &clock)
{
    return double(clock.nsecsElapsed()) / 1e6;
}

double library(Cloud &cloud)
{
    QElapsedTimer clock;
    clock.start();
    const int count = cloud.list(shelf.toUtf8());
    const double ms = since(clock);
    return count == files && cloud.entries.size() == files ? ms : failed;
}

double rclone(const DavServer &server, const QByteArray &password)
{
    const QStringList arguments{QStringLiteral("lsf"),           QStringLiteral(":webdav:") + shelf,
                                QStringLiteral("--config"),      QString(),
                                QStringLiteral("--webdav-url"),  server.storage,
                                QStringLiteral("--webdav-user"), QStringLiteral("demo"),
                                QStringLiteral("--webdav-pass"), password};
    QElapsedTimer clock;
    clock.start();
    const QByteArray names = outputOf(QStringLiteral("rclone"), arguments);
    const double ms = since(clock);
    return names.count('\n') == files ? ms : failed;
}

double curl(const DavServer &server)
{
    return 1000 * curlSeconds({QStringLiteral("-o"), QStringLiteral("/dev/null"), QStringLiteral("-u"),
                               QStringLiteral("demo:demo"), QStringLiteral("-X"), QStringLiteral("PROPFIND"),
                               QStringLiteral("-H"), QStringLiteral("Depth: 1"), QStringLiteral("-H"),
                               QStringLiteral("Content-Type: application/xml"), QStringLiteral("--data"), question,
                               server.storage + shelf + '/'});
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    const int rounds = roundsFrom(argc, argv);
    const QByteArray password =
        outputOf(QStringLiteral("rclone"), {QStringLiteral("obscure"), QStringLiteral("demo")}).trimmed();
    Report report(QStringLiteral("zephal"));
    for (const char *name : {"apache", "nginx", "rclone"}) {
        const std::unique_ptr<DavServer> server = start(QString::fromLatin1(name));
        server->makeFolder(shelf);
        for (int i = 0; i < files; ++i)
            server->makeFile(shelf + QStringLiteral("/Bracket, left %1.obj").arg(i), "v 0 0 0\n");
        Cloud cloud(server->storage);
        if (cloud.signIn() != 1)
            return 2;
        const auto ours = [&] { return library(cloud); };
        const QString what = QStringLiteral("10,000 entries from %1, against ").arg(QLatin1String(name));
        report.addRatio(what + QStringLiteral("rclone lsf"),
                        alternate(rounds, ours, [&] { return rclone(*server, password); }), QStringLiteral("ms"),
                        {Target::Kind::AtMost, 1});
        report.addRatio(what + QStringLiteral("curl"), alternate(rounds, ours, [&] { return curl(*server); }),
                        QStringLiteral("ms"), {Target::Kind::None, 0});
    }
    return report.exitStatus();
}
