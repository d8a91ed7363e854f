// portals/tst_plyx_pure.cpp
//
// Paths that requests are made of, what replies are read as, and what folders and items answer: all without a network.

#include "portals/Portal_Plyx.h"
#include "portals/Portal_Plyx_CloudItem.h"
#include "portals/Portal_Plyx_Replies.h"
#include "portals/Portal_Plyx_Requests.h"
#include "support/RecordingHost.h"

#include <QtTest>

using namespace ICloudPortalApi;

namespace {

/// JSON written with single quotes.
QByteArray json(QByteArray text)
{
    return text.replace('\'', '"');
}

/// The items of a search reply as "name: value, ...; ...", then the three numbers, which start as 7, 8 and 9.
QString found(const QByteArray &body)
{
    ItemVector items;
    int page = 7;
    int pages = 8;
    int results = 9;
    PlyxReplies::searchResults(json(body), nullptr, items, page, pages, results);
    QStringList texts;
    for (ICloudItem *item : items)
        texts << KQtUtil::toQString(item->GetTooltip()).replace('\n', ", ");
    qDeleteAll(items);
    return texts.join("; ") + QString(" %1 %2 %3").arg(page).arg(pages).arg(results);
}

/// The textures as "name=id", then the model's file.
QString filesIn(const QByteArray &body)
{
    const PlyxReplies::AssetFiles files = PlyxReplies::assetFiles(json(body));
    QString text;
    for (const PlyxReplies::Texture &texture : files.textures)
        text += texture.localName + '=' + texture.fileId + ' ';
    return text + (files.modelId ? *files.modelId : "none");
}

QByteArray asset(const QByteArray &textures, const QByteArray &formats)
{
    return "{'ASSET':{'TEXTURESFILES':{'TEXTURESFILE':" + textures + "},'FILEFORMATS':{'FILEFORMAT':" + formats + "}}}";
}

QByteArray format(const QByteArray &name, int id)
{
    return "{'NAME':'" + name + "','FILEID':" + QByteArray::number(id) + "}";
}

QStringList namesOf(const ItemVector &items)
{
    QStringList names;
    for (ICloudItem *item : items)
        names << KQtUtil::toQString(item->GetDisplayName());
    return names;
}

} // namespace

class TestPlyxPure : public QObject
{
    Q_OBJECT

private slots:
    void paths()
    {
        using namespace PlyxRequests;
        const QString end = "&sort_by=date&sort_order=desc";
        HeaderMap criteria{{L"Public", L"28"}, {L"Home", L"true"}, {L"SearchString", L"red car"}};
        QCOMPARE(search(criteria, 2, 20),
                 "/API/v1/Search?file_type_ids=119&media_type_id=28&content=free&page_num=2&page_size=20" + end +
                     "&keyword=red car&is_all_keywords=all");
        criteria[L"SearchString"] = L"R&D #1 100%25 ä+?=/@\"'";
        QVERIFY(search(criteria, 1, 1).endsWith("&keyword=R%26D %231 100%2525 ä+?=/@\"'&is_all_keywords=all"));
        const QString own = "/API/v1/Member/Assets?file_type_ids=119";
        QCOMPARE(search({{L"Home", L""}}, 1, 10), own + "&page_num=1&page_size=10" + end);
        QCOMPARE(search({}, -1, 0x7fffffff), "&page_num=-1&page_size=2147483647" + end);
        QCOMPARE(PlyxRequests::asset("5/../1?2#3%"), QString("/API/v1/Asset/5%2F..%2F1%3F2%233%25"));
        QCOMPARE(download("512", "1&id=0#%"), QString("/v1/Download?id=512_1%26id=0%23%25"));
    }

