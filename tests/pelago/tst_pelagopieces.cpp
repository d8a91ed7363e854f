// The classes of the library that need no server.

#include "Credentials.h"
#include "DavClient.h"
#include "DavPath.h"
#include "Deployments.h"
#include "MultiStatus.h"
#include "support/TestFiles.h"

#include <QtTest>

#include <sys/stat.h>

using namespace pelago;

namespace {

const QByteArray kHref = "<href>/dav/a</href>";
const Credentials kCredentials{"u", "secret", "", ""};
const QUrl kServer("https://a/signin");
const QByteArray kCollection = "<resourcetype><collection/></resourcetype>";

/// A document with one response.
QByteArray listing(const QByteArray &response)
{
    return "<?xml version='1.0'?><multistatus xmlns='DAV:' xmlns:x='urn:x'><response>" + response +
           "</response></multistatus>";
}

QByteArray propstat(const QByteArray &properties, const QByteArray &status = "HTTP/1.1 200 OK")
{
    return "<propstat><prop>" + properties + "</prop><status>" + status + "</status></propstat>";
}

QByteArray size(const QByteArray &text)
{
    return "<getcontentlength>" + text + "</getcontentlength>";
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
        QTest::addColumn<QByteArray>("document");
        QTest::addColumn<QString>("expected");
        const auto row = [](const char *name, const QByteArray &document, const char *expected) {
            QTest::newRow(name) << document << expected;
        };
        const auto item = [&row](const char *name, const QByteArray &properties, const char *expected) {
            row(name, listing(kHref + propstat(properties)), expected);
        };
        const QByteArray missing = "HTTP/1.1 404 Not Found";
        item("size with blanks", size(" 7 "), "/dav/a file 7");
        item("large size", size("5368709120"), "/dav/a file 5368709120");
        for (const char *text : {"-7", "99999999999999999999", "12x", "", "0x10", "1.5"})
            item(qPrintable("size " + QString(text)), size(text), "/dav/a file -1");
        item("folder", kCollection, "/dav/a folder -1");
        item("collection elsewhere", "<owner>" + kCollection + "</owner><collection/>", "/dav/a file -1");
        item("another namespace",
             "<resourcetype><x:collection/></resourcetype><x:getcontentlength>5</x:getcontentlength>",
             "/dav/a file -1");
        row("prefixes",
            "<D:multistatus xmlns:D='DAV:'><q:response xmlns:q='DAV:'><q:href>/dav/a</q:href><D:propstat><D:prop>"
            "<D:resourcetype><z:collection xmlns:z='DAV:'/></D:resourcetype></D:prop>"
            "<q:status>HTTP/1.1 200 OK</q:status></D:propstat></q:response></D:multistatus>",
            "/dav/a folder -1");
        row("several propstats",
            listing(kHref + propstat(kCollection + size("1"), missing) + propstat(size("2")) +
                    propstat("<getcontenttype>a/b</getcontenttype>", "HTTP/2 204") +
                    propstat(size("3"), "HTTP/1.1 403 Forbidden")),
            "/dav/a file 2 a/b");
        row("status before prop",
            listing(kHref + "<propstat><status>" + missing + "</status><prop>" + kCollection + "</prop></propstat>" +
                    propstat(size("4"))),
            "/dav/a file 4");
        row("only missing properties", listing(kHref + propstat(kCollection, missing)), "");
        row("only a status", listing(kHref + "<status>" + missing + "</status>"), "");
        row("no href", listing(propstat(kCollection)), "");
        row("CDATA, escapes and comments",
            listing("<href>/d<![CDATA[a]]>v&#x2F;&amp;<!-- no --></href>" + propstat(kCollection)), "/dav/& folder -1");
        row("DOCTYPE", "<!DOCTYPE m [<!ENTITY e 'x'>]>" + listing(kHref).mid(21), "refused");
        row("HTML", "<html><body/></html>", "refused");
        row("text", "all is well", "refused");
        row("deep nesting", listing(QByteArray("<x:y>").repeated(100) + QByteArray("</x:y>").repeated(100)), "refused");
        row("huge element", listing("<href>" + QByteArray(3000000, 'a') + "</href>"), "refused");
        row("incomplete", listing(kHref + propstat(kCollection)).chopped(3), "cut");
        row("empty", "", "cut");
    }
    void multiStatusIsReadInAnyPieces()
    {
        QFETCH(QByteArray, document);
        QFETCH(QString, expected);
        QCOMPARE(reading(document, document.size() + 1), expected);
        QCOMPARE(reading(document, document.size() > 100000 ? 4096 : 1), expected);
    }

