// portals/tst_dropbox.cpp
//
// Signing in to Dropbox by browser and redirect server, then listing, download and upload: over real sockets, against
// the local cloud's folder of real files.

#include "portals/Portal_DropBox.h"
#include "portals/Portal_DropBox_CloudItem.h"
#include "PortalTest.h"

namespace {

const char account[] = "GET /1/account/info/";
const QString redirectUri = "http://localhost:8080/crvn/kelda/oauth/dropbox/redirect";

bool isFree(quint16 port)
{
    return QTcpServer().listen(QHostAddress::LocalHost, port);
}

} // namespace

class TestDropBox : public PortalTest
{
    Q_OBJECT

private slots:
    void init()
    {
        start();
        m_secrets = QStringList(APP_SECRET);
        m_login = makePortal<Portal_DropBox, Portal_DropBox_Login, Portal_DropBox_IPortalBrowser>();
        m_remote = m_fixture->cloud.dropboxDir() + '/';
    }

    void cleanup()
    {
        finish();
        QVERIFY(isFree(8080));
    }

    void allowSignsIn()
    {
        RecordingOwner replaced;
        QVERIFY(!m_login->Login(&replaced) && !m_login->Login(&m_owner));
        QVERIFY(!m_login->IsLogin()); // what a change of tabs asks; signs out, but keeps the owner
        const QString page = "https://www.dropbox.com/1/oauth2/authorize?client_id=" APP_KEY "&response_type=code";
        QCOMPARE(m_fixture->opened.mid(1), QList<QUrl>{page + "&redirect_uri=" + redirectUri});
        QVERIFY(m_fixture->requests().isEmpty() && m_fixture->allow() && isFree(8080));
        QVERIFY(m_owner.heard == QList<bool>{true} && replaced.heard.isEmpty());
        QVERIFY(m_fixture->requests().join('\n').startsWith("POST /1/oauth2/token?code="));
        QVERIFY(m_fixture->requests().first().endsWith("&grant_type=authorization_code&client_id=" APP_KEY
                                                       "&client_secret=" APP_SECRET "&redirect_uri=" +
                                                       redirectUri));
        QCOMPARE(m_fixture->cloud.requests().at(0).host, QStringLiteral("api.dropbox.com"));

        QVERIFY(!token().isEmpty() && m_login->GetSecureSessionID() == "4711");
        QVERIFY(m_login->IsLogin() && m_login->IsLogin());
        QCOMPARE(m_fixture->requests().mid(1), QStringList(account)); // asked once
        QCOMPARE(m_fixture->cloud.requests().at(1).header("Authorization"), "Bearer " + token());
    }

    void unwritableSettingsKeepTheSessionInMemory()
    {
        const QString file = Tavrin::Settings(Portal_DropBox_Login::settingsName).path();
        const QString folder = QFileInfo(file).path();
        QVERIFY(QDir(folder).removeRecursively());
        writeFile(folder, "a file, not a folder");
        const auto restore = qScopeGuard([&folder] { QFile::remove(folder); });
        QVERIFY(!m_login->IsLogin());
        for (int round = 0; round < 2; ++round) {
            QVERIFY(!m_login->Login(&m_owner) && m_fixture->allow());
            QVERIFY(m_login->IsLogin());
            QCOMPARE(listed(root()), QString());
            QVERIFY(m_login->Login(&m_owner));
            QVERIFY(m_login->Logout() && !m_login->IsLogin());
        }
        const QStringList warnings = m_fixture->host.messages(KHost::MessageKind::kWarning);
        QCOMPARE(warnings.size(), 1);
        QVERIFY2(warnings[0].startsWith("Signing in") && warnings[0].endsWith(": " + file), qPrintable(warnings[0]));
        QVERIFY(QFile::remove(folder));
        QVERIFY(!m_login->Login(&m_owner) && m_fixture->allow());
        QVERIFY(!token().isEmpty());
    }

    void storedTokenNeedsNoBrowserUnlessStale()
    {
        signIn();
        QVERIFY(m_login->Login(&m_owner) && m_owner.heard == QList<bool>{true});
        QVERIFY(m_fixture->opened.isEmpty() && isFree(8080));
        QVERIFY(m_login->Logout() && !m_login->IsLogin() && token().isEmpty());
        QVERIFY(listed(root()) == "failed" && !download(makeItem("/a"), "a") && !upload(root(), "a"));
        QCOMPARE(m_fixture->requests(), QStringList(account));

        store({"stale", {}});
        QVERIFY(!m_login->IsLogin() && token().isEmpty());
        store({"stale again", {}});
        QVERIFY(!m_login->Login(nullptr) && m_fixture->allow() && m_login->IsLogin());
    }

