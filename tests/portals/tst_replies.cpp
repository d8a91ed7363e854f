// portals/tst_replies.cpp
//
// The paths of requests, the parsing of replies, and the names of folders and items, without a network.

#include "portals/Portal_DropBox_CloudItem.h"
#include "portals/Portal_DropBox_Login.h"
#include "portals/Portal_DropBox_Replies.h"
#include "portals/Portal_Plyx_Replies.h"
#include "portals/Portal_Plyx_Requests.h"
#include "portals/Portal_Zephal_Login.h"
#include "support/Table.h"
#include "support/TestFiles.h"

using namespace ICloudPortalApi;

namespace {

/// JSON written with single quotes.
QByteArray json(QByteArray text)
{
    return text.replace('\'', '"');
}

/// The properties of \p items as "name: value, name: value; name: value". The items are deleted.
QString described(const ItemVector &items)
{
    QStringList texts;
    for (ICloudItem *item : items)
        texts << KQtUtil::toQString(item->GetTooltip()).replace('\n', ", ");
    qDeleteAll(items);
    return texts.join("; ");
}

QString listed(const QByteArray &body)
{
    ItemVector items;
    DropBoxReplies::listing(json(body), nullptr, items);
    return described(items);
}

QString tokenIn(const QByteArray &body)
{
    const DropBoxReplies::Token token = DropBoxReplies::token(json(body));
    return KQtUtil::toQString(token.accessToken + "/" + token.tokenType + "/" + token.userId);
}

/// What is read from a reply of the given kind.
QString valueIn(const QString &kind, const QByteArray &body)
{
    if (kind == "listing")
        return listed(body);
    if (kind == "token")
        return tokenIn(body);
    if (kind == "upload")
        return DropBoxReplies::isStored(json(body)) ? "stored" : "";
    if (kind == "server")
        return KQtUtil::toQString(PlyxReplies::downloadHost(json(body)));
    KString name("unknown");
    if (kind == "account")
        DropBoxReplies::displayName(json(body), name);
    else
        PlyxReplies::memberName(json(body), name);
    return (PlyxReplies::isMember(json(body)) ? "member " : "") + KQtUtil::toQString(name);
}

/// The items of a search reply, then the three numbers, which start as 7, 8 and 9.
QString found(const QByteArray &body)
{
    ItemVector items;
    int numbers[] = {7, 8, 9};
    PlyxReplies::searchResults(json(body), nullptr, items, numbers[0], numbers[1], numbers[2]);
    return described(items) + QString(" %1 %2 %3").arg(numbers[0]).arg(numbers[1]).arg(numbers[2]);
}

/// The textures as "name=id", then the file of the model.
QString filesIn(const QByteArray &textures, const QByteArray &formats)
{
    const PlyxReplies::AssetFiles files = PlyxReplies::assetFiles(
        json("{'ASSET':{'TEXTURESFILES':{'TEXTURESFILE':" + textures + "},'FILEFORMATS':" + formats + "}}"));
    QString text;
    for (const PlyxReplies::Texture &texture : files.textures)
        text += texture.localName + '=' + texture.fileId + ' ';
    return text + files.modelId.value_or("none");
}

} // namespace

class TestReplies : public QObject
{
    Q_OBJECT

private slots:
    void requestPathsAreEncoded()
    {
        using namespace PlyxRequests;
        const HeaderMap criteria{{L"Public", L"28"}, {L"SearchString", L"R&D #1 100%25 ä+?=/@\"'"}};
        QCOMPARE(search(criteria, 2, 20),
                 "/API/v1/Search?file_type_ids=119&media_type_id=28&content=free&page_num=2&page_size=20&sort_by=date"
                 "&sort_order=desc&keyword=R%26D %231 100%2525 ä+?=/@\"'&is_all_keywords=all");
        QCOMPARE(asset("5/../1?2#3%"), "/API/v1/Asset/5%2F..%2F1%3F2%233%25");
        QCOMPARE(download("512", "1&id=0#%"), "/v1/Download?id=512_1%26id=0%23%25");
    }

    void credentialsAreExactAndHidden()
    {
        QVERIFY(getTestConsumerKey(Skein_Service_Deployment_Staging) == STAGING_KEY);
        QVERIFY(getTestConsumerSecret(Skein_Service_Deployment_Staging) == STAGING_SECRET);
        const QByteArray bytes = readFile(PLUGIN_LIBRARY);
        QVERIFY(bytes.contains("TavrinSettings_DropBoxAppBrowser_Kelda"));
        QVERIFY(bytes.contains("session.skein"));
        for (const char *text : {APP_KEY, APP_SECRET, STAGING_KEY, STAGING_SECRET})
            QVERIFY2(!bytes.contains(text), text);
    }

    void listingSkipsEntriesWithoutARevisionOrWithAnUnsafePath()
    {
        QCOMPARE(listed("{'contents':[{'rev':'1','path':'/a.obj','modified':'Sat','bytes':2048,'root':'dropbox',"
                        "'mime_type':'text/plain','is_dir':false,'size':'2 KB'},{'rev':'2','path':'/d','is_dir':true},"
                        "{'path':'/a'},{'rev':7,'path':'/b'},{'rev':null},'rev',1,null,true,[],"
                        "{'rev':'3','path':'/a/../b'},{'rev':'3','path':'..'},{'rev':'3','path':'/a/..'},"
                        "{'rev':'4','path':'/a../..b/.../c'},{'rev':'5','path':['/a'],'bytes':'9','root':1,"
                        "'mime_type':{},'modified':false,'is_dir':'true'},{'rev':'6','is_dir':1,'bytes':1e300}]}"),
                 QString("bytes: 2048, mime_type: text/plain, modified: Sat, path: /a.obj, rev: 1, root: dropbox; "
                         "is_dir: true, path: /d, rev: 2; path: /a../..b/.../c, rev: 4; rev: 5; "
                         "bytes: 2147483647, rev: 6"));
    }

