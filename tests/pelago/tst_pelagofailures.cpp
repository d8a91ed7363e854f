// Sign-in, listings and downloads against a server that fails, and paths outside of the folder.

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
        QTest::newRow("401") << kUnauthorized << "NotSignedIn";
        QTest::newRow("500, endless") << Reply(500).body(QByteArray(3000000, 'x')).hangAfter(2000000) << "ServerError";
        QTest::newRow("200") << Reply(200).body("<html/>") << "BadReply";
        QTest::newRow("half a document") << Reply(207).body("<multistatus xmlns='DAV:'>" +
                                                            response("/dav/", kFolderProperty))
                                         << "BadReply";
        QTest::newRow("cut") << Reply(kFolder).cutAfter(150) << "Network";
        QTest::newRow("redirect") << Reply(307).location("http://localhost:9/dav//") << "Redirected";
    }
    void listingFailsAsTheServerReplies()
    {
        QFETCH(Reply, reply);
        m_server->script["PROPFIND"] = {{reply, ""}};
        QTEST(nameOf(m_cloud->list("")), "expected");
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

    void certificateOfAnotherHostIsRefused()
    {
        const DavServer server("proxied");
        Cloud cloud(QString(server.storage).replace("127.0.0.1", "localhost"));
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
    }

    void finalAddressSignsInUntilTheLogout()
    {
        Cloud cloud("https://cloud.example/dav/", "signIn=" + kPage + '\n');
        for (const char *server : {"http://cloud.example", "https://cloud.example:444", "https://x"})
            QCOMPARE(Skein_Auth_completeLogin(cloud.session, server + ("/in/signin" + kGranted)), 0);
        QCOMPARE(nameOf(Skein_Auth_completeLogin(cloud.session, kPage + "/done?error=no")), QString("NotSignedIn"));
        QCOMPARE(Skein_Auth_isUserLoggedIn(cloud.session), 0);
        QCOMPARE(Skein_Auth_completeLogin(cloud.session, kPage + kGranted), 1);
        const QByteArray file = cloud.local("session.skein");
        QCOMPARE(QString(Skein_Auth_getUserFirstName(cloud.session)), QString("Ró"));
        QCOMPARE(QString(Skein_Auth_getUserLastName(cloud.session)), QString("O'N"));
        QVERIFY(QFile::exists(file));
        QCOMPARE(Skein_Auth_logout(cloud.session), 1);
        QCOMPARE(Skein_Auth_isUserLoggedIn(cloud.session), 0);
        QVERIFY(!QFile::exists(file));
    }

    void pathsOutsideTheFolderSendNoRequest_data() { addRows({{".."}, {"a/../b"}, {"/etc/x"}, {"a//b"}}); }
    void pathsOutsideTheFolderSendNoRequest()
    {
        const QByteArray path = std::get<0>(currentRow<1>()).toUtf8();
        const QByteArray to = m_cloud->local("");
        QCOMPARE(nameOf(m_cloud->list(path)), QString("BadArgument"));
        QCOMPARE(nameOf(Skein_Storage_downloadFile(m_cloud->endPoint, "", "cup.obj", to, path, nullptr, nullptr)),
                 QString("BadArgument"));
        QCOMPARE(m_server->methods(), QString());
    }

    void credentialsAreNotSentToOtherAddresses()
    {
        const auto open = [this](const char *storage) {
            return Skein_Storage_createEndPoint(m_cloud->session, storage, 0, "my", 0, 0);
        };
        constexpr int64_t kBad = Skein_Result_BadArgument;
        QCOMPARE(open("https://elsewhere.example/dav/"), kBad);
        QCOMPARE(open("http://elsewhere.example/"), kBad);
        QCOMPARE(Skein_Auth_openSession("", "", "", "http://elsewhere.example/"), kBad);
    }
};

QTEST_GUILESS_MAIN(TestPelagoFailures)
#include "moc_ScriptedCloud.cpp"
#include "tst_pelagofailures.moc"
