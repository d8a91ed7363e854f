// Uploads one file to nginx, over http and https, and through a proxy to the local cloud, against curl: rate and
// memory. Usage: bench_upload [ROUNDS [MIB]]

#include "FileServer.h"
#include "http/httpClient.h"
#include "Memory.h"
#include "Programs.h"
#include "Report.h"
#include "Toolkit.h"
#include "ui/KeldaProgram.h"

#include <openkelda/KQtUtil.h>

#include <QApplication>
#include <QElapsedTimer>
#include <QFile>

#include <cstdio>
#include <limits>

namespace {

const qint64 mebibyte = 1024 * 1024;
const double allowedMiB = 32;
const double failed = std::numeric_limits<double>::quiet_NaN();
const QString cloudHost = QStringLiteral("api-content.dropbox.com");

struct Uploads
{
    QString folder; ///< holds "upload.bin"
    qint64 size;
    QString host;
    quint16 port; ///< 0: the usual one
    QString path;
    bool https;
    QStringList curlOptions;
    std::vector<double> growth; ///< beyond the file itself

    double megabytesPerSecond(double seconds) const { return double(size) / 1e6 / seconds; }

    double ours()
    {
        httpClient client;
        client.setHost(host.toLatin1(), port);
        QByteArray answer;
        const qint64 before = residentBytes();
        const bool canMeasure = forgetPeak() && before >= 0;
        QElapsedTimer clock;
        clock.start();
        const ReturnStatus status =
            client.postFile(KQtUtil::toKString(folder + '/'), "upload.bin", path, {}, https, answer);
        const double seconds = double(clock.nsecsElapsed()) / 1e9;
        const bool held = status.IsSuccess() && canMeasure;
        growth.push_back(held ? double(peakResidentBytes() - before - size) / double(mebibyte) : failed);
        return held ? megabytesPerSecond(seconds) : failed;
    }

    QString address() const
    {
        const QString authority = port == 0 ? host : host + ':' + QString::number(port);
        return (https ? "https://" : "http://") + authority + path;
    }

    double toolkit() const
    {
        return megabytesPerSecond(toolkitUploadSeconds(folder + QStringLiteral("/upload.bin"), address()));
    }

    double curl() const
    {
        const QStringList arguments{QStringLiteral("-H"),
                                    QStringLiteral("Expect:"),
                                    QStringLiteral("-o"),
                                    QStringLiteral("/dev/null"),
                                    QStringLiteral("-T"),
                                    folder + QStringLiteral("/upload.bin"),
                                    address()};
        return megabytesPerSecond(curlSeconds(curlOptions + arguments));
    }
};

bool join(const QString &target, const QStringList &files)
{
    QFile out(target);
    if (!out.open(QIODevice::WriteOnly))
        return false;
    for (const QString &name : files) {
        QFile in(name);
        if (!in.open(QIODevice::ReadOnly) || out.write(in.readAll()) <= 0)
            return false;
    }
    return true;
}

} // namespace

int main(int argc, char **argv)
{
    QApplication application(argc, argv);
    const int rounds = roundsFrom(argc, argv);
    const qint64 size = (argc > 2 ? QByteArray(argv[2]).toLongLong() : 500) * mebibyte;
    const QTemporaryDir folder;
    FileServer server;
    CloudProcess cloud;
    KeldaOptions options;
    QString error;
    options.caFile = folder.filePath(QStringLiteral("authorities.pem"));
    const QStringList rules{cloudHost + QStringLiteral(" /1/files_put/* status=200")};
    if (!server.start() || !cloud.start({folder.filePath(QStringLiteral("cloud")), rules, 0}) ||
        !join(options.caFile, {server.certificate(), cloud.caFile()}) ||
        !KeldaProgram::prepareNetwork(options, error) ||
        !writeNoise(folder.filePath(QStringLiteral("upload.bin")), size)) {
        std::fprintf(stderr, "bench_upload: cannot start: %s %s\n", qPrintable(cloud.error()), qPrintable(error));
        return 2;
    }

    const QStringList trusted{QStringLiteral("--cacert"), options.caFile};
    const QString here = QStringLiteral("127.0.0.1");
    const QString target = QStringLiteral("/up/upload.bin");
    struct Road
    {
        QString name;
        Uploads uploads;
    };
    Road roads[] = {
        {QStringLiteral("nginx over http"),
         {folder.path(), size, here, server.port(false), target, false, trusted, {}}},
        {QStringLiteral("nginx over https"), {folder.path(), size, here, server.port(true), target, true, trusted, {}}},
        {QStringLiteral("the local cloud by proxy"),
         {folder.path(), size, cloudHost, 0, QStringLiteral("/1/files_put/dropbox/upload.bin"), true, trusted, {}}}};
    Report report(QStringLiteral("upload"));
    for (Road &road : roads) {
        Uploads &uploads = road.uploads;
        const QString what = QStringLiteral("%1 MiB to %2: ").arg(size / mebibyte).arg(road.name);
        const Rounds rates = alternate(
            rounds, [&] { return uploads.ours(); }, [&] { return uploads.curl(); });
        report.addRatio(what + QStringLiteral("rate"), rates, QStringLiteral("MB/s"), {Target::Kind::AtLeast, 0.7});
        const Rounds floors = alternate(
            rounds, [&] { return uploads.toolkit(); }, [&] { return uploads.curl(); });
        report.addRatio(what + QStringLiteral("the toolkit alone"), floors, QStringLiteral("MB/s"),
                        {Target::Kind::None, 0});
        report.addValues(what + QStringLiteral("memory beyond the file"), uploads.growth, largest,
                         QStringLiteral("MiB"), {Target::Kind::AtMost, allowedMiB});
    }
    return report.exitStatus();
}
