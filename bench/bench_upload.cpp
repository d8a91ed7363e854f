// Uploads one file over https to a local cloud and says how fast that went and what it held in memory.
// Usage: bench_upload [MIB]. Exits with 1 when the upload failed or held more than the file and 32 MiB.

#include "http/httpClient.h"
#include "Memory.h"
#include "tour/CloudProcess.h"
#include "ui/KeldaOptions.h"
#include "ui/KeldaProgram.h"

#include <openkelda/KQtUtil.h>

#include <QApplication>
#include <QElapsedTimer>
#include <QTemporaryDir>

#include <cstdio>

namespace {

const qint64 mebibyte = 1024 * 1024;
const qint64 allowance = 32 * mebibyte;

/// Bytes that are no hole of the file system and repeat too rarely to be packed.
bool writeFile(const QString &path, qint64 size)
{
    QFile file(path);
    QByteArray block(int(mebibyte), '\0');
    if (!file.open(QIODevice::WriteOnly))
        return false;
    for (qint64 written = 0; written < size; written += block.size()) {
        for (int i = 0; i < block.size(); i += 8)
            block[i] = char(i * 31 + written / mebibyte);
        if (file.write(block) != block.size())
            return false;
    }
    return file.flush();
}

int upload(const QString &folder, qint64 size)
{
    httpClient client;
    client.setHost("api-content.dropbox.com", 0);
    QByteArray answer;
    const qint64 before = residentBytes();
    const bool canMeasure = forgetPeak() && before >= 0;
    QElapsedTimer timer;
    timer.start();
    const ReturnStatus status = client.postFile(KQtUtil::toKString(folder + QLatin1Char('/')), "upload.bin",
                                                QStringLiteral("/1/files_put/dropbox/upload.bin"), {}, true, answer);
    const double seconds = double(timer.elapsed()) / 1000;
    const qint64 growth = peakResidentBytes() - before;
    std::printf("upload  %lld MiB  status %d  %.2f s  %.0f MB/s  peak growth %.1f MiB, allowed %.1f MiB\n",
                static_cast<long long>(size / mebibyte), status.GetStatusCode(), seconds, double(size) / 1e6 / seconds,
                double(growth) / mebibyte, double(size + allowance) / mebibyte);
    return status.IsSuccess() && canMeasure && growth <= size + allowance ? 0 : 1;
}

} // namespace

int main(int argc, char **argv)
{
    QApplication application(argc, argv);
    const QTemporaryDir folder;
    const qint64 size = (argc > 1 ? QByteArray(argv[1]).toLongLong() : 500) * mebibyte;
    CloudProcess cloud;
    KeldaOptions options;
    QString error;
    const QStringList rules{QStringLiteral("api-content.dropbox.com /1/files_put/* status=200")};
    if (size < 1 || !writeFile(folder.filePath(QStringLiteral("upload.bin")), size)) {
        std::fprintf(stderr, "bench_upload: the file to upload cannot be written\n");
        return 2;
    }
    if (!cloud.start({folder.filePath(QStringLiteral("cloud")), rules, 0})) {
        std::fprintf(stderr, "bench_upload: %s\n", qPrintable(cloud.error()));
        return 2;
    }
    options.caFile = cloud.caFile();
    if (!KeldaProgram::prepareNetwork(options, error)) {
        std::fprintf(stderr, "bench_upload: %s\n", qPrintable(error));
        return 2;
    }
    return upload(folder.path(), size);
}