    void searchReplies_data()
    {
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<QString>("expected");
        const auto row = [](const char *name, const QByteArray &body, const QString &expected = " 7 8 9") {
            QTest::newRow(name) << body << expected;
        };
        const auto list = [](const QByteArray &entries) { return "{'ASSETS':{'ASSET':" + entries + "}}"; };
        const QString tail = ", CanDownload: true, CreateDate: , Name: %1, ThumbnailUrl: , UniqueID: %2 7 8 9";
        row("all members",
            "{'CURRENT_PAGE':1,'TOTAL_PAGE_COUNT':3,'TOTAL_RESULT_COUNT':25,'ASSETS':{'ASSET':["
            "{'ASSET_ID':'a7','ASSET_NAME':'<b>Cup','ARTIST_NAME':'Zoë','DATE_PUBLISHED':'May',"
            "'THUMBNAIL_FILE':'/t.png'},{'ASSET_ID':7,'ASSET_NAME':12}]}}",
            "ArtistName: Zoë, CanDownload: true, CreateDate: May, Name: <b>Cup, ThumbnailUrl: /t.png, UniqueID: a7; "
            "ArtistName: , CanDownload: true, CreateDate: , Name: 12, ThumbnailUrl: , UniqueID: 7 1 3 25");
        row("unusable ids", list("[{'ASSET_ID':''},{'ASSET_ID':null},{'ASSET_ID':{}},{'ASSET_ID':[4]},"
                                 "{'ASSET_ID':true},{},4,'5',null,{'__proto__':{'ASSET_ID':'6'}}]"));
        row("unusable names", list("[{'ASSET_ID':0,'ASSET_NAME':null,'ARTIST_NAME':{'a':1}}]"),
            "ArtistName: " + tail.arg("", "0"));
        row("one object, no array", list("{'ASSET_ID':7}"));
        row("line separator", list("[{\"ASSET_ID\":\"\xe2\x80\xa8\"}]"), "ArtistName: " + tail.arg("", QChar(0x2028)));
        row("zero byte", QByteArray("{\"CURRENT_PAGE\":2}\0<html>", 25), " 2 8 9");
        row("mark at the front", "\xef\xbb\xbf{\"CURRENT_PAGE\":2}", " 2 8 9");
        row("numbers", "{'CURRENT_PAGE':-1,'TOTAL_PAGE_COUNT':2147483647,'TOTAL_RESULT_COUNT':1e300}",
            " -1 2147483647 2147483647");
        row("no numbers", "{'CURRENT_PAGE':'3','TOTAL_PAGE_COUNT':null,'TOTAL_RESULT_COUNT':[25]}");
        row("not a number", "{'CURRENT_PAGE':NaN}");
        row("empty", "");
        row("page", "<html><body>busy</body></html>");
        row("truncated", "{'CURRENT_PAGE':2,'ASSETS':{'ASSET':[{'ASSET_ID':7},");
        row("program", "(function(){while(1){}}())");
    }

    void searchReplies()
    {
        QFETCH(QByteArray, body);
        QTEST(found(body), "expected");
    }

    void assetReplies_data()
    {
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<QString>("expected");
        const auto row = [](const char *name, const QByteArray &body, const QString &expected) {
            QTest::newRow(name) << body << expected;
        };
        const QByteArray obj =
            "[" + format("STL", 9) + "," + format("OBJ ( .obj )", 10) + "," + format("OBJ ( .obj )", 11) + "]";
        row("first fit", asset("[{'NAME':'skin.jpg','ID':11}]", obj), "skin.jpg=11 10");
        row("other label", asset("[]", "[" + format("OBJ (.obj)", 1) + "," + format("obj ( .obj )", 2) + "]"), "none");
        row("confined",
            asset("[{'NAME':'/etc/a.png','ID':1},{'NAME':'..\\\\b.png','ID':'2'},{'NAME':'C:c.png','ID':3},"
                  "{'NAME':'d\\u0000.png','ID':4},{'NAME':'a/../..','ID':5},{'NAME':'a/','ID':6},"
                  "{'NAME':'.','ID':7},{'NAME':8,'ID':8}]",
                  obj),
            "a.png=1 b.png=2 _=3 _=4 8=8 10");
        row("unusable textures",
            asset("[{'NAME':'a','ID':''},{'NAME':'','ID':1},{'NAME':null,'ID':1},"
                  "{'NAME':'a','ID':{}},null]",
                  obj),
            "10");
        row("texture object", asset("{'NAME':'a','ID':1}", obj), "10");
        row("format object", asset("[{'NAME':'a','ID':1}]", format("OBJ ( .obj )", 1)), "a=1 none");
        row("no formats", "{'ASSET':{'TEXTURESFILES':{'TEXTURESFILE':[{'NAME':'a','ID':1}]}}}", "none");
        row("unusable file", asset("[]", "[{'NAME':'OBJ ( .obj \\u0029','FILEID':null}]"), "");
        row("no asset", "{'ASSET':'none'}", "none");
        row("empty", "", "none");
    }

    void assetReplies()
    {
        QFETCH(QByteArray, body);
        QTEST(filesIn(body), "expected");
    }

