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

Reply file(const QByteArray &etag)
{
    return entry("/dav/cup.obj", "<resourcetype/><getetag>" + etag + "</getetag>");
}

using Replies = QVector<Reply>;
const QByteArray isFolder = "<resourcetype><collection/></resourcetype>";
const Reply folder = entry("/dav/", isFolder);
QStringList traced;

} // namespace

/// Answers by method: each reply once, the last one for ever.
class ScriptedCloud : public LocalServer
{
public:
    ScriptedCloud()
    {
        script["PROPFIND"] = {folder};
        script["OPTIONS"] = {Reply(200).header("Allow", "OPTIONS, PUT, MOVE")};
        script["PUT"] = script["MOVE"] = {Reply(201)};
        script["DELETE"] = {Reply(204)};
        answerOthers([this](const Request &request) {
            Replies &replies = script[request.method];
            return replies.size() > 1 ? replies.takeFirst() : replies.value(0, Reply(405));
        });
    }

    QString storage() const { return "http://" + authority() + "/dav"; }
    /// The methods since the first sign-in, with a star where the target is a name made up.
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
    void initTestCase()
    {
        SkeinTrace_setLevel(2);
        SkeinTrace_setCallback([](void *, int, const char *line) { traced << line; }, nullptr);
    }

    void init()
    {
        m_server = std::make_unique<ScriptedCloud>();
        m_cloud = std::make_unique<Cloud>(m_server->storage(), "kind=password\nidleTimeoutMs=250\n");
        QCOMPARE(m_cloud->signIn(), 1);
    }