    void hrefIsTheFolderOrAChildOrNeither_data()
    {
        QTest::addColumn<QString>("expected");
        const auto rows = [](const char *expected, const QStringList &hrefs) {
            for (const QString &href : hrefs)
                QTest::newRow(qPrintable(href)) << expected;
        };
        const QString base = "/d%20v/a%23b/";
        rows("itself", {base, "/d v//%61%23%62", "https://Host.example:8443/d%20v/a%23b/"});
        rows("other", {base + "c/deeper", "/d%20v/", "/d%20v/a#b/c", "/d%20v/other/c", "/d%20v/a%2523b/c",
                       "/D%20v/a%23b/c", "https://elsewhere.example/d%20v/a%23b/c", "d%20v/a%23b/c", "", base + "x%2Fy",
                       base + "%2E%2e", base + ".", base + "nul%00", base + "%E4", base + "%FFx"});
        const QStringList children = {"c%2525/", "c%25", "100%",      "100%", "%zz%4", "%zz%4", "a+b%2b", "a+b+",
                                      "%C3%A4ä", "ää",   "c?query#x", "c",    "%20",   " ",     "...",    "..."};
        for (int at = 0; at < children.size(); at += 2)
            rows(("child " + children[at + 1]).toUtf8(),
                 {base + children[at], "http://host.example/d v/a%23b//" + children[at]});
    }
    void hrefIsTheFolderOrAChildOrNeither()
    {
        using Member = DavPath::Folder::Member;
        const QUrl address = DavPath::address(folderAddress("https://host.example/d v"), "a#b", DavPath::Form::Folder);
        QCOMPARE(address.toEncoded(), QByteArray("https://host.example/d%20v/a%23b/"));
        QString name;
        const Member member = DavPath::Folder(address).find(QTest::currentDataTag(), &name);
        const QString found = member == Member::Child ? "child " + name : member == Member::Itself ? "itself" : "other";
        QTEST(found, "expected");
    }

    void identifierConsistsOfNames()
    {
        for (const char *id : {"", "a", "a/b", "...", " "})
            QVERIFY2(DavPath::isIdentifier(id), id);
        for (const char *id : {"/", "/a", "a/", "a//b", ".", "..", "a/../b", "./a"})
            QVERIFY2(!DavPath::isIdentifier(id), id);
        QVERIFY(!DavPath::isIdentifier(QString("a") + QChar(0)));
    }

