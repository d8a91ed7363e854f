// Sign-in, listings and downloads against a server that fails, and calls with wrong arguments.

#include "pelago/DavServers.h"
#include "pelago/ScriptedCloud.h"

#include <QtTest>

namespace {

const QByteArray kPage = "https://cloud.example/in/signin";
const QByteArray kGranted = "/done?user=a%26b&token=T%2B%3D+&first=R%C3%B3&last=O%27N";

} // namespace

class TestPelagoFailures : public ScriptedCloudTest
{
    Q_OBJECT
private slots:
    void listingFailsAsTheServerReplies_data()
    {
        QTest::addColumn<Reply>("reply");
        QTest::addColumn<int>("expected");
        const auto row = [](const char *name, const Reply &reply, int result) {
            QTest::newRow(name) << reply << result;
        };
        row("empty folder", kFolder, 0);
        row("401", kUnauthorized, Skein_Result_NotSignedIn);
        row("404", Reply(404), Skein_Result_NotFound);
        row("507", Reply(507), Skein_Result_NoSpace);
        row("500, endless", Reply(500).body(QByteArray(3000000, 'x')).hangAfter(2000000), Skein_Result_ServerError);
        row("200", Reply(200).body("<html/>"), Skein_Result_BadReply);
        row("half a document", Reply(207).body("<multistatus xmlns='DAV:'>"), Skein_Result_BadReply);
        row("another folder", entry("/else/where/", kFolderProperty), Skein_Result_BadReply);
        row("a file", entry("/dav/", "<resourcetype/>"), Skein_Result_NotFound);
        row("cut", Reply(kFolder).cutAfter(150), Skein_Result_Network);
        row("redirect to another port", Reply(307).location("http://localhost:9/dav//"), Skein_Result_Redirected);
        row("redirect to another path", Reply(307).location("/dav/x/"), Skein_Result_Redirected);
        row("redirect with a query", Reply(307).location("/dav//?x"), Skein_Result_Redirected);
    }
    void listingFailsAsTheServerReplies()
    {
        QFETCH(Reply, reply);
        m_server->script["PROPFIND"] = {reply};
        QTEST(m_cloud->list(""), "expected");
        QCOMPARE(m_cloud->entries.size(), 0);
        QCOMPARE(m_server->methods(), QString("PROPFIND"));
        QCOMPARE(Skein_Auth_isUserLoggedIn(m_cloud->session), int(reply.status() != 401));
        QCOMPARE(QFile::exists(m_cloud->local("session.skein")), reply.status() != 401);
    }

    void silentServerTimesOut()
    {
        m_cloud->setIdleTimeout("300");
        m_server->script = {{"PROPFIND", {Reply(kFolder).hangAfter(150)}},
                            {"GET", {Reply(200).body("x").hangAfter(10)}}};
        QCOMPARE(m_cloud->list(""), int{Skein_Result_TimedOut});
        QCOMPARE(m_cloud->download("", "cup.obj"), int{Skein_Result_TimedOut});
    }

    void refusedSignInRemovesOnlyItsOwnSessionFile_data()
    {
        QTest::addColumn<bool>("isShared");
        QTest::newRow("own file") << false;
        QTest::newRow("another program has signed in again") << true;
    }
    void refusedSignInRemovesOnlyItsOwnSessionFile()
    {
        QFETCH(bool, isShared);
        const QByteArray file = m_cloud->local("session.skein");
        const int64_t other = Skein_Auth_openSession("", "", file, m_cloud->storage + '/');
        if (isShared)
            QCOMPARE(Skein_Auth_login(other, "demo", "new password"), 1);
        m_server->script["PROPFIND"] = {kUnauthorized};
        QCOMPARE(m_cloud->list(""), int{Skein_Result_NotSignedIn});
        QCOMPARE(Skein_Auth_isUserLoggedIn(m_cloud->session), 0);
        QCOMPARE(QFile::exists(file), isShared);
        Skein_Auth_closeSession(other);
    }

