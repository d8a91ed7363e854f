// The pieces of the library that need no server.

#include "Deployments.h"
#include "MultiStatus.h"
#include "SessionFile.h"

#include "DavPath.h"

#include <QtTest>

#include <sys/stat.h>
#include <unistd.h>

using namespace pelago;

namespace {

/// A listing of /dav/ with one response.
QByteArray listing(const QByteArray &response)
{
    return "<?xml version=\"1.0\"?><D:multistatus xmlns:D=\"DAV:\" xmlns:x=\"urn:x\"><D:response>" + response +
           "</D:response></D:multistatus>";
}

QByteArray propstat(const QByteArray &properties, const QByteArray &status = "HTTP/1.1 200 OK")
{
    return "<D:propstat><D:prop>" + properties + "</D:prop><D:status>" + status + "</D:status></D:propstat>";
}

/// What a document says, one word list per entry; "refused" or "cut" when it is not accepted.
QString reading(const QByteArray &document, int pieceBytes)
{
    QStringList lines;
    MultiStatus reader([&lines](const DavEntry &entry) {
        lines << QString("%1 %2 %3 %4")
                     .arg(QString(entry.href), entry.folder ? "folder" : "file")
                     .arg(entry.size)
                     .arg(entry.mediaType);
    });
    for (int at = 0; at < document.size(); at += pieceBytes) {
        if (!reader.read(document.mid(at, pieceBytes)))
            return "refused";
    }
    return reader.isComplete() ? lines.join('|').trimmed() : "cut";
}

void write(const QString &path, const QByteArray &content)
{
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly) && file.write(content) == content.size());
}

} // namespace

class TestPelagoPieces : public QObject
{
    Q_OBJECT
private slots:
    void multiStatus_data();
    void multiStatus();
    void hrefs();
    void identifiers();
    void deployments_data();
    void deployments();
    void sessionFile();

private:
    QTemporaryDir m_home;
};

void TestPelagoPieces::multiStatus_data()
{
    const QByteArray href = "<D:href>/dav/a</D:href>";
    const QByteArray folder = "<D:resourcetype><D:collection/></D:resourcetype>";
    QTest::addColumn<QByteArray>("document");
    QTest::addColumn<QString>("expected");
    const auto row = [](const char *name, const QByteArray &document, const char *expected) {
        QTest::newRow(name) << document << expected;
    };
    row("file", listing(href + propstat("<D:getcontentlength> 7 </D:getcontentlength>")), "/dav/a file 7");
    row("folder, no size", listing(href + propstat(folder)), "/dav/a folder -1");
    row("other prefixes",
        "<multistatus xmlns='DAV:'><q:response xmlns:q='DAV:'><q:href>/dav/a</q:href><propstat><prop>"
        "<resourcetype><z:collection xmlns:z='DAV:'/></resourcetype></prop><q:status>HTTP/1.1 200 OK</q:status>"
        "</propstat></q:response></multistatus>",
        "/dav/a folder -1");
    row("foreign namespace",
        listing(href + propstat("<D:resourcetype><x:collection/></D:resourcetype>"
                                "<x:getcontentlength>5</x:getcontentlength>")),
        "/dav/a file -1");
    row("collection elsewhere", listing(href + propstat("<D:owner>" + folder + "</D:owner><D:collection/>")),
        "/dav/a file -1");
    row("several propstat",
        listing(href + propstat(folder + "<D:getcontentlength>1</D:getcontentlength>", "HTTP/1.1 404 Not Found") +
                propstat("<D:getcontentlength>2</D:getcontentlength>") +
                propstat("<D:getcontenttype>a/b</D:getcontenttype>", "HTTP/2 204") +
                propstat("<D:getcontentlength>3</D:getcontentlength>", "HTTP/1.1 403 Forbidden")),
        "/dav/a file 2 a/b");
    row("status before properties",
        listing(href + "<D:propstat><D:status>HTTP/1.1 404 No</D:status><D:prop>" + folder + "</D:prop></D:propstat>" +
                propstat("<D:getcontentlength>4</D:getcontentlength>")),
        "/dav/a file 4");
    row("only failures", listing(href + propstat(folder, "HTTP/1.1 403 Forbidden")), "");
    row("response status", listing(href + "<D:status>HTTP/1.1 404 Not Found</D:status>"), "");
    row("no href", listing(propstat(folder)), "");
    row("huge size", listing(href + propstat("<D:getcontentlength>5368709120</D:getcontentlength>")),
        "/dav/a file 5368709120");
    for (const char *size : {"-7", "99999999999999999999", "12x", "", "0x10", "1.5"})
        row(size, listing(href + propstat("<D:getcontentlength>" + QByteArray(size) + "</D:getcontentlength>")),
            "/dav/a file -1");
    row("split text", listing("<D:href>/d<![CDATA[a]]>v&#x2F;&amp;<!-- no --></D:href>" + propstat(folder)),
        "/dav/& folder -1");
    row("doctype", "<!DOCTYPE m [<!ENTITY e 'x'>]>" + listing(href).mid(21), "refused");
    row("not a listing", "<html><body/></html>", "refused");
    row("not XML", "all is well", "refused");
    row("wrong nesting", "<D:multistatus xmlns:D='DAV:'></D:response>", "refused");
    row("truncated", listing(href + propstat(folder)).chopped(3), "cut");
    row("empty", "", "cut");
    row("deep", listing(QByteArray("<x:y>").repeated(100) + QByteArray("</x:y>").repeated(100)), "refused");
    row("endless element", listing("<D:href>" + QByteArray(3000000, 'a') + "</D:href>"), "refused");
}

