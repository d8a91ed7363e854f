// bench/Measure.h
//
// What is measured in this process: time, resident memory, and the delays of a timer.

#pragma once

#include <QElapsedTimer>
#include <QTimer>

#include <limits>
#include <vector>

/// The value of a failed measurement.
constexpr double kFailed = std::numeric_limits<double>::quiet_NaN();
constexpr qint64 kMebibyte = 1024 * 1024;

inline double milliseconds(const QElapsedTimer &clock)
{
    return static_cast<double>(clock.nsecsElapsed()) / 1e6;
}

/// Resident memory in bytes; -1 if the kernel does not report it.
qint64 residentBytes();
/// The largest resident memory in bytes since the start or the last call of resetPeak(); -1 if unknown.
qint64 peakResidentBytes();
/// Starts a new peak. Returns false if the kernel does not allow it. See "clear_refs" in proc(5).
bool resetPeak();

/// Measures how long work on the same thread delays the events of a user.
class TimerGaps
{
public:
    /// Starts a precise timer of 16 ms.
    TimerGaps();

    /// The times between two ticks, and since the last one, in milliseconds.
    std::vector<double> gaps() const;

private:
    QTimer m_timer;
    QElapsedTimer m_clock;
    std::vector<double> m_gaps;
};