    void callEndsAsTheServerAnswers_data()
    {
        QTest::addColumn<Replies>("replies");
        QTest::addColumn<int>("expected");
        QTest::addColumn<QString>("story");
        QTest::addColumn<QString>("method"); // whose replies are \a replies
        const auto row = [](const char *name, const Replies &replies, int expected, const char *story = "PROPFIND",
                            const char *method = "PROPFIND") {
            QTest::newRow(name) << replies << expected << story << method;
        };
        const Reply noMove = Reply(200).header("Allow", "GET,PUT,DELETE");
        const Reply unauthorized = Reply(401).header("WWW-Authenticate", "Basic realm=x");
        row("list: empty folder", {folder}, 0);
        row("list: 401", {unauthorized}, Skein_Result_NotSignedIn);
        row("list: 404", {Reply(404)}, Skein_Result_NotFound);
        row("list: 507", {Reply(507)}, Skein_Result_NoSpace);
        row("list: 500", {Reply(500).body(QByteArray(3000000, 'x')).hangAfter(2000000)}, Skein_Result_ServerError);
        row("list: 200", {Reply(200).body("<html/>")}, Skein_Result_BadReply);
        row("list: half a document", {Reply(207).body("<multistatus xmlns='DAV:'>")}, Skein_Result_BadReply);
        row("list: another folder", {entry("/else/where/", isFolder)}, Skein_Result_BadReply);
        row("list: a file", {entry("/dav/", "<resourcetype/>")}, Skein_Result_NotFound);
        row("list: cut", {Reply(folder).cutAfter(150)}, Skein_Result_Network);
        row("list: stuck", {Reply(folder).hangAfter(150)}, Skein_Result_TimedOut);
        row("list: redirect elsewhere", {Reply(301).location("http://localhost:9/dav//")}, Skein_Result_Redirected);
        row("list: redirect below", {Reply(307).location("/dav/x/")}, Skein_Result_Redirected);
        row("list: redirect with a query", {Reply(301).location("/dav//?x")}, Skein_Result_Redirected);
        row("new: 204", {Reply(204)}, 1, "OPTIONS PUT* MOVE*", "PUT");
        row("new: no space", {Reply(507)}, Skein_Result_NoSpace, "OPTIONS PUT* DELETE*", "PUT");
        row("new: silent", {Reply(201).hangAfter(0)}, Skein_Result_TimedOut, "OPTIONS PUT* DELETE*", "PUT");
        row("new: signed out", {unauthorized}, Skein_Result_NotSignedIn, "OPTIONS PUT*", "PUT");
        row("new: name taken", {Reply(412)}, Skein_Result_Conflict, "OPTIONS PUT* MOVE* DELETE*", "MOVE");
        row("new: partly moved", {Reply(207)}, Skein_Result_BadReply, "OPTIONS PUT* MOVE* DELETE*", "MOVE");
        row("new: no MOVE", {noMove}, 1, "OPTIONS PUT", "OPTIONS");
        row("new: no MOVE after all", {Reply(405)}, 1, "OPTIONS PUT* MOVE* DELETE* PUT", "MOVE");
        row("replace: 201", {file("\"1\"")}, 1, "PROPFIND OPTIONS PUT* MOVE*");
        row("replace: gone", {Reply(404)}, 1, "PROPFIND OPTIONS PUT* MOVE*");
        row("replace: folder", {entry("/dav/cup.obj/", isFolder)}, Skein_Result_Conflict);
        row("replace: no tags", {Reply(412), Reply(204)}, 1, "PROPFIND OPTIONS PUT* MOVE* PROPFIND MOVE*", "MOVE");
        row("replace: changed meanwhile", {file("\"1\""), file("\"2\"")}, Skein_Result_Conflict,
            "PROPFIND OPTIONS PUT* MOVE* PROPFIND DELETE*");
    }
    void callEndsAsTheServerAnswers()
    {
        QFETCH(QString, method);
        QFETCH(Replies, replies);
        QFETCH(int, expected);
        const QString call = QString(QTest::currentDataTag()).section(':', 0, 0);
        m_server->script["PROPFIND"] = {file("\"1\"")};
        if (replies.size() > 1 && method == "PROPFIND")
            m_server->script["MOVE"] = {Reply(412)};
        m_server->script[method.toLatin1()] = replies;
        if (call == "list") {
            QCOMPARE(m_cloud->list(""), expected);
            QVERIFY(m_cloud->entries.isEmpty());
        } else {
            QCOMPARE(call == "new" ? m_cloud->upload("", "cup.obj", "content")
                                   : m_cloud->replace("", "cup.obj", "content"),
                     expected);
            QCOMPARE(m_cloud->results, QVector<int>{expected});
        }
        QTEST(m_server->story(), "story");
        const bool signedIn = expected != Skein_Result_NotSignedIn;
        QCOMPARE(Skein_Auth_isUserLoggedIn(m_cloud->session), int(signedIn));
        QCOMPARE(QFile::exists(m_cloud->local("session.skein")), signedIn);
        for (const Request &request : m_server->requests()) {
            QCOMPARE(request.header("Authorization"), "Basic " + QByteArray("demo:demo").toBase64());
            if (request.method == "PUT") {
                QCOMPARE(request.body + request.header("Content-Length"), QByteArray("content7"));
                QCOMPARE(request.header("If-None-Match"), QByteArray("*"));
            }
        }
    }

    void changesNameTheStateTheyReplace()
    {
        const auto sent = [this](const char *header) { return m_server->requests().last().header(header); };
        const QByteArray target = "http://" + m_server->authority() + "/dav/cup.obj";
        QCOMPARE(m_cloud->upload("", "cup.obj", "1"), 1);
        QCOMPARE(sent("Overwrite") + ' ' + sent("Destination"), "F " + target);
        const QHash<QByteArray, QByteArray> states = {
            {"\"a\"", "<" + target + "> ([\"a\"])"}, {"W/\"a\"", ""}, {"\"a&#10;b\"", ""}, {"a", ""}, {"", ""}};
        for (auto state = states.begin(); state != states.end(); ++state) {
            m_server->script["PROPFIND"] = {file(state.key())};
            QCOMPARE(m_cloud->replace("", "cup.obj", "1"), 1);
            QCOMPARE(sent("Overwrite") + ' ' + sent("If"), "T " + state.value());
        }

        QCOMPARE(m_cloud->signIn(), int{Skein_Result_BadReply}); // what answers is a file

        m_server->script["PROPFIND"] = {file("\"a\"")};
        m_server->script["MOVE"] = {Reply(501), Reply(201)};
        for (int round = 0; round < 2; ++round) {
            QCOMPARE(m_cloud->replace("", "cup.obj", "1"), 1);
            QCOMPARE(sent("If-Match"), QByteArray("\"a\""));
        }
        QVERIFY(m_server->story().endsWith("MOVE* DELETE* PUT PROPFIND PUT")); // it is not asked to move again
    }

