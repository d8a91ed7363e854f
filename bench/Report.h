// bench/Report.h
//
// Takes figures in rounds, in which the plug-in and its reference alternate, and prints each figure as one line of the
// table in docs/performance.md.

#pragma once

#include <QString>
#include <QStringList>

#include <functional>
#include <vector>

/// One value per round; kFailed for a failed measurement.
struct Rounds
{
    std::vector<double> ours;
    std::vector<double> reference;
};

/// The middle value, or the mean of the two middle ones. kFailed if there are no values or any of them is kFailed.
double median(std::vector<double> values);
/// The largest value; kFailed as for median().
double largest(std::vector<double> values);
/// The smallest value that at least \p share (0 to 1) of the \p values do not exceed; kFailed as for median().
double quantile(std::vector<double> values, double share);

/// Calls \p ours and \p reference once per round; \p reference is first in every second round.
Rounds alternate(int rounds, const std::function<double()> &ours, const std::function<double()> &reference);

/// The number of rounds from the command line, 5 if there is none.
int roundsFrom(int argc, char **argv);

/// The limit for a figure.
struct Target
{
    enum class Kind { AtMost, AtLeast, None };
    Kind kind;
    double value;
};

constexpr Target kNoTarget{Target::Kind::None, 0};
/// For a rate against a bare QNetworkAccessManager.
constexpr Target kLikeToolkit{Target::Kind::AtLeast, 1};

class Report
{
public:
    /// \p name is the text of the first column, by which bench/run replaces old lines.
    explicit Report(const QString &name) : m_name(name) {}

    /// The figure is the median of ours divided by the reference, per round.
    void addRatio(const QString &figure, const Rounds &rounds, const QString &unit, const Target &target);
    /// The figure is the median of ours minus the reference, per round. The target has the same \p unit.
    void addDifference(const QString &figure, const Rounds &rounds, const QString &unit, const Target &target);
    /// The figure is \p judge of the values, for measurements without a reference.
    void addValues(const QString &figure, const std::vector<double> &values, double (*judge)(std::vector<double>),
                   const QString &unit, const Target &target);

    /// The program's exit status: 0 if every figure reached its target, otherwise 1.
    int exitStatus() const { return m_missed ? 1 : 0; }

private:
    using Relation = std::function<double(double, double)>;
    void addCompared(const QString &figure, const Rounds &rounds, const Relation &relation, const QString &unit,
                     const QString &resultUnit, const Target &target);
    void add(const QStringList &cells, double judged, const Target &target, const QString &unit);

    QString m_name;
    bool m_missed = false;
};