void TestPelagoPieces::multiStatus()
{
    QFETCH(QByteArray, document);
    QFETCH(QString, expected);
    QCOMPARE(reading(document, document.size() + 1), expected);
    QCOMPARE(reading(document, document.size() > 100000 ? 4096 : 1), expected);
}

void TestPelagoPieces::hrefs()
{
    using Member = DavPath::Folder::Member;
    const QUrl root = folderAddress("https://host.example/d v");
    const DavPath::Folder folder(DavPath::address(root, "a#b", DavPath::Form::Folder));
    QString name;
    for (const char *href : {"/d%20v/a%23b/", "/d v//%61%23%62", "https://Host.example:8443/d%20v/a%23b/"})
        QVERIFY2(folder.find(href, &name) == Member::Itself, href);
    for (const char *href :
         {"/d%20v/a%23b/c/deeper", "/d%20v/", "/d%20v/a#b/c", "/d%20v/other/c", "/d%20v/a%2523b/c", "/D%20v/a%23b/c",
          "https://elsewhere.example/d%20v/a%23b/c", "d%20v/a%23b/c", "", "/d%20v/a%23b/x%2Fy", "/d%20v/a%23b/%2E%2e",
          "/d%20v/a%23b/.", "/d%20v/a%23b/nul%00", "/d%20v/a%23b/%E4", "/d%20v/a%23b/%FFx"})
        QVERIFY2(folder.find(href, &name) == Member::Other, href);
    const QStringList children = {"c%2525/", "c%25", "100%",      "100%", "%zz%4", "%zz%4", "a+b%2b", "a+b+",
                                  "%C3%A4ä", "ää",   "c?query#x", "c",    "%20",   " ",     "...",    "..."};
    for (int at = 0; at < children.size(); at += 2) {
        for (const char *before : {"/d%20v/a%23b/", "http://host.example/d v/a%23b//"}) {
            QVERIFY(folder.find(before + children[at].toUtf8(), &name) == Member::Child);
            QCOMPARE(name, children[at + 1]);
        }
    }
}

void TestPelagoPieces::identifiers()
{
    const QUrl root = folderAddress("https://h:1/dav");
    QCOMPARE(DavPath::address(root, "a b/%41?#ü\\+;", DavPath::Form::Folder).toEncoded(),
             QByteArray("https://h:1/dav/a%20b/%2541%3F%23%C3%BC%5C%2B%3B/"));
    QCOMPARE(DavPath::address(root, "", DavPath::Form::Folder).toEncoded(), QByteArray("https://h:1/dav/"));
    for (const char *id : {"", "a", "a/b", "...", " "})
        QVERIFY2(DavPath::isIdentifier(id), id);
    for (const char *id : {"/", "/a", "a/", "a//b", ".", "..", "a/../b", "./a"})
        QVERIFY2(!DavPath::isIdentifier(id), id);
    QVERIFY(!DavPath::isIdentifier(QString("a") + QChar(0)));
    QCOMPARE(DavPath::parent("a/b/c"), QString("a/b"));
    QCOMPARE(DavPath::parent("a"), QString());
}