    void memberAndServerReplies()
    {
        QVERIFY(PlyxReplies::isMember(json("{'MEMBERID':42}")));
        for (const char *body : {"{'MEMBERID':'42'}", "{'MEMBERID':null}", "{}", "[42]", "<html>", ""})
            QVERIFY2(!PlyxReplies::isMember(json(body)), body);
        KString name("before");
        for (const char *body : {"{'MEMBERNAME':5}", "{'ERROR':'expired'}", ""})
            QVERIFY2(!PlyxReplies::memberName(json(body), name) && name == "before", body);

        for (const QByteArray host : {"files-2.plyx.example", "localhost:8443", "10.0.0.1"})
            QVERIFY2(PlyxReplies::downloadHost(json("{'DOWNLOAD':'" + host + "'}")) == host.constData(), host);
        for (const QByteArray host : {"", "https://a.b", "a.b/c", "a@b", "a.b?c", "a.b#c", "a.b:", "a.b:123456", "a b",
                                      "a.b\\n", "-a.b", "[::1]", "a:b@c", "ä.b", "a.b\\u0000c"})
            QVERIFY2(PlyxReplies::downloadHost(json("{'DOWNLOAD':'" + host + "'}")).isEmpty(), host);
        QVERIFY(PlyxReplies::downloadHost(json("{'DOWNLOAD':7}")).isEmpty());
    }

    void rootShowsTheGalleriesFirst()
    {
        RecordingHost host;
        host.setText("kCloudPortalHomeFolderName", "Eigene");
        host.answer("getenv", KCommandResult(KString(SOURCE_DIR)));
        Portal_Plyx portal(new Portal_Plyx_Login, new Portal_Plyx_IPortalBrowser);
        const std::unique_ptr<ICloudItem> root(portal.CreateFolderHierarchy());
        auto *asset = new Portal_Plyx_ICloudItem(nullptr);

        ItemVector folders{root.get()};
        ItemVector files;
        QVERIFY(portal.GetBrowser()->BuildFoldersAndFileList(folders, files, root.get(), root.get(), {asset}, {}));
        QCOMPARE(namesOf(folders), (QStringList{"Grell", "Tarn", "Lumo", "Lumo Mobile", "Eigene"}));
        QVERIFY(files == ItemVector{asset} && asset->GetParent() == root.get());
        root->AddChild(asset);

        QStringList criteria;
        for (ICloudItem *folder : ItemVector{root.get(), folders[0], folders[1], folders[2], folders[3], folders[4]}) {
            HeaderMap map;
            portal.FillSearchCriteria(folder, map);
            QCOMPARE(map.size(), std::size_t(1));
            criteria << QString::fromStdWString(map.begin()->first + L"=" + map.begin()->second);
        }
        QCOMPARE(criteria.join(' '), QString("NoSearch=true Public=35 Public=31 Public=27 Public=28 Home=true"));
        HeaderMap nothing;
        portal.FillSearchCriteria(asset, nothing);
        portal.FillSearchCriteria(nullptr, nothing);
        QVERIFY(nothing.empty());

        const auto picture = [](ICloudItem *item) { return item->GetItemIcon().pixmap(16).toImage(); };
        QVERIFY(picture(folders[2]) == picture(folders[3]) && picture(folders[4]) == picture(root.get()));
        for (int i = 0; i < 3; ++i)
            QVERIFY(!picture(folders[i]).isNull() && picture(folders[i]) != picture(folders[(i + 1) % 3]));

        // Inside a gallery the general rule alone holds, and what it lists is appended.
        auto *model = new Portal_Plyx_ICloudItem(nullptr);
        folders[2]->AddChild(model);
        ItemVector inside;
        QVERIFY(portal.GetBrowser()->BuildFoldersAndFileList(inside, files, folders[2], root.get(), {}, {}));
        QVERIFY(inside.empty() && files == (ItemVector{asset, model}));
        QVERIFY(portal.GetBrowser()->BuildFoldersAndFileList(folders, files, root.get(), root.get(), {}, {asset}));
        QVERIFY(folders.size() == 5 && files.size() == 2 && folders[2]->GetChildNumber() == 0);
        QVERIFY(!portal.GetBrowser()->BuildFoldersAndFileList(folders, files, nullptr, root.get(), {}, {}));
        delete model;
    }

    void itemNames()
    {
        Portal_Plyx_ICloudItem item(nullptr);
        QVERIFY(item.GetDisplayName() == "-" && item.GetImportFilename() == "-.obj" && !item.IsFolder());
        item.SetProperty("UniqueID", "512");
        item.SetProperty("Name", "");
        item.SetProperty("CanDownload", "false");
        QVERIFY(item.GetDisplayName().isEmpty() && item.IsDownloadable());
        QVERIFY(item.GetImportPathFolder() == "/512" && item.GetImportFilename() == "512.obj");
    }
};

QTEST_MAIN(TestPlyxPure)
#include "tst_plyx_pure.moc"
