// The library against a server that does what each case needs.

#include "pelago/Cloud.h"
#include "support/LocalServer.h"

#include <QtTest>

namespace {

/// A multistatus of one entry.
Reply entry(const QByteArray &href, const QByteArray &properties)
{
    return Reply(207).body("<multistatus xmlns='DAV:'><response><href>" + href + "</href><propstat><prop>" +
                           properties + "</prop><status>HTTP/1.1 200 OK</status></propstat></response></multistatus>");
}

Reply folder(const QByteArray &href = "/dav/")
{
    return entry(href, "<resourcetype><collection/></resourcetype>");
}

Reply file(const QByteArray &etag)
{
    return entry("/dav/cup.obj", "<resourcetype/><getetag>" + etag + "</getetag>");
}

using Replies = QVector<Reply>;
QStringList traced;

void collectTrace(void *, int, const char *line)
{
    traced << line;
}

} // namespace

/// Answers by method: each reply once, the last one for ever.
class ScriptedCloud : public LocalServer
{
public:
    ScriptedCloud()
    {
        script["PROPFIND"] = {folder()};
        script["OPTIONS"] = {Reply(200).header("Allow", "OPTIONS, PUT, MOVE")};
        script["PUT"] = script["MOVE"] = {Reply(201)};
        script["DELETE"] = {Reply(204)};
        answerOthers([this](const Request &request) {
            Replies &replies = script[request.method];
            return replies.size() > 1 ? replies.takeFirst() : replies.value(0, Reply(405));
        });
    }

    QString storage() const { return "http://" + authority() + "/dav"; }
    /// The methods since the sign-in, with the target unless it is a name made up.
    QString story() const
    {
        QStringList words;
        for (const Request &request : requests().mid(1))
            words << request.method + (request.target.contains(".pelago-") ? "*" : "");
        return words.join(' ');
    }

    QHash<QByteArray, Replies> script;
};

class TestPelagoFailures : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase();
    void listing_data();
    void listing();
    void uploads_data();
    void uploads();
    void conditions();
    void slashForm();
    void downloads_data();
    void downloads();
    void closing();
    void webSignIn();
    void badArguments();
    void cleanupTestCase();
};

void TestPelagoFailures::initTestCase()
{
    SkeinTrace_setLevel(2);
    SkeinTrace_setCallback(collectTrace, nullptr);
}

void TestPelagoFailures::listing_data()
{
    QTest::addColumn<Reply>("reply");
    QTest::addColumn<int>("expected");
    QTest::addColumn<int>("signedIn");
    const auto row = [](const char *name, const Reply &reply, int expected, int signedIn = 1) {
        QTest::newRow(name) << reply << expected << signedIn;
    };
    const Reply good = folder();
    row("empty folder", good, 0);
    row("401", Reply(401).header("WWW-Authenticate", "Basic realm=x"), Skein_Result_NotSignedIn, 0);
    row("404", Reply(404), Skein_Result_NotFound);
    row("507", Reply(507), Skein_Result_NoSpace);
    row("500", Reply(500).body(QByteArray(3000000, 'x')).hangAfter(2000000), Skein_Result_ServerError);
    row("200", Reply(200).body("<html/>"), Skein_Result_BadReply);
    row("half a document", Reply(207).body("<multistatus xmlns='DAV:'>"), Skein_Result_BadReply);
    row("another folder", folder("/else/where/"), Skein_Result_BadReply);
    row("a file", entry("/dav/", "<resourcetype/>"), Skein_Result_NotFound);
    row("cut", Reply(good).cutAfter(150), Skein_Result_Network);
    row("stuck", Reply(good).hangAfter(150), Skein_Result_TimedOut);
    row("redirect elsewhere", Reply(301).location("http://localhost:9/dav//"), Skein_Result_Redirected);
    row("redirect below", Reply(307).location("/dav/x/"), Skein_Result_Redirected);
    row("redirect with a query", Reply(301).location("/dav//?x"), Skein_Result_Redirected);
}

void TestPelagoFailures::listing()
{
    QFETCH(Reply, reply);
    ScriptedCloud server;
    Cloud cloud(server.storage(), "kind=password\nidleTimeoutMs=120\n");
    QCOMPARE(cloud.signIn(), 1);
    server.script["PROPFIND"] = {reply};
    QTEST(cloud.list(""), "expected");
    QVERIFY(cloud.entries.isEmpty());
    QTEST(Skein_Auth_isUserLoggedIn(cloud.session), "signedIn");
    QTEST(int(QFile::exists(cloud.local("session.skein"))), "signedIn");
    QCOMPARE(server.story(), QString("PROPFIND"));
    QCOMPARE(server.requests().last().header("Authorization"), "Basic " + QByteArray("demo:demo").toBase64());
}