    void redirectToTheSlashFormIsFollowedOnce()
    {
        m_server->answer("/dav/cup.obj", Reply(301).location("http://" + m_server->authority() + "/dav/cup.obj/"));
        m_server->script["OPTIONS"] = {Reply(200)};
        m_server->script["PROPFIND"] = {Reply(404)};
        QCOMPARE(m_cloud->upload("", "cup.obj", "content"), 1);
        QCOMPARE(m_cloud->replace("", "cup.obj", "again"), 1);
        QCOMPARE(m_server->story(), QString("OPTIONS PUT PUT PROPFIND PROPFIND PUT PUT"));
        const QVector<Request> &requests = m_server->requests();
        QCOMPARE(requests[3].target + ' ' + requests[3].body, QByteArray("/dav/cup.obj/ content"));
        QCOMPARE(requests[3].header("Authorization"), requests[2].header("Authorization"));
        QVERIFY(requests[5].body.contains("getetag"));
        QCOMPARE(m_cloud->download("", "cup.obj"), int{Skein_Result_Redirected});
    }

    void downloadReplacesOnlyWhenWhole()
    {
        const Reply good = Reply(200).body(QByteArray(3000000, 'n'));
        const std::pair<Reply, int> ends[] = {{Reply(good).cutAfter(1000000), Skein_Result_Network},
                                              {Reply(good).hangAfter(1000000), Skein_Result_TimedOut},
                                              {Reply(206).body("part"), Skein_Result_BadReply},
                                              {good, 1}};
        QVERIFY(QFile::link(m_cloud->write("other", "old"), m_cloud->local("got")));
        const QStringList before = QDir(m_cloud->local("")).entryList(QDir::Files | QDir::Hidden);
        for (const auto &[reply, expected] : ends) {
            m_server->script["GET"] = {reply};
            QCOMPARE(m_cloud->download("", "cup.obj"), expected);
            QVERIFY(m_cloud->got() == (expected == 1 ? QByteArray(3000000, 'n') : QByteArray("old")));
            QCOMPARE(readFile(m_cloud->local("other")), QByteArray("old")); // the link is replaced
            QCOMPARE(QDir(m_cloud->local("")).entryList(QDir::Files | QDir::Hidden), before);
        }
    }

    void closingEndsWhatRuns()
    {
        Cloud first(m_server->storage());
        Cloud second(m_server->storage());
        QCOMPARE(first.signIn() + second.signIn(), 2);
        m_server->script["PROPFIND"] = {Reply(folder).hangAfter(10)};
        QTimer::singleShot(20, this, [&] { Skein_Storage_destroyEndPoint(first.endPoint); });
        QCOMPARE(first.list(""), int{Skein_Result_Closed});
        QCOMPARE(first.list(""), int{Skein_Result_UnknownHandle});

        // A call on the same end point from inside another one, which goes on afterwards.
        m_server->script["PROPFIND"] = {Reply(folder).delayed(80), folder};
        int inner = -1;
        QTimer::singleShot(20, this, [&] { inner = second.list(""); });
        QCOMPARE(second.list(""), 0);
        QCOMPARE(inner, 0);
        m_server->script["PROPFIND"] = {Reply(folder).hangAfter(10)};
        QTimer::singleShot(20, this, [&] { Skein_Auth_closeSession(second.session); });
        QCOMPARE(second.list(""), int{Skein_Result_Closed});
        QTimer::singleShot(20, this, [&] { Skein_Auth_closeSession(first.session); });
        QCOMPARE(Skein_Auth_login(first.session, "demo", "demo"), int{Skein_Result_Closed});
    }

