// portals/tst_dropbox_browse.cpp
//
// Listing, download and upload against the local cloud's folder of real files.

#include "CloudFixture.h"
#include "http/httpClient.h"
#include "portals/Portal_DropBox.h"
#include "portals/Portal_DropBox_CloudItem.h"

#include <QtTest>

#include <algorithm>
#include <memory>

using namespace ICloudPortalApi;

namespace {

const char listingOfRoot[] = "GET /1/metadata/dropbox/?file_limit=10000&list=true";

class Owner : public IPortalOwnerCB
{
public:
    void LoginDoneCB(bool) override {}
    void CloudItemClickCB(ICloudItem *item) override { clicked = item; }
    void CloudFolderArrowClickCB(ICloudItem *) override {}
    QWidget *GetParentLoginWidget() override { return nullptr; }

    ICloudItem *clicked = nullptr;
};

std::unique_ptr<Portal_DropBox_ICloudItem> makeItem(const QString &path, bool isFolder)
{
    auto item = std::make_unique<Portal_DropBox_ICloudItem>(nullptr);
    item->SetProperty("rev", "1");
    item->SetProperty("path", KQtUtil::toKString(path));
    item->SetProperty("root", "dropbox");
    if (isFolder)
        item->SetProperty("is_dir", "true");
    return item;
}

QByteArray contentOf(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("(no such file)");
}

} // namespace

