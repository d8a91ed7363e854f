// The cloud library against rclone and curl on WebDAV servers of this machine: a folder of 10,000 files, 100 small
// uploads, and 1 GiB down and up. Usage: bench_zephal [ROUNDS]

#include "Measure.h"
#include "pelago/Cloud.h"
#include "pelago/DavServers.h"
#include "References.h"
#include "Report.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QTemporaryDir>

namespace {

constexpr int kFiles = 10000;
constexpr int kUploads = 100;
constexpr qint64 kLargeBytes = 1024 * kMebibyte;
const QString kFolder = QStringLiteral("parts");
const QString kPropfind = QStringLiteral("<?xml version=\"1.0\" encoding=\"utf-8\"?>\n"
                                         "<propfind xmlns=\"DAV:\"><prop><resourcetype/><getcontentlength/>"
                                         "<getlastmodified/><getetag/><getcontenttype/></prop></propfind>");

/// Starts a server of the tests. The test's rclone reads the disk for every entry, which takes minutes here.
std::unique_ptr<DavServer> start(const QString &name)
{
    return std::make_unique<DavServer>(name == QLatin1String("rclone") ? QStringLiteral("cached rclone") : name);
}

double listWithLibrary(Cloud &cloud)
{
    QElapsedTimer clock;
    clock.start();
    const int count = cloud.list(kFolder.toUtf8());
    const double ms = milliseconds(clock);
    return count == kFiles && cloud.entries.size() == kFiles ? ms : kFailed;
}

/// The milliseconds that rclone needs for \p command on the server. Stores its output in \p output.
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
    return milliseconds(clock);
}

double rcloneList(const DavServer &server)
{
    QByteArray names;
    const double ms = rclone(server, {QStringLiteral("lsf"), QStringLiteral(":webdav:") + kFolder}, &names);
    return names.count('\n') == kFiles ? ms : kFailed;
}

double curl(const DavServer &server)
{
    return 1000 * curlSeconds({QStringLiteral("-o"), QStringLiteral("/dev/null"), QStringLiteral("-u"),
                               QStringLiteral("demo:demo"), QStringLiteral("-X"), QStringLiteral("PROPFIND"),
                               QStringLiteral("-H"), QStringLiteral("Depth: 1"), QStringLiteral("-H"),
                               QStringLiteral("Content-Type: application/xml"), QStringLiteral("--data"), kPropfind,
                               server.storage + kFolder + '/'});
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
    for (int i = 0; i < kUploads; ++i) {
        const QByteArray name = "Part " + QByteArray::number(i);
        const char *const paths[] = {path.constData()};
        const char *const names[] = {name.constData()};
        if (Skein_Storage_uploadFiles(cloud.endPoint, to.toUtf8(), paths, names, 1, nullptr, nullptr) != 1)
            return kFailed;
    }
    const double ms = milliseconds(clock);
    return server.entries(to).size() == kUploads ? ms : kFailed;
}

double rcloneUploads(DavServer &server, const QString &from)
{
    static int call = 0;
    const QString to = QStringLiteral("theirs %1").arg(++call);
    server.makeFolder(to);
    QByteArray output;
    const double ms = rclone(server, {QStringLiteral("copy"), from, QStringLiteral(":webdav:") + to}, &output);
    return server.entries(to).size() == kUploads ? ms : kFailed;
}

void reportLists(Report &report, int rounds)
{
    for (const char *name : {"apache", "nginx", "rclone"}) {
        const std::unique_ptr<DavServer> server = start(QString::fromLatin1(name));
        server->makeFolder(kFolder);
        for (int i = 0; i < kFiles; ++i)
            server->makeFile(kFolder + QStringLiteral("/Bracket, left %1.obj").arg(i), "v 0 0 0\n");
        Cloud cloud(server->storage);
        cloud.signIn();
        const auto ours = [&] { return listWithLibrary(cloud); };
        const QString what = QStringLiteral("10,000 entries from %1, against ").arg(QLatin1String(name));
        report.addRatio(what + QStringLiteral("rclone lsf"),
                        alternate(rounds, ours, [&] { return rcloneList(*server); }), QStringLiteral("ms"),
                        {Target::Kind::AtMost, 1});
        report.addRatio(what + QStringLiteral("curl"), alternate(rounds, ours, [&] { return curl(*server); }),
                        QStringLiteral("ms"), kNoTarget);
    }
}

void reportSmallUploads(Report &report, int rounds)
{
    QTemporaryDir from;
    for (int i = 0; i < kUploads; ++i)
        writeFile(from.filePath(QStringLiteral("Part %1").arg(i)), QByteArray(2000, 'x'));
    for (const char *name : {"apache", "nginx", "rclone", "proxied"}) {
        const auto server = std::make_unique<DavServer>(QString::fromLatin1(name));
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
    return moved ? double(kLargeBytes) / 1000 / ms : kFailed;
}

void reportLargeFile(Report &report, int rounds, const QString &name)
{
    const std::unique_ptr<DavServer> server = start(name);
    Cloud cloud(server->storage);
    cloud.signIn();
    QTemporaryDir home;
    const QString source = home.filePath(QStringLiteral("source"));
    server->makeFile(QStringLiteral("large"), QByteArray());
    if (!writeNoise(source, kLargeBytes) || !writeNoise(server->path(QStringLiteral("large")), kLargeBytes))
        return;
    const auto timed = [](const std::function<bool()> &move) {
        QElapsedTimer clock;
        clock.start();
        const bool moved = move();
        return rate(moved, milliseconds(clock));
    };
    const auto theirs = [&](const QStringList &fromTo, const QString &result) {
        return timed([&] {
            QByteArray output;
            rclone(*server, QStringList{QStringLiteral("copyto"), QStringLiteral("--ignore-times")} + fromTo, &output);
            return QFileInfo(result).size() == kLargeBytes;
        });
    };
    const QString what = QStringLiteral("1 GiB %2, %1, against rclone copyto").arg(name);
    const QString copy = home.filePath(QStringLiteral("copy"));
    const bool behindTls = server->storage.startsWith(QLatin1String("https"));
    const auto ours = [&] { return timed([&] { return cloud.download("", "large") == 1; }); };
    report.addRatio(what.arg(QStringLiteral("down")),
                    alternate(rounds, ours,
                              [&] {
                                  return theirs({QStringLiteral(":webdav:large"), copy}, copy);
                              }),
                    QStringLiteral("MB/s"), behindTls ? kNoTarget : Target{Target::Kind::AtLeast, 1});
    QUrl direct(server->storage + QStringLiteral("large"));
    direct.setUserInfo(QStringLiteral("demo:demo"));
    report.addRatio(
        QStringLiteral("1 GiB down, %1, against the toolkit alone").arg(name),
        alternate(rounds, ours, [&] { return double(kLargeBytes) / 1e6 / qtDownloadSeconds(direct, copy); }),
        QStringLiteral("MB/s"), kLikeToolkit);
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
