// Sign-in, listings and downloads against a server that fails, and calls with wrong arguments.

#include "pelago/DavServers.h"
#include "pelago/ScriptedCloud.h"

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
        QTest::addColumn<QString>("expected");
        const auto row = [](const char *name, const Reply &reply, const char *result) {
            QTest::newRow(name) << reply << result;
        };
        row("empty folder", kFolder, "0");
        row("401", kUnauthorized, "NotSignedIn");
        row("500, endless", Reply(500).body(QByteArray(3000000, 'x')).hangAfter(2000000), "ServerError");
        row("200", Reply(200).body("<html/>"), "BadReply");
        row("half a document", Reply(207).body("<multistatus xmlns='DAV:'>"), "BadReply");
        row("another folder", entry("/else/where/", kFolderProperty), "BadReply");
        row("a file", entry("/dav/", "<resourcetype/>"), "NotFound");
        row("cut", Reply(kFolder).cutAfter(150), "Network");
        row("silent", Reply(kFolder).hangAfter(150), "TimedOut");
        row("redirect to another port", Reply(307).location("http://localhost:9/dav//"), "Redirected");
        row("redirect to another path", Reply(307).location("/dav/x/"), "Redirected");
        row("redirect with a query", Reply(307).location("/dav//?x"), "Redirected");
    }
    void listingFailsAsTheServerReplies()
    {
        QFETCH(Reply, reply);
        m_server->script["PROPFIND"] = {{reply, ""}};
        if (QByteArray(QTest::currentDataTag()) == "silent")
            m_cloud->configure("idleTimeoutMs=300");
        QTEST(nameOf(m_cloud->list("")), "expected");
        QCOMPARE(m_cloud->entries.size(), 0);
        QCOMPARE(m_server->methods(), QString("PROPFIND"));
        QCOMPARE(Skein_Auth_isUserLoggedIn(m_cloud->session), int(reply.status() != 401));
        QCOMPARE(QFile::exists(m_cloud->local("session.skein")), reply.status() != 401);
    }

    void listingHasOnlyTheNamesThatCanBeAddressed()
    {
        QByteArrayList responses{response("/dav/", kFolderProperty)};
        for (const char *href : {"/d%61v//1", "https://127.0.0.1:1/dav/2", "/dav/3%2525/", "/dav/4%zz%4", "/dav/5?x",
                                 "/dav/%C3%A4ä", "/dav/a/b", "/", "/DAV/a", "https://elsewhere.example/dav/a", "dav/a",
                                 "", "/dav/a%2Fb", "/dav/%2E%2e", "/dav/.", "/dav/a%00", "/dav/%E4", "/dav/%FFx"})
            responses << response(href, "<resourcetype/>");
        m_server->script["PROPFIND"] = {{multiStatus(responses.join()), ""}};
        m_cloud->list("");
        QStringList names;
        for (const Entry &each : qAsConst(m_cloud->entries))
            names << each.name;
        QCOMPARE(names.join(' '), QString("1 2 3%25 4%zz%4 5 ää"));
    }

    void refusedSignInKeepsTheFileOfANewerOne()
    {
        const QByteArray file = m_cloud->local("session.skein");
        const int64_t other = Skein_Auth_openSession("", "", file, m_cloud->storage + '/');
        QCOMPARE(Skein_Auth_login(other, "demo", "new password"), 1);
        m_server->play("PROPFIND=401");
        QCOMPARE(nameOf(m_cloud->list("")), QString("NotSignedIn"));
        QCOMPARE(Skein_Auth_isUserLoggedIn(m_cloud->session), 0);
        QVERIFY(QFile::exists(file));
        Skein_Auth_closeSession(other);
    }

    void sessionStaysSignedInIfTheRootCannotBeChecked()
    {
        m_server->play("PROPFIND=401,503");
        QCOMPARE(nameOf(m_cloud->list("folder")), QString("ServerError"));
        QCOMPARE(Skein_Auth_isUserLoggedIn(m_cloud->session), 1);
        QVERIFY(QFile::exists(m_cloud->local("session.skein")));
    }

    void fileIsNoStorage()
    {
        m_server->script["PROPFIND"] = {{entry("/dav/", "<resourcetype/>"), ""}};
        QCOMPARE(nameOf(m_cloud->signIn()), QString("BadReply"));
    }

    void certificateOfAnotherHostIsRefused()
    {
        const std::unique_ptr<DavServer> server = DavServer::start("proxied");
        Cloud cloud(QString(server->storage).replace("127.0.0.1", "localhost"));
        QCOMPARE(nameOf(cloud.signIn()), QString("Network"));
        QVERIFY2(traced.last().endsWith("[host-name: 127.0.0.1]"), qPrintable(traced.last()));
    }

    void onlyCompleteDownloadReplacesTheFile_data()
    {
        QTest::addColumn<Reply>("reply");
        QTest::addColumn<QString>("expected");
        const Reply good = Reply(200).body(QByteArray(3000000, 'n'));
        const Reply unsized = Reply(good).withoutLength();
        QTest::newRow("complete") << good << "1";
        QTest::newRow("cut") << Reply(good).cutAfter(1000000) << "Network";
        QTest::newRow("partial content") << Reply(206).body("part") << "BadReply";
        QTest::newRow("without length") << unsized << "1";
        QTest::newRow("silent") << Reply(good).hangAfter(1000000) << "TimedOut";
        QTest::newRow("without length, cut") << Reply(unsized).cutAfter(1000000) << "Network";
    }
    void onlyCompleteDownloadReplacesTheFile()
    {
        QFETCH(Reply, reply);
        QVERIFY(QFile::link(m_cloud->write("other", "old"), m_cloud->local("got")));
        const QStringList before = QDir(m_cloud->local("")).entryList(QDir::Files | QDir::Hidden);
        m_server->store("cup.obj", QByteArray(3000000, 'n'));
        m_server->script["GET"] = {{reply, ""}};
        if (QByteArray(QTest::currentDataTag()) == "silent")
            m_cloud->configure("idleTimeoutMs=300");
        const int result = m_cloud->download("", "cup.obj");
        QTEST(nameOf(result), "expected");
        QVERIFY(m_cloud->got() == (result == 1 ? QByteArray(3000000, 'n') : QByteArray("old")));
        QCOMPARE(readFile(m_cloud->local("other")), QByteArray("old")); // the target of the link
        QCOMPARE(QDir(m_cloud->local("")).entryList(QDir::Files | QDir::Hidden), before);
    }

    void closingEndsRunningCalls()
    {
        m_server->play("PROPFIND=hang+close");
        QCOMPARE(nameOf(m_cloud->list("")), QString("Closed"));
        QCOMPARE(nameOf(m_cloud->list("")), QString("UnknownHandle"));
        m_cloud->configure("");
        m_server->onClose = [this] { Skein_Auth_closeSession(m_cloud->session); };
        QCOMPARE(nameOf(m_cloud->list("")), QString("Closed"));
        QCOMPARE(nameOf(m_cloud->list("")), QString("Closed"));
    }

    void signInPageIsCutToTheBuffer()
    {
        Cloud cloud("https://cloud.example/dav/", "signIn=" + kPage + '\n');
        char buffer[9] = "12345678";
        QCOMPARE(Skein_Auth_createLoginRequest(cloud.session, nullptr, 6), long{kPage.size() + 1});
        QCOMPARE(Skein_Auth_createLoginRequest(cloud.session, buffer, 6), long{kPage.size() + 1});
        QCOMPARE(QByteArray(buffer, 8), QByteArray("https\00078", 8));
    }

    void onlyTheFinalAddressSignsIn()
    {
        Cloud cloud("https://cloud.example/dav/", "signIn=" + kPage + '\n');
        const auto complete = [&cloud](const QByteArray &address) {
            return nameOf(Skein_Auth_completeLogin(cloud.session, address));
        };
        for (const QByteArray &other :
             {QByteArray(), kPage, kPage + "/done/x?user=u&token=t", "http://cloud.example/in/signin" + kGranted,
              "https://cloud.example:444/in/signin" + kGranted, "https://x/in/signin" + kGranted})
            QCOMPARE(complete(other), QString("0"));
        for (const char *query : {"", "?error=no", "?user=u", "?token=t", "?user=a%3Ab&token=t"})
            QCOMPARE(complete(kPage + "/done" + query), QString("NotSignedIn"));
        QCOMPARE(Skein_Auth_isUserLoggedIn(cloud.session), 0);
        QCOMPARE(complete(kPage + kGranted), QString("1"));
        QCOMPARE(Skein_Auth_isUserLoggedIn(cloud.session), 1);
    }

    void signInIsStoredUntilTheLogout()
    {
        Cloud cloud("https://cloud.example/dav/", "signIn=" + kPage + '\n');
        QCOMPARE(Skein_Auth_completeLogin(cloud.session, kPage + kGranted), 1);
        const QByteArray file = cloud.local("session.skein");
        const int64_t again = Skein_Auth_openSession(nullptr, nullptr, file, kPage);
        QCOMPARE(QString(Skein_Auth_getUserFirstName(again)), QString("Ró"));
        QCOMPARE(QString(Skein_Auth_getUserLastName(again)), QString("O'N"));
        QCOMPARE(Skein_Auth_isUserLoggedIn(again), 1);
        QCOMPARE(Skein_Auth_logout(again), 1);
        QCOMPARE(Skein_Auth_isUserLoggedIn(again), 0);
        QVERIFY(!QFile::exists(file));
        QCOMPARE(Skein_Auth_logout(again), 1);
    }

    void unknownHandlesAreRefused()
    {
        for (const int64_t handle : {int64_t{-1}, m_cloud->session & 0xffffffff, m_cloud->endPoint & 0xffffffff}) {
            Skein_Storage_destroyEndPoint(handle);
            Skein_Auth_closeSession(handle);
            QCOMPARE(nameOf(Skein_Auth_isUserLoggedIn(handle)), QString("UnknownHandle"));
            QCOMPARE(Skein_Auth_getUserLastName(handle), "");
        }
        QCOMPARE(m_cloud->list(""), 0);
    }

    void wrongArgumentsSendNoRequest()
    {
        const int64_t at = m_cloud->endPoint;
        const char *const texts[] = {nullptr};
        constexpr int kBad = Skein_Result_BadArgument;
        QCOMPARE(Skein_Auth_login(m_cloud->session, nullptr, nullptr), kBad);
        QCOMPARE(Skein_Auth_completeLogin(m_cloud->session, nullptr), 0);
        QCOMPARE(Skein_Storage_downloadFile(at, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr), kBad);
        QCOMPARE(Skein_Storage_uploadFiles(at, nullptr, nullptr, nullptr, 1, nullptr, nullptr), kBad);
        QCOMPARE(Skein_Storage_uploadFiles(at, nullptr, texts, texts, 1, nullptr, nullptr), kBad);
        QCOMPARE(Skein_Storage_updateFile(at, "", "x", 1, "/etc/passwd", nullptr, nullptr), kBad);
        QCOMPARE(Skein_Storage_updateFile(at, "y", "x", 2, "/etc/passwd", nullptr, nullptr), kBad);
        QCOMPARE(nameOf(m_cloud->replace("", "x")), QString("LocalFile"));
        for (const char *folder : {"/", "/a", "a/", "a//b", ".", "a/../b"})
            QCOMPARE(m_cloud->list(folder), kBad);
        const QByteArray to = m_cloud->local("");
        for (const char *name : {"..", ".", "", "a/b", "../x", "/etc/x"}) {
            QCOMPARE(Skein_Storage_downloadFile(at, "", "cup.obj", to, name, nullptr, nullptr), kBad);
            QCOMPARE(m_cloud->download("", name), kBad);
        }
        QCOMPARE(m_server->methods(), QString());
    }

    void credentialsAreNotSentToOtherAddresses()
    {
        constexpr int64_t kBad = Skein_Result_BadArgument;
        QCOMPARE(Skein_Auth_openSession("", "", "", "http://elsewhere.example/"), kBad);
        QCOMPARE(Skein_Auth_openSession("", "", "", nullptr), kBad);
        for (const char *storage : {"https://elsewhere.example/dav/", "http://elsewhere.example/", "", "file:///etc/"})
            QCOMPARE(Skein_Storage_createEndPoint(m_cloud->session, storage, 0, "my", 0, 0), kBad);
        QCOMPARE(Skein_Storage_createEndPoint(m_cloud->session, m_cloud->storage, 0, nullptr, 0, 0), kBad);
    }
};

QTEST_GUILESS_MAIN(TestPelagoFailures)
#include "tst_pelagofailures.moc"