void TestPelagoPieces::deployments_data()
{
    QTest::addColumn<QByteArray>("ini");
    QTest::addColumn<QString>("expected"); // kind, sign-in address, storage address of "production"
    const QString builtIn = "web https://cloud.zephal.example/signin https://cloud.zephal.example/dav/";
    QTest::newRow("empty") << QByteArray("\n") << builtIn;
    QTest::newRow("another section") << QByteArray("[staging]\nkind=password\nstorage=https://s/\n") << builtIn;
    const auto row = [](const char *name, const QByteArray &lines, const char *expected) {
        QTest::newRow(name) << "[production]\n" + lines << expected;
    };
    row("web", "signIn=https://a/in\nstorage=https://b:8443/x/y\n", "web https://a/in https://b:8443/x/y/");
    row("password", "kind=Password\nstorage=https://b\n", "password https://b/ https://b/");
    row("odd path", "kind=password\nstorage=https://b/a%2Cb,c d%23/ü\n",
        "password https://b/a%2Cb,c%20d%23/%C3%BC/ https://b/a%2Cb,c%20d%23/%C3%BC/");
    row("loopback", "kind=password\nstorage=http://127.3.2.1:80/d\n",
        "password http://127.3.2.1:80/d/ http://127.3.2.1:80/d/");
    row("loopback 6", "signIn=http://localhost/\nstorage=http://[::1]/\n", "web http://localhost/ http://[::1]/");
    row("plain", "signIn=http://a/\nstorage=http://localhost.example/\n", "web  ");
    row("plain allowed", "signIn=http://a/\nstorage=http://b/\nallowPlainHttp=true\n", "web http://a/ http://b/");
    row("secrets in the address", "kind=password\nstorage=https://u:p@b/\n", "password  ");
    row("query", "signIn=https://a/?x\nstorage=https://b/#y\n", "web  ");
    row("other schemes", "signIn=ftp://a/\nstorage=b/c\n", "web  ");
    row("damaged", "signIn=https://a/\nno line\n[", "web  ");
}

void TestPelagoPieces::deployments()
{
    QFETCH(QByteArray, ini);
    const QString file = m_home.filePath(QString(QTest::currentDataTag()) + ".ini");
    write(file, ini);
    const Deployment found = Deployments(file).at(0);
    const QString kind = found.kind == SignInKind::Web ? "web" : "password";
    QTEST(kind + ' ' + found.signIn.toEncoded() + ' ' + found.storage.toEncoded(), "expected");
    QVERIFY(!Deployments(file).isAllowed(QUrl("http://elsewhere/")));
    QCOMPARE(Deployments(file).isAllowed(QUrl("http://a/other")), ini.contains("allowPlainHttp"));
}

void TestPelagoPieces::sessionFile()
{
    const QUrl server("https://a/signin");
    const QString path = m_home.filePath("kept.skein");
    const SessionFile file(path);
    const mode_t before = umask(0);
    QVERIFY(file.write(server, {"ü:", "s\"e\ncret", "First", ""}));
    umask(before);
    struct stat info = {};
    QCOMPARE(stat(QFile::encodeName(path), &info), 0);
    QCOMPARE(info.st_mode & 0777, mode_t{0600});

    const std::optional<Credentials> read = file.read(server);
    QVERIFY(read && read->user == "ü:" && read->secret == "s\"e\ncret" && read->firstName == "First");
    QVERIFY(!file.read(QUrl("https://b/signin")));
    const QPair<QByteArray, QByteArray> damages[] = {{"{", "("},
                                                     {"\"version\": 1", "\"version\": 2"},
                                                     {"\"secret\": \"", "\"secret\": \"\", \"x\": \""},
                                                     {"\"user\": \"ü:\"", "\"user\": [1]"},
                                                     {"{", "{" + QByteArray(70000, ' ')}};
    QFile raw(path);
    QVERIFY(raw.open(QIODevice::ReadOnly));
    const QByteArray content = raw.readAll();
    for (const auto &[from, to] : damages) {
        QVERIFY2(content.contains(from), from);
        write(path, QByteArray(content).replace(from, to));
        QVERIFY2(!file.read(server), to.left(40));
    }
    QVERIFY(file.remove() && !QFile::exists(path) && file.remove());
    QVERIFY(!SessionFile(m_home.filePath("missing/kept.skein")).write(server, *read));
    QVERIFY(!SessionFile(m_home.path()).read(server) && !SessionFile(m_home.path()).write(server, *read));
    QVERIFY(SessionFile(QString()).write(server, *read) && !SessionFile(QString()).read(server));
}

QTEST_GUILESS_MAIN(TestPelagoPieces)
#include "tst_pelagopieces.moc"
