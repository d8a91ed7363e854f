// portals/tst_dropbox_pure.cpp
//
// Paths that requests are made of, what replies are read as, and what an item answers: all without a network.

#include "portals/Portal_DropBox.h"
#include "portals/Portal_DropBox_CloudItem.h"
#include "portals/Portal_DropBox_Replies.h"
#include "portals/Portal_DropBox_Requests.h"

#include <QtTest>

#include <memory>

using namespace ICloudPortalApi;

namespace {

/// The items of a listing reply as texts "name: value, name: value", which also deletes them.
QStringList listed(const QByteArray &body)
{
    ItemVector items;
    DropBoxReplies::listing(body, nullptr, items);
    QStringList texts;
    for (ICloudItem *item : items) {
        texts << KQtUtil::toQString(item->GetTooltip()).replace('\n', ", ");
        delete item;
    }
    return texts;
}

std::unique_ptr<Portal_DropBox> makePortal()
{
    return std::make_unique<Portal_DropBox>(new Portal_DropBox_Login, new Portal_DropBox_IPortalBrowser);
}

class Owner : public IPortalOwnerCB
{
public:
    void LoginDoneCB(bool) override {}
    void CloudItemClickCB(ICloudItem *item) override { clicked.push_back(item); }
    void CloudFolderArrowClickCB(ICloudItem *item) override { arrows.push_back(item); }
    QWidget *GetParentLoginWidget() override { return nullptr; }

    ItemVector clicked;
    ItemVector arrows;
};

} // namespace

class TestDropBoxPure : public QObject
{
    Q_OBJECT

private slots:
    void paths_data();
    void paths();
    void credentialsAreThoseOfTheBuild();
    void listingEntries_data();
    void listingEntries();
    void tokenReplies_data();
    void tokenReplies();
    void userName_data();
    void userName();
    void uploadNeedsAByte_data();
    void uploadNeedsAByte();
    void itemNames_data();
    void itemNames();
    void rootAndCriteria();
    void everyItemReportsClicks();
};

void TestDropBoxPure::paths_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("expected");
    using namespace DropBoxRequests;
    QTest::newRow("listing of the root") << listing(L"") << "/1/metadata/dropbox/?file_limit=10000&list=true";
    QTest::newRow("listing") << listing(L"/My models/Häuser")
                             << "/1/metadata/dropbox//My models/Häuser?file_limit=10000&list=true";
    QTest::newRow("listing, escaped") << listing(L"/50% #1?")
                                      << "/1/metadata/dropbox//50%25 %231%3F?file_limit=10000&list=true";
    QTest::newRow("only three are escaped")
        << download("dropbox", "/a+b&c=d;e@f:g,h!'()*~$[]") << "/1/files/dropbox/a+b&c=d;e@f:g,h!'()*~$[]";
    QTest::newRow("escapes are escaped") << download("dropbox", "/%2e%2e/a%23") << "/1/files/dropbox/%252e%252e/a%2523";
    QTest::newRow("root is escaped") << download("drop?box#", "/a") << "/1/files/drop%3Fbox%23/a";
    QTest::newRow("upload") << upload("dropbox", "/Work", "model.fbx")
                            << "/1/files_put/dropbox/Work/model.fbx?overwrite=true";
    QTest::newRow("upload into the root")
        << upload("dropbox", "", "a#b.fbx") << "/1/files_put/dropbox/a%23b.fbx?overwrite=true";
    QTest::newRow("token") << token("c%2Fd", "key", "secret", "http://localhost:8080/r")
                           << "/1/oauth2/token?code=c%2Fd&grant_type=authorization_code&client_id=key&client_secret="
                              "secret&redirect_uri=http://localhost:8080/r";
}

void TestDropBoxPure::paths()
{
    QFETCH(QString, path);
    QTEST(path, "expected");
}

void TestDropBoxPure::credentialsAreThoseOfTheBuild()
{
    KString key("left over");
    KString secret("left over");
    getCacheChecksum(key, secret);
    QCOMPARE(key.utf8(), APP_KEY);
    QCOMPARE(secret.utf8(), APP_SECRET);

    QFile library(PLUGIN_LIBRARY);
    QVERIFY2(library.open(QIODevice::ReadOnly), PLUGIN_LIBRARY);
    const QByteArray bytes = library.readAll();
    QVERIFY(bytes.contains("TavrinSettings_DropBoxAppBrowser_Kelda"));
    QVERIFY(!bytes.contains(APP_KEY));
    QVERIFY(!bytes.contains(APP_SECRET));
}

