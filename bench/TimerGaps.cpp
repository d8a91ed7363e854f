#include "TimerGaps.h"

TimerGaps::TimerGaps(int intervalMs)
{
    m_timer.setTimerType(Qt::PreciseTimer);
    QObject::connect(&m_timer, &QTimer::timeout, &m_timer, [this] {
        m_gaps.push_back(sinceLast());
        m_clock.restart();
    });
    m_clock.start();
    m_timer.start(intervalMs);
}

std::vector<double> TimerGaps::gaps() const
{
    std::vector<double> all = m_gaps;
    all.push_back(sinceLast());
    return all;
}
