// bench/TimerGaps.h
//
// How long the event loop keeps a timer waiting: what a user notices of work that is done on the same thread.

#pragma once

#include <QElapsedTimer>
#include <QTimer>

#include <vector>

class TimerGaps
{
public:
    /// Starts a precise timer of \p intervalMs.
    explicit TimerGaps(int intervalMs);

    /// The times between two ticks so far and since the last one, in milliseconds.
    std::vector<double> gaps() const;

private:
    double sinceLast() const { return static_cast<double>(m_clock.nsecsElapsed()) / 1e6; }

    QTimer m_timer;
    QElapsedTimer m_clock;
    std::vector<double> m_gaps;
};
