#include "Report.h"

#include "Measure.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace {

constexpr int kStandardRounds = 5;
constexpr int kColumnWidths[] = {8, 60, 10, 10, 22, 16, 4};

bool isComplete(const std::vector<double> &values)
{
    return !values.empty() &&
           std::none_of(values.begin(), values.end(), [](double value) { return std::isnan(value); });
}

QString number(double value)
{
    if (std::isnan(value))
        return QStringLiteral("failed");
    const double size = std::abs(value);
    return QString::number(value, 'f', size < 10 ? 2 : size < 100 ? 1 : 0);
}

QString range(const std::vector<double> &values)
{
    if (!isComplete(values))
        return QStringLiteral("failed");
    const auto [low, high] = std::minmax_element(values.begin(), values.end());
    return number(*low) + QStringLiteral(" to ") + number(*high);
}

} // namespace

double median(std::vector<double> values)
{
    if (!isComplete(values))
        return kFailed;
    std::sort(values.begin(), values.end());
    const std::size_t middle = values.size() / 2;
    return values.size() % 2 == 1 ? values[middle] : (values[middle - 1] + values[middle]) / 2;
}

double largest(std::vector<double> values)
{
    return quantile(std::move(values), 1);
}

double quantile(std::vector<double> values, double share)
{
    if (!isComplete(values))
        return kFailed;
    std::sort(values.begin(), values.end());
    const auto count = static_cast<std::size_t>(std::ceil(share * static_cast<double>(values.size())));
    return values[std::max<std::size_t>(count, 1) - 1];
}

Rounds alternate(int rounds, const std::function<double()> &ours, const std::function<double()> &reference)
{
    Rounds taken;
    for (int round = 0; round < rounds; ++round) {
        const bool oursFirst = round % 2 == 0;
        if (oursFirst)
            taken.ours.push_back(ours());
        taken.reference.push_back(reference());
        if (!oursFirst)
            taken.ours.push_back(ours());
    }
    return taken;
}

int roundsFrom(int argc, char **argv)
{
    const int asked = argc > 1 ? QByteArray(argv[1]).toInt() : kStandardRounds;
    return std::max(asked, 1);
}

void Report::addRatio(const QString &figure, const Rounds &rounds, const QString &unit, const Target &target)
{
    addCompared(figure, rounds, std::divides<double>(), unit, QString(), target);
}

void Report::addDifference(const QString &figure, const Rounds &rounds, const QString &unit, const Target &target)
{
    addCompared(figure, rounds, std::minus<double>(), unit, unit, target);
}

void Report::addCompared(const QString &figure, const Rounds &rounds, const Relation &relation, const QString &unit,
                         const QString &resultUnit, const Target &target)
{
    std::vector<double> results;
    for (std::size_t i = 0; i < std::min(rounds.ours.size(), rounds.reference.size()); ++i)
        results.push_back(relation(rounds.ours[i], rounds.reference[i]));
    const double judged = median(results);
    add({figure, number(median(rounds.ours)) + ' ' + unit, number(median(rounds.reference)) + ' ' + unit,
         number(judged) + QStringLiteral(" (") + range(results) + ')'},
        judged, target, resultUnit);
}

void Report::addValues(const QString &figure, const std::vector<double> &values, double (*judge)(std::vector<double>),
                       const QString &unit, const Target &target)
{
    const double judged = judge(values);
    add({figure, number(judged) + ' ' + unit, QString(), range(values)}, judged, target, unit);
}

void Report::add(const QStringList &cells, double judged, const Target &target, const QString &unit)
{
    const bool isOpen = target.kind == Target::Kind::None;
    const bool atMost = target.kind == Target::Kind::AtMost;
    // Every comparison with kFailed is false.
    const bool reached = isOpen ? !std::isnan(judged) : atMost ? judged <= target.value : judged >= target.value;
    m_missed = m_missed || !reached;
    QString limit;
    if (!isOpen) {
        limit = (atMost ? QStringLiteral("at most ") : QStringLiteral("at least ")) +
                QString::number(target.value, 'g', 6) + (unit.isEmpty() ? QString() : ' ' + unit);
    }
    const QString verdict = isOpen && reached ? QString() : reached ? QStringLiteral("yes") : QStringLiteral("no");
    QString line = QStringLiteral("|");
    const QStringList all = QStringList(m_name) + cells + QStringList{limit, verdict};
    for (int column = 0; column < all.size(); ++column)
        line += ' ' + all[column].leftJustified(kColumnWidths[column]) + QStringLiteral(" |");
    std::puts(qUtf8Printable(line));
    std::fflush(stdout);
}