void TestPelagoFailures::uploads_data()
{
    QTest::addColumn<QString>("method"); // whose replies are \a replies
    QTest::addColumn<Replies>("replies");
    QTest::addColumn<bool>("replaces");
    QTest::addColumn<int>("expected");
    QTest::addColumn<QString>("story"); // a star marks the made-up name
    const auto row = [](const char *name, const char *method, const Replies &replies, bool replaces, int expected,
                        const char *story) {
        QTest::newRow(name) << method << replies << replaces << expected << story;
    };
    const Reply noMove = Reply(200).header("Allow", "GET,PUT,DELETE");
    const Reply unauthorized = Reply(401).header("WWW-Authenticate", "Basic realm=x");
    row("new", "PUT", {Reply(204)}, false, 1, "OPTIONS PUT* MOVE*");
    row("no space", "PUT", {Reply(507)}, false, Skein_Result_NoSpace, "OPTIONS PUT* DELETE*");
    row("silent", "PUT", {Reply(201).hangAfter(0)}, false, Skein_Result_TimedOut, "OPTIONS PUT* DELETE*");
    row("signed out", "PUT", {unauthorized}, false, Skein_Result_NotSignedIn, "OPTIONS PUT*");
    row("name taken", "MOVE", {Reply(412)}, false, Skein_Result_Conflict, "OPTIONS PUT* MOVE* DELETE*");
    row("partly moved", "MOVE", {Reply(207)}, false, Skein_Result_BadReply, "OPTIONS PUT* MOVE* DELETE*");
    row("no MOVE", "OPTIONS", {noMove}, false, 1, "OPTIONS PUT");
    row("no MOVE after all", "MOVE", {Reply(405)}, false, 1, "OPTIONS PUT* MOVE* DELETE* PUT");
    row("replace", "PROPFIND", {file("\"1\"")}, true, 1, "PROPFIND OPTIONS PUT* MOVE*");
    row("replace what is gone", "PROPFIND", {Reply(404)}, true, 1, "PROPFIND OPTIONS PUT* MOVE*");
    row("replace a folder", "PROPFIND", {folder("/dav/cup.obj/")}, true, Skein_Result_Conflict, "PROPFIND");
    row("ignorant of tags", "MOVE", {Reply(412), Reply(204)}, true, 1, "PROPFIND OPTIONS PUT* MOVE* PROPFIND MOVE*");
    row("changed meanwhile", "PROPFIND", {file("\"1\""), file("\"2\"")}, true, Skein_Result_Conflict,
        "PROPFIND OPTIONS PUT* MOVE* PROPFIND DELETE*");
}

void TestPelagoFailures::uploads()
{
    QFETCH(QString, method);
    QFETCH(Replies, replies);
    QFETCH(bool, replaces);
    ScriptedCloud server;
    Cloud cloud(server.storage(), "kind=password\nidleTimeoutMs=60\n");
    QCOMPARE(cloud.signIn(), 1);
    server.script["PROPFIND"] = {file("\"1\"")};
    if (replies.size() > 1 && method == "PROPFIND")
        server.script["MOVE"] = {Reply(412)};
    server.script[method.toLatin1()] = replies;
    QTEST(replaces ? cloud.replace("", "cup.obj", "content") : cloud.upload("", "cup.obj", "content"), "expected");
    QCOMPARE(cloud.results.size(), 1);
    QTEST(server.story(), "story");
    for (const Request &request : server.requests()) {
        QVERIFY(request.hasHeader("Authorization"));
        if (request.method != "PUT")
            continue;
        QCOMPARE(request.body, QByteArray("content"));
        QCOMPARE(request.header("Content-Length"), QByteArray("7"));
        QCOMPARE(request.header("If-None-Match"), QByteArray("*"));
    }
}