    void searchSkipsAssetsWithoutAnId()
    {
        QCOMPARE(
            found("{'ASSETS':{'ASSET':[{'ASSET_ID':7,'ASSET_NAME':'<b>ä','ARTIST_NAME':'A','DATE_PUBLISHED':'D',"
                  "'THUMBNAIL_FILE':'T'},{'ASSET_ID':'x','ASSET_NAME':5},{'ASSET_ID':''},{'ASSET_ID':null},"
                  "{'ASSET_ID':{}},{'ASSET_ID':[4]},{'ASSET_ID':true},{},4,'5',null,{'__proto__':{'ASSET_ID':6}}]},"
                  "'CURRENT_PAGE':1,'TOTAL_PAGE_COUNT':3,'TOTAL_RESULT_COUNT':25}"),
            QString("ArtistName: A, CanDownload: true, CreateDate: D, Name: <b>ä, ThumbnailUrl: T, UniqueID: 7; "
                    "ArtistName: , CanDownload: true, CreateDate: , Name: 5, ThumbnailUrl: , UniqueID: x 1 3 25"));
        QCOMPARE(found("{'ASSETS':{'ASSET':{'ASSET_ID':7}},'CURRENT_PAGE':'3','TOTAL_PAGE_COUNT':null}"),
                 QString(" 7 8 9"));
    }

    void textureNamesStayInTheFolderOfTheModel()
    {
        const QByteArray obj = "{'FILEFORMAT':[{'NAME':'OBJ (.obj)','FILEID':8},{'NAME':'OBJ ( .obj )','FILEID':10},"
                               "{'NAME':'OBJ ( .obj )','FILEID':11}]}";
        QCOMPARE(filesIn("[{'NAME':'/etc/a.png','ID':1},{'NAME':'..\\\\b.png','ID':'2'},{'NAME':'C:c.png','ID':3},"
                         "{'NAME':'d\\u0000.png','ID':4},{'NAME':'a/../..','ID':5},{'NAME':'a/','ID':6},"
                         "{'NAME':'.','ID':7},{'NAME':8,'ID':8},{'NAME':'a','ID':''},{'NAME':null,'ID':1},"
                         "{'NAME':'a','ID':{}},null]",
                         obj),
                 QString("a.png=1 b.png=2 _=3 _=4 8=8 10"));
        const QByteArray one = "{'NAME':'OBJ ( .obj )','ID':1,'FILEID':1}";
        QCOMPARE(filesIn(one, obj), QString("10"));
        QCOMPARE(filesIn("[" + one + "]", "{'FILEFORMAT':" + one + "}"), QString("OBJ ( .obj )=1 none"));
        QCOMPARE(filesIn("[" + one + "]", "null"), QString("none"));
    }

    void unexpectedValuesAreIgnored_data()
    {
        // The kind of reply with the case, the reply, and what is read from it.
        const QString root = "{'contents':[{'rev':'1','root':'%1'}]}";
        const QString host = "{'DOWNLOAD':'%1'}";
        addRows({{"listing: inherited list", "{'__proto__':{'contents':[{'rev':'1'}]}}", ""},
                 {"listing: plain root", root.arg("sandbox_-2"), "rev: 1, root: sandbox_-2"},
                 {"listing: root with a slash", root.arg("/etc"), "rev: 1"},
                 {"listing: encoded root", root.arg("%2e%2e"), "rev: 1"},
                 {"token: all texts", "{'access_token':'t','token_type':'bearer','uid':'42'}", "t/bearer/42"},
                 {"token: error", "{'error':'invalid_grant','access_token':'t'}", "//"},
                 {"upload: one byte", "{'bytes':1}", "stored"},
                 {"upload: no bytes", "{'bytes':0}", ""},
                 {"account: text", "{'display_name':'Zoë <b>'}", "Zoë <b>"},
                 {"member: number and name", "{'MEMBERID':42,'MEMBERNAME':'Ada & Co'}", "member Ada & Co"},
                 {"member: text and number", "{'MEMBERID':'42','MEMBERNAME':5}", "unknown"},
                 {"server: name", host.arg("files-2.plyx.a"), "files-2.plyx.a"},
                 {"server: name and port", host.arg("localhost:8443"), "localhost:8443"},
                 {"server: user", host.arg("a@b"), ""},
                 {"server: zero byte", host.arg("a.b\\u0000c"), ""}});
    }

    void unexpectedValuesAreIgnored()
    {
        const auto [title, reply, expected] = currentRow<3>();
        QCOMPARE(valueIn(title.section(':', 0, 0), reply.toUtf8()), expected);
    }

    void pathOfAnItemGivesItsNameAndItsSafeFolder()
    {
        for (const QString names : {"/cup.obj|cup.obj|", "/Work/My models/cup.obj|cup.obj|/Work/My models",
                                    "Work/cup.obj|cup.obj|/Work", "/./C:/a\\..\\b/cup.obj|cup.obj|/_/_/_"}) {
            Portal_DropBox_ICloudItem item(nullptr);
            const QString path = names.section('|', 0, 0);
            item.SetProperty("path", KQtUtil::toKString(path));
            const KString found = item.GetDisplayName() + "|" + item.GetImportPathFolder();
            QCOMPARE(path + '|' + KQtUtil::toQString(found), names);
        }
    }
};

QTEST_MAIN(TestReplies)
#include "tst_replies.moc"
