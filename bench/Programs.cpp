#include "Programs.h"

#include "tour/CloudProcess.h"

#include <QCoreApplication>
#include <QFile>
#include <QRandomGenerator>

#include <cstdio>
#include <limits>
#include <vector>

namespace {

const int patienceMs = 10 * 60 * 1000;
const int mebibyte = 1024 * 1024;

} // namespace

QByteArray outputOf(const QString &program, const QStringList &arguments)
{
    DependentProcess process;
    process.start(program, arguments);
    const bool ended = process.waitForFinished(patienceMs);
    if (ended && process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0)
        return process.readAllStandardOutput();
    std::fprintf(stderr, "%s failed: %s\n%s%s", qPrintable(program), qPrintable(process.errorString()),
                 process.readAllStandardOutput().constData(), process.readAllStandardError().constData());
    process.kill();
    process.waitForFinished(5000);
    return QByteArray();
}

double curlSeconds(const QStringList &arguments)
{
    bool isNumber = false;
    const QStringList all =
        QStringList{QStringLiteral("-sSf"), QStringLiteral("-w"), QStringLiteral("%{time_total}")} + arguments;
    const double seconds = outputOf(QStringLiteral("curl"), all).toDouble(&isNumber);
    return isNumber ? seconds : std::numeric_limits<double>::quiet_NaN();
}

std::vector<double> numbersOfSelf(const QStringList &arguments)
{
    std::vector<double> numbers;
    for (const QByteArray &word :
         outputOf(QCoreApplication::applicationFilePath(), arguments).simplified().split(' ')) {
        bool isNumber = false;
        const double number = word.toDouble(&isNumber);
        if (!isNumber)
            return {};
        numbers.push_back(number);
    }
    return numbers;
}

bool writeNoise(const QString &file, qint64 size)
{
    QFile out(file);
    QVector<quint32> block(mebibyte / 4);
    QRandomGenerator generator(1);
    generator.fillRange(block.data(), block.size());
    if (!out.open(QIODevice::WriteOnly | QIODevice::Unbuffered))
        return false;
    for (qint64 written = 0; written < size; written += mebibyte) {
        block[static_cast<int>(written / mebibyte) % block.size()] = static_cast<quint32>(written);
        if (out.write(reinterpret_cast<const char *>(block.constData()), mebibyte) != mebibyte)
            return false;
    }
    return true;
}