class TestDropBoxBrowse : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        m_fixture = std::make_unique<CloudFixture>();
        m_local = std::make_unique<QTemporaryDir>();
        m_portal = std::make_unique<Portal_DropBox>(new Portal_DropBox_Login, new Portal_DropBox_IPortalBrowser);
        m_root.reset(m_portal->CreateFolderHierarchy());
        CloudFixture::storeToken(m_fixture->cloud.issueDropboxToken());
    }

    void cleanup()
    {
        qDeleteAll(m_items);
        m_items.clear();
        m_root.reset();
        m_portal.reset();
        m_fixture.reset();
    }

    void folderToFile_data()
    {
        QTest::addColumn<QString>("folder");
        QTest::addColumn<QString>("file");
        QTest::newRow("plain") << "Work"
                               << "cup.obj";
        QTest::newRow("blanks and letters")
            << QString::fromUtf8("Häuser & Gärten") << QString::fromUtf8("Brücke 猫.obj");
        QTest::newRow("hash") << "a#b"
                              << "a#b.fbx";
        QTest::newRow("question mark") << "what?"
                                       << "what?now=1&x.fbx";
        QTest::newRow("percent") << "100%"
                                 << "50%25 %2e%2e%.fbx";
        QTest::newRow("others") << "a+b;c"
                                << "x=[1] {2} 'q' \"dq\" ~!@$^,.fbx";
    }

    void folderToFile()
    {
        QFETCH(QString, folder);
        QFETCH(QString, file);
        const QByteArray content = "the bytes of " + file.toUtf8();
        m_fixture->putFile('/' + folder + '/' + file, content);
        m_fixture->putFile("/a", "what an address cut at the first special character would name");

        QStringList inRoot{folder, "a"};
        inRoot.sort();
        QCOMPARE(namesIn(m_root.get()), inRoot);
        QCOMPARE(m_fixture->requests(), (QStringList{"GET /1/account/info/", listingOfRoot}));
        QVERIFY(m_fixture->cloud.requests().at(1).tls);
        QCOMPARE(m_fixture->cloud.requests().at(1).header("Authorization"),
                 "Bearer " + CloudFixture::storedToken().toLatin1());

        ICloudItem *folderItem = itemNamed(folder);
        QVERIFY(folderItem->IsFolder());
        QCOMPARE(namesIn(folderItem), QStringList(file));
        ICloudItem *fileItem = itemNamed(file);
        QVERIFY(fileItem->IsDownloadable());
        KString bytes;
        QVERIFY(fileItem->GetProperty("bytes", bytes));
        QCOMPARE(QByteArray(bytes.utf8()), QByteArray::number(content.size()));
        QCOMPARE(KQtUtil::toQString(fileItem->GetImportPathFolder()), '/' + folder);

        QVERIFY(download(fileItem));
        QCOMPARE(contentOf(localDir() + "file"), content);
        QCOMPARE(m_fixture->cloud.requests().last().host, QStringLiteral("api-content.dropbox.com"));
        QVERIFY(m_fixture->boxes().isEmpty());
    }

    void itemsReachTheOwner()
    {
        m_fixture->putFile("/Work/cup.obj", "cup");
        Owner owner;
        m_portal->setOwnerCB(&owner);
        QCOMPARE(namesIn(m_root.get()), QStringList("Work"));
        itemNamed("Work")->FolderClick();
        QCOMPARE(owner.clicked, itemNamed("Work"));
    }

    void failuresAreShownOnce_data()
    {
        QTest::addColumn<QString>("action");
        QTest::addColumn<QString>("text");
        QTest::newRow("refused") << "status=403"
                                 << "Http code: 403";
        QTest::newRow("service broken") << "status=503"
                                        << "Http code: 503";
        QTest::newRow("no answer") << "hang"
                                   << "Http code: 408 \n408 Http request timeout";
        QTest::newRow("no HTTP") << "garbage"
                                 << "Http code: 0";
        QTest::newRow("cut off") << "cut=1"
                                 << "Http code: 0";
    }

    void failuresAreShownOnce()
    {
        QFETCH(QString, action);
        QFETCH(QString, text);
        m_fixture->putFile("/cup.obj", "a cup");
        const auto item = makeItem("/cup.obj", false);
        QVERIFY(m_portal->GetLogin()->IsLogin());
        httpClient::setDefaultTimeouts(100, 100);
        QVERIFY(m_fixture->cloud.addRule("*", "/1/metadata/*", action));
        QVERIFY(m_fixture->cloud.addRule("*", "/1/files*", action));

        ItemVector items;
        QVERIFY(!list(m_root.get(), items));
        QVERIFY(items.empty());
        QCOMPARE(m_fixture->boxes().size(), 1);
        QVERIFY(!download(item.get()));
        QCOMPARE(m_fixture->boxes().size(), 2);
        m_fixture->putFile("/../upload.fbx", "an upload");
        const KString folder = KQtUtil::toKString(m_fixture->cloud.dropboxDir() + "/../");
        QVERIFY(!m_portal->GetBrowser()->UploadFile(m_portal->GetLogin(), m_root.get(), nullptr, folder, "upload.fbx"));
        QCOMPARE(m_fixture->boxes().size(), 3);
        for (const QString &box : m_fixture->boxes())
            QVERIFY2(box.startsWith(text), qPrintable(box));
        QVERIFY(!m_fixture->everythingShown().contains(CloudFixture::storedToken()));
    }

    void nobodySignedInAsksNothing()
    {
        CloudFixture::storeToken(QString());
        const auto item = makeItem("/cup.obj", false);
        ItemVector items;
        QVERIFY(!list(m_root.get(), items));
        QVERIFY(!download(item.get()));
        QVERIFY(!m_portal->GetBrowser()->UploadFile(m_portal->GetLogin(), m_root.get(), nullptr, "/tmp/", "x"));
        QVERIFY(m_fixture->requests().isEmpty());
        QVERIFY(m_fixture->boxes().isEmpty());
    }

    void redirectedDownloadCarriesNoToken()
    {
        m_fixture->putFile("/cup.obj", "a cup");
        QVERIFY(m_fixture->cloud.addRule("api-content.dropbox.com", "/1/files/*", "signed-redirect"));
        const auto item = makeItem("/cup.obj", false);
        QVERIFY(download(item.get()));
        QCOMPARE(contentOf(localDir() + "file"), QByteArray("a cup"));
        QCOMPARE(m_fixture->cloud.requests().size(), 3);
        QVERIFY(m_fixture->cloud.requests().last().header("Authorization").isEmpty());
    }

    void itemMayGoDuringTheCall()
    {
        m_fixture->putFile("/Work/cup.obj", "a cup");
        auto item = makeItem("/Work/cup.obj", false);
        auto folder = makeItem("/Work", true);
        connect(&m_fixture->cloud, &LocalCloud::requestServed, m_fixture.get(), [&] {
            item.reset();
            folder.reset();
        });
        QVERIFY(download(item.get()));
        QVERIFY(!item);
        QCOMPARE(contentOf(localDir() + "file"), QByteArray("a cup"));

        folder = makeItem("/Work", true);
        m_portal->GetLogin()->Logout();
        CloudFixture::storeToken(m_fixture->cloud.issueDropboxToken());
        const KString local = KQtUtil::toKString(localDir());
        QVERIFY(m_portal->GetBrowser()->UploadFile(m_portal->GetLogin(), folder.get(), nullptr, local, "file"));
        QCOMPARE(m_fixture->fileContent("/Work/file"), QByteArray("a cup"));
    }

    void uploadReplacesTheFile_data()
    {
        QTest::addColumn<QString>("folder");
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("target");
        QTest::newRow("plain") << "/Work"
                               << "model.fbx"
                               << "/1/files_put/dropbox/Work/model.fbx?overwrite=true";
        QTest::newRow("root") << ""
                              << "model.fbx"
                              << "/1/files_put/dropbox/model.fbx?overwrite=true";
        QTest::newRow("special") << "/c# 100%"
                                 << "a#b?c%41.fbx"
                                 << "/1/files_put/dropbox/c%23%20100%25/a%23b%3Fc%2541.fbx?overwrite=true";
    }

    void uploadReplacesTheFile()
    {
        QFETCH(QString, folder);
        QFETCH(QString, name);
        m_fixture->putFile(folder + '/' + name, "old");
        m_fixture->putFile(folder + "/a", "untouched");
        QDir().mkpath(localDir());
        QFile local(localDir() + name);
        QVERIFY(local.open(QIODevice::WriteOnly));
        local.write("new\0bytes", 9);
        local.close();

        const auto folderItem = folder.isEmpty() ? nullptr : makeItem(folder, true);
        ICloudItem *target = folderItem ? folderItem.get() : m_root.get();
        QVERIFY(m_portal->GetBrowser()->UploadFile(m_portal->GetLogin(), target, nullptr,
                                                   KQtUtil::toKString(localDir()), KQtUtil::toKString(name)));
        QCOMPARE(m_fixture->fileContent(folder + '/' + name), QByteArray("new\0bytes", 9));
        QCOMPARE(m_fixture->fileContent(folder + "/a"), QByteArray("untouched"));
        const RequestRecord request = m_fixture->cloud.requests().last();
        QTEST(QString::fromLatin1(request.target), "target");
        QCOMPARE(request.host, QStringLiteral("api-content.dropbox.com"));
        QCOMPARE(request.header("Content-Type"), QByteArray("application/octet-stream"));
        QCOMPARE(request.bodyBytes, qint64(9));
    }

    void uploadsThatDoNotCount()
    {
        m_fixture->putFile("/../empty.fbx", "");
        const KString folder = KQtUtil::toKString(m_fixture->cloud.dropboxDir() + "/../");
        IPortalBrowser *browser = m_portal->GetBrowser();
        QVERIFY(!browser->UploadFile(m_portal->GetLogin(), m_root.get(), nullptr, folder, "empty.fbx"));
        QVERIFY(m_fixture->boxes().isEmpty());
        const int asked = m_fixture->requests().size();

        QVERIFY(!browser->UploadFile(m_portal->GetLogin(), m_root.get(), nullptr, folder, "no such file.fbx"));
        QCOMPARE(m_fixture->boxes(), QStringList("Http code: 0"));
        QCOMPARE(m_fixture->requests().size(), asked);
    }

