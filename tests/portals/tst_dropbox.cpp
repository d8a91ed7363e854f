// portals/tst_dropbox.cpp
//
// Signing in to Dropbox by browser and redirect server, then listing, download and upload: over real sockets, against
// the local cloud's folder of real files.

#include "portals/Portal_DropBox.h"
#include "portals/Portal_DropBox_CloudItem.h"
#include "PortalTest.h"

namespace {

const char kAccount[] = "GET /1/account/info/";

QString redirectUri(int port)
{
    return QString("http://localhost:%1/crvn/kelda/oauth/dropbox/redirect").arg(port);
}

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
        QVERIFY(!m_login->Login(&replaced));
        QVERIFY(!m_login->Login(&m_owner));
        QVERIFY(!m_login->IsLogin()); // as a change of tabs does: signs out, but the sign-in continues
        const QString page = "https://www.dropbox.com/1/oauth2/authorize?client_id=" APP_KEY "&response_type=code";
        QCOMPARE(m_fixture->opened.mid(1), QList<QUrl>{page + "&redirect_uri=" + redirectUri(8080)});
        QCOMPARE(m_fixture->requests(), QStringList());
        QVERIFY(m_fixture->allow());
        QVERIFY(isFree(8080));
        QCOMPARE(m_owner.results, QList<bool>{true});
        QCOMPARE(replaced.results, QList<bool>());
        QVERIFY(m_fixture->requests().first().startsWith("POST /1/oauth2/token?code="));
        QCOMPARE(m_fixture->requests().first().section("&grant_type", 1),
                 "=authorization_code&client_id=" APP_KEY "&client_secret=" APP_SECRET "&redirect_uri=" +
                     redirectUri(8080));
        QCOMPARE(m_fixture->cloud.requests().at(0).host, QStringLiteral("api.dropbox.com"));

