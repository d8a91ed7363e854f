#include "Memory.h"

#include <QFile>

namespace {

qint64 statusBytes(const QByteArray &key)
{
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly))
        return -1;
    for (QByteArray line = status.readLine(); !line.isEmpty(); line = status.readLine()) {
        if (line.startsWith(key + ':'))
            return line.mid(key.size() + 1).simplified().split(' ').first().toLongLong() * 1024;
    }
    return -1;
}

} // namespace

qint64 residentBytes()
{
    return statusBytes("VmRSS");
}

qint64 peakResidentBytes()
{
    return statusBytes("VmHWM");
}

bool forgetPeak()
{
    QFile references(QStringLiteral("/proc/self/clear_refs"));
    return references.open(QIODevice::WriteOnly) && references.write("5") == 1;
}
