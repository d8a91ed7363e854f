// portals/tst_dropbox.cpp
//
// Signing in to Dropbox by browser and redirect server, then listing, download and upload: over real sockets, against
// the local cloud's folder of real files.

#include "CloudFixture.h"
#include "portals/Portal_DropBox.h"
#include "portals/Portal_DropBox_CloudItem.h"
#include "shell/TestFiles.h"

using namespace ICloudPortalApi;

namespace {

const char account[] = "GET /1/account/info/";
const QString redirectUri = "http://localhost:8080/crvn/kelda/oauth/dropbox/redirect";

using Item = std::unique_ptr<ICloudItem>;

Item makeItem(const QString &path)
{
    auto item = std::make_unique<Portal_DropBox_ICloudItem>(nullptr);
    item->SetProperty("rev", "1");
    item->SetProperty("path", KQtUtil::toKString(path));
    return item;
}

bool isFree(quint16 port)
{
    return QTcpServer().listen(QHostAddress::LocalHost, port);
}

} // namespace

class TestDropBox : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        m_fixture = std::make_unique<CloudFixture>();
        m_login = new Portal_DropBox_Login;
        m_portal = std::make_unique<Portal_DropBox>(m_login, new Portal_DropBox_IPortalBrowser);
        m_root.reset(m_portal->CreateFolderHierarchy());
        m_owner = RecordingOwner();
        m_portal->setOwnerCB(&m_owner);
        m_remote = m_fixture->cloud.dropboxDir();
    }

    void cleanup()
    {
        m_root.reset();
        m_portal.reset();
        QVERIFY(isFree(8080));
        m_fixture.reset();
    }

    void allowSignsIn()
    {
        QVERIFY(!m_login->Login(&m_owner));
        const QString page = "https://www.dropbox.com/1/oauth2/authorize?client_id=" APP_KEY "&response_type=code";
        QCOMPARE(m_fixture->opened, QList<QUrl>{page + "&redirect_uri=" + redirectUri});
        QVERIFY(m_fixture->requests().isEmpty() && m_fixture->allow());
        QCOMPARE(m_owner.heard, QList<bool>{true});
        const QString exchange = m_fixture->requests().join('\n');
        const QString end =
            "&grant_type=authorization_code&client_id=" APP_KEY "&client_secret=" APP_SECRET "&redirect_uri=";
        QVERIFY(exchange.startsWith("POST /1/oauth2/token?code=") && exchange.endsWith(end + redirectUri));
        QCOMPARE(m_fixture->cloud.requests().at(0).host, QStringLiteral("api.dropbox.com"));

        const QString token = CloudFixture::storedToken();
        QVERIFY(!token.isEmpty() && m_login->GetSecureSessionID() == "4711");
        QVERIFY(m_login->IsLogin() && m_login->IsLogin());
        QCOMPARE(m_fixture->requests().mid(1), QStringList(account)); // asked once
        QCOMPARE(m_fixture->cloud.requests().at(1).header("Authorization"), "Bearer " + token.toLatin1());
        KString name;
        QVERIFY(m_login->GetUsername(name) && name == "Robin Example");
        const QString shown = m_fixture->everythingShown();
        QVERIFY2(!shown.contains(token) && !shown.contains(APP_SECRET), qPrintable(shown));
        QVERIFY(isFree(8080));
    }

    void waitGoesOnUntilAllowed()
    {
        SimpleHttpServer::setDefaultTimeouts(10000, 50);
        RecordingOwner replaced;
        m_login->Login(&replaced);
        m_login->Login(&m_owner);
        QVERIFY(m_fixture->opened.value(1).query().endsWith(redirectUri));
        QVERIFY(CloudFixture::visit("?error=access_denied").isEmpty());
        QVERIFY(!m_login->IsLogin()); // what a change of tabs asks; signs out, but keeps the owner
        QVERIFY(m_owner.heard.isEmpty() && m_fixture->allow());
        QVERIFY(m_owner.heard == QList<bool>{true} && replaced.heard.isEmpty() && m_login->IsLogin());
    }

    void storedTokenNeedsNoBrowserUnlessStale()
    {
        signIn();
        QVERIFY(m_login->Login(&m_owner) && m_owner.heard == QList<bool>{true});
        QVERIFY(m_fixture->opened.isEmpty() && isFree(8080));
        QVERIFY(m_login->Logout() && !m_login->IsLogin() && CloudFixture::storedToken().isEmpty());
        QVERIFY(!list(m_root.get()) && !download(makeItem("/cup.obj").get()) && !upload(m_root.get(), "x"));
        QCOMPARE(m_fixture->requests(), QStringList(account));

        CloudFixture::storeToken("stale");
        QVERIFY(!m_login->IsLogin() && CloudFixture::storedToken().isEmpty());
        CloudFixture::storeToken("stale again");
        QVERIFY(!m_login->Login(nullptr) && m_fixture->allow() && m_login->IsLogin());
    }

    void logoutEndsWaitAndExchange()
    {
        m_login->Login(&m_owner);
        QVERIFY(m_login->Logout() && !m_fixture->allow());
        m_login->Login(&m_owner);
        connect(&m_fixture->cloud, &LocalCloud::requestServed, m_fixture.get(), [this] { m_login->Logout(); });
        QVERIFY(m_fixture->allow());
        QCOMPARE(m_fixture->requests().size(), 1);
        QVERIFY(m_owner.heard.isEmpty() && CloudFixture::storedToken().isEmpty());
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

    void folderToFile_data()
    {
        QTest::addColumn<QString>("file");
        QTest::newRow("Häuser & Gärten") << "Brücke 猫.obj";
        QTest::newRow("a#b?") << "what?now=1&x#b.fbx";
        QTest::newRow("100%") << "50%25 %2e%2e%+;[1]{2}'q'\"dq\"~!@$^,.fbx";
    }

    void folderToFile()
    {
        const QString folder = QTest::currentDataTag();
        QFETCH(QString, file);
        signIn();
        const QString remote = m_remote + '/' + folder + '/' + file;
        writeFile(remote, "the model");
        for (const QString &place : {m_remote, m_remote + '/' + folder})
            writeFile(place + "/a", "decoy"); // for a path cut at its first special character

        QVERIFY(list(m_root.get()));
        QCOMPARE(m_fixture->requests(), (QStringList{account, "GET /1/metadata/dropbox/?file_limit=10000&list=true"}));
        const RequestRecord listing = m_fixture->cloud.requests().at(1);
        QVERIFY(listing.tls && listing.header("Authorization") == "Bearer " + CloudFixture::storedToken().toLatin1());
        const Item folderItem = take(folder);
        QVERIFY(folderItem && folderItem->IsFolder() && list(folderItem.get()));
        folderItem->FolderClick();
        QCOMPARE(m_owner.clicked, folderItem.get());
        const Item fileItem = take(file);
        QVERIFY(fileItem && fileItem->IsDownloadable() && download(fileItem.get()));
        QCOMPARE(readFile(localDir() + "file"), QByteArray("the model"));
        QCOMPARE(m_fixture->cloud.requests().last().host, QStringLiteral("api-content.dropbox.com"));

        writeFile(localDir() + file, QByteArray("new\0bytes", 9));
        QVERIFY(upload(folderItem.get(), file) && upload(m_root.get(), file));
        const RequestRecord request = m_fixture->cloud.requests().last();
        QCOMPARE(request.host, QStringLiteral("api-content.dropbox.com"));
        QCOMPARE(request.header("Content-Type"), QByteArray("application/octet-stream"));
        QCOMPARE(readFile(remote) + readFile(m_remote + '/' + file), QByteArray("new\0bytesnew\0bytes", 18));
        QCOMPARE(readFile(m_remote + '/' + folder + "/a") + readFile(m_remote + "/a"), QByteArray("decoydecoy"));
    }

    void failuresAreShownOnce_data()
    {
        QTest::addColumn<QString>("text");
        QTest::newRow("status=500") << "Http code: 500";
        QTest::newRow("hang") << "Http code: 408 \n408 Http request timeout";
        QTest::newRow("garbage") << "Http code: 0";
        QTest::newRow("cut=1") << "Http code: 0";
    }

    void failuresAreShownOnce()
    {
        QFETCH(QString, text);
        httpClient::setDefaultTimeouts(100, 100);
        for (const char *path : {"/1/oauth2/token", "/1/metadata/*", "/1/files*"})
            QVERIFY(m_fixture->cloud.addRule("*", path, QTest::currentDataTag()));
        bool signedIn = true;
        m_owner.onDone = [&] { signedIn = m_login->IsLogin(); };
        m_login->Login(&m_owner);
        QVERIFY(m_fixture->allow() && m_owner.heard == QList<bool>{true});
        QVERIFY(!signedIn && CloudFixture::storedToken().isEmpty());

        signIn();
        writeFile(m_remote + "/cup.obj", "a cup");
        writeFile(localDir() + "up.fbx", "an upload");
        QVERIFY(m_login->IsLogin());
        QVERIFY(!list(m_root.get()) && m_fixture->boxes.size() == 1);
        QVERIFY(!download(makeItem("/cup.obj").get()) && m_fixture->boxes.size() == 2);
        QVERIFY(!upload(m_root.get(), "up.fbx") && m_fixture->boxes.size() == 3);
        for (const QString &box : m_fixture->boxes)
            QVERIFY2(box.startsWith(text), qPrintable(box));
        const QString shown = m_fixture->everythingShown();
        QVERIFY2(!shown.contains(CloudFixture::storedToken()) && !shown.contains(APP_SECRET), qPrintable(shown));
    }

    void uploadsThatFailSayWhy_data()
    {
        const QString unreadable = "Http code: 0 \nThe file cannot be read: ";
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("box");
        for (const char *code : {"401", "403", "404", "411", "507"})
            QTest::newRow(QByteArray("status=") + code) << "up.fbx" << QString("Http code: %1 \nSorry").arg(code);
        QTest::newRow("missing") << "gone.fbx" << unreadable;
        QTest::newRow("a folder") << "." << unreadable;
        QTest::newRow("not confirmed") << "up.fbx" << QString();
    }

    void uploadsThatFailSayWhy()
    {
        const QString rule = QTest::currentDataTag();
        QFETCH(QString, name);
        QFETCH(QString, box);
        signIn();
        QVERIFY(m_login->IsLogin());
        writeFile(localDir() + "up.fbx", "an upload");
        writeFile(localDir() + "zero", R"({"bytes":0})");
        writeFile(m_remote + "/up.fbx", "before");
        m_fixture->cloud.addRule("*", "/1/files_put/*", box.isEmpty() ? "body=" + localDir() + "zero" : rule);
        const auto requests = m_fixture->requests().size();
        QVERIFY(!upload(m_root.get(), name));
        if (box.isEmpty()) {
            QCOMPARE(m_fixture->host.errors(), QStringList("The service did not confirm that the file was stored."));
        } else {
            QVERIFY2(m_fixture->boxes.size() == 1 && m_fixture->boxes.first().startsWith(box),
                     qPrintable(m_fixture->boxes.join('|')));
            QCOMPARE(m_fixture->requests().size() - requests, box.contains("read") ? 0 : 1);
            QCOMPARE(m_fixture->host.errors(), QStringList(m_fixture->boxes.first().section('\n', 1)));
        }
        QCOMPARE(readFile(localDir() + "up.fbx") + readFile(m_remote + "/up.fbx"), QByteArray("an uploadbefore"));
    }

    void itemMayGoDuringTheCall()
    {
        Item item;
        connect(&m_fixture->cloud, &LocalCloud::requestServed, m_fixture.get(), [&] { item.reset(); });
        writeFile(m_remote + "/Work/cup.obj", "a cup");
        signIn();
        item = makeItem("/Work/cup.obj");
        QVERIFY(download(item.get()) && !item);
        item = makeItem("/Work");
        QVERIFY(upload(item.get(), "file") && !item);
        QCOMPARE(readFile(m_remote + "/Work/file"), QByteArray("a cup"));
    }

private:
    void signIn() { CloudFixture::storeToken(m_fixture->cloud.issueDropboxToken()); }
    /// The children of \p folder come into m_items.
    bool list(ICloudItem *folder)
    {
        HeaderMap criteria;
        m_portal->FillSearchCriteria(folder, criteria);
        ItemVector items;
        const bool listed = m_portal->GetBrowser()->GetChildCloudItems(m_login, criteria, items);
        m_items = std::vector<Item>(items.begin(), items.end());
        return listed;
    }
    Item take(const QString &name)
    {
        for (Item &item : m_items)
            if (KQtUtil::toQString(item->GetDisplayName()) == name)
                return std::move(item);
        return nullptr;
    }
    bool download(ICloudItem *item)
    {
        return m_portal->GetBrowser()->DownloadCloudItem(m_login, item, KQtUtil::toKString(localDir()), "file");
    }
    bool upload(ICloudItem *folder, const QString &name)
    {
        return m_portal->GetBrowser()->UploadFile(m_login, folder, nullptr, KQtUtil::toKString(localDir()),
                                                  KQtUtil::toKString(name));
    }
    QString localDir() const { return m_remote + "/../local/"; }

    std::unique_ptr<CloudFixture> m_fixture;
    std::unique_ptr<Portal_DropBox> m_portal;
    Portal_DropBox_Login *m_login = nullptr; // the portal's
    Item m_root;
    std::vector<Item> m_items;
    RecordingOwner m_owner;
    QString m_remote;
};

QTEST_MAIN(TestDropBox)
#include "tst_dropbox.moc"
