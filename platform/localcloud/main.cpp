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

const char kDescription[] = R"(Serves Dropbox, Plyx and Zephal from a folder as an HTTP proxy on 127.0.0.1.
Copies its demo files to the folder at the first start. When it is ready, it
prints "ready http://127.0.0.1:PORT". Pass this address to the host in
http_proxy and https_proxy, and the file of --ca-out with --ca-file. SIGINT and
SIGTERM end it.)";

const char kActions[] = R"(
Actions of a rule, as in --rule "api.dropbox.com /1/metadata/* delay=2000":
  status=N         sends this status
  delay=MS         waits before the response
  hang             never responds
  cut=BYTES        closes the connection after these bytes of the body
  redirect=URL     redirects to the address
  body=FILE        sends this file as the body
  garbage          sends bytes that are not HTTP
  signed-redirect  redirects a download to an address without a token
  no-length        omits Content-Length and closes the connection at the end
)";

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
    QTextCodec::setCodecForLocale(QTextCodec::codecForName("UTF-8")); // for file names in every locale
    QCoreApplication application(argc, argv);
    QCommandLineParser parser;
    parser.setApplicationDescription(kDescription);
    const QCommandLineOption help({"h", "help"}, "Print this text.");
    const QCommandLineOption port("port", "Port to listen on; 0, the default, chooses a free one.", "N", "0");
    const QCommandLineOption data(
        "data", "Folder for files, tokens and certificates; by default localcloud in ${XDG_DATA_HOME:-~/.local/share}.",
        "DIR", defaultDataDir());
    const QCommandLineOption authority("ca-out", "Write the certificate of the authority to this file.", "PEM");
    const QCommandLineOption log("log", "Append one JSON object per request to this file, secrets included.", "FILE");
    const QCommandLineOption rule("rule", "Change the responses to matching requests; can be repeated.",
                                  "HOST PATH-GLOB ACTION");
    parser.addOptions({help, port, data, authority, log, rule});
    parser.process(application);
    if (parser.isSet(help)) {
        std::printf("%s%s", qPrintable(parser.helpText()), kActions);
        return 0;
    }

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