void TestPelagoFailures::conditions()
{
    ScriptedCloud server;
    Cloud cloud(server.storage());
    QCOMPARE(cloud.signIn(), 1);
    const QByteArray target = "http://" + server.authority() + "/dav/cup.obj";
    const auto moveHeader = [&server](const char *name) {
        for (int at = server.requests().size() - 1; at >= 0; --at) {
            if (server.requests()[at].method == "MOVE")
                return server.requests()[at].header(name);
        }
        return QByteArray("no MOVE");
    };

    QCOMPARE(cloud.upload("", "cup.obj", "1"), 1);
    QCOMPARE(moveHeader("Destination"), target);
    QCOMPARE(moveHeader("Overwrite"), QByteArray("F"));
    server.script["PROPFIND"] = {file("\"a\"")};
    QCOMPARE(cloud.replace("", "cup.obj", "1"), 1);
    QCOMPARE(moveHeader("Overwrite"), QByteArray("T"));
    QCOMPARE(moveHeader("If"), "<" + target + "> ([\"a\"])");
    for (const char *weak : {"W/\"a\"", "\"a&#10;b\"", "a", ""}) {
        server.script["PROPFIND"] = {file(weak)};
        QCOMPARE(cloud.replace("", "cup.obj", "1"), 1);
        QVERIFY(moveHeader("If").isEmpty());
    }

    Cloud plain(server.storage());
    QCOMPARE(plain.signIn(), int{Skein_Result_BadReply}); // what answers is a file
    server.script["PROPFIND"] = {folder()};
    QCOMPARE(plain.signIn(), 1);
    server.script["PROPFIND"] = {file("\"a\"")};
    server.script["MOVE"] = {Reply(501), Reply(201)};
    for (int round = 0; round < 2; ++round) {
        QCOMPARE(plain.replace("", "cup.obj", "1"), 1);
        QCOMPARE(server.lastRequest("/dav/cup.obj").header("If-Match"), QByteArray("\"a\""));
    }
    QCOMPARE(server.script["MOVE"].size(), 1); // it was not asked again
    QVERIFY(server.story().endsWith("MOVE* DELETE* PUT PROPFIND PUT"));
}

void TestPelagoFailures::slashForm()
{
    ScriptedCloud server;
    Cloud cloud(server.storage());
    QCOMPARE(cloud.signIn(), 1);
    server.answer("/dav/cup.obj", Reply(301).location("http://" + server.authority() + "/dav/cup.obj/"));
    server.script["OPTIONS"] = {Reply(200)};
    server.script["PROPFIND"] = {Reply(404)};
    QCOMPARE(cloud.upload("", "cup.obj", "content"), 1);
    QCOMPARE(cloud.replace("", "cup.obj", "again"), 1);
    QCOMPARE(server.story(), QString("OPTIONS PUT PUT PROPFIND PROPFIND PUT PUT"));
    QCOMPARE(server.requests()[3].target, QByteArray("/dav/cup.obj/"));
    QCOMPARE(server.requests()[3].body, QByteArray("content"));
    QCOMPARE(server.requests()[3].header("Authorization"), server.requests()[2].header("Authorization"));
    QVERIFY(server.requests()[5].body.contains("getetag"));
    QCOMPARE(cloud.download("", "cup.obj"), int{Skein_Result_Redirected});
}

void TestPelagoFailures::downloads_data()
{
    QTest::addColumn<Reply>("reply");
    QTest::addColumn<int>("expected");
    const Reply good = Reply(200).body(QByteArray(3000000, 'n'));
    QTest::newRow("good") << good << 1;
    QTest::newRow("cut") << Reply(good).cutAfter(1000000) << int{Skein_Result_Network};
    QTest::newRow("stuck") << Reply(good).hangAfter(1000000) << int{Skein_Result_TimedOut};
    QTest::newRow("part") << Reply(206).body("part") << int{Skein_Result_BadReply};
}

void TestPelagoFailures::downloads()
{
    QFETCH(Reply, reply);
    QFETCH(int, expected);
    ScriptedCloud server;
    Cloud cloud(server.storage(), "kind=password\nidleTimeoutMs=120\n");
    QCOMPARE(cloud.signIn(), 1);
    QVERIFY(QFile::link(cloud.write("other", "old"), cloud.local("got")));
    const QStringList before = QDir(cloud.local("")).entryList(QDir::Files | QDir::Hidden);
    server.script["GET"] = {reply};
    QCOMPARE(cloud.download("", "cup.obj"), expected);
    QVERIFY(cloud.got() == (expected == 1 ? QByteArray(3000000, 'n') : QByteArray("old")));
    QCOMPARE(QFileInfo(cloud.local("other")).size(), qint64{3}); // the link is replaced, not what it leads to
    QCOMPARE(QDir(cloud.local("")).entryList(QDir::Files | QDir::Hidden), before);
}

