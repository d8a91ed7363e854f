#include "Measure.h"

#include <QFile>

namespace {

constexpr int kIntervalMs = 16;

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

bool resetPeak()
{
    QFile references(QStringLiteral("/proc/self/clear_refs"));
    return references.open(QIODevice::WriteOnly) && references.write("5") == 1;
}

TimerGaps::TimerGaps()
{
    m_timer.setTimerType(Qt::PreciseTimer);
    QObject::connect(&m_timer, &QTimer::timeout, &m_timer, [this] {
        m_gaps.push_back(milliseconds(m_clock));
        m_clock.restart();
    });
    m_clock.start();
    m_timer.start(kIntervalMs);
}

std::vector<double> TimerGaps::gaps() const
{
    std::vector<double> all = m_gaps;
    all.push_back(milliseconds(m_clock));
    return all;
}
