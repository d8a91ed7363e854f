// Lists a folder of 10,000 files from three WebDAV servers with the cloud library, against rclone and against curl with
// the same question. Usage: bench_zephal [ROUNDS]

#include "pelago/Cloud.h"
#include "pelago/DavServers.h"
#include "Programs.h"
#include "Report.h"

#include <QCoreApplication>
#include <QElapsedTimer>

#include <limits>

namespace {

const int files = 10000;
const double failed = std::numeric_limits<double>::quiet_NaN();
const QString folder = QStringLiteral("parts");
const QString question = QStringLiteral("<?xml version=\"1.0\" encoding=\"utf-8\"?>\n"
                                        "<propfind xmlns=\"DAV:\"><prop><resourcetype/><getcontentlength/>"
                                        "<getlastmodified/><getetag/><getcontenttype/></prop></propfind>");

double since(const QElapsedTimer &clock)
{
    return double(clock.nsecsElapsed()) / 1e6;
}

double library(const Cloud &cloud)
{
    QVector<Entry> entries;
    QElapsedTimer clock;
    clock.start();
    const int count = cloud.list(folder, &entries);
    const double ms = since(clock);
    return count == files && entries.size() == files ? ms : failed;
}

double rclone(const DavServer &server, const QByteArray &password)
{
    const QStringList arguments{QStringLiteral("lsf"),           QStringLiteral(":webdav:") + folder,
                                QStringLiteral("--config"),      QString(),
                                QStringLiteral("--webdav-url"),  server.storage(),
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
                               server.storage() + folder + '/'});
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
        const std::unique_ptr<DavServer> server = DavServer::start(QString::fromLatin1(name));
        server->makeFolder(folder);
        for (int i = 0; i < files; ++i)
            server->makeFile(folder + QStringLiteral("/Bracket, left %1.obj").arg(i), "v 0 0 0\n");
        Cloud cloud(server->storage());
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