private:
    bool list(ICloudItem *folder, ItemVector &items)
    {
        HeaderMap criteria;
        m_portal->FillSearchCriteria(folder, criteria);
        return m_portal->GetBrowser()->GetChildCloudItems(m_portal->GetLogin(), criteria, items);
    }
    /// The items stay in m_items.
    QStringList namesIn(ICloudItem *folder)
    {
        ItemVector items;
        if (!list(folder, items))
            return {"(failed)"};
        QStringList names;
        for (ICloudItem *item : items) {
            names << KQtUtil::toQString(item->GetDisplayName());
            m_items.push_back(item);
        }
        names.sort();
        return names;
    }
    ICloudItem *itemNamed(const QString &name)
    {
        const auto found = std::find_if(m_items.begin(), m_items.end(), [&](ICloudItem *item) {
            return KQtUtil::toQString(item->GetDisplayName()) == name;
        });
        return found == m_items.end() ? nullptr : *found;
    }
    bool download(ICloudItem *item)
    {
        return m_portal->GetBrowser()->DownloadCloudItem(m_portal->GetLogin(), item, KQtUtil::toKString(localDir()),
                                                         "file");
    }
    QString localDir() const { return m_local->path() + "/sub/"; }

    std::unique_ptr<CloudFixture> m_fixture;
    std::unique_ptr<QTemporaryDir> m_local;
    std::unique_ptr<Portal_DropBox> m_portal;
    std::unique_ptr<ICloudItem> m_root;
    ItemVector m_items;
};

QTEST_MAIN(TestDropBoxBrowse)
#include "tst_dropbox_browse.moc"