    void exchangeMayFailAndLogoutEndsIt()
    {
        QVERIFY(m_fixture->cloud.addRule("*", "/1/oauth2/token", "garbage"));
        m_login->Login(&m_owner);
        m_owner.onDone = [this] { m_owner.heard = {m_login->IsLogin()}; };
        QVERIFY(m_fixture->allow() && m_owner.heard == QList<bool>{false} && token().isEmpty());
        m_owner.heard.clear();
        m_fixture->cloud.clearRules();
        m_fixture->cloud.clearRequests();
        m_login->Login(&m_owner);
        QVERIFY(m_login->Logout() && !m_fixture->allow());
        m_login->Login(&m_owner);
        connect(&m_fixture->cloud, &LocalCloud::requestServed, m_fixture.get(), [this] { m_login->Logout(); });
        QVERIFY(m_fixture->allow() && m_fixture->requests().size() == 1);
        QVERIFY(m_owner.heard.isEmpty() && token().isEmpty());
    }

    void connectionsEndWithTheirSignIn_data()
    {
        QTest::addColumn<bool>("isLogout");
        QTest::newRow("logout") << true;
        QTest::newRow("newer sign-in, while the service is asked for the stored token") << false;
    }

    void connectionsEndWithTheirSignIn()
    {
        QFETCH(bool, isLogout);
        RecordingOwner replaced;
        m_login->Login(&replaced);
        QTcpSocket browser;
        browser.connectToHost(QHostAddress::LocalHost, 8080);
        QVERIFY(browser.waitForConnected(1000));
        QTest::qWait(20); // accepted
        browser.write("GET /crvn/kelda/oauth/dropbox/redirect?code=late HTTP/1.1\r\n\r\n");
        QVERIFY(browser.flush());
        store({"stale", {}});
        if (isLogout)
            m_login->Logout();
        else
            m_login->Login(&m_owner);
        QTRY_COMPARE(browser.state(), QAbstractSocket::UnconnectedState);
        QCOMPARE(browser.readAll(), QByteArray());
        QCOMPARE(m_fixture->requests(), isLogout ? QStringList() : QStringList(account));
        QVERIFY(replaced.heard.isEmpty() && m_owner.heard.isEmpty());
    }

    void timeoutIsToldAndMayBeTriedAgain()
    {
        SimpleHttpServer::setDefaultTimeouts(30);
        m_owner.onDone = [this] {
            SimpleHttpServer::setDefaultTimeouts(10000);
            if (m_owner.heard.size() == 1)
                m_login->Login(&m_owner);
        };
        m_login->Login(&m_owner);
        QTRY_COMPARE(m_owner.heard, QList<bool>{false});
        QCOMPARE(m_fixture->host.errors(), QStringList("Dropbox authentication timeout"));
        QVERIFY(m_fixture->requests().isEmpty() && m_fixture->allow());
        QCOMPARE(m_owner.heard, (QList<bool>{false, true}));
    }

    void folderToFile()
    {
        const QString folder = "/a#b? 100% Häuser & Gärten";
        const QString file = "a?now=1&x#b 50%25 %2e%2e%+;[1]{2}'q'\"dq\"~!@$^, 猫.fbx";
        signIn();
        writeFile(m_remote + folder + '/' + file, "the model");
        QVERIFY(download(makeItem(folder + '/' + file), "file")); // its item goes while the token is confirmed
        QCOMPARE(readFile(local("file")), QByteArray("the model"));
        QCOMPARE(m_fixture->cloud.requests().last().host, QStringLiteral("api-content.dropbox.com"));

        m_fixture->cloud.clearRequests();
        QCOMPARE(listed(root()), '+' + folder.mid(1));
        QCOMPARE(m_fixture->requests(), QStringList("GET /1/metadata/dropbox/?file_limit=10000&list=true"));
        const RequestRecord listing = m_fixture->cloud.requests().at(0);
        QVERIFY(listing.tls && listing.header("Authorization") == "Bearer " + token());
        QCOMPARE(listed(makeItem(folder)), '-' + file);

        writeFile(local(file), QByteArray("new\0bytes", 9));
        QVERIFY(upload(makeItem(folder), file) && upload(root(), file));
        const RequestRecord request = m_fixture->cloud.requests().last();
        QCOMPARE(request.host, QStringLiteral("api-content.dropbox.com"));
        QCOMPARE(request.header("Content-Type"), QByteArray("application/octet-stream"));
        QCOMPARE(readFile(m_remote + folder + '/' + file) + readFile(m_remote + file),
                 QByteArray("new\0bytesnew\0bytes", 18));
    }