        QVERIFY(!token().isEmpty());
        QCOMPARE(m_login->GetSecureSessionID().utf8(), "4711");
        QVERIFY(m_login->IsLogin());
        QVERIFY(m_login->IsLogin());
        QCOMPARE(m_fixture->requests().mid(1), QStringList(kAccount)); // sent once
        QCOMPARE(m_fixture->cloud.requests().at(1).header("Authorization"), "Bearer " + token());
    }

    void port80IsUsedWhilePort8080IsTaken()
    {
        QTcpServer occupant;
        QVERIFY(occupant.listen(QHostAddress::LocalHost, 8080));
        const bool canListen = isFree(80); // needs rights on most systems
        QVERIFY(!m_login->Login(&m_owner));
        QCOMPARE(QUrlQuery(m_fixture->opened.last()).queryItemValue("redirect_uri"), redirectUri(80));
        const QString error = "Error listening to localhost because the following port is protected: 80";
        QCOMPARE(m_fixture->host.errors(), canListen ? QStringList() : QStringList(error));
        QCOMPARE(m_fixture->allow(), canListen);
        QCOMPARE(m_owner.results, canListen ? QList<bool>{true} : QList<bool>());
        QCOMPARE(m_fixture->requests().filter(redirectUri(80)).size(), canListen ? 1 : 0);
        QCOMPARE(token().isEmpty(), !canListen);
        QCOMPARE(isFree(80), canListen);
    }

    void openConnectionEndsWithItsSignIn_data()
    {
        addRows(
            {{"deletion of the portal"}, {"logout"}, {"newer sign-in, while the service confirms the stored token"}});
    }

    void openConnectionEndsWithItsSignIn()
    {
        const auto [end] = currentRow<1>();
        RecordingOwner replaced;
        m_login->Login(&replaced);
        QTcpSocket browser;
        browser.connectToHost(QHostAddress::LocalHost, 8080);
        QVERIFY(browser.waitForConnected());
        QTest::qWait(20); // the redirect server accepts the connection
        browser.write("GET /crvn/kelda/oauth/dropbox/redirect?code=late HTTP/1.1\r\n\r\n");
        browser.flush();
        store({"stale", {}});
        if (end == "logout")
            m_login->Logout();
        else if (end.startsWith("newer"))
            m_login->Login(&m_owner);
        else
            m_portal.reset();
        QCOMPARE(isFree(8080), !end.startsWith("newer"));
        QTRY_COMPARE(browser.state(), QAbstractSocket::UnconnectedState);
        QCOMPARE(browser.readAll(), QByteArray());
        QCOMPARE(m_fixture->requests(), end.startsWith("newer") ? QStringList(kAccount) : QStringList());
        QCOMPARE(replaced.results + m_owner.results, QList<bool>());
    }

    void unwritableSettingsKeepTheSessionInMemory()
    {
        const QString file = Tavrin::Settings(Portal_DropBox_Login::kSettingsName).path();
        const QString folder = QFileInfo(file).path();
        QVERIFY(QDir(folder).removeRecursively());
        writeFile(folder, "a file, not a folder");
        const auto restore = qScopeGuard([&folder] { QFile::remove(folder); });
        QVERIFY(!m_login->IsLogin());
        QVERIFY(signInByBrowser());
        QVERIFY(m_login->IsLogin());
        QCOMPARE(listed(root()), QString());
        QVERIFY(m_login->Logout());
        QVERIFY(!m_login->IsLogin());
        const QString warning = m_fixture->warnings().join('|');
        QVERIFY2(QRegularExpression("^Signing in[^|]*: " + file + '$').match(warning).hasMatch(), qPrintable(warning));
    }

    void storedTokenNeedsNoBrowserUnlessStale()
    {
        signIn();
        QVERIFY(m_login->Login(&m_owner));
        QCOMPARE(m_owner.results, QList<bool>{true});
        QCOMPARE(m_fixture->opened, QList<QUrl>());
        QVERIFY(isFree(8080));
        QVERIFY(m_login->Logout());
        QVERIFY(!m_login->IsLogin());
        QCOMPARE(token(), QByteArray());
        QCOMPARE(listed(root()), QString("failed"));
        QVERIFY(!download(makeItem("/a"), "a"));
        QVERIFY(!upload(root(), "a"));
        QCOMPARE(m_fixture->requests(), QStringList(kAccount));

        store({"stale", {}});
        QVERIFY(!m_login->IsLogin());
        QCOMPARE(token(), QByteArray());
        store({"stale again", {}});
        QVERIFY(signInByBrowser());
        QVERIFY(m_login->IsLogin());
    }

    void failedExchangeIsReportedAndLogoutEndsTheExchange()
    {
        QVERIFY(m_fixture->cloud.addRule("*", "/1/oauth2/token", "garbage"));
        m_owner.onDone = [this] { m_owner.results = {m_login->IsLogin()}; };
        QVERIFY(signInByBrowser());
        QCOMPARE(std::exchange(m_owner.results, {}), QList<bool>{false});
        QCOMPARE(token(), QByteArray());
        m_fixture->cloud.clearRules();
        m_fixture->cloud.clearRequests();
        connect(&m_fixture->cloud, &LocalCloud::requestServed, m_fixture.get(), [this] { m_login->Logout(); });
        QVERIFY(signInByBrowser());
        QCOMPARE(m_fixture->requests().size(), 1);
        QCOMPARE(m_owner.results, QList<bool>());
        QCOMPARE(token(), QByteArray());
    }

    void timeoutIsReportedAndAllowsAnotherSignIn()
    {
        SimpleHttpServer::setDefaultTimeouts(30);
        m_owner.onDone = [this] {
            SimpleHttpServer::setDefaultTimeouts(60000);
            if (m_owner.results.size() == 1)
                m_login->Login(&m_owner);
        };
        m_login->Login(&m_owner);
        QTRY_COMPARE(m_owner.results, QList<bool>{false});
        QCOMPARE(m_fixture->host.errors(), QStringList("Dropbox authentication timeout"));
        QCOMPARE(m_fixture->requests(), QStringList());
        QVERIFY(m_fixture->allow());
        QCOMPARE(m_owner.results, (QList<bool>{false, true}));
    }

    void unusualNamesAreListedDownloadedAndUploaded()
    {
        const QString folder = "/a#b? 100% Häuser & Gärten";
        const QString file = "a?now=1&x#b 50%25 %2e%2e%+;[1]{2}'q'\"dq\"~!@$^, 猫.fbx";
        signIn();
        writeFile(m_remote + folder + '/' + file, "the model");
        QVERIFY(download(makeItem(folder + '/' + file), "file")); // the item is deleted while the token is confirmed
        QCOMPARE(readFile(local("file")), QByteArray("the model"));

        m_fixture->cloud.clearRequests();
        QCOMPARE(listed(root()), '+' + folder.mid(1));
        QCOMPARE(m_fixture->requests(), QStringList("GET /1/metadata/dropbox/?file_limit=10000&list=true"));
        QCOMPARE(listed(makeItem(folder)), '-' + file);

        const QByteArray content("new\0bytes", 9);
        writeFile(local(file), content);
        QVERIFY(upload(makeItem(folder), file));
        QVERIFY(upload(root(), file));
        QCOMPARE(readFile(m_remote + folder + '/' + file), content);
        QCOMPARE(readFile(m_remote + file), content);
    }

    void failuresAreShownOnce_data()
    {
        // The file to upload, an OBJ file to download, or none for a listing; then the rule of the cloud, the code in
        // the box (none without a box), and the error.
        addRows({{"listing, server error", "", "status=500", "500", "Sorry"},
                 {"download, missing file", "gone.obj", "delay=0", "404", "Sorry"},
                 {"upload, missing file", "gone.fbx", "delay=0", "0", "The file cannot be read: " + local("gone.fbx")},
                 {"upload, not confirmed", "up.fbx", "body=" + local("zero"), "",
                  "The service did not confirm that the file was stored."}});
    }

    void failuresAreShownOnce()
    {
        const auto [title, file, action, code, text] = currentRow<5>();
        signIn();
        writeFile(local("up.fbx"), "an upload");
        writeFile(local("zero"), R"({"bytes":0})");
        m_fixture->cloud.addRule("api.dropbox.com", "/1/metadata/*", action);
        m_fixture->cloud.addRule("api-content.dropbox.com", "*", action);
        if (file.isEmpty())
            QCOMPARE(listed(root()), QString("failed"));
        else if (file.endsWith("obj"))
            QVERIFY(!download(makeItem('/' + file), file));
        else
            QVERIFY(!upload(root(), file));
        const QString error = m_fixture->host.errors().value(0);
        QCOMPARE(error.left(text.size()), text);
        QCOMPARE(boxes().join('|'), code.isEmpty() ? "" : "Http code: " + code + " \n" + error);
        QCOMPARE(readFile(local("up.fbx")), QByteArray("an upload"));
    }

    void downloadWithoutLengthHasTheSizeOfTheListing()
    {
        signIn();
        writeFile(m_remote + "cup.obj", "the model");
        m_fixture->cloud.addRule("*", "/1/files/*", "no-length");
        for (const char *size : {"9", "5"}) {
            Item item = makeItem("/cup.obj");
            item->SetProperty("bytes", size);
            QCOMPARE(download(std::move(item), "cup.obj"), *size == '9');
        }
        QCOMPARE(boxes(), QStringList("Http code: 0 \nThe downloaded file does not have the size that the list shows. "
                                      "Refresh the list and try again."));
    }

private:
    void signIn() { store({m_fixture->cloud.issueDropboxToken(), {}}); }
    /// Returns false if no browser is needed or the redirect server does not reply.
    bool signInByBrowser() { return !m_login->Login(&m_owner) && m_fixture->allow(); }
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
