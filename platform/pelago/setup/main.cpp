// setup/main.cpp
//
// pelago-setup: tries a WebDAV server with a user's name and password, prints what it can do, and writes its address
// into pelago.ini. The password is not stored.

#include "Arguments.h"
#include "ConfigFile.h"
#include "Deployments.h"
#include "EndPoint.h"
#include "Listing.h"
#include "Session.h"
#include "Trace.h"
#include "Transfer.h"

#include <pelago/pelago.h>

#include <QCoreApplication>
#include <QDateTime>
#include <QFile>
#include <QNetworkProxyFactory>
#include <QSslConfiguration>
#include <QSslSocket>
#include <QTemporaryDir>

#include <cstdio>

using namespace pelago;

namespace {

constexpr int certificateWaitMs = 10000;

void print(const char *what, const QString &found)
{
    std::printf("%-12s %s\n", what, qPrintable(found));
}

/// Prints a line of the library without the cause at its end, which is for programs.
void printFailure(void *, int, const char *line)
{
    const QString text = QString::fromUtf8(line);
    std::fprintf(stderr, "pelago-setup: %s\n", qPrintable(text.left(text.lastIndexOf(QLatin1String(" [")))));
}

/// Shows the certificate that the server sends. The sign-in has checked it.
void printCertificate(const QUrl &server)
{
    if (server.scheme() != QLatin1String("https")) {
        print("Certificate", QStringLiteral("none, the connection is not encrypted"));
        return;
    }
    QSslSocket socket;
    socket.connectToHostEncrypted(server.host(), static_cast<quint16>(server.port(443)));
    if (!socket.waitForEncrypted(certificateWaitMs))
        return;
    const QSslCertificate certificate = socket.peerCertificate();
    const QStringList issuer =
        certificate.issuerInfo(QSslCertificate::Organization) + certificate.issuerInfo(QSslCertificate::CommonName);
    print("Certificate", QStringLiteral("trusted, of ") + issuer.join(QStringLiteral(", ")) +
                             QStringLiteral(", until ") + certificate.expiryDate().date().toString(Qt::ISODate));
}

QString tagKind(const QByteArray &tag)
{
    if (tag.isEmpty())
        return QStringLiteral("none: a change by somebody else is not noticed");
    return tag.startsWith("W/") ? QStringLiteral("weak") : QStringLiteral("strong");
}

/// Stores, replaces and deletes a small file, and prints how the server does it.
void tryUpload(EndPoint &endPoint)
{
    const QTemporaryDir folder;
    QFile file(folder.filePath(QStringLiteral("trial")));
    if (!file.open(QIODevice::WriteOnly) || file.write("pelago-setup") < 0)
        return;
    file.close();
    const QString name = DavPath::unusedName();
    const Progress ignore = [](qint64, qint64) {};
    Outcome stored = uploadNew(endPoint, name, file.fileName(), ignore);
    DavEntry entry;
    if (stored.isSuccess() && findEntry(endPoint, name, &entry).isSuccess())
        print("Entity tags", tagKind(entry.etag));
    if (stored.isSuccess())
        stored = uploadReplacing(endPoint, name, file.fileName(), ignore);
    DavCall cleanUp;
    cleanUp.verb = "DELETE";
    cleanUp.url = endPoint.address(name, DavPath::Form::File);
    endPoint.send(cleanUp);
    if (!stored.isSuccess()) {
        traceFailure(QStringLiteral("A trial upload"), stored);
        print("Uploads", QStringLiteral("not possible; import works"));
        return;
    }
    const bool moves = !endPoint.destinations().isEmpty();
    print("New files", moves ? QStringLiteral("stored beside and renamed (MOVE)")
                             : QStringLiteral("stored in place (PUT), because the server does not rename"));
    print("Replacing", moves && !endPoint.replacesInPlace()
                           ? QStringLiteral("by MOVE: the old content stays until the new one is whole")
                           : QStringLiteral("in place (PUT with If-Match): versions and shares are kept"));
}

/// Signs in with the configuration that PELAGO_CONFIG names and prints what the server can do.
bool trySignIn(const Arguments &arguments)
{
    const Deployment deployment = Deployments::load().at(arguments.number());
    if (!deployment.storage.isValid()) {
        traceFailure(QStringLiteral("Use of ") + arguments.address,
                     failure(Skein_Result_BadArgument, "configuration", deployment.problem));
        return false;
    }
    const auto session = std::make_shared<Session>(QString(), deployment.signIn);
    const Outcome signedIn = session->login(arguments.user, arguments.password);
    traceFailure(QStringLiteral("Sign-in to ") + deployment.storage.toString(), signedIn);
    if (!signedIn.isSuccess())
        return false;
    print("Server", deployment.storage.toString());
    const AuthScheme scheme = session->credentials()->scheme;
    print("Sign-in", scheme == AuthScheme::Digest ? QStringLiteral("Digest") : QStringLiteral("Basic"));
    printCertificate(deployment.storage);

    EndPoint endPoint(session, deployment.storage);
    DavCall question;
    question.verb = "OPTIONS";
    question.url = deployment.storage;
    const DavResult answer = endPoint.send(question);
    print("WebDAV",
          answer.dav.isEmpty() ? QStringLiteral("says no class") : "class " + QString::fromLatin1(answer.dav));
    tryUpload(endPoint);
    return true;
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    QNetworkProxyFactory::setUseSystemConfiguration(true);
    setTraceCallback(printFailure, nullptr);
    setTraceLevel(static_cast<int>(TraceLevel::Failures));

    Arguments arguments;
    if (!arguments.read(application.arguments()))
        return arguments.exitStatus();
    if (!arguments.caFile.isEmpty()) {
        QSslConfiguration trust = QSslConfiguration::defaultConfiguration();
        if (!trust.addCaCertificates(arguments.caFile)) {
            std::fprintf(stderr, "pelago-setup: %s holds no certificate\n", qPrintable(arguments.caFile));
            return 1;
        }
        QSslConfiguration::setDefaultConfiguration(trust);
    }

    // The server is tried with the very file that is written in the end.
    const QTemporaryDir folder;
    const QString target = Deployments::path();
    const QString trial = folder.filePath(QStringLiteral("pelago.ini"));
    if (!ConfigFile::write(target, trial, arguments.section, arguments.values()))
        return 1;
    qputenv("PELAGO_CONFIG", QFile::encodeName(trial));
    if (!trySignIn(arguments) || !ConfigFile::write(target, target, arguments.section, arguments.values()))
        return 1;
    print("Written", '[' + arguments.section + QStringLiteral("] of ") + target);
    return 0;
}
