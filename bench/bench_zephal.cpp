// The cloud library against rclone and curl on WebDAV servers of this machine:
// a folder of 10,000 files, 100 small uploads, and 1 GiB down and up. Usage:
// bench_zephal [ROUNDS]

#include "pelago/Cloud.h"
#include "pelago/DavServers.h"
#include "Programs.h"
#include "Report.h"
#include "Toolkit.h"
#include "tour/CloudProcess.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTemporaryDir>

#include <limits>

namespace {

const int files = 10000;
const int uploads = 100;
const qint64 largeBytes = qint64{1024} * 1024 * 1024;
const double failed = std::numeric_limits<double>::quiet_NaN();
const QString shelf = QStringLiteral("parts");
const QString question = QStringLiteral("<?xml version=\"1.0\" encoding=\"utf-8\"?>\n"
                                        "<propfind xmlns=\"DAV:\"><prop><resourcetype/><getcontentlength/>"
                                        "<getlastmodified/><getetag/><getcontenttype/></prop></propfind>");

/// rclone's server as it is by default. That of the tests looks at the disk for
/// every single entry, minutes long here.
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

/// The milliseconds that rclone takes for \p command on the server; \p output
/// receives what it prints.
double rclone(const DavServer &server, const QStringList &command, QByteArray *output)
{
    static const QByteArray password =
        outputOf(QStringLiteral("rclone"), {QStringLiteral("obscure"), QStringLiteral("demo")}).trimmed();
    const QStringList arguments{QStringLiteral("--config"),
                                QString(),
                                QStringLiteral("--webdav-url"),
                                server.storage,
                                QStringLiteral("--webdav-user"),
                                QStringLiteral("demo"),
                                QStringLiteral("--webdav-pass"),
                                password,
                                QStringLiteral("--no-check-certificate")};
    QElapsedTimer clock;
    clock.start();
    *output = outputOf(QStringLiteral("rclone"), command + arguments);
    return since(clock);
}

double rcloneList(const DavServer &server)
{
    QByteArray names;
    const double ms = rclone(server, {QStringLiteral("lsf"), QStringLiteral(":webdav:") + shelf}, &names);
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

/// Stores the same small file under new names.
double smallUploads(Cloud &cloud, DavServer &server)
{
    static int call = 0;
    const QString to = QStringLiteral("ours %1").arg(++call);
    server.makeFolder(to);
    const QByteArray path = cloud.write("local", QByteArray(2000, 'x'));
    QElapsedTimer clock;
    clock.start();
    for (int i = 0; i < uploads; ++i) {
        const QByteArray name = "Part " + QByteArray::number(i);
        const char *const paths[] = {path.constData()};
        const char *const names[] = {name.constData()};
        if (Skein_Storage_uploadFiles(cloud.endPoint, to.toUtf8(), paths, names, 1, nullptr, nullptr) != 1)
            return failed;
    }
    const double ms = since(clock);
    return server.entries(to).size() == uploads ? ms : failed;
}

double rcloneUploads(DavServer &server, const QString &from)
{
    static int call = 0;
    const QString to = QStringLiteral("theirs %1").arg(++call);
    server.makeFolder(to);
    QByteArray output;
    const double ms = rclone(server, {QStringLiteral("copy"), from, QStringLiteral(":webdav:") + to}, &output);
    return server.entries(to).size() == uploads ? ms : failed;
}

void reportLists(Report &report, int rounds)
{
    for (const char *name : {"apache", "nginx", "rclone"}) {
        const std::unique_ptr<DavServer> server = start(QString::fromLatin1(name));
        server->makeFolder(shelf);
        for (int i = 0; i < files; ++i)
            server->makeFile(shelf + QStringLiteral("/Bracket, left %1.obj").arg(i), "v 0 0 0\n");
        Cloud cloud(server->storage);
        cloud.signIn();
        const auto ours = [&] { return library(cloud); };
        const QString what = QStringLiteral("10,000 entries from %1, against ").arg(QLatin1String(name));
        report.addRatio(what + QStringLiteral("rclone lsf"),
                        alternate(rounds, ours, [&] { return rcloneList(*server); }), QStringLiteral("ms"),
                        {Target::Kind::AtMost, 1});
        report.addRatio(what + QStringLiteral("curl"), alternate(rounds, ours, [&] { return curl(*server); }),
                        QStringLiteral("ms"), {Target::Kind::None, 0});
    }
}

void reportSmallUploads(Report &report, int rounds)
{
    QTemporaryDir from;
    for (int i = 0; i < uploads; ++i)
        writeFile(from.filePath(QStringLiteral("Part %1").arg(i)), QByteArray(2000, 'x'));
    for (const char *name : {"apache", "nginx", "rclone", "proxied"}) {
        const std::unique_ptr<DavServer> server = DavServer::start(QString::fromLatin1(name));
        Cloud cloud(server->storage);
        cloud.signIn();
        report.addRatio(QStringLiteral("100 small uploads to %1, against rclone copy").arg(QLatin1String(name)),
                        alternate(
                            rounds, [&] { return smallUploads(cloud, *server); },
                            [&] { return rcloneUploads(*server, from.path()); }),
                        QStringLiteral("ms"), {Target::Kind::AtMost, 1});
    }
}

/// The rate of moving the large file, of \p ms.
double rate(bool moved, double ms)
{
    return moved ? double(largeBytes) / 1000 / ms : failed;
}

void reportLargeFile(Report &report, int rounds, const QString &name)
{
    const std::unique_ptr<DavServer> server = start(name);
    Cloud cloud(server->storage);
    cloud.signIn();
    QTemporaryDir home;
    const QString source = home.filePath(QStringLiteral("source"));
    server->makeFile(QStringLiteral("large"), QByteArray());
    if (!writeNoise(source, largeBytes) || !writeNoise(server->path(QStringLiteral("large")), largeBytes))
        return;
    const auto timed = [](const std::function<bool()> &move) {
        QElapsedTimer clock;
        clock.start();
        const bool moved = move();
        return rate(moved, since(clock));
    };
    const auto theirs = [&](const QStringList &fromTo, const QString &result) {
        return timed([&] {
            QByteArray output;
            rclone(*server, QStringList{QStringLiteral("copyto"), QStringLiteral("--ignore-times")} + fromTo, &output);
            return QFileInfo(result).size() == largeBytes;
        });
    };
    const QString what = QStringLiteral("1 GiB %2, %1, against rclone copyto").arg(name);
    const QString copy = home.filePath(QStringLiteral("copy"));
    report.addRatio(what.arg(QStringLiteral("down")),
                    alternate(
                        rounds, [&] { return timed([&] { return cloud.download("", "large") == 1; }); },
                        [&] {
                            return theirs({QStringLiteral(":webdav:large"), copy}, copy);
                        }),
                    QStringLiteral("MB/s"), {Target::Kind::AtLeast, 1});
    QUrl direct(server->storage + QStringLiteral("large"));
    direct.setUserInfo(QStringLiteral("demo:demo"));
    report.addRatio(QStringLiteral("1 GiB down, %1: the toolkit alone").arg(name),
                    alternate(
                        rounds, [&] { return double(largeBytes) / 1e6 / toolkitDownloadSeconds(direct, copy); },
                        [&] {
                            return theirs({QStringLiteral(":webdav:large"), copy}, copy);
                        }),
                    QStringLiteral("MB/s"), {Target::Kind::None, 0});
    QFile::remove(cloud.local("local"));
    QFile::link(source, cloud.local("local"));
    report.addRatio(
        what.arg(QStringLiteral("up")),
        alternate(
            rounds, [&] { return timed([&] { return cloud.replace("", "ours") == 1; }); },
            [&] {
                return theirs({source, QStringLiteral(":webdav:theirs")}, server->path(QStringLiteral("theirs")));
            }),
        QStringLiteral("MB/s"), {Target::Kind::AtLeast, 0.6});
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    const int rounds = roundsFrom(argc, argv);
    Report report(QStringLiteral("zephal"));
    reportLists(report, rounds);
    reportSmallUploads(report, rounds);
    for (const char *name : {"apache", "proxied"})
        reportLargeFile(report, rounds, QString::fromLatin1(name));
    return report.exitStatus();
}