void TestDropBoxPure::listingEntries_data()
{
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<QStringList>("items");
    const auto one = [](const QByteArray &entry) { return "{\"contents\":[" + entry + "]}"; };
    QTest::newRow("file") << one(R"({"rev":"3","path":"/a.obj","modified":"Sat","bytes":2048,"root":"dropbox",
                                    "mime_type":"text/plain","is_dir":false,"size":"2 KB"})")
                          << QStringList("bytes: 2048, mime_type: text/plain, modified: Sat, path: /a.obj, "
                                         "rev: 3, root: dropbox");
    QTest::newRow("folder and file")
        << one(R"({"rev":"1","path":"/d","is_dir":true},{"rev":"2","path":"/f","is_dir":false})")
        << QStringList{"is_dir: true, path: /d, rev: 1", "path: /f, rev: 2"};
    QTest::newRow("without a revision") << one(R"({"path":"/a"},{"rev":7,"path":"/b"},{"rev":null},{"rev":"k"})")
                                        << QStringList("rev: k");
    QTest::newRow("parent segments")
        << one(R"({"rev":"1","path":"/a/../b"},{"rev":"2","path":".."},{"rev":"3","path":"/a/.."},
                  {"rev":"4","path":"/a../..b/.../c"})")
        << QStringList("path: /a../..b/.../c, rev: 4");
    QTest::newRow("other types") << one(R"({"rev":"1","path":["/a"],"bytes":"9","root":1,"mime_type":{},
                                           "modified":false,"is_dir":"true"})")
                                 << QStringList("rev: 1");
    QTest::newRow("is_dir is no number") << one(R"({"rev":"1","is_dir":1})") << QStringList("rev: 1");
    QTest::newRow("bytes beyond 32 bits") << one(R"({"rev":"1","bytes":1e300},{"rev":"2","bytes":-5e9})")
                                          << QStringList{"bytes: 2147483647, rev: 1", "bytes: -2147483648, rev: 2"};
    QTest::newRow("elements that are no entries")
        << one(R"("rev",1,null,true,[],{"rev":"1"})") << QStringList("rev: 1");
    QTest::newRow("contents is an object")
        << QByteArray(R"({"contents":{"0":{"rev":"1"},"length":1}})") << QStringList();
    QTest::newRow("no contents") << QByteArray("{}") << QStringList();
    QTest::newRow("array on top") << QByteArray(R"([{"rev":"1"}])") << QStringList();
    QTest::newRow("empty") << QByteArray() << QStringList();
    QTest::newRow("page instead of a reply") << QByteArray("<html>contents</html>") << QStringList();
    QTest::newRow("program") << QByteArray(R"({"contents":[(function(){return {"rev":"1"}})()]})") << QStringList();
    QTest::newRow("cut off") << QByteArray(R"({"contents":[{"rev":"1"},)") << QStringList();
    QTest::newRow("zero byte") << QByteArray("{\"contents\":[{\"rev\":\"1\"}]}\0garbage", 34) << QStringList("rev: 1");
}

void TestDropBoxPure::listingEntries()
{
    QFETCH(QByteArray, body);
    QTEST(listed(body), "items");
}

void TestDropBoxPure::tokenReplies_data()
{
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<QByteArrayList>("token");
    const QByteArrayList none{"", "", ""};
    QTest::newRow("complete") << QByteArray(R"({"access_token":"t","token_type":"bearer","uid":"42"})")
                              << QByteArrayList{"t", "bearer", "42"};
    QTest::newRow("uid is a number") << QByteArray(R"({"access_token":"t","uid":42})") << QByteArrayList{"t", "", ""};
    QTest::newRow("token is no text") << QByteArray(R"({"access_token":{"a":1},"uid":"4"})")
                                      << QByteArrayList{"", "", "4"};
    QTest::newRow("error") << QByteArray(R"({"error":"invalid_grant","access_token":"t","uid":"4"})") << none;
    QTest::newRow("array") << QByteArray(R"(["access_token"])") << none;
    QTest::newRow("nothing") << QByteArray() << none;
}

void TestDropBoxPure::tokenReplies()
{
    QFETCH(QByteArray, body);
    const DropBoxReplies::Token token = DropBoxReplies::token(body);
    const QByteArrayList read{token.accessToken.utf8(), token.tokenType.utf8(), token.userId.utf8()};
    QTEST(read, "token");
}

void TestDropBoxPure::userName_data()
{
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<bool>("known");
    QTest::addColumn<QString>("name");
    QTest::newRow("name") << QByteArray("{\"display_name\":\"Zo\xc3\xab <b>\"}") << true
                          << QString::fromUtf8("Zoë <b>");
    QTest::newRow("empty name") << QByteArray(R"({"display_name":""})") << true << "";
    QTest::newRow("number") << QByteArray(R"({"display_name":5})") << false << "before";
    QTest::newRow("error") << QByteArray(R"({"error":"no token"})") << false << "before";
    QTest::newRow("inherited, not told") << QByteArray("{}") << false << "before";
}

void TestDropBoxPure::userName()
{
    QFETCH(QByteArray, body);
    KString name("before");
    QTEST(DropBoxReplies::displayName(body, name), "known");
    QTEST(KQtUtil::toQString(name), "name");
}

