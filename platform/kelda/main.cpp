// The kelda program: reads its command line and runs the host.

#include "ui/KeldaProgram.h"

#include <QApplication>
#include <QSocketNotifier>

#include <csignal>
#include <cstdio>
#include <fcntl.h>
#include <unistd.h>

namespace {

int signalPipe[2];

/// A signal handler may only write to the pipe. The event loop reads from it.
void reportSignal(int)
{
    const char byte = 0;
    [[maybe_unused]] const ssize_t written = write(signalPipe[1], &byte, 1);
}

void quitOnSignals(KeldaProgram &program)
{
    if (pipe2(signalPipe, O_CLOEXEC | O_NONBLOCK) != 0)
        return;
    auto *notifier = new QSocketNotifier(signalPipe[0], QSocketNotifier::Read, &program);
    QObject::connect(notifier, &QSocketNotifier::activated, &program, [&program] { program.quit(); });
    std::signal(SIGINT, reportSignal);
    std::signal(SIGTERM, reportSignal);
}

/// Without a display, Qt would abort the process.
bool hasDisplay()
{
    for (const char *name : {"QT_QPA_PLATFORM", "DISPLAY", "WAYLAND_DISPLAY"}) {
        if (!qEnvironmentVariableIsEmpty(name))
            return true;
    }
    return false;
}

int failWith(const QString &reason)
{
    std::fprintf(stderr, "kelda: error: %s\n", qUtf8Printable(reason));
    return 1;
}

} // namespace

int main(int argc, char **argv)
{
    QStringList arguments;
    for (int at = 1; at < argc; ++at)
        arguments.append(QString::fromLocal8Bit(argv[at]));
    KeldaOptions options;
    QString error;
    if (!KeldaOptions::parse(arguments, options, error))
        return failWith(error + QStringLiteral("; see kelda --help"));
    if (options.help) {
        std::fputs(qPrintable(KeldaOptions::usage()), stdout);
        return 0;
    }
    if (!options.hasWindow() && !qEnvironmentVariableIsSet("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");

    if (options.hasWindow() && !hasDisplay())
        return failWith(QStringLiteral("the environment has no display; use --mode batch or --mode library"));

    QApplication application(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("kelda"));
    if (!KeldaProgram::prepareNetwork(options, error))
        return failWith(error);
    KeldaProgram program(options);
    quitOnSignals(program);
    return program.run();
}
