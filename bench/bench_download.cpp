// Downloads one file from nginx, over http and https, against curl: rate, memory, and how long the host's event loop
// keeps a timer waiting meanwhile. Usage: bench_download [ROUNDS [MIB]]

#include "FileServer.h"
#include "http/httpClient.h"
#include "Memory.h"
#include "Programs.h"
#include "Report.h"
#include "TimerGaps.h"
#include "Toolkit.h"
#include "ui/KeldaProgram.h"

#include <QApplication>
#include <QElapsedTimer>

#include <cstdio>
#include <limits>

namespace {

const qint64 mebibyte = 1024 * 1024;
const int intervalMs = 16;
const QString fileName = QStringLiteral("model.bin");

struct Downloads
{
    const FileServer &server;
    const QTemporaryDir &folder;
    qint64 size;
    bool https;
    std::vector<double> growth;
    std::vector<double> percentile;
    std::vector<double> largestGap;

    double megabytesPerSecond(double seconds) const { return double(size) / 1e6 / seconds; }

    double ours()
    {
        const QString target = folder.filePath(QStringLiteral("ours.bin"));
        QFile::remove(target);
        httpClient client;
        client.setHost("127.0.0.1", server.port(https));
        const qint64 before = residentBytes();
        const bool canMeasure = forgetPeak() && before >= 0;
        const TimerGaps timer(intervalMs);
        QElapsedTimer clock;
        clock.start();
        const ReturnStatus status =
            client.getFile(folder.path() + '/', QStringLiteral("ours.bin"), '/' + fileName, {}, https);
        const double seconds = double(clock.nsecsElapsed()) / 1e9;
        const std::vector<double> gaps = timer.gaps();
        const bool held = status.IsSuccess() && canMeasure && QFile(target).size() == size;
        const double failed = std::numeric_limits<double>::quiet_NaN();
        growth.push_back(held ? double(peakResidentBytes() - before) / double(mebibyte) : failed);
        percentile.push_back(held ? quantile(gaps, 0.99) : failed);
        largestGap.push_back(held ? largest(gaps) : failed);
        return held ? megabytesPerSecond(seconds) : failed;
    }

    double toolkit() const
    {
        const QString target = folder.filePath(QStringLiteral("toolkit.bin"));
        QFile::remove(target);
        return megabytesPerSecond(toolkitDownloadSeconds(server.address(https) + fileName, target));
    }

    double curl() const
    {
        const QString target = folder.filePath(QStringLiteral("curl.bin"));
        QFile::remove(target);
        return megabytesPerSecond(
            curlSeconds({QStringLiteral("-k"), QStringLiteral("-o"), target, server.address(https) + fileName}));
    }
};

} // namespace

int main(int argc, char **argv)
{
    QApplication application(argc, argv);
    const int rounds = roundsFrom(argc, argv);
    const qint64 size = (argc > 2 ? QByteArray(argv[2]).toLongLong() : 1024) * mebibyte;
    const QTemporaryDir folder;
    FileServer server;
    KeldaOptions options;
    options.echo = false;
    options.userDir = folder.filePath(QStringLiteral("kelda"));
    if (!server.start() || !writeNoise(server.folder() + '/' + fileName, size))
        return 2;
    KeldaProgram host(options);
    host.start();

    Report report(QStringLiteral("download"));
    for (const bool https : {false, true}) {
        const QString what = QStringLiteral("%1 MiB over %2: ").arg(size / mebibyte).arg(https ? "https" : "http");
        Downloads downloads{server, folder, size, https, {}, {}, {}};
        const Rounds rates = alternate(
            rounds, [&] { return downloads.ours(); }, [&] { return downloads.curl(); });
        report.addRatio(what + QStringLiteral("rate"), rates, QStringLiteral("MB/s"),
                        {Target::Kind::AtLeast, https ? 0.7 : 0.9});
        const Rounds floors = alternate(
            rounds, [&] { return downloads.toolkit(); }, [&] { return downloads.curl(); });
        report.addRatio(what + QStringLiteral("the toolkit alone"), floors, QStringLiteral("MB/s"),
                        {Target::Kind::None, 0});
        report.addValues(what + QStringLiteral("memory growth"), downloads.growth, largest, QStringLiteral("MiB"),
                         {Target::Kind::AtMost, 48});
        report.addValues(what + QStringLiteral("99th percentile gap"), downloads.percentile, median,
                         QStringLiteral("ms"), {Target::Kind::AtMost, 50});
        report.addValues(what + QStringLiteral("largest gap"), downloads.largestGap, largest, QStringLiteral("ms"),
                         {Target::Kind::AtMost, 200});
    }
    return report.exitStatus();
}
