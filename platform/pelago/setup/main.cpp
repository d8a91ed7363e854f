// setup/main.cpp
//
// pelago-setup: tests a WebDAV server with a user name and a password, prints its capabilities, and writes its address
// to pelago.ini. The password is not stored.

#include "Arguments.h"
#include "Deployments.h"
#include "EndPoint.h"
#include "Session.h"
#include "Storage.h"
#include "Trace.h"

#include <pelago/pelago.h>

#include <QCoreApplication>
#include <QDateTime>
#include <QDir>
#include <QFileInfo>
#include <QNetworkProxyFactory>
#include <QSaveFile>
#include <QSslConfiguration>
#include <QSslSocket>
#include <QTemporaryDir>

#include <cstdio>

using namespace pelago;

namespace {

constexpr int kCertificateTimeoutMs = 10000;

void print(const char *what, const QString &found)
{
    std::printf("%-12s %s\n", what, qPrintable(found));
}

/// Prints a line of the library without the cause in brackets at its end.
void printFailure(void *, int, const char *line)
{
    const QString text = QString::fromUtf8(line);
    std::fprintf(stderr, "pelago-setup: %s\n", qPrintable(text.left(text.lastIndexOf(QLatin1String(" [")))));
}

/// Prints the server's certificate, which the sign-in has verified.
void printCertificate(const QUrl &server)
{
    if (server.scheme() != QLatin1String("https")) {
        print("Certificate", QStringLiteral("none, the connection is not encrypted"));
        return;
    }
    QSslSocket socket;
    socket.connectToHostEncrypted(server.host(), static_cast<quint16>(server.port(443)));
    if (!socket.waitForEncrypted(kCertificateTimeoutMs))
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
        return QStringLiteral("none: changes by other users are not detected");
    return tag.startsWith("W/") ? QStringLiteral("weak") : QStringLiteral("strong");
}

/// Stores, replaces and deletes a small file, and prints how the library does it.
void testUpload(EndPoint &endPoint)
{
    const QTemporaryDir folder;
    QFile file(folder.filePath(QStringLiteral("trial")));
    if (!file.open(QIODevice::WriteOnly) || file.write("pelago-setup") < 0)
        return;
    file.close();
    const QString name = DavPath::temporaryName();
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
        traceFailure(QStringLiteral("A test upload"), stored);
        print("Uploads", QStringLiteral("not possible; downloads work"));
        return;
    }
    const bool moves = !endPoint.destinations().isEmpty();
    print("New files", moves ? QStringLiteral("stored under a temporary name, then renamed (MOVE)")
                             : QStringLiteral("stored in place (PUT), because the server cannot rename"));
    print("Replacing", moves && !endPoint.replacesInPlace()
                           ? QStringLiteral("by MOVE: the old content stays until the new one is complete")
                           : QStringLiteral("in place (PUT with If-Match): versions and shares are kept"));
}

/// Signs in with the file named by PELAGO_CONFIG and prints the server's capabilities.
bool testServer(const Arguments &arguments)
{
    const Deployment deployment = Deployments::load().at(arguments.section);
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
    DavCall options;
    options.verb = "OPTIONS";
    options.url = deployment.storage;
    const QString davClass = QString::fromLatin1(endPoint.send(options).dav);
    print("WebDAV", davClass.isEmpty() ? QStringLiteral("class unknown") : QStringLiteral("class ") + davClass);
    testUpload(endPoint);
    return true;
}

/// Removes the lines of [\p section] from \p content.
QByteArray withoutSection(const QByteArray &content, const QByteArray &section)
{
    QByteArray kept;
    bool inside = false;
    for (const QByteArray &line : content.split('\n')) {
        const QByteArray text = line.trimmed();
        if (text.startsWith('[') && text.endsWith(']'))
            inside = text.mid(1, text.size() - 2).trimmed() == section;
        if (!inside)
            kept += line + '\n';
    }
    return kept.trimmed().isEmpty() ? QByteArray() : kept.trimmed() + "\n\n";
}

/// Writes the content of \p source, which may be missing, to \p target with a new section for \p arguments. Other
/// sections and their comments stay. Only the user can read the result. On failure it prints a message and returns
/// false, and the old target stays.
bool writeConfig(const QString &source, const QString &target, const Arguments &arguments)
{
    QFile old(source);
    if (old.exists() && !old.open(QIODevice::ReadOnly)) {
        std::fprintf(stderr, "pelago-setup: cannot read %s: %s\n", qPrintable(source), qPrintable(old.errorString()));
        return false;
    }
    const QByteArray section = arguments.sectionName().toUtf8();
    QByteArray content = withoutSection(old.isOpen() ? old.readAll() : QByteArray(), section);
    content += '[' + section + "]\nkind=password\nstorage=" + arguments.address.toUtf8() + '\n';
    if (arguments.allowsPlainHttp)
        content += "allowPlainHttp=true\n";

    QDir().mkpath(QFileInfo(target).path());
    QSaveFile file(target);
    const bool written = file.open(QIODevice::WriteOnly) &&
                         file.setPermissions(QFileDevice::ReadOwner | QFileDevice::WriteOwner) &&
                         file.write(content) == content.size() && file.commit();
    if (!written)
        std::fprintf(stderr, "pelago-setup: cannot write %s: %s\n", qPrintable(target), qPrintable(file.errorString()));
    return written;
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    QNetworkProxyFactory::setUseSystemConfiguration(true);
    SkeinTrace_setCallback(printFailure, nullptr);
    SkeinTrace_setLevel(static_cast<int>(TraceLevel::Failures));

    Arguments arguments;
    if (!arguments.read(application.arguments()))
        return arguments.exitStatus;
    if (!arguments.caFile.isEmpty()) {
        QSslConfiguration trust = QSslConfiguration::defaultConfiguration();
        if (!trust.addCaCertificates(arguments.caFile)) {
            std::fprintf(stderr, "pelago-setup: %s holds no certificate\n", qPrintable(arguments.caFile));
            return 1;
        }
        QSslConfiguration::setDefaultConfiguration(trust);
    }

    // Test the server with a copy of the file that is written in the end.
    const QTemporaryDir folder;
    const QString target = Deployments::path();
    const QString trial = folder.filePath(QStringLiteral("pelago.ini"));
    if (!writeConfig(target, trial, arguments))
        return 1;
    qputenv("PELAGO_CONFIG", QFile::encodeName(trial));
    if (!testServer(arguments) || !writeConfig(target, target, arguments))
        return 1;
    print("Written", '[' + arguments.sectionName() + QStringLiteral("] of ") + target);
    return 0;
}
