// The library against a server that fails: sign-in, lists, downloads and wrong arguments.

#include "pelago/DavServers.h"
#include "pelago/ScriptedCloud.h"

#include <QtTest>

class TestPelagoFailures : public ScriptedCloudTest
{
    Q_OBJECT
private slots:
    void initTestCase() { keepTrace(); }

    void init() { QCOMPARE(start(), 1); }

    void listingEndsAsTheServerAnswers_data()
    {
        QTest::addColumn<Reply>("reply");
        QTest::addColumn<int>("expected");
        QTest::newRow("empty folder") << folder << 0;
        QTest::newRow("401") << unauthorized << int{Skein_Result_NotSignedIn};
        QTest::newRow("404") << Reply(404) << int{Skein_Result_NotFound};
        QTest::newRow("507") << Reply(507) << int{Skein_Result_NoSpace};
        QTest::newRow("500") << Reply(500).body(QByteArray(3000000, 'x')).hangAfter(2000000)
                             << int{Skein_Result_ServerError};
        QTest::newRow("200") << Reply(200).body("<html/>") << int{Skein_Result_BadReply};
        QTest::newRow("half a document") << Reply(207).body("<multistatus xmlns='DAV:'>") << int{Skein_Result_BadReply};
        QTest::newRow("another folder") << entry("/else/where/", kFolderProperty) << int{Skein_Result_BadReply};
        QTest::newRow("a file") << entry("/dav/", "<resourcetype/>") << int{Skein_Result_NotFound};
        QTest::newRow("cut") << Reply(folder).cutAfter(150) << int{Skein_Result_Network};
        QTest::newRow("silent") << Reply(folder).hangAfter(150) << int{Skein_Result_TimedOut};
        for (const char *target : {"http://localhost:9/dav//", "/dav/x/", "/dav//?x"})
            QTest::addRow("redirect to %s", target) << Reply(307).location(target) << int{Skein_Result_Redirected};
    }
    void listingEndsAsTheServerAnswers()
    {
        QFETCH(Reply, reply);
        m_server->script["PROPFIND"] = {reply};
        QTEST(m_cloud->list(""), "expected");
        QVERIFY(m_cloud->entries.isEmpty());
        QCOMPARE(m_server->story(), QString("PROPFIND"));
        const bool signedIn = reply.status() != 401;
        QCOMPARE(Skein_Auth_isUserLoggedIn(m_cloud->session), int(signedIn));
        QCOMPARE(QFile::exists(m_cloud->local("session.skein")), signedIn);
    }

    void refusedSignInRemovesItsOwnSessionFileOnly_data()
    {
        QTest::addColumn<bool>("isShared"); // with a program that has signed in anew
        QTest::newRow("own file") << false;
        QTest::newRow("shared file") << true;
    }
    void refusedSignInRemovesItsOwnSessionFileOnly()
    {
        QFETCH(bool, isShared);
        const QByteArray kept = m_cloud->local("session.skein");
        const int64_t other = Skein_Auth_openSession("", "", kept, m_cloud->storage + '/');
        if (isShared)
            QCOMPARE(Skein_Auth_login(other, "demo", "new password"), 1);
        m_server->script["PROPFIND"] = {unauthorized};
        QCOMPARE(m_cloud->list(""), int{Skein_Result_NotSignedIn});
        QCOMPARE(Skein_Auth_isUserLoggedIn(m_cloud->session), 0);
        QCOMPARE(QFile::exists(kept), isShared);
        Skein_Auth_closeSession(other);
    }

    void unknownStateOfTheRootKeepsTheSignIn()
    {
        m_server->script["PROPFIND"] = {unauthorized, 503};
        QCOMPARE(m_cloud->list("folder"), int{Skein_Result_ServerError});
        QCOMPARE(Skein_Auth_isUserLoggedIn(m_cloud->session), 1);
        QVERIFY(QFile::exists(m_cloud->local("session.skein")));
    }

    void certificateOfAnotherNameIsRefused()
    {
        const std::unique_ptr<DavServer> server = DavServer::start("proxied");
        Cloud cloud(QString(server->storage).replace("127.0.0.1", "localhost"));
        QCOMPARE(cloud.signIn(), int{Skein_Result_Network});
        QVERIFY2(traced.last().endsWith("[host-name: 127.0.0.1]"), qPrintable(traced.last()));
    }

    void downloadReplacesOnlyWhenWhole_data()
    {
        QTest::addColumn<Reply>("reply");
        QTest::addColumn<int>("expected");
        const Reply good = Reply(200).body(QByteArray(3000000, 'n'));
        const Reply unsized = Reply(good).withoutLength();
        QTest::newRow("cut") << Reply(good).cutAfter(1000000) << int{Skein_Result_Network};
        QTest::newRow("silent") << Reply(good).hangAfter(1000000) << int{Skein_Result_TimedOut};
        QTest::newRow("a part") << Reply(206).body("part") << int{Skein_Result_BadReply};
        QTest::newRow("whole") << good << 1;
        QTest::newRow("without length") << unsized << 1;
        QTest::newRow("without length, cut") << Reply(unsized).cutAfter(1000000) << int{Skein_Result_Network};
    }
    void downloadReplacesOnlyWhenWhole()
    {
        QFETCH(Reply, reply);
        QFETCH(int, expected);
        QVERIFY(QFile::link(m_cloud->write("other", "old"), m_cloud->local("got")));
        const QStringList before = QDir(m_cloud->local("")).entryList(QDir::Files | QDir::Hidden);
        m_server->store("cup.obj", QByteArray(3000000, 'n'));
        m_server->script["GET"] = {reply};
        QCOMPARE(m_cloud->download("", "cup.obj"), expected);
        QVERIFY(m_cloud->got() == (expected == 1 ? QByteArray(3000000, 'n') : QByteArray("old")));
        QCOMPARE(readFile(m_cloud->local("other")), QByteArray("old")); // the link is replaced
        QCOMPARE(QDir(m_cloud->local("")).entryList(QDir::Files | QDir::Hidden), before);
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
};

QTEST_GUILESS_MAIN(TestPelagoFailures)
#include "tst_pelagofailures.moc"
