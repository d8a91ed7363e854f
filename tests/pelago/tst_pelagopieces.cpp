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

/// The document that \p text abbreviates: {...} is a propstat, {404 ...} one with that status, SIZE(x) a size, FOLDER
/// the property of a folder. A text that does not begin with "!" is one response.
QByteArray documentOf(const QString &text)
{
    if (text.startsWith('!'))
        return text.mid(1).toUtf8();
    QString response = text;
    response.replace(QRegularExpression("\\{(\\d\\d\\d) "), "<propstat><status>HTTP/1.1 \\1 x</status><prop>");
    response.replace("{", "<propstat><status>HTTP/2 200</status><prop>").replace("}", "</prop></propstat>");
    response.replace(QRegularExpression("SIZE\\(([^)]*)\\)"), "<getcontentlength>\\1</getcontentlength>");
    response.replace("FOLDER", "<resourcetype><collection/></resourcetype>").replace("HREF", "<href>/dav/a</href>");
    return "<multistatus xmlns='DAV:' xmlns:x='urn:x'><response>" + response.toUtf8() + "</response></multistatus>";
}

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
        addRows({{"size with blanks", "HREF{SIZE( 7 )}", "/dav/a file 7"},
                 {"excessive size", "HREF{SIZE(99999999999999999999)}", "/dav/a file -1"},
                 {"folder", "HREF{FOLDER}", "/dav/a folder -1"},
                 {"another namespace", "HREF{<resourcetype><x:collection/></resourcetype>}", "/dav/a file -1"},
                 {"several propstats",
                  "HREF{404 FOLDERSIZE(1)}{SIZE(2)}{204 <getcontenttype>a/b</getcontenttype>}{403 SIZE(3)}",
                  "/dav/a file 2 a/b"},
                 {"status after prop",
                  "HREF<propstat><prop>FOLDER</prop><status>HTTP/1.1 404 Not Found</status></propstat>{SIZE(4)}",
                  "/dav/a file 4"},
                 {"no href", "{FOLDER}", ""},
                 {"CDATA, escapes and comments", "<href>/d<![CDATA[a]]>v&#x2F;&amp;<!-- no --></href>{FOLDER}",
                  "/dav/& folder -1"},
                 {"DOCTYPE", "!<!DOCTYPE m [<!ENTITY e 'x'>]><multistatus xmlns='DAV:'/>", "refused"},
                 {"deep nesting", QString("<x:y>").repeated(100) + QString("</x:y>").repeated(100), "refused"},
                 {"huge element", "<href>" + QString(3000000, 'a') + "</href>", "refused"},
                 {"incomplete", "!<multistatus xmlns='DAV:'></multi", "cut"}});
    }
    void multiStatusIsReadInAnyPieces()
    {
        const auto [name, text, expected] = currentRow<3>();
        const QByteArray document = documentOf(text);
        QCOMPARE(reading(document, document.size() + 1), expected);
        QCOMPARE(reading(document, document.size() > 100000 ? 4096 : 1), expected);
    }

    void deploymentHasOnlyUsableAddresses_data()
    {
        // The lines of the section "production", and its kind and sign-in address. The storage address is usable if
        // that one is.
        addRows(
            {{"empty file", "", "web https://cloud.zephal.example/signin"},
             {"password", "kind=Password\nstorage=https://b", "password https://b/"},
             {"special characters", "kind=password\nstorage=https://b:8443/a%2Cb,c d%23/ü",
              "password https://b:8443/a%2Cb,c%20d%23/%C3%BC/"},
             {"this machine", "signIn=http://localhost/in\nstorage=http://[::1]/", "web http://localhost/in"},
             {"allowed plain http", "signIn=http://a/\nstorage=http://b/\nallowPlainHttp=true", "web http://a/"},
             {"user name in the address", "kind=password\nstorage=https://u:p@b/", "password "},
             {"query", "signIn=https://a/?x\nstorage=https://b/#y", "web "},
             {"comments", "# a\n; b\nkind = password\nstorage = https://b/a;b,c\\d", "password https://b/a;b,c%5Cd/"},
             {"quotes", "kind=password\nstorage=\"https://b/x;\"", "password https://b/x;/"}});
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

    void sessionFileIsReadableByItsOwnerOnly()
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
    }

    void damagedSessionFileIsIgnored_data()
    {
        // The text in the file, and what replaces it.
        addRows({{"no JSON", "{", "("},
                 {"another version", "\"version\": 1", "\"version\": 2"},
                 {"no secret", "\"secret\": \"", "\"secret\": \"\", \"x\": \""},
                 {"user of another type", "\"user\": \"u\"", "\"user\": [1]"},
                 {"too large", "{", '{' + QString(70000, ' ')}});
    }
    void damagedSessionFileIsIgnored()
    {
        const auto [name, from, to] = currentRow<3>();
        const QString path = m_home.filePath("damaged.skein");
        const SessionFile file(path);
        QVERIFY(file.write(kServer, {"u", "secret", "", ""}));
        QVERIFY(file.read(kServer));
        writeFile(path, QString(readFile(path)).replace(from, to).toUtf8());
        QVERIFY(!file.read(kServer));
    }

private:
    QTemporaryDir m_home;
};

QTEST_GUILESS_MAIN(TestPelagoPieces)
#include "tst_pelagopieces.moc"