    void failuresAreShownOnce()
    {
        const std::tuple<QString, QString, int, QString, int> faults[] = {
            {"", "status=500", 500, "Sorry", 1},
            {"up.fbx", "status=507", 507, "Sorry", 1},
            {"up.fbx", "redirect=/elsewhere", 302, "", 1},
            {"gone.fbx", "delay=0", 0, "The file cannot be read: " + local("gone.fbx"), 0},
            {".", "delay=0", 0, "The file cannot be read: " + local("."), 0},
            {"up.fbx", "body=" + local("zero"), -1, "The service did not confirm that the file was stored.", 1},
        };
        signIn();
        QVERIFY(m_login->IsLogin());
        writeFile(local("up.fbx"), "an upload");
        writeFile(local("zero"), R"({"bytes":0})");
        writeFile(m_remote + "up.fbx", "before");
        QVERIFY(!download(makeItem("/gone.obj"), "gone.obj") && m_fixture->boxes.size() == 1);
        for (const auto &[name, action, code, text, requests] : faults) {
            m_fixture->cloud.clearRules();
            m_fixture->cloud.clearRequests();
            m_fixture->boxes.clear();
            m_fixture->host.clear();
            m_fixture->cloud.addRule("*", "/1/*", action);
            const bool done = name.isEmpty() ? listed(root()) != "failed" : upload(root(), name);
            QVERIFY(!done && m_fixture->requests().size() == requests);
            const QString error = m_fixture->host.errors().join('|');
            QCOMPARE(error.left(text.size()), text);
            const QString reason = error.isEmpty() ? QString() : " \n" + error;
            QCOMPARE(m_fixture->boxes.join('|'), code < 0 ? "" : "Http code: " + QString::number(code) + reason);
        }
        QCOMPARE(readFile(local("up.fbx")) + readFile(m_remote + "up.fbx"), QByteArray("an uploadbefore"));
    }

    void downloadWithoutLengthHasTheSizeOfTheListing_data()
    {
        QTest::addColumn<QString>("listed");
        QTest::addColumn<QString>("rule");
        QTest::addColumn<bool>("isWhole");
        QTest::newRow("whole") << "9"
                               << "no-length" << true;
        QTest::newRow("cut") << "9"
                             << "cut=5" << false;
        QTest::newRow("changed since the listing, with a length") << "5"
                                                                  << "delay=0" << true;
        QTest::newRow("changed since the listing") << "5"
                                                   << "no-length" << false;
        QTest::newRow("size not listed") << ""
                                         << "no-length" << true;
        QTest::newRow("size too large for the listing") << "2147483647"
                                                        << "no-length" << true;
    }

    void downloadWithoutLengthHasTheSizeOfTheListing()
    {
        QFETCH(QString, listed);
        QFETCH(QString, rule);
        QFETCH(bool, isWhole);
        signIn();
        writeFile(m_remote + "cup.obj", "the model");
        m_fixture->cloud.addRule("*", "/1/files/*", rule);
        if (rule.startsWith("cut"))
            m_fixture->cloud.addRule("*", "/1/files/*", "no-length");
        Item item = makeItem("/cup.obj");
        if (!listed.isEmpty())
            item->SetProperty("bytes", KQtUtil::toKString(listed));
        QCOMPARE(download(std::move(item), "cup.obj"), isWhole);
        const QString message = "The downloaded file does not have the size that the list shows. Refresh the list and "
                                "try again.";
        QCOMPARE(m_fixture->boxes, isWhole ? QStringList() : QStringList("Http code: 0 \n" + message));
    }

private:
    void signIn() { store({m_fixture->cloud.issueDropboxToken(), {}}); }
    QByteArray token() const { return stored().section('|', 0, 0).toLatin1(); }
    Item makeItem(const QString &path)
    {
        return PortalTest::makeItem<Portal_DropBox_ICloudItem>({{"rev", "1"}, {"path", path}});
    }

    Portal_DropBox_Login *m_login = nullptr; // the portal's
    QString m_remote;
};

QTEST_MAIN(TestDropBox)
#include "tst_dropbox.moc"
