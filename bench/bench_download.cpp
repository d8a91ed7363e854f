// Downloads one file from nginx over http and https: the rate against curl, memory, and the gaps of a timer in the
// host's event loop. Usage: bench_download [ROUNDS [MIB]]

#include "FileServer.h"
#include "http/httpClient.h"
#include "Measure.h"
#include "References.h"
#include "Report.h"
#include "ui/KeldaProgram.h"

#include <QApplication>

#include <cstdio>

namespace {

const QString kFileName = QStringLiteral("model.bin");

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
        const bool canMeasure = resetPeak() && before >= 0;
        const TimerGaps timer;
        QElapsedTimer clock;
        clock.start();
        const ReturnStatus status =
            client.getFile(folder.path() + '/', QStringLiteral("ours.bin"), '/' + kFileName, {}, https);
        const double seconds = milliseconds(clock) / 1000;
        const std::vector<double> gaps = timer.gaps();
        const bool succeeded = status.IsSuccess() && canMeasure && QFile(target).size() == size;
        growth.push_back(succeeded ? double(peakResidentBytes() - before) / double(kMebibyte) : kFailed);
        percentile.push_back(succeeded ? quantile(gaps, 0.99) : kFailed);
        largestGap.push_back(succeeded ? largest(gaps) : kFailed);
        return succeeded ? megabytesPerSecond(seconds) : kFailed;
    }

    double qt() const
    {
        const QString target = folder.filePath(QStringLiteral("toolkit.bin"));
        QFile::remove(target);
        return megabytesPerSecond(qtDownloadSeconds(server.address(https) + kFileName, target));
    }

    double curl() const
    {
        const QString target = folder.filePath(QStringLiteral("curl.bin"));
        QFile::remove(target);
        return megabytesPerSecond(
            curlSeconds({QStringLiteral("-k"), QStringLiteral("-o"), target, server.address(https) + kFileName}));
    }
};

} // namespace

int main(int argc, char **argv)
{
    QApplication application(argc, argv);
    const int rounds = roundsFrom(argc, argv);
    const qint64 size = (argc > 2 ? QByteArray(argv[2]).toLongLong() : 1024) * kMebibyte;
    const QTemporaryDir folder;
    FileServer server;
    KeldaOptions options;
    options.echo = false;
    options.userDir = folder.filePath(QStringLiteral("kelda"));
    if (!server.start() || !writeNoise(server.folder() + '/' + kFileName, size))
        return 2;
    KeldaProgram host(options);
    host.start();

    Report report(QStringLiteral("download"));
    for (const bool https : {false, true}) {
        const QString what = QStringLiteral("%1 MiB over %2: ").arg(size / kMebibyte).arg(https ? "https" : "http");
        Downloads downloads{server, folder, size, https, {}, {}, {}};
        const Rounds rates = alternate(
            rounds, [&] { return downloads.ours(); }, [&] { return downloads.curl(); });
        report.addRatio(what + QStringLiteral("rate, against curl"), rates, QStringLiteral("MB/s"),
                        https ? kNoTarget : Target{Target::Kind::AtLeast, 0.9});
        const Rounds toolkit = alternate(
            rounds, [&] { return downloads.ours(); }, [&] { return downloads.qt(); });
        report.addRatio(what + QStringLiteral("rate, against the toolkit"), toolkit, QStringLiteral("MB/s"),
                        kLikeToolkit);
        report.addValues(what + QStringLiteral("memory growth"), downloads.growth, largest, QStringLiteral("MiB"),
                         {Target::Kind::AtMost, 48});
        report.addValues(what + QStringLiteral("99th percentile gap"), downloads.percentile, median,
                         QStringLiteral("ms"), {Target::Kind::AtMost, 50});
        report.addValues(what + QStringLiteral("largest gap"), downloads.largestGap, largest, QStringLiteral("ms"),
                         {Target::Kind::AtMost, 200});
    }
    return report.exitStatus();
}