    void closedUploadTakesItsFileAway()
    {
        m_server->script["MOVE"] = {Reply(201).hangAfter(0)};
        QTimer watcher;
        connect(&watcher, &QTimer::timeout, this, [this] {
            if (m_server->story().endsWith("MOVE*"))
                Skein_Storage_destroyEndPoint(m_cloud->endPoint);
        });
        watcher.start(5);
        QCOMPARE(m_cloud->upload("", "cup.obj", "content"), int{Skein_Result_Closed});
        QCOMPARE(m_server->story(), QString("OPTIONS PUT* MOVE* DELETE*"));
    }

    void severalFilesCountTogether()
    {
        const QByteArray path = m_cloud->write("local", "content");
        const char *const paths[] = {path.constData(), path.constData()};
        const char *const names[] = {"one", "two"};
        const auto note = [](void *told, int64_t done, int64_t total) {
            *static_cast<QPair<int64_t, int64_t> *>(told) = {done, total};
        };
        for (const int stored : {2, 1}) {
            QPair<int64_t, int64_t> told;
            m_server->script["MOVE"] = {Reply(201), Reply(stored == 2 ? 201 : 412)};
            QCOMPARE(Skein_Storage_uploadFiles(m_cloud->endPoint, "", paths, names, 2, note, nullptr, &told), stored);
            QVERIFY(told.first == 14 && told.second == 14);
        }
    }

    void signInPageEndsOnOneAddress()
    {
        const QByteArray page = "https://cloud.example/in/signin";
        Cloud cloud("https://cloud.example/dav/", "signIn=" + page + '\n');
        char buffer[9] = "12345678";
        for (char *const to : {static_cast<char *>(nullptr), buffer})
            QCOMPARE(Skein_Auth_createLoginRequest(cloud.session, to, 6), long{page.size() + 1});
        QCOMPARE(QByteArray(buffer, 8), QByteArray("https\00078", 8));

        const QByteArray rest = "/done?user=a%26b&token=T%2B%3D+&first=R%C3%B3&last=O%27N";
        for (const QByteArray &other :
             {QByteArray(), page, page + "/done/x?user=u&token=t", "http" + page.mid(5) + rest,
              "https://cloud.example:444/in/signin" + rest, QByteArray("https://x/in/signin") + rest})
            QCOMPARE(Skein_Auth_completeLogin(cloud.session, other), 0);
        for (const char *bad : {"/done", "/done?user=u", "/done?token=t", "/done?user=a%3Ab&token=t", "/done?error=no"})
            QCOMPARE(Skein_Auth_completeLogin(cloud.session, page + bad), int{Skein_Result_NotSignedIn});
        QCOMPARE(Skein_Auth_isUserLoggedIn(cloud.session), 0);
        QCOMPARE(Skein_Auth_completeLogin(cloud.session, page + rest), 1);
        QCOMPARE(QString(Skein_Auth_getUserFirstName(cloud.session)), QString("Ró"));

        const QByteArray kept = cloud.local("session.skein");
        const int64_t again = Skein_Auth_openSession(nullptr, nullptr, kept, page);
        const int64_t elsewhere = Skein_Auth_openSession("", "", kept, "https://other.example/in/signin");
        QCOMPARE(QString(Skein_Auth_getUserLastName(again)), QString("O'N"));
        QCOMPARE(Skein_Auth_isUserLoggedIn(elsewhere), 0);
        for (int round = 0; round < 2; ++round) {
            QCOMPARE(Skein_Auth_isUserLoggedIn(again), 1 - round);
            QCOMPARE(Skein_Auth_logout(again), 1);
            QVERIFY(!QFile::exists(kept));
        }
        QVERIFY(QDir().mkpath(kept + "/x")); // what cannot be removed
        QCOMPARE(Skein_Auth_logout(cloud.session), int{Skein_Result_LocalFile});
        QCOMPARE(Skein_Auth_isUserLoggedIn(cloud.session), 1);
    }