void TestPelagoFailures::closing()
{
    ScriptedCloud server;
    Cloud cloud(server.storage());
    QCOMPARE(cloud.signIn(), 1);
    server.script["PROPFIND"] = {folder().hangAfter(10)};
    QTimer::singleShot(20, this, [&] { Skein_Storage_destroyEndPoint(cloud.endPoint); });
    QCOMPARE(cloud.list(""), int{Skein_Result_Closed});
    QCOMPARE(cloud.list(""), int{Skein_Result_UnknownHandle});

    // A call on the same end point from inside another one, which goes on afterwards.
    Cloud second(server.storage());
    server.script["PROPFIND"] = {folder()};
    QCOMPARE(second.signIn(), 1);
    server.script["PROPFIND"] = {folder().delayed(80), folder()};
    int inner = -1;
    QTimer::singleShot(20, this, [&] { inner = second.list(""); });
    QCOMPARE(second.list(""), 0);
    QCOMPARE(inner, 0);
    server.script["PROPFIND"] = {folder().hangAfter(10)};
    QTimer::singleShot(20, this, [&] { Skein_Auth_closeSession(second.session); });
    QCOMPARE(second.list(""), int{Skein_Result_Closed});
    QTimer::singleShot(20, this, [&] { Skein_Auth_closeSession(cloud.session); });
    QCOMPARE(Skein_Auth_login(cloud.session, "demo", "demo"), int{Skein_Result_Closed});
}

void TestPelagoFailures::webSignIn()
{
    const QByteArray page = "https://cloud.example/in/signin";
    Cloud cloud("https://cloud.example/dav/", "signIn=" + page + '\n');
    QCOMPARE(Skein_Auth_createLoginRequest(cloud.session, nullptr, 0), long{page.size() + 1});
    char buffer[9] = "12345678";
    QCOMPARE(Skein_Auth_createLoginRequest(cloud.session, buffer, 6), long{page.size() + 1});
    QCOMPARE(QByteArray(buffer, 8), QByteArray("https\00078", 8));

    const QByteArray rest = "/done?user=a%26b&token=T%2B%3D+&first=R%C3%B3&last=O%27N";
    for (const QByteArray &other :
         {QByteArray(), page, page + "/done/x?user=u&token=t", "http" + page.mid(5) + rest,
          "https://cloud.example:444/in/signin" + rest, QByteArray("https://x/in/signin") + rest})
        QCOMPARE(Skein_Auth_completeLogin(cloud.session, other), 0);
    for (const char *wrong : {"/done", "/done?user=u", "/done?token=t", "/done?user=a%3Ab&token=t", "/done?error=no"})
        QCOMPARE(Skein_Auth_completeLogin(cloud.session, page + wrong), int{Skein_Result_NotSignedIn});
    QCOMPARE(Skein_Auth_isUserLoggedIn(cloud.session), 0);
    QCOMPARE(Skein_Auth_completeLogin(cloud.session, page + rest), 1);
    QCOMPARE(QString(Skein_Auth_getUserFirstName(cloud.session)), QString("Ró"));
    QCOMPARE(QString(Skein_Auth_getUserLastName(cloud.session)), QString("O'N"));

    const QByteArray kept = cloud.local("session.skein");
    const int64_t again = Skein_Auth_openSession(nullptr, nullptr, kept, page);
    QCOMPARE(Skein_Auth_isUserLoggedIn(again), 1);
    QCOMPARE(QString(Skein_Auth_getUserLastName(again)), QString("O'N"));
    const int64_t elsewhere = Skein_Auth_openSession("", "", kept, "https://other.example/in/signin");
    QCOMPARE(Skein_Auth_isUserLoggedIn(elsewhere), 0);
    QCOMPARE(Skein_Auth_logout(again), 1);
    QCOMPARE(Skein_Auth_isUserLoggedIn(again), 0);
    QVERIFY(!QFile::exists(kept));
    QCOMPARE(Skein_Auth_logout(again), 1);
    QVERIFY(QDir().mkpath(kept + "/x")); // what cannot be removed
    QCOMPARE(Skein_Auth_logout(cloud.session), int{Skein_Result_LocalFile});
    QCOMPARE(Skein_Auth_isUserLoggedIn(cloud.session), 1);
    for (const int64_t handle : {again, elsewhere})
        Skein_Auth_closeSession(handle);
}

