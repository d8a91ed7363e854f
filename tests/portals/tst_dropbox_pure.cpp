// portals/tst_dropbox_pure.cpp
//
// Paths that requests are made of, what replies are read as, and what an item answers: all without a network.

#include "portals/Portal_DropBox_CloudItem.h"
#include "portals/Portal_DropBox_Login.h"
#include "portals/Portal_DropBox_Replies.h"
#include "portals/Portal_DropBox_Requests.h"

#include <QtTest>

namespace {

/// The items of a listing reply as texts "name: value, name: value; name: value".
QString listed(const QByteArray &body)
{
    ICloudPortalApi::ItemVector items;
    DropBoxReplies::listing(body, nullptr, items);
    QStringList texts;
    for (ICloudPortalApi::ICloudItem *item : items)
        texts << KQtUtil::toQString(item->GetTooltip()).replace('\n', ", ");
    qDeleteAll(items);
    return texts.join("; ");
}

QString tokenIn(const QByteArray &body)
{
    const DropBoxReplies::Token token = DropBoxReplies::token(body);
    return KQtUtil::toQString(token.accessToken + "/" + token.tokenType + "/" + token.userId);
}

} // namespace

class TestDropBoxPure : public QObject
{
    Q_OBJECT

private slots:
    void paths()
    {
        using namespace DropBoxRequests;
        QCOMPARE(listing(L"/50% #1?/Häuser"), "/1/metadata/dropbox//50%25 %231%3F/Häuser?file_limit=10000&list=true");
        QCOMPARE(download("d?b#", "/a+b&c=d;e@f:'()*~$[]"), QString("/1/files/d%3Fb%23/a+b&c=d;e@f:'()*~$[]"));
        QCOMPARE(download("dropbox", "/%2e%2e/a%23"), QString("/1/files/dropbox/%252e%252e/a%2523"));
        QCOMPARE(upload("dropbox", "/W#", "a#b?c%"), QString("/1/files_put/dropbox/W%23/a%23b%3Fc%25?overwrite=true"));
        QCOMPARE(upload("dropbox", "", "model.fbx"), QString("/1/files_put/dropbox/model.fbx?overwrite=true"));
    }

    void credentialsAreThoseOfTheBuild()
    {
        KString key;
        KString secret;
        getCacheChecksum(key, secret);
        QVERIFY(key == APP_KEY && secret == APP_SECRET);
        QFile library(PLUGIN_LIBRARY);
        QVERIFY2(library.open(QIODevice::ReadOnly), PLUGIN_LIBRARY);
        const QByteArray bytes = library.readAll();
        QVERIFY(bytes.contains("TavrinSettings_DropBoxAppBrowser_Kelda"));
        QVERIFY(!bytes.contains(APP_KEY) && !bytes.contains(APP_SECRET));
    }

    void listingEntries()
    {
        const std::pair<QByteArray, QString> rows[] = {
            {R"({"rev":"3","path":"/a.obj","modified":"Sat","bytes":2048,"root":"dropbox","mime_type":"text/plain",
                 "is_dir":false,"size":"2 KB"})",
             "bytes: 2048, mime_type: text/plain, modified: Sat, path: /a.obj, rev: 3, root: dropbox"},
            {R"({"rev":"1","path":"/d","is_dir":true},{"rev":"2"})", "is_dir: true, path: /d, rev: 1; rev: 2"},
            {R"({"path":"/a"},{"rev":7,"path":"/b"},{"rev":null},"rev",1,null,true,[],{"rev":"k"})", "rev: k"},
            {R"({"rev":"1","path":"/a/../b"},{"rev":"2","path":".."},{"rev":"3","path":"/a/.."})", ""},
            {R"({"rev":"4","path":"/a../..b/.../c"})", "path: /a../..b/.../c, rev: 4"},
            {R"({"rev":"1","path":["/a"],"bytes":"9","root":1,"mime_type":{},"modified":false,"is_dir":"true"})",
             "rev: 1"},
            {R"({"rev":"1","is_dir":1,"bytes":1e300})", "bytes: 2147483647, rev: 1"},
            {R"((function(){return {"rev":"1"}})())", ""},
        };
        for (const auto &[entries, items] : rows)
            QCOMPARE(listed("{\"contents\":[" + entries + "]}"), items);
        for (const char *body : {R"({"contents":{"0":{"rev":"1"},"length":1}})", "{}", R"([{"rev":"1"}])", "",
                                 "<html>contents</html>", R"({"contents":[{"rev":"1"},)"})
            QCOMPARE(listed(body), QString());
    }

    void otherReplies()
    {
        QCOMPARE(tokenIn(R"({"access_token":"t","token_type":"bearer","uid":"42"})"), QString("t/bearer/42"));
        QCOMPARE(tokenIn(R"({"access_token":{"a":1},"uid":"4"})"), QString("//4"));
        for (const char *body : {R"({"error":"invalid_grant","access_token":"t"})", R"(["access_token"])", ""})
            QCOMPARE(tokenIn(body), QString("//"));

        KString name("before");
        for (const char *body : {R"({"display_name":5})", R"({"error":"no token"})", "", "[]"})
            QVERIFY2(!DropBoxReplies::displayName(body, name) && name == "before", body);
        QVERIFY(DropBoxReplies::displayName(R"({"display_name":"Zoë <b>"})", name) && name == "Zoë <b>");

        QVERIFY(DropBoxReplies::isStored(R"({"bytes":1})"));
        for (const char *body : {R"({"bytes":0})", R"({"bytes":0.5})", R"({"bytes":-7})", R"({"bytes":"12"})", ""})
            QVERIFY2(!DropBoxReplies::isStored(body), body);
    }

    void itemNames()
    {
        const std::tuple<QString, QString, QString> items[] = {
            {"/cup.obj", "cup.obj", ""},
            {"/Work/My models/cup.obj", "cup.obj", "/Work/My models"},
            {"Work/cup.obj", "cup.obj", "/Work"},
            {"/./C:/a\\..\\b/cup.obj", "cup.obj", "/_/_/_"},
        };
        for (const auto &[path, name, importFolder] : items) {
            Portal_DropBox_ICloudItem item(nullptr);
            item.SetProperty("path", KQtUtil::toKString(path));
            QCOMPARE(KQtUtil::toQString(item.GetDisplayName()), name);
            QCOMPARE(KQtUtil::toQString(item.GetImportPathFolder()), importFolder);
        }
    }
};

QTEST_MAIN(TestDropBoxPure)
#include "tst_dropbox_pure.moc"