    void badArgumentsAskNoServer()
    {
        const int64_t session = m_cloud->session;
        const int64_t at = m_cloud->endPoint;
        QVERIFY(session > int64_t{1} << 32 && at > int64_t{1} << 32);
        for (const int64_t handle : {int64_t{-1}, int64_t{0}, session & 0xffffffff, at & 0xffffffff}) {
            QCOMPARE(Skein_Auth_isUserLoggedIn(handle), int{Skein_Result_UnknownHandle});
            QCOMPARE(Skein_Auth_getUserLastName(handle), "");
            QVERIFY(Skein_Storage_createEndPoint(handle, "https://x/", 0, "my", 0, 0) < 0);
            QVERIFY(Skein_Storage_updateFile(handle, "", "x", 2, "x", nullptr, nullptr) < 0);
            Skein_Storage_destroyEndPoint(handle);
            Skein_Auth_closeSession(handle);
        }
        const char *const texts[] = {nullptr};
        QVERIFY(Skein_Auth_login(session, nullptr, nullptr) < 0);
        QCOMPARE(Skein_Auth_completeLogin(session, nullptr), 0);
        QVERIFY(Skein_Storage_downloadFile(at, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr) < 0);
        QVERIFY(Skein_Storage_uploadFiles(at, nullptr, nullptr, nullptr, 1, nullptr, nullptr) < 0);
        QVERIFY(Skein_Storage_uploadFiles(at, nullptr, texts, texts, 1, nullptr, nullptr) < 0);
        QVERIFY(Skein_Storage_updateFile(at, "", "x", 1, "/etc/passwd", nullptr, nullptr) < 0);
        QVERIFY(Skein_Storage_updateFile(at, "y", "x", 2, "/etc/passwd", nullptr, nullptr) < 0);
        QVERIFY(Skein_Storage_updateFile(at, "", "x", 2, "/no/file", nullptr, nullptr) < 0);
        const QByteArray to = m_cloud->local("");
        for (const char *bad : {"..", ".", "", "a/b", "../x", "/etc/x"}) {
            QVERIFY(Skein_Storage_downloadFile(at, "", "cup.obj", to, bad, nullptr, nullptr) < 0);
            QVERIFY(Skein_Storage_downloadFile(at, "", bad, to, "x", nullptr, nullptr) < 0);
        }
        QVERIFY(QDir().mkpath(m_cloud->local("got/x")));
        QCOMPARE(m_cloud->download("", "cup.obj"), int{Skein_Result_LocalFile});
        QCOMPARE(m_cloud->list("a/../b"), int{Skein_Result_BadArgument});
        QCOMPARE(m_server->story(), QString());

        for (const char *server : {"http://elsewhere.example/", static_cast<const char *>(nullptr)})
            QVERIFY(Skein_Auth_openSession("", "", "", server) < 0);
        for (const char *storage : {"https://elsewhere.example/dav/", "http://elsewhere.example/", "", "file:///etc/"})
            QVERIFY(Skein_Storage_createEndPoint(session, storage, 0, "my", 0, 0) < 0);
        QVERIFY(Skein_Storage_createEndPoint(session, m_cloud->storage, 0, nullptr, 0, 0) < 0);
        QCOMPARE(Skein_Auth_getServerAddress(static_cast<Skein_Service_Deployment>(3)), "");
        QCOMPARE(Skein_Storage_getServerAddress(Skein_Service_Deployment_Staging), "https://cloud.zephal.example/dav/");
        QCOMPARE(Skein_Storage_listContents(at, nullptr, nullptr, nullptr), 0);
    }

    void cleanupTestCase()
    {
        QVERIFY(traced.size() > 50);
        for (const char *secret : {"demo", "ZGVtb", "T%2B", "T+=", "content"})
            QVERIFY2(!traced.join('\n').contains(secret), secret);
    }

private:
    std::unique_ptr<ScriptedCloud> m_server;
    std::unique_ptr<Cloud> m_cloud; ///< signed in to it
};

QTEST_GUILESS_MAIN(TestPelagoFailures)
#include "tst_pelagofailures.moc"