    void sessionStaysSignedInIfTheRootCannotBeChecked()
    {
        m_server->script["PROPFIND"] = {kUnauthorized, 503};
        QCOMPARE(m_cloud->list("folder"), int{Skein_Result_ServerError});
        QCOMPARE(Skein_Auth_isUserLoggedIn(m_cloud->session), 1);
        QVERIFY(QFile::exists(m_cloud->local("session.skein")));
    }

    void fileIsNoStorage()
    {
        m_server->script["PROPFIND"] = {entry("/dav/", "<resourcetype/>")};
        QCOMPARE(m_cloud->signIn(), int{Skein_Result_BadReply});
    }

    void certificateOfAnotherHostIsRefused()
    {
        const std::unique_ptr<DavServer> server = DavServer::start("proxied");
        Cloud cloud(QString(server->storage).replace("127.0.0.1", "localhost"));
        QCOMPARE(cloud.signIn(), int{Skein_Result_Network});
        QVERIFY2(traced.last().endsWith("[host-name: 127.0.0.1]"), qPrintable(traced.last()));
    }

    void onlyCompleteDownloadReplacesTheFile_data()
    {
        QTest::addColumn<Reply>("reply");
        QTest::addColumn<int>("expected");
        const Reply good = Reply(200).body(QByteArray(3000000, 'n'));
        const Reply unsized = Reply(good).withoutLength();
        QTest::newRow("complete") << good << 1;
        QTest::newRow("cut") << Reply(good).cutAfter(1000000) << int{Skein_Result_Network};
        QTest::newRow("partial content") << Reply(206).body("part") << int{Skein_Result_BadReply};
        QTest::newRow("without length") << unsized << 1;
        QTest::newRow("without length, cut") << Reply(unsized).cutAfter(1000000) << int{Skein_Result_Network};
    }
    void onlyCompleteDownloadReplacesTheFile()
    {
        QFETCH(Reply, reply);
        QFETCH(int, expected);
        QVERIFY(QFile::link(m_cloud->write("other", "old"), m_cloud->local("got")));
        const QStringList before = QDir(m_cloud->local("")).entryList(QDir::Files | QDir::Hidden);
        m_server->store("cup.obj", QByteArray(3000000, 'n'));
        m_server->script["GET"] = {reply};
        QCOMPARE(m_cloud->download("", "cup.obj"), expected);
        QVERIFY(m_cloud->got() == (expected == 1 ? QByteArray(3000000, 'n') : QByteArray("old")));
        QCOMPARE(readFile(m_cloud->local("other")), QByteArray("old")); // the target of the link
        QCOMPARE(QDir(m_cloud->local("")).entryList(QDir::Files | QDir::Hidden), before);
    }

    void closingEndsRunningCalls_data()
    {
        QTest::addColumn<bool>("closesSession");
        QTest::newRow("end point") << false;
        QTest::newRow("session") << true;
    }
    void closingEndsRunningCalls()
    {
        QFETCH(bool, closesSession);
        m_server->script["PROPFIND"] = {Reply(kFolder).hangAfter(10)};
        m_server->onRequest = [&](const Request &) {
            if (closesSession)
                Skein_Auth_closeSession(m_cloud->session);
            else
                Skein_Storage_destroyEndPoint(m_cloud->endPoint);
        };
        QCOMPARE(m_cloud->list(""), int{Skein_Result_Closed});
        QCOMPARE(m_cloud->list(""), int{closesSession ? Skein_Result_Closed : Skein_Result_UnknownHandle});
    }

    void closingEndsARunningSignIn()
    {
        m_server->script["PROPFIND"] = {Reply(kFolder).hangAfter(10)};
        m_server->onRequest = [this](const Request &) { Skein_Auth_closeSession(m_cloud->session); };
        QCOMPARE(Skein_Auth_login(m_cloud->session, "demo", "demo"), int{Skein_Result_Closed});
    }

