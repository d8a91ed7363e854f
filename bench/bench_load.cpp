// What the plug-in adds to the host's start: the time from the start of the process until the window is drawn, with the
// plug-in loaded and its dock shown, without a sign-in. Usage: bench_load [ROUNDS]

#include "Measure.h"
#include "References.h"
#include "Report.h"
#include "tour/Driver.h"
#include "ui/KeldaProgram.h"
#include "ui/MainWindow.h"

#include <QApplication>
#include <QDeadlineTimer>
#include <QTemporaryDir>

#include <cstdio>

namespace {

const QString kStartMode = QStringLiteral("--start");

/// The monotonic clock, which is the same in all processes, in milliseconds.
double now()
{
    return double(QDeadlineTimer::current().deadlineNSecs()) / 1e6;
}

double startOnce(bool withPlugIn)
{
    const double begin = now();
    const std::vector<double> end = numbersOfSelf({kStartMode, withPlugIn ? Driver::module() : QString()});
    return end.size() == 1 ? end.front() - begin : kFailed;
}

/// In the process that is measured: starts a host and prints when its window has been drawn.
int startHost(const QString &plugIn)
{
    const QTemporaryDir folder;
    KeldaOptions options;
    QString error;
    options.userDir = folder.path();
    if (!plugIn.isEmpty()) {
        options.plugIns = QStringList{plugIn};
        options.tasks.push_back({false, QStringLiteral("Tavrin -showportal")});
    }
    if (!KeldaProgram::prepareNetwork(options, error))
        return 1;
    KeldaProgram host(options);
    if (!host.start())
        return 1;
    QApplication::processEvents();
    const double end = now();
    const auto *dock = host.window()->findChild<QWidget *>(QStringLiteral("CloudPortalDockwidgetStatic"));
    if (!host.window()->isVisible() || plugIn.isEmpty() != !(dock && dock->isVisible()))
        return 1;
    std::printf("%.3f\n", end);
    return 0;
}

} // namespace

int main(int argc, char **argv)
{
    QApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.value(1) == kStartMode)
        return startHost(arguments.value(2));

    const int rounds = roundsFrom(argc, argv);
    const Rounds starts = alternate(
        rounds, [] { return startOnce(true); }, [] { return startOnce(false); });
    Report report(QStringLiteral("load"));
    report.addDifference(QStringLiteral("plug-in loaded and dock shown, on top of the host"), starts,
                         QStringLiteral("ms"), {Target::Kind::AtMost, 150});
    return report.exitStatus();
}
