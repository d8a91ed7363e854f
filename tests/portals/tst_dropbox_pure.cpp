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

} // namespace

class TestDropBoxPure : public QObject
{
    Q_OBJECT

private slots:
    void paths()
    {
        using namespace DropBoxRequests;
        const QString limits = "?file_limit=10000&list=true";
        QCOMPARE(listing(L""), "/1/metadata/dropbox/" + limits);
        QCOMPARE(listing(L"/My models/Häuser"), "/1/metadata/dropbox//My models/Häuser" + limits);
        QCOMPARE(listing(L"/50% #1?"), "/1/metadata/dropbox//50%25 %231%3F" + limits);
        QCOMPARE(download("dropbox", "/a+b&c=d;e@f:g,h!'()*~$[]"),
                 QString("/1/files/dropbox/a+b&c=d;e@f:g,h!'()*~$[]"));
        QCOMPARE(download("dropbox", "/%2e%2e/a%23"), QString("/1/files/dropbox/%252e%252e/a%2523"));
        QCOMPARE(download("drop?box#", "/a"), QString("/1/files/drop%3Fbox%23/a"));
        QCOMPARE(upload("dropbox", "/Work", "model.fbx"),
                 QString("/1/files_put/dropbox/Work/model.fbx?overwrite=true"));
        QCOMPARE(upload("dropbox", "", "a#b.fbx"), QString("/1/files_put/dropbox/a%23b.fbx?overwrite=true"));
        QCOMPARE(token("c%2Fd", "key", "secret", "http://localhost:8080/r"),
                 QString("/1/oauth2/token?code=c%2Fd&grant_type=authorization_code&client_id=key&client_secret=secret"
                         "&redirect_uri=http://localhost:8080/r"));
    }

    void credentialsAreThoseOfTheBuild()
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

    void listingEntries_data()
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
        QTest::newRow("without a revision")
            << one(R"({"path":"/a"},{"rev":7,"path":"/b"},{"rev":null},{"rev":"k"})") << QStringList("rev: k");
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
        QTest::newRow("zero byte") << QByteArray("{\"contents\":[{\"rev\":\"1\"}]}\0garbage", 34)
                                   << QStringList("rev: 1");
    }

    void listingEntries()
    {
        QFETCH(QByteArray, body);
        QTEST(listed(body), "items");
    }

    void tokenReplies_data()
    {
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<QByteArrayList>("token");
        const QByteArrayList none{"", "", ""};
        QTest::newRow("complete") << QByteArray(R"({"access_token":"t","token_type":"bearer","uid":"42"})")
                                  << QByteArrayList{"t", "bearer", "42"};
        QTest::newRow("uid is a number") << QByteArray(R"({"access_token":"t","uid":42})")
                                         << QByteArrayList{"t", "", ""};
        QTest::newRow("token is no text")
            << QByteArray(R"({"access_token":{"a":1},"uid":"4"})") << QByteArrayList{"", "", "4"};
        QTest::newRow("error") << QByteArray(R"({"error":"invalid_grant","access_token":"t","uid":"4"})") << none;
        QTest::newRow("array") << QByteArray(R"(["access_token"])") << none;
        QTest::newRow("nothing") << QByteArray() << none;
    }

    void tokenReplies()
    {
        QFETCH(QByteArray, body);
        const DropBoxReplies::Token token = DropBoxReplies::token(body);
        const QByteArrayList read{token.accessToken.utf8(), token.tokenType.utf8(), token.userId.utf8()};
        QTEST(read, "token");
    }

    void userNameAndUploadReplies()
    {
        KString name("before");
        for (const char *body : {R"({"display_name":5})", R"({"error":"no token"})", "{}", "", "[]"})
            QVERIFY2(!DropBoxReplies::displayName(body, name) && name == "before", body);
        QVERIFY(DropBoxReplies::displayName("{\"display_name\":\"Zo\xc3\xab <b>\"}", name));
        QCOMPARE(KQtUtil::toQString(name), QString::fromUtf8("Zo\xc3\xab <b>"));

        QVERIFY(DropBoxReplies::isStored(R"({"bytes":1})"));
        for (const char *body :
             {R"({"bytes":0})", R"({"bytes":0.5})", R"({"bytes":-7})", R"({"bytes":"12"})", "{}", ""})
            QVERIFY2(!DropBoxReplies::isStored(body), body);
    }

    void itemNames()
    {
        const struct
        {
            QString path, name, importFolder;
        } items[] = {
            {"/cup.obj", "cup.obj", ""},
            {"/Work/My models/cup.obj", "cup.obj", "/Work/My models"},
            {"Work/cup.obj", "cup.obj", "/Work"},
            {"/./C:/a\\..\\b/cup.obj", "cup.obj", "/_/_/_"},
            {"//a//b//cup.obj", "cup.obj", "/a/b"},
            {"/a/", "", "/a"},
            {"cup.obj", "cup.obj", ""},
        };
        for (const auto &[path, name, importFolder] : items) {
            Portal_DropBox_ICloudItem item(nullptr);
            item.SetProperty("path", KQtUtil::toKString(path));
            QCOMPARE(KQtUtil::toQString(item.GetDisplayName()), name);
            QCOMPARE(KQtUtil::toQString(item.GetImportFilename()), name);
            QCOMPARE(KQtUtil::toQString(item.GetImportPathFolder()), importFolder);
            QCOMPARE(KQtUtil::toQString(item.GetPath()), path);
            item.FolderClick(); // unheard
        }
    }

    void rootAndCriteria()
    {
        const auto portal =
            std::make_unique<Portal_DropBox>(new Portal_DropBox_Login, new Portal_DropBox_IPortalBrowser);
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
};

QTEST_MAIN(TestDropBoxPure)
#include "tst_dropbox_pure.moc"
