// localcloud/main.cpp
//
// The local cloud as a program. Serves until SIGTERM or SIGINT.

#include "localcloud/LocalCloud.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QFile>
#include <QSocketNotifier>
#include <QStandardPaths>
#include <QTextCodec>

#include <csignal>
#include <cstdio>
#include <sys/socket.h>
#include <unistd.h>

namespace {

int signalSockets[2];

void onSignal(int)
{
    const char byte = 1;
    [[maybe_unused]] const ssize_t written = write(signalSockets[1], &byte, 1);
}

int fail(const QString &message)
{
    std::fprintf(stderr, "localcloud: %s\n", qPrintable(message));
    return 1;
}

/// Ends the application's event loop on SIGTERM and SIGINT.
bool quitOnSignals(QCoreApplication &application)
{
    if (socketpair(AF_UNIX, SOCK_STREAM, 0, signalSockets) != 0)
        return false;
    auto *notifier = new QSocketNotifier(signalSockets[0], QSocketNotifier::Read, &application);
    QObject::connect(notifier, &QSocketNotifier::activated, &application, &QCoreApplication::quit);
    std::signal(SIGTERM, onSignal);
    std::signal(SIGINT, onSignal);
    std::signal(SIGPIPE, SIG_IGN);
    return true;
}

/// Writes the authority's certificate to \p path and replaces an existing file.
bool writeAuthority(const LocalCloud &cloud, const QString &path)
{
    QFile from(cloud.caFile());
    QFile to(path);
    return from.open(QIODevice::ReadOnly) && to.open(QIODevice::WriteOnly) && to.write(from.readAll()) > 0 &&
           to.flush();
}

QString defaultDataDir()
{
    return QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) + "/localcloud";
}

} // namespace

int main(int argc, char **argv)
{
    QTextCodec::setCodecForLocale(QTextCodec::codecForName("UTF-8")); // file names, whatever the locale
    QCoreApplication application(argc, argv);
    QCommandLineParser parser;
    parser.setApplicationDescription("Serves Dropbox, Plyx and Zephal from a folder, as an HTTP proxy on 127.0.0.1.");
    parser.addHelpOption();
    const QCommandLineOption port("port", "Port to listen on; 0, the default, chooses a free one.", "N", "0");
    const QCommandLineOption data("data", "Folder for files, tokens and certificates.", "DIR", defaultDataDir());
    const QCommandLineOption authority("ca-out", "Write the certificate authority to this file.", "PEM");
    const QCommandLineOption log("log", "Append one JSON object per request to this file, secrets included.", "FILE");
    const QCommandLineOption rule("rule",
                                  "Change the response to matching requests. ACTION is status=N, delay=MS, hang, "
                                  "cut=BYTES, redirect=URL, body=FILE, garbage, signed-redirect or no-length.",
                                  "HOST PATH-GLOB ACTION");
    parser.addOptions({port, data, authority, log, rule});
    parser.process(application);

    bool isNumber = false;
    LocalCloudOptions options;
    options.port = parser.value(port).toUShort(&isNumber);
    if (!isNumber || !parser.positionalArguments().isEmpty())
        return fail(QStringLiteral("wrong arguments; see --help"));
    options.dataDir = parser.value(data);
    options.logFile = parser.value(log);
    options.demoData = true;
    options.ownAuthority = true;
    options.keepRequests = false;
    LocalCloud cloud(options);
    for (const QString &line : parser.values(rule)) {
        if (!cloud.addRule(line))
            return fail(QStringLiteral("malformed rule: ") + line);
    }
    QString error;
    if (!quitOnSignals(application) || !cloud.start(&error))
        return fail(error);
    if (parser.isSet(authority) && !writeAuthority(cloud, parser.value(authority)))
        return fail(parser.value(authority) + QStringLiteral(": cannot write the file"));
    std::printf("ready %s\n", qPrintable(cloud.proxyUrl().toString()));
    std::fflush(stdout);
    return QCoreApplication::exec();
}