    void deploymentHasOnlyUsableAddresses_data()
    {
        QTest::addColumn<QString>("expected"); // kind, sign-in address and storage address of "production"
        QTest::addColumn<QByteArray>("lines"); // of the section "production"
        const auto row = [](const char *name, const char *expected, const QByteArray &lines) {
            QTest::newRow(name) << expected << lines;
        };
        const char *const builtIn = "web https://cloud.zephal.example/signin https://cloud.zephal.example/dav/";
        const QByteArray password = "kind=password\nstorage=";
        row("empty file", builtIn, "");
        row("another section", builtIn, "[staging]\n" + password + "https://s/\n");
        row("web", "web https://a/in https://b:8443/x/y/", "signIn=https://a/in\nstorage=https://b:8443/x/y\n");
        row("password", "password https://b/ https://b/", "kind=Password\nstorage=https://b\n");
        row("special characters", "password https://b/a%2Cb,c%20d%23/%C3%BC/ https://b/a%2Cb,c%20d%23/%C3%BC/",
            password + "https://b/a%2Cb,c d%23/ü\n");
        row("this machine", "password http://127.3.2.1:80/d/ http://127.3.2.1:80/d/",
            password + "http://127.3.2.1:80/d\n");
        row("localhost", "web http://localhost/ http://[::1]/", "signIn=http://localhost/\nstorage=http://[::1]/\n");
        row("plain http", "web  ", "signIn=http://a/\nstorage=http://localhost.example/\n");
        row("allowed plain http", "web http://a/ http://b/",
            "signIn=http://a/\nstorage=http://b/\nallowPlainHttp=true\n");
        row("user name in the address", "password  ", password + "https://u:p@b/\n");
        row("query and fragment", "web  ", "signIn=https://a/?x\nstorage=https://b/#y\n");
        row("no http address", "web  ", "signIn=ftp://a/\nstorage=b/c\n");
        row("faulty line", "web  ", "signIn=https://a/\nno line\n[");
        row("comments and a fragment", "password  ", "# a\n; b\nkind = password\nstorage = https://b/a;b,c\\d#e\n");
        row("separators", "password https://b/a;b,c%5Cd/ https://b/a;b,c%5Cd/", password + "https://b/a;b,c\\d\n");
        row("quotes", "password https://b/x;/ https://b/x;/", password + "\"https://b/x;\"\n");
    }
    void deploymentHasOnlyUsableAddresses()
    {
        QFETCH(QByteArray, lines);
        const QString file = m_home.filePath("pelago.ini");
        writeFile(file, "[production]\n" + lines);
        const Deployments all(file);
        const Deployment found = all.at(0);
        const QString kind = found.kind == SignInKind::Web ? "web" : "password";
        QCOMPARE(found.problem.isEmpty(), found.storage.isValid() && found.signIn.isValid());
        QTEST(kind + ' ' + found.signIn.toEncoded() + ' ' + found.storage.toEncoded(), "expected");
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
        QTest::addColumn<QByteArray>("from");
        QTest::addColumn<QByteArray>("to");
        const auto row = [](const char *name, const QByteArray &from, const QByteArray &to) {
            QTest::newRow(name) << from << to;
        };
        row("no JSON", "{", "(");
        row("another version", "\"version\": 1", "\"version\": 2");
        row("empty secret", "\"secret\": \"", "\"secret\": \"\", \"x\": \"");
        row("user is no text", "\"user\": \"u\"", "\"user\": [1]");
        row("too long", "{", "{" + QByteArray(70000, ' '));
    }
    void damagedSessionFileIsIgnored()
    {
        QFETCH(QByteArray, from);
        QFETCH(QByteArray, to);
        const QString path = m_home.filePath("damaged.skein");
        const SessionFile file(path);
        QVERIFY(file.write(kServer, kCredentials));
        const QByteArray content = readFile(path);
        QVERIFY2(content.contains(from), content);
        writeFile(path, QByteArray(content).replace(from, to));
        QVERIFY(!file.read(kServer));
    }

    void sessionFileThatCannotBeWrittenIsReported()
    {
        QVERIFY(!SessionFile(m_home.filePath("missing/kept.skein")).write(kServer, kCredentials));
        QVERIFY(!SessionFile(m_home.path()).write(kServer, kCredentials));
        QVERIFY(!SessionFile(m_home.path()).read(kServer));
        QVERIFY(SessionFile(QString()).write(kServer, kCredentials)); // stores nothing
        QVERIFY(!SessionFile(QString()).read(kServer));
    }

private:
    QTemporaryDir m_home;
};

QTEST_GUILESS_MAIN(TestPelagoPieces)
#include "tst_pelagopieces.moc"
