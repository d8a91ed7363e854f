// Uploads one file to nginx over http and https, and through a proxy to the local cloud: the rate against Qt alone and
// against curl, memory, and the largest gap of a timer in the host. Usage: bench_upload [ROUNDS [MIB]]

#include "FileServer.h"
#include "http/httpClient.h"
#include "Measure.h"
#include "References.h"
#include "Report.h"
#include "ui/KeldaProgram.h"

#include <openkelda/KQtUtil.h>

#include <QApplication>
#include <QFile>

#include <cstdio>

namespace {

const QString kCloudHost = QStringLiteral("api-content.dropbox.com");

struct Uploads
{
    QString folder; ///< contains "upload.bin"
    qint64 size;
    QString host;
    quint16 port; ///< 0: the port of the scheme
    QString path;
    bool https;
    QStringList curlOptions;
    std::vector<double> growth;
    std::vector<double> largestGap;

    double megabytesPerSecond(double seconds) const { return double(size) / 1e6 / seconds; }

    double ours()
    {
        httpClient client;
        client.setHost(host.toLatin1(), port);
        QByteArray answer;
        const qint64 before = residentBytes();
        const bool canMeasure = resetPeak() && before >= 0;
        const TimerGaps timer;
        QElapsedTimer clock;
        clock.start();
        const ReturnStatus status =
            client.postFile(KQtUtil::toKString(folder + '/'), "upload.bin", path, {}, https, answer);
        const double seconds = milliseconds(clock) / 1000;
        const bool succeeded = status.IsSuccess() && canMeasure;
        growth.push_back(succeeded ? double(peakResidentBytes() - before) / double(kMebibyte) : kFailed);
        largestGap.push_back(succeeded ? largest(timer.gaps()) : kFailed);
        return succeeded ? megabytesPerSecond(seconds) : kFailed;
    }

    QString address() const
    {
        const QString authority = port == 0 ? host : host + ':' + QString::number(port);
        return (https ? "https://" : "http://") + authority + path;
    }

    double qt() const
    {
        const TimerGaps timer; // because ours() has one, too
        return megabytesPerSecond(qtUploadSeconds(folder + QStringLiteral("/upload.bin"), address()));
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
    const qint64 size = (argc > 2 ? QByteArray(argv[2]).toLongLong() : 500) * kMebibyte;
    const QTemporaryDir folder;
    FileServer server;
    CloudProcess cloud;
    KeldaOptions options;
    QString error;
    options.caFile = folder.filePath(QStringLiteral("authorities.pem"));
    const QStringList rules{kCloudHost + QStringLiteral(" /1/files_put/* status=200")};
    if (!server.start() || !cloud.start(folder.filePath(QStringLiteral("cloud")), rules) ||
        !join(options.caFile, {server.certificate(), cloud.caFile()}) ||
        !KeldaProgram::prepareNetwork(options, error) ||
        !writeNoise(folder.filePath(QStringLiteral("upload.bin")), size)) {
        std::fprintf(stderr, "bench_upload: cannot start: %s %s\n", qPrintable(cloud.error()), qPrintable(error));
        return 2;
    }

    const QStringList trusted{QStringLiteral("--cacert"), options.caFile};
    const QString here = QStringLiteral("127.0.0.1");
    const QString target = QStringLiteral("/up/upload.bin");
    struct Route
    {
        QString name;
        Uploads uploads;
        Target memory;
    };
    Route routes[] = {
        {QStringLiteral("nginx over http"),
         {folder.path(), size, here, server.port(false), target, false, trusted, {}, {}},
         {Target::Kind::AtMost, 48}},
        {QStringLiteral("nginx over https"),
         {folder.path(), size, here, server.port(true), target, true, trusted, {}, {}},
         {Target::Kind::AtMost, 48}},
        {QStringLiteral("the local cloud"),
         {folder.path(), size, kCloudHost, 0, QStringLiteral("/1/files_put/dropbox/upload.bin"), true, trusted, {}, {}},
         kNoTarget}};
    Report report(QStringLiteral("upload"));
    for (Route &route : routes) {
        Uploads &uploads = route.uploads;
        const QString what = QStringLiteral("%1 MiB to %2: ").arg(size / kMebibyte).arg(route.name);
        const Rounds rates = alternate(
            rounds, [&] { return uploads.ours(); }, [&] { return uploads.qt(); });
        report.addRatio(what + QStringLiteral("rate, against the toolkit"), rates, QStringLiteral("MB/s"),
                        kLikeToolkit);
        report.addValues(what + QStringLiteral("memory growth"), uploads.growth, largest, QStringLiteral("MiB"),
                         route.memory);
        report.addValues(what + QStringLiteral("largest gap"), uploads.largestGap, largest, QStringLiteral("ms"),
                         {Target::Kind::AtMost, 100});
        const Rounds overCurl = alternate(
            rounds, [&] { return uploads.ours(); }, [&] { return uploads.curl(); });
        report.addRatio(what + QStringLiteral("rate, against curl"), overCurl, QStringLiteral("MB/s"), kNoTarget);
    }
    return report.exitStatus();
}
