// The classes of the library that need no server.

#include "Credentials.h"
#include "DavClient.h"
#include "DavPath.h"
#include "Deployments.h"
#include "MultiStatus.h"
#include "support/Table.h"
#include "support/TestFiles.h"

#include <sys/stat.h>

using namespace pelago;

namespace {

const Credentials kCredentials{"u", "secret", "", ""};
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
                 {"large size", "HREF{SIZE(5368709120)}", "/dav/a file 5368709120"},
                 {"negative size", "HREF{SIZE(-7)}", "/dav/a file -1"},
                 {"excessive size", "HREF{SIZE(99999999999999999999)}", "/dav/a file -1"},
                 {"size with a letter", "HREF{SIZE(12x)}", "/dav/a file -1"},
                 {"empty size", "HREF{SIZE()}", "/dav/a file -1"},
                 {"folder", "HREF{FOLDER}", "/dav/a folder -1"},
                 {"folder elsewhere", "HREF{<owner>FOLDER</owner><collection/>}", "/dav/a file -1"},
                 {"another namespace", "HREF{<resourcetype><x:collection/></resourcetype>}", "/dav/a file -1"},
                 {"several propstats",
                  "HREF{404 FOLDERSIZE(1)}{SIZE(2)}{204 <getcontenttype>a/b</getcontenttype>}{403 SIZE(3)}",
                  "/dav/a file 2 a/b"},
                 {"status after prop",
                  "HREF<propstat><prop>FOLDER</prop><status>HTTP/1.1 404 Not Found</status></propstat>{SIZE(4)}",
                  "/dav/a file 4"},
                 {"only missing properties", "HREF{404 FOLDER}", ""},
                 {"only a status", "HREF<status>HTTP/1.1 404 Not Found</status>", ""},
                 {"no href", "{FOLDER}", ""},
                 {"CDATA, escapes and comments", "<href>/d<![CDATA[a]]>v&#x2F;&amp;<!-- no --></href>{FOLDER}",
                  "/dav/& folder -1"},
                 {"DOCTYPE", "!<!DOCTYPE m [<!ENTITY e 'x'>]><multistatus xmlns='DAV:'/>", "refused"},
                 {"HTML", "!<html><body/></html>", "refused"},
                 {"deep nesting", QString("<x:y>").repeated(100) + QString("</x:y>").repeated(100), "refused"},
                 {"huge element", "<href>" + QString(3000000, 'a') + "</href>", "refused"},
                 {"incomplete", "!<multistatus xmlns='DAV:'></multi", "cut"},
                 {"empty", "!", "cut"}});
    }
    void multiStatusIsReadInAnyPieces()
    {
        const auto [name, text, expected] = currentRow<3>();
        const QByteArray document = documentOf(text);
        QCOMPARE(reading(document, document.size() + 1), expected);
        QCOMPARE(reading(document, document.size() > 100000 ? 4096 : 1), expected);
    }

    void hrefIsTheFolderOrAChildOrNeither_data()
    {
        // BASE and FULL are the folder's path and its address with a scheme and a port of their own.
        addRows({{"BASE", "itself"},
                 {"/d v//%61%23%62", "itself"},
                 {"FULL", "itself"},
                 {"BASEc/deeper", "other"},
                 {"/d%20v/", "other"},
                 {"/d%20v/a#b/c", "other"},
                 {"/D%20v/a%23b/c", "other"},
                 {"https://elsewhere.example/d%20v/a%23b/c", "other"},
                 {"d%20v/a%23b/c", "other"},
                 {"/d%20v/a%2523b/c", "other"},
                 {"", "other"},
                 {"BASEx%2Fy", "other"},
                 {"BASE%2E%2e", "other"},
                 {"BASE.", "other"},
                 {"BASEnul%00", "other"},
                 {"BASE%E4", "other"},
                 {"FULLc%2525/", "child c%25"},
                 {"BASE100%", "child 100%"},
                 {"BASE%zz%4", "child %zz%4"},
                 {"FULLa+b%2b", "child a+b+"},
                 {"BASE%C3%A4ä", "child ää"},
                 {"FULLc?query#x", "child c"},
                 {"BASE%20", "child  "},
                 {"BASE...", "child ..."}});
    }
    void hrefIsTheFolderOrAChildOrNeither()
    {
        using Member = DavPath::Folder::Member;
        auto [href, expected] = currentRow<2>();
        href.replace("BASE", "/d%20v/a%23b/").replace("FULL", "https://Host.example:8443/d v/a%23b//");
        const QUrl address = DavPath::address(folderAddress("http://host.example/d v"), "a#b", DavPath::Form::Folder);
        QCOMPARE(address.toEncoded(), QByteArray("http://host.example/d%20v/a%23b/"));
        QString name;
        const Member member = DavPath::Folder(address).find(href.toUtf8(), &name);
        const QString found = member == Member::Child ? "child " + name : member == Member::Itself ? "itself" : "other";
        QCOMPARE(found, expected);
    }

    void deploymentHasOnlyUsableAddresses_data()
    {
        // The lines of the section "production", and its kind, sign-in address and storage address.
        const QString builtIn = "web https://cloud.zephal.example/signin https://cloud.zephal.example/dav/";
        const QString password = "kind=password\nstorage=";
        addRows(
            {{"empty file", "", builtIn},
             {"another section", "[staging]\n" + password + "https://s/", builtIn},
             {"web", "signIn=https://a/in\nstorage=https://b:8443/x/y/", "web https://a/in https://b:8443/x/y/"},
             {"password", "kind=Password\nstorage=https://b", "password https://b/ https://b/"},
             {"special characters", password + "https://b/a%2Cb,c d%23/ü",
              "password https://b/a%2Cb,c%20d%23/%C3%BC/ https://b/a%2Cb,c%20d%23/%C3%BC/"},
             {"this machine", password + "http://127.3.2.1:80/d",
              "password http://127.3.2.1:80/d/ http://127.3.2.1:80/d/"},
             {"localhost", "signIn=http://localhost/\nstorage=http://[::1]/", "web http://localhost/ http://[::1]/"},
             {"plain http", "signIn=http://a/\nstorage=http://localhost.example/", "web  "},
             {"allowed plain http", "signIn=http://a/\nstorage=http://b/\nallowPlainHttp=true",
              "web http://a/ http://b/"},
             {"user name in the address", password + "https://u:p@b/", "password  "},
             {"query and fragment", "signIn=https://a/?x\nstorage=https://b/#y", "web  "},
             {"no http address", "signIn=ftp://a/\nstorage=b/c", "web  "},
             {"faulty line", "signIn=https://a/\nno line\n[", "web  "},
             {"comments", "# a\n; b\nkind = password\nstorage = https://b/a;b,c\\d",
              "password https://b/a;b,c%5Cd/ https://b/a;b,c%5Cd/"},
             {"quotes", password + "\"https://b/x;\"", "password https://b/x;/ https://b/x;/"}});
    }
    void deploymentHasOnlyUsableAddresses()
    {
        const auto [name, lines, expected] = currentRow<3>();
        const QString file = m_home.filePath("pelago.ini");
        writeFile(file, "[production]\n" + lines.toUtf8() + '\n');
        const Deployments all(file);
        const Deployment found = all.at(0);
        const QString kind = found.kind == SignInKind::Web ? "web" : "password";
        QCOMPARE(kind + ' ' + found.signIn.toEncoded() + ' ' + found.storage.toEncoded(), expected);
        QCOMPARE(found.problem.isEmpty(), found.storage.isValid() && found.signIn.isValid());
        QVERIFY(!all.isAllowed(QUrl("http://elsewhere/")));
        QCOMPARE(all.isAllowed(QUrl("http://a/other")), lines.contains("allowPlainHttp"));
    }

    void sessionFileIsReadableByItsOwnerOnly()
    {
        const SessionFile file(m_home.filePath("kept.skein"));
        const mode_t before = umask(0);
        QVERIFY(file.write(kServer, {"ü:", "s\"e\ncret", "First", ""}));
        umask(before);
        QCOMPARE(QFile::permissions(m_home.filePath("kept.skein")) & 0x0077, QFile::Permissions());
        const Credentials read = file.read(kServer).value_or(Credentials());
        QCOMPARE(QStringList({read.user, read.secret, read.firstName}), QStringList({"ü:", "s\"e\ncret", "First"}));
        QVERIFY(!file.read(QUrl("https://b/signin")));
    }

    void damagedSessionFileIsIgnored_data()
    {
        // A text of a good file, and what replaces it.
        addRows({{"no JSON", "{", "("},
                 {"another version", "\"version\": 1", "\"version\": 2"},
                 {"empty secret", "\"secret\": \"", "\"secret\": \"\", \"x\": \""},
                 {"user is no text", "\"user\": \"u\"", "\"user\": [1]"},
                 {"too long", "{", '{' + QString(70000, ' ')}});
    }
    void damagedSessionFileIsIgnored()
    {
        const auto [name, from, to] = currentRow<3>();
        const QString path = m_home.filePath("damaged.skein");
        const SessionFile file(path);
        QVERIFY(file.write(kServer, kCredentials));
        const QString content = readFile(path);
        QVERIFY2(content.contains(from), qPrintable(content));
        writeFile(path, QString(content).replace(from, to).toUtf8());
        QVERIFY(!file.read(kServer));
    }

    void sessionFileThatCannotBeWrittenIsReported()
    {
        QVERIFY(!SessionFile(m_home.filePath("missing/kept.skein")).write(kServer, kCredentials));
        QVERIFY(!SessionFile(m_home.path()).write(kServer, kCredentials));
        QVERIFY(!SessionFile(m_home.path()).read(kServer));
    }

private:
    QTemporaryDir m_home;
};

QTEST_GUILESS_MAIN(TestPelagoPieces)
#include "tst_pelagopieces.moc"