void TestDropBoxPure::uploadNeedsAByte_data()
{
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<bool>("stored");
    QTest::newRow("one") << QByteArray(R"({"bytes":1})") << true;
    QTest::newRow("none") << QByteArray(R"({"bytes":0})") << false;
    QTest::newRow("half a byte") << QByteArray(R"({"bytes":0.5})") << false;
    QTest::newRow("negative") << QByteArray(R"({"bytes":-7})") << false;
    QTest::newRow("text") << QByteArray(R"({"bytes":"12"})") << false;
    QTest::newRow("missing") << QByteArray(R"({"error":"full"})") << false;
    QTest::newRow("no reply") << QByteArray() << false;
}

void TestDropBoxPure::uploadNeedsAByte()
{
    QFETCH(QByteArray, body);
    QTEST(DropBoxReplies::isStored(body), "stored");
}

void TestDropBoxPure::itemNames_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("importFolder");
    QTest::newRow("in the root") << "/cup.obj"
                                 << "cup.obj"
                                 << "";
    QTest::newRow("below") << "/Work/My models/cup.obj"
                           << "cup.obj"
                           << "/Work/My models";
    QTest::newRow("no leading separator") << "Work/cup.obj"
                                          << "cup.obj"
                                          << "/Work";
    QTest::newRow("unsafe components") << "/./C:/a\\..\\b/cup.obj"
                                       << "cup.obj"
                                       << "/_/_/_";
    QTest::newRow("doubled separators") << "//a//b//cup.obj"
                                        << "cup.obj"
                                        << "/a/b";
    QTest::newRow("separator at the end") << "/a/"
                                          << ""
                                          << "/a";
    QTest::newRow("no separator") << "cup.obj"
                                  << "cup.obj"
                                  << "";
}

void TestDropBoxPure::itemNames()
{
    QFETCH(QString, path);
    Portal_DropBox_ICloudItem item(nullptr);
    item.SetProperty("rev", "1");
    item.SetProperty("path", KQtUtil::toKString(path));
    QTEST(KQtUtil::toQString(item.GetDisplayName()), "name");
    QTEST(KQtUtil::toQString(item.GetImportFilename()), "name");
    QTEST(KQtUtil::toQString(item.GetImportPathFolder()), "importFolder");
    QCOMPARE(KQtUtil::toQString(item.GetPath()), path);
    QVERIFY(item.IsDownloadable());
    item.FolderClick();
    item.FolderArrowClick();
}

void TestDropBoxPure::rootAndCriteria()
{
    const auto portal = makePortal();
    const std::unique_ptr<ICloudItem> root(portal->CreateFolderHierarchy());
    QCOMPARE(root->GetDisplayName().utf8(), "Dropbox");
    QVERIFY(root->IsFolder() && !root->IsDownloadable());
    QCOMPARE(static_cast<Portal_DropBox_ICloudItem &>(*root).GetPath().utf8(), "");
    QCOMPARE(root->GetImportPathFolder().utf8(), "");

    HeaderMap criteria;
    portal->FillSearchCriteria(nullptr, criteria);
    QVERIFY(criteria.empty());
    portal->FillSearchCriteria(root.get(), criteria);
    QCOMPARE(criteria, (HeaderMap{{L"Home", L"true"}, {L"Root", L"dropbox"}}));

    Portal_DropBox_ICloudItem folder(nullptr);
    folder.SetProperty("rev", "9");
    folder.SetProperty("path", "/Work");
    criteria.clear();
    portal->FillSearchCriteria(&folder, criteria);
    QCOMPARE(criteria, (HeaderMap{{L"SpecificFolder", L"/Work"}, {L"Root", L"dropbox"}}));

    std::vector<KString> formats{"obj"};
    QVERIFY(portal->SupportExport(formats));
    QCOMPARE(formats, (std::vector<KString>{"obj", "fbx"}));
}

void TestDropBoxPure::everyItemReportsClicks()
{
    const auto portal = makePortal();
    Owner owner;
    portal->setOwnerCB(&owner);
    const std::unique_ptr<ICloudItem> root(portal->CreateFolderHierarchy());
    ItemVector items;
    DropBoxReplies::listing(R"({"contents":[{"rev":"1"}]})", &owner, items);
    const std::unique_ptr<ICloudItem> item(items.at(0));
    QVERIFY(QMetaObject::invokeMethod(root.get(), "FolderClick"));
    QVERIFY(QMetaObject::invokeMethod(item.get(), "FolderArrowClick"));
    QCOMPARE(owner.clicked, ItemVector{root.get()});
    QCOMPARE(owner.arrows, ItemVector{item.get()});
}

QTEST_MAIN(TestDropBoxPure)
#include "tst_dropbox_pure.moc"
