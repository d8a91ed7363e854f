// bench/Report.h
//
// How every figure is taken, and how it is written down: the median of some rounds, in each of which the plug-in and
// its reference take turns, as one line of the table in docs/performance.md.

#pragma once

#include <QString>
#include <QStringList>

#include <functional>
#include <vector>

/// One value per round. What could not be measured is not a number.
struct Rounds
{
    std::vector<double> ours;
    std::vector<double> reference;
};

/// The middle value, or the mean of the two middle ones; not a number when any value is none, or without values.
double median(std::vector<double> values);

/// The largest value; not a number when any value is none, or without values.
double largest(std::vector<double> values);
/// The smallest value that at least \p share (0 to 1) of the \p values do not exceed; not a number without values.
double quantile(std::vector<double> values, double share);

/// Takes \p ours and \p reference in turns, the other one first in every second round.
Rounds alternate(int rounds, const std::function<double()> &ours, const std::function<double()> &reference);

/// The number of rounds that the command line asks for; 5 without one.
int roundsFrom(int argc, char **argv);

/// What a figure is held against.
struct Target
{
    enum class Kind { AtMost, AtLeast, None };
    Kind kind;
    double value;
};

class Report
{
public:
    /// \p name stands in the first column, where bench/run looks for it.
    explicit Report(const QString &name) : m_name(name) {}

    /// Ours divided by the reference, round by round; judged by the median.
    void addRatio(const QString &figure, const Rounds &rounds, const QString &unit, const Target &target);
    /// Ours less the reference, round by round; judged by the median. The target has the same \p unit.
    void addDifference(const QString &figure, const Rounds &rounds, const QString &unit, const Target &target);
    /// Values without a reference; \p judge is the function that makes one number of them.
    void addValues(const QString &figure, const std::vector<double> &values, double (*judge)(std::vector<double>),
                   const QString &unit, const Target &target);

    /// 0 when every figure held, else 1: the program's exit status.
    int exitStatus() const { return m_missed ? 1 : 0; }

private:
    using Relation = std::function<double(double, double)>;
    void addCompared(const QString &figure, const Rounds &rounds, const Relation &relation, const QString &unit,
                     const QString &resultUnit, const Target &target);
    void add(const QStringList &cells, double judged, const Target &target, const QString &unit);

    QString m_name;
    bool m_missed = false;
};