    void callsCanBeNested()
    {
        m_server->script["PROPFIND"] = {Reply(kFolder).delayed(80), kFolder};
        int nested = -1;
        QTimer::singleShot(20, this, [&] { nested = m_cloud->list(""); });
        QCOMPARE(m_cloud->list(""), 0);
        QCOMPARE(nested, 0);
        QCOMPARE(Skein_Storage_listContents(m_cloud->endPoint, nullptr, nullptr, nullptr), 0);
    }

    void signInPageIsCutToTheBuffer()
    {
        Cloud cloud("https://cloud.example/dav/", "signIn=" + kPage + '\n');
        char buffer[9] = "12345678";
        QCOMPARE(Skein_Auth_createLoginRequest(cloud.session, nullptr, 6), long{kPage.size() + 1});
        QCOMPARE(Skein_Auth_createLoginRequest(cloud.session, buffer, 6), long{kPage.size() + 1});
        QCOMPARE(QByteArray(buffer, 8), QByteArray("https\00078", 8));
    }

    void onlyTheFinalAddressSignsIn_data()
    {
        QTest::addColumn<QByteArray>("address");
        QTest::addColumn<int>("expected");
        const auto row = [](const char *name, const QByteArray &address, int result) {
            QTest::newRow(name) << address << result;
        };
        row("complete", kPage + kGranted, 1);
        row("empty", "", 0);
        row("the page itself", kPage, 0);
        row("a path below", kPage + "/done/x?user=u&token=t", 0);
        row("http", "http" + kPage.mid(5) + kGranted, 0);
        row("another port", "https://cloud.example:444/in/signin" + kGranted, 0);
        row("another host", "https://x/in/signin" + kGranted, 0);
        row("without user and token", kPage + "/done", Skein_Result_NotSignedIn);
        row("without token", kPage + "/done?user=u", Skein_Result_NotSignedIn);
        row("without user", kPage + "/done?token=t", Skein_Result_NotSignedIn);
        row("colon in the user name", kPage + "/done?user=a%3Ab&token=t", Skein_Result_NotSignedIn);
        row("refused", kPage + "/done?error=no", Skein_Result_NotSignedIn);
    }
    void onlyTheFinalAddressSignsIn()
    {
        QFETCH(QByteArray, address);
        Cloud cloud("https://cloud.example/dav/", "signIn=" + kPage + '\n');
        const int result = Skein_Auth_completeLogin(cloud.session, address);
        QTEST(result, "expected");
        QCOMPARE(Skein_Auth_isUserLoggedIn(cloud.session), int(result == 1));
    }

    void signInIsStoredUntilTheLogout()
    {
        Cloud cloud("https://cloud.example/dav/", "signIn=" + kPage + '\n');
        QCOMPARE(Skein_Auth_completeLogin(cloud.session, kPage + kGranted), 1);
        const QByteArray file = cloud.local("session.skein");
        const int64_t again = Skein_Auth_openSession(nullptr, nullptr, file, kPage);
        const int64_t elsewhere = Skein_Auth_openSession("", "", file, "https://other.example/in/signin");
        QCOMPARE(QString(Skein_Auth_getUserFirstName(again)), QString("Ró"));
        QCOMPARE(QString(Skein_Auth_getUserLastName(again)), QString("O'N"));
        QCOMPARE(Skein_Auth_isUserLoggedIn(again), 1);
        QCOMPARE(Skein_Auth_isUserLoggedIn(elsewhere), 0);
        QCOMPARE(Skein_Auth_logout(again), 1);
        QCOMPARE(Skein_Auth_isUserLoggedIn(again), 0);
        QVERIFY(!QFile::exists(file));
        QCOMPARE(Skein_Auth_logout(again), 1);
    }

    void logoutFailsIfTheFileCannotBeRemoved()
    {
        const QByteArray file = m_cloud->local("session.skein");
        QVERIFY(QFile::remove(file));
        QVERIFY(QDir().mkpath(file + "/x"));
        QCOMPARE(Skein_Auth_logout(m_cloud->session), int{Skein_Result_LocalFile});
        QCOMPARE(Skein_Auth_isUserLoggedIn(m_cloud->session), 1);
    }

