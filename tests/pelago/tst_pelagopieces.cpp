// The pieces of the library that need no server.

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

const QByteArray href = "<href>/dav/a</href>";
const QByteArray folder = "<resourcetype><collection/></resourcetype>";

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

/// What a document says, one word list per entry; "refused" or "cut" when it is not accepted.
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
    void multiStatusIsReadInAnyPieces()
    {
        const QByteArray missing = "HTTP/1.1 404 Not Found";
        const QByteArray prefixes =
            "<D:multistatus xmlns:D='DAV:'><q:response xmlns:q='DAV:'><q:href>/dav/a</q:href><D:propstat><D:prop>"
            "<D:resourcetype><z:collection xmlns:z='DAV:'/></D:resourcetype></D:prop>"
            "<q:status>HTTP/1.1 200 OK</q:status></D:propstat></q:response></D:multistatus>";
        const QByteArray foreign = "<resourcetype><x:collection/></resourcetype><x:getcontentlength>5"
                                   "</x:getcontentlength>";
        const QByteArray statusFirst =
            "<propstat><status>" + missing + "</status><prop>" + folder + "</prop></propstat>";
        const QByteArray several = propstat(folder + size("1"), missing) + propstat(size("2")) +
                                   propstat("<getcontenttype>a/b</getcontenttype>", "HTTP/2 204") +
                                   propstat(size("3"), "HTTP/1.1 403 Forbidden");
        const QByteArray splitText = "<href>/d<![CDATA[a]]>v&#x2F;&amp;<!-- no --></href>";
        QVector<std::pair<QByteArray, QString>> rows = {
            {listing(href + propstat(size(" 7 "))), "/dav/a file 7"},
            {listing(href + propstat(folder)), "/dav/a folder -1"},
            {prefixes, "/dav/a folder -1"},
            {listing(href + propstat(foreign)), "/dav/a file -1"},
            {listing(href + propstat("<owner>" + folder + "</owner><collection/>")), "/dav/a file -1"},
            {listing(href + several), "/dav/a file 2 a/b"},
            {listing(href + statusFirst + propstat(size("4"))), "/dav/a file 4"},
            {listing(href + propstat(folder, missing)), ""},
            {listing(href + "<status>" + missing + "</status>"), ""},
            {listing(propstat(folder)), ""},
            {listing(href + propstat(size("5368709120"))), "/dav/a file 5368709120"},
            {listing(splitText + propstat(folder)), "/dav/& folder -1"},
            {"<!DOCTYPE m [<!ENTITY e 'x'>]>" + listing(href).mid(21), "refused"},
            {"<html><body/></html>", "refused"},
            {"all is well", "refused"},
            {listing(href + propstat(folder)).chopped(3), "cut"},
            {"", "cut"},
            {listing(QByteArray("<x:y>").repeated(100) + QByteArray("</x:y>").repeated(100)), "refused"},
            {listing("<href>" + QByteArray(3000000, 'a') + "</href>"), "refused"},
        };
        for (const char *text : {"-7", "99999999999999999999", "12x", "", "0x10", "1.5"})
            rows.append({listing(href + propstat(size(text))), "/dav/a file -1"});
        for (const auto &[document, expected] : qAsConst(rows)) {
            for (const int pieceBytes : {document.size() + 1, document.size() > 100000 ? 4096 : 1})
                QVERIFY2(reading(document, pieceBytes) == expected, document.left(500));
        }
    }

    void hrefNamesTheFolderItselfOrOneChild()
    {
        using Member = DavPath::Folder::Member;
        const QUrl root = folderAddress("https://host.example/d v");
        const QUrl address = DavPath::address(root, "a#b", DavPath::Form::Folder);
        QCOMPARE(address.toEncoded(), QByteArray("https://host.example/d%20v/a%23b/"));
        const DavPath::Folder place(address);
        QString name;
        for (const char *itself : {"/d%20v/a%23b/", "/d v//%61%23%62", "https://Host.example:8443/d%20v/a%23b/"})
            QVERIFY2(place.find(itself, &name) == Member::Itself, itself);
        for (const char *other :
             {"/d%20v/a%23b/c/deeper", "/d%20v/", "/d%20v/a#b/c", "/d%20v/other/c", "/d%20v/a%2523b/c",
              "/D%20v/a%23b/c", "https://elsewhere.example/d%20v/a%23b/c", "d%20v/a%23b/c", "", "/d%20v/a%23b/x%2Fy",
              "/d%20v/a%23b/%2E%2e", "/d%20v/a%23b/.", "/d%20v/a%23b/nul%00", "/d%20v/a%23b/%E4", "/d%20v/a%23b/%FFx"})
            QVERIFY2(place.find(other, &name) == Member::Other, other);
        const QStringList children = {"c%2525/", "c%25", "100%",      "100%", "%zz%4", "%zz%4", "a+b%2b", "a+b+",
                                      "%C3%A4ä", "ää",   "c?query#x", "c",    "%20",   " ",     "...",    "..."};
        for (int at = 0; at < children.size(); at += 2) {
            for (const char *before : {"/d%20v/a%23b/", "http://host.example/d v/a%23b//"}) {
                QVERIFY(place.find(before + children[at].toUtf8(), &name) == Member::Child);
                QCOMPARE(name, children[at + 1]);
            }
        }
    }

    void identifierIsMadeOfNames()
    {
        for (const char *id : {"", "a", "a/b", "...", " "})
            QVERIFY2(DavPath::isIdentifier(id), id);
        for (const char *id : {"/", "/a", "a/", "a//b", ".", "..", "a/../b", "./a"})
            QVERIFY2(!DavPath::isIdentifier(id), id);
        QVERIFY(!DavPath::isIdentifier(QString("a") + QChar(0)));
        QCOMPARE(DavPath::parent("a/b/c") + DavPath::parent("a"), QString("a/b"));
    }

    void deploymentHasOnlyAddressesThatCanBeUsed()
    {
        const QString builtIn = "web https://cloud.zephal.example/signin https://cloud.zephal.example/dav/";
        // Kind, sign-in address and storage address of "production", for the lines of its section.
        const std::pair<QByteArray, QString> rows[] = {
            {"", builtIn},
            {"[staging]\nkind=password\nstorage=https://s/\n", builtIn},
            {"signIn=https://a/in\nstorage=https://b:8443/x/y\n", "web https://a/in https://b:8443/x/y/"},
            {"kind=Password\nstorage=https://b\n", "password https://b/ https://b/"},
            {"kind=password\nstorage=https://b/a%2Cb,c d%23/ü\n",
             "password https://b/a%2Cb,c%20d%23/%C3%BC/ https://b/a%2Cb,c%20d%23/%C3%BC/"},
            {"kind=password\nstorage=http://127.3.2.1:80/d\n",
             "password http://127.3.2.1:80/d/ http://127.3.2.1:80/d/"},
            {"signIn=http://localhost/\nstorage=http://[::1]/\n", "web http://localhost/ http://[::1]/"},
            {"signIn=http://a/\nstorage=http://localhost.example/\n", "web  "},
            {"signIn=http://a/\nstorage=http://b/\nallowPlainHttp=true\n", "web http://a/ http://b/"},
            {"kind=password\nstorage=https://u:p@b/\n", "password  "},
            {"signIn=https://a/?x\nstorage=https://b/#y\n", "web  "},
            {"signIn=ftp://a/\nstorage=b/c\n", "web  "},
            {"signIn=https://a/\nno line\n[", "web  "},
            {"# a comment\n; another\nkind = password\nstorage = https://b/a;b,c\\d#e\n", "password  "},
            {"kind=password\nstorage=https://b/a;b,c\\d\n", "password https://b/a;b,c%5Cd/ https://b/a;b,c%5Cd/"},
            {"kind=password\nstorage=\"https://b/x;\"\n", "password https://b/x;/ https://b/x;/"},
        };
        for (const auto &[lines, expected] : rows) {
            const QString file = m_home.filePath("pelago.ini");
            writeFile(file, "[production]\n" + lines);
            const Deployments all(file);
            const Deployment found = all.at(0);
            const QString kind = found.kind == SignInKind::Web ? "web" : "password";
            QCOMPARE(found.problem.isEmpty(), found.storage.isValid() && found.signIn.isValid());
            QCOMPARE(kind + ' ' + found.signIn.toEncoded() + ' ' + found.storage.toEncoded(), expected);
            QVERIFY(!all.isAllowed(QUrl("http://elsewhere/")));
            QCOMPARE(all.isAllowed(QUrl("http://a/other")), lines.contains("allowPlainHttp"));
        }
    }

    void sessionFileIsItsOwnersAndWhole()
    {
        const QUrl server("https://a/signin");
        const QString path = m_home.filePath("kept.skein");
        const SessionFile file(path);
        const mode_t before = umask(0);
        QVERIFY(file.write(server, {"ü:", "s\"e\ncret", "First", ""}));
        umask(before);
        QCOMPARE(QFile::permissions(path) & 0x0077, QFile::Permissions());

        const std::optional<Credentials> read = file.read(server);
        QVERIFY(read && read->user == "ü:" && read->secret == "s\"e\ncret" && read->firstName == "First");
        QVERIFY(!file.read(QUrl("https://b/signin")));
        const QPair<QByteArray, QByteArray> damages[] = {{"{", "("},
                                                         {"\"version\": 1", "\"version\": 2"},
                                                         {"\"secret\": \"", "\"secret\": \"\", \"x\": \""},
                                                         {"\"user\": \"ü:\"", "\"user\": [1]"},
                                                         {"{", "{" + QByteArray(70000, ' ')}};
        const QByteArray content = readFile(path);
        for (const auto &[from, to] : damages) {
            QVERIFY2(content.contains(from), from);
            writeFile(path, QByteArray(content).replace(from, to));
            QVERIFY2(!file.read(server), to.left(40));
        }
        QVERIFY(file.remove() && !QFile::exists(path) && file.remove());
        QVERIFY(!SessionFile(m_home.filePath("missing/kept.skein")).write(server, *read));
        QVERIFY(!SessionFile(m_home.path()).read(server) && !SessionFile(m_home.path()).write(server, *read));
        QVERIFY(SessionFile(QString()).write(server, *read) && !SessionFile(QString()).read(server));
    }

private:
    QTemporaryDir m_home;
};

QTEST_GUILESS_MAIN(TestPelagoPieces)
#include "tst_pelagopieces.moc"
