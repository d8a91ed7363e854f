// The classes of the library that need no server.

#include "Credentials.h"
#include "DavClient.h"
#include "Deployments.h"
#include "MultiStatus.h"
#include "support/Table.h"
#include "support/TestFiles.h"

#include <sys/stat.h>

using namespace pelago;

namespace {

const QUrl kServer("https://a/signin");

/// The entries of a document, separated by "|"; "refused" or "cut" if it is not accepted.
QString reading(const QByteArray &document, int pieceBytes)
{
    QStringList lines;
    MultiStatus reader([&lines](const DavEntry &entry) {
        const QStringList words{entry.href, entry.folder ? "folder" : "file", QString::number(entry.size)};
        lines << (words + QStringList(entry.mediaType)).join(' ');
    });
    for (int at = 0; at < document.size(); at += pieceBytes) {
        if (!reader.read(document.mid(at, pieceBytes)))
            return "refused";
    }
    return reader.isComplete() ? lines.join('|').trimmed() : "cut";
}

} // namespace

class TestPelagoPieces : public QObject
{
    Q_OBJECT
private slots:
    void multiStatusIsReadInAnyPieces_data()
    {
        // The elements of a response after its href.
        const QString status("<status>HTTP/1.1 %1 x</status>");
        const QString propstat("<propstat>" + status + "<prop>%2</prop></propstat>");
        const QString folder("<resourcetype><collection/></resourcetype>");
        const QString size("<getcontentlength>%1</getcontentlength>");
        addRows({{"excessive size", propstat.arg("200", size.arg("99999999999999999999")), "/dav/& file -1"},
                 {"several propstats",
                  propstat.arg("404", folder + size.arg(1)) + propstat.arg("200", size.arg(2)) +
                      propstat.arg("204", "<getcontenttype>a/b</getcontenttype>") + propstat.arg("403", size.arg(3)),
                  "/dav/& file 2 a/b"},
                 {"status after prop",
                  "<propstat><prop>" + folder + "</prop>" + status.arg(404) + "</propstat>" +
                      propstat.arg("200", size.arg(4)),
                  "/dav/& file 4"},
                 {"huge element", "<href>" + QString(3000000, 'a') + "</href>", "refused"}});
    }
    void multiStatusIsReadInAnyPieces()
    {
        const auto [name, properties, expected] = currentRow<3>();
        const QByteArray href = "<href>/d<![CDATA[a]]>v&#x2F;&amp;<!-- no --></href>";
        const QByteArray document = "<multistatus xmlns='DAV:' xmlns:x='urn:x'><response>" + href +
                                    properties.toUtf8() + "</response></multistatus>";
        QCOMPARE(reading(document, document.size() + 1), expected);
        QCOMPARE(reading(document, document.size() > 100000 ? 4096 : 1), expected);
    }

    void entitiesAreRefusedAndCutDocumentsAreIncomplete()
    {
        QCOMPARE(reading("<!DOCTYPE m [<!ENTITY e 'x'>]><multistatus xmlns='DAV:'/>", 99), QString("refused"));
        QCOMPARE(reading("<multistatus xmlns='DAV:'></multi", 99), QString("cut"));
    }

    void deploymentHasOnlyUsableAddresses_data()
    {
        // The lines of the section "production", and its kind and sign-in address. The storage address is usable if
        // that one is.
        addRows(
            {{"empty file", "", "web https://cloud.zephal.example/signin"},
             {"allowed plain http", "signIn=http://a/\nstorage=http://b/\nallowPlainHttp=true", "web http://a/"},
             {"user name in the address", "kind=password\nstorage=https://u:p@b/", "password "},
             {"comments", "# a\n; b\nkind = password\nstorage = https://b/a;b,c\\d", "password https://b/a;b,c%5Cd/"}});
    }
    void deploymentHasOnlyUsableAddresses()
    {
        const auto [name, lines, expected] = currentRow<3>();
        const QString file = m_home.filePath("pelago.ini");
        writeFile(file, "[production]\n" + lines.toUtf8() + '\n');
        const Deployments all(file);
        const Deployment found = all.at(0);
        const QString kind = found.kind == SignInKind::Web ? "web" : "password";
        QCOMPARE(kind + ' ' + found.signIn.toEncoded(), expected);
        QCOMPARE(found.storage.isValid(), !found.signIn.isEmpty());
        QCOMPARE(found.problem.isEmpty(), !found.signIn.isEmpty());
        QVERIFY(!all.isAllowed(QUrl("http://elsewhere/")));
        QCOMPARE(all.isAllowed(QUrl("http://a/other")), lines.contains("allowPlainHttp"));
    }

    void sessionFileIsReadableByItsOwnerOnlyAndIgnoredIfDamaged()
    {
        const QString path = m_home.filePath("kept.skein");
        const SessionFile file(path);
        const mode_t before = umask(0);
        QVERIFY(file.write(kServer, {"ü:", "s\"e\ncret", "First", ""}));
        umask(before);
        QCOMPARE(QFile::permissions(path) & 0x0077, QFile::Permissions());
        const Credentials read = file.read(kServer).value_or(Credentials());
        QCOMPARE(QStringList({read.user, read.secret, read.firstName}), QStringList({"ü:", "s\"e\ncret", "First"}));
        QVERIFY(!file.read(QUrl("https://b/signin")));
        QVERIFY(!SessionFile(m_home.filePath("missing/kept.skein")).write(kServer, {}));
        const QByteArray stored = readFile(path);
        writeFile(path, stored + QByteArray(70000, ' '));
        QVERIFY(!file.read(kServer));
        writeFile(path, stored.left(stored.size() / 2));
        QVERIFY(!file.read(kServer));
    }

private:
    QTemporaryDir m_home;
};

QTEST_GUILESS_MAIN(TestPelagoPieces)
#include "tst_pelagopieces.moc"