    void unknownHandlesAreRefused()
    {
        for (const int64_t handle :
             {int64_t{-1}, int64_t{0}, m_cloud->session & 0xffffffff, m_cloud->endPoint & 0xffffffff}) {
            QCOMPARE(Skein_Auth_isUserLoggedIn(handle), int{Skein_Result_UnknownHandle});
            QCOMPARE(Skein_Auth_getUserLastName(handle), "");
            QCOMPARE(Skein_Storage_createEndPoint(handle, "https://x/", 0, "my", 0, 0),
                     int64_t{Skein_Result_UnknownHandle});
            QCOMPARE(Skein_Storage_updateFile(handle, "", "x", 2, "x", nullptr, nullptr),
                     int{Skein_Result_UnknownHandle});
            Skein_Storage_destroyEndPoint(handle);
            Skein_Auth_closeSession(handle);
        }
    }

    void wrongArgumentsSendNoRequest()
    {
        const int64_t session = m_cloud->session;
        const int64_t at = m_cloud->endPoint;
        const char *const texts[] = {nullptr};
        constexpr int kBad = Skein_Result_BadArgument;
        QCOMPARE(Skein_Auth_login(session, nullptr, nullptr), kBad);
        QCOMPARE(Skein_Auth_completeLogin(session, nullptr), 0);
        QCOMPARE(Skein_Storage_downloadFile(at, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr), kBad);
        QCOMPARE(Skein_Storage_uploadFiles(at, nullptr, nullptr, nullptr, 1, nullptr, nullptr), kBad);
        QCOMPARE(Skein_Storage_uploadFiles(at, nullptr, texts, texts, 1, nullptr, nullptr), kBad);
        QCOMPARE(Skein_Storage_updateFile(at, "", "x", 1, "/etc/passwd", nullptr, nullptr), kBad);
        QCOMPARE(Skein_Storage_updateFile(at, "y", "x", 2, "/etc/passwd", nullptr, nullptr), kBad);
        QCOMPARE(Skein_Storage_updateFile(at, "", "x", 2, "/no/file", nullptr, nullptr), int{Skein_Result_LocalFile});
        QCOMPARE(m_cloud->list("a/../b"), kBad);
        const QByteArray to = m_cloud->local("");
        for (const char *name : {"..", ".", "", "a/b", "../x", "/etc/x"}) {
            QCOMPARE(Skein_Storage_downloadFile(at, "", "cup.obj", to, name, nullptr, nullptr), kBad);
            QCOMPARE(Skein_Storage_downloadFile(at, "", name, to, "x", nullptr, nullptr), kBad);
        }
        QVERIFY(QDir().mkpath(m_cloud->local("got/x")));
        QCOMPARE(m_cloud->download("", "cup.obj"), int{Skein_Result_LocalFile});
        QCOMPARE(m_server->methods(), QString());
    }

    void credentialsAreNotSentToOtherAddresses()
    {
        for (const char *server : {"http://elsewhere.example/", static_cast<const char *>(nullptr)})
            QCOMPARE(Skein_Auth_openSession("", "", "", server), int64_t{Skein_Result_BadArgument});
        for (const char *storage : {"https://elsewhere.example/dav/", "http://elsewhere.example/", "", "file:///etc/"})
            QCOMPARE(Skein_Storage_createEndPoint(m_cloud->session, storage, 0, "my", 0, 0),
                     int64_t{Skein_Result_BadArgument});
        QCOMPARE(Skein_Storage_createEndPoint(m_cloud->session, m_cloud->storage, 0, nullptr, 0, 0),
                 int64_t{Skein_Result_BadArgument});
        QCOMPARE(Skein_Auth_getServerAddress(static_cast<Skein_Service_Deployment>(3)), "");
        QCOMPARE(Skein_Storage_getServerAddress(Skein_Service_Deployment_Staging), "https://cloud.zephal.example/dav/");
    }
};

QTEST_GUILESS_MAIN(TestPelagoFailures)
#include "tst_pelagofailures.moc"