void TestPelagoFailures::badArguments()
{
    ScriptedCloud server;
    Cloud cloud(server.storage());
    QCOMPARE(cloud.signIn(), 1);
    const int64_t at = cloud.endPoint;
    QVERIFY(cloud.session > int64_t{1} << 32 && at > int64_t{1} << 32);
    for (const int64_t handle : {int64_t{-1}, int64_t{0}, cloud.session & 0xffffffff, at & 0xffffffff}) {
        QCOMPARE(Skein_Auth_isUserLoggedIn(handle), int{Skein_Result_UnknownHandle});
        QCOMPARE(Skein_Auth_login(handle, "u", "p"), int{Skein_Result_UnknownHandle});
        QCOMPARE(Skein_Auth_getUserLastName(handle), "");
        QVERIFY(Skein_Storage_createEndPoint(handle, "https://x/", 0, "my", 0, 0) < 0);
        QVERIFY(Skein_Storage_updateFile(handle, "", "x", 2, "x", nullptr, nullptr) < 0);
        Skein_Storage_destroyEndPoint(handle);
        Skein_Auth_closeSession(handle);
    }
    const char *const texts[] = {nullptr};
    QVERIFY(Skein_Auth_login(cloud.session, nullptr, nullptr) < 0);
    QCOMPARE(Skein_Auth_completeLogin(cloud.session, nullptr), 0);
    QVERIFY(Skein_Storage_downloadFile(at, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr) < 0);
    QVERIFY(Skein_Storage_uploadFiles(at, nullptr, nullptr, nullptr, 1, nullptr, nullptr) < 0);
    QVERIFY(Skein_Storage_uploadFiles(at, nullptr, texts, texts, 1, nullptr, nullptr) < 0);
    QVERIFY(Skein_Storage_updateFile(at, "", "x", 1, "/etc/passwd", nullptr, nullptr) < 0);
    QVERIFY(Skein_Storage_updateFile(at, "y", "x", 2, "/etc/passwd", nullptr, nullptr) < 0);
    QVERIFY(Skein_Storage_updateFile(at, "", "x", 2, "/no/file", nullptr, nullptr) < 0);
    const QByteArray to = cloud.local("");
    for (const char *bad : {"..", ".", "", "a/b", "../x", "/etc/x"}) {
        QVERIFY(Skein_Storage_downloadFile(at, "", "cup.obj", to, bad, nullptr, nullptr) < 0);
        QVERIFY(Skein_Storage_downloadFile(at, "", bad, to, "x", nullptr, nullptr) < 0);
    }
    QVERIFY(QDir().mkpath(cloud.local("got/x")));
    QCOMPARE(cloud.download("", "cup.obj"), int{Skein_Result_LocalFile});
    QCOMPARE(cloud.list("a/../b"), int{Skein_Result_BadArgument});
    QCOMPARE(server.story(), QString());

    QVERIFY(Skein_Auth_openSession("", "", "", "http://elsewhere.example/") < 0);
    QVERIFY(Skein_Auth_openSession("", "", "", nullptr) < 0);
    for (const char *storage : {"https://elsewhere.example/dav/", "http://elsewhere.example/", "", "file:///etc/"})
        QVERIFY(Skein_Storage_createEndPoint(cloud.session, storage, 0, "my", 0, 0) < 0);
    QVERIFY(Skein_Storage_createEndPoint(cloud.session, cloud.storage, 0, nullptr, 0, 0) < 0);
    QCOMPARE(Skein_Auth_getServerAddress(static_cast<Skein_Service_Deployment>(3)), "");
    QCOMPARE(Skein_Storage_getServerAddress(Skein_Service_Deployment_Staging), "https://cloud.zephal.example/dav/");
    QCOMPARE(Skein_Storage_listContents(at, nullptr, nullptr, nullptr), 0);
}

void TestPelagoFailures::cleanupTestCase()
{
    const QString all = traced.join('\n');
    QVERIFY(traced.size() > 50);
    for (const QString &secret :
         {QString("demo"), QString("ZGVtb"), QString("T%2B"), QString("T+="), QString("content")})
        QVERIFY2(!all.contains(secret), qPrintable(secret));
}

QTEST_GUILESS_MAIN(TestPelagoFailures)
#include "tst_pelagofailures.moc"
