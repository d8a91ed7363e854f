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

/// The items of a search reply as "id name", then the three numbers, which start as 7, 8 and 9.
QString found(const QByteArray &body)
{
    ItemVector items;
    int numbers[] = {7, 8, 9};
    PlyxReplies::searchResults(json(body), nullptr, items, numbers[0], numbers[1], numbers[2]);
    QString text;
    for (ICloudItem *item : items)
        text += KQtUtil::toQString(item->GetUniqueID() + " " + item->GetDisplayName() + ", ");
    qDeleteAll(items);
    return text + QString("%1 %2 %3").arg(numbers[0]).arg(numbers[1]).arg(numbers[2]);
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

class TestPlyxPure : public QObject
{
    Q_OBJECT

private slots:
    void paths()
    {
        using namespace PlyxRequests;
        const QString end = "&sort_by=date&sort_order=desc";
        const HeaderMap criteria{{L"Public", L"28"}, {L"SearchString", L"R&D #1 100%25 ä+?=/@\"'"}};
        QCOMPARE(search(criteria, 2, 20),
                 "/API/v1/Search?file_type_ids=119&media_type_id=28&content=free&page_num=2&page_size=20" + end +
                     "&keyword=R%26D %231 100%2525 ä+?=/@\"'&is_all_keywords=all");
        const QString own = "/API/v1/Member/Assets?file_type_ids=119";
        QCOMPARE(search({{L"Home", L""}}, 1, 10), own + "&page_num=1&page_size=10" + end);
        QCOMPARE(search({}, -1, 0x7fffffff), "&page_num=-1&page_size=2147483647" + end);
        QCOMPARE(asset("5/../1?2#3%"), QString("/API/v1/Asset/5%2F..%2F1%3F2%233%25"));
        QCOMPARE(download("512", "1&id=0#%"), QString("/v1/Download?id=512_1%26id=0%23%25"));
    }

    void searchReplies()
    {
        const std::pair<QByteArray, QString> replies[] = {
            {"{'ASSETS':{'ASSET':[{'ASSET_ID':7,'ASSET_NAME':'<b>ä'},{'ASSET_ID':'x','ASSET_NAME':5},{'ASSET_ID':0,"
             "'ASSET_NAME':null}]},'CURRENT_PAGE':1,'TOTAL_PAGE_COUNT':3,'TOTAL_RESULT_COUNT':25}",
             "7 <b>ä, x 5, 0 , 1 3 25"},
            {"{'ASSETS':{'ASSET':[{'ASSET_ID':''},{'ASSET_ID':null},{'ASSET_ID':{}},{'ASSET_ID':[4]},{'ASSET_ID':true},"
             "{},4,'5',null,{'__proto__':{'ASSET_ID':'6'}}]}}",
             "7 8 9"},
            {"{'ASSETS':{'ASSET':{'ASSET_ID':7}}}", "7 8 9"},
            {"\xef\xbb\xbf{'CURRENT_PAGE':2,'ASSETS':{'ASSET':[{'ASSET_ID':'\xe2\x80\xa8'}]}}",
             QString(QChar(0x2028)) + " , 2 8 9"},
            {"{'CURRENT_PAGE':-1,'TOTAL_PAGE_COUNT':2147483647,'TOTAL_RESULT_COUNT':1e300}",
             "-1 2147483647 2147483647"},
            {"{'CURRENT_PAGE':'3','TOTAL_PAGE_COUNT':null,'TOTAL_RESULT_COUNT':[25]}", "7 8 9"},
            {"<html>busy</html>", "7 8 9"},
            {"{'CURRENT_PAGE':2,'ASSETS':{'ASSET':[{'ASSET_ID':7},", "7 8 9"},
        };
        for (const auto &[body, expected] : replies)
            QCOMPARE(found(body), expected);
    }

    void assetReplies()
    {
        const QByteArray obj = "{'FILEFORMAT':[{'NAME':'OBJ (.obj)','FILEID':8},{'NAME':'OBJ ( .obj )','FILEID':10},"
                               "{'NAME':'OBJ ( .obj )','FILEID':11}]}";
        QCOMPARE(filesIn("[{'NAME':'skin.jpg','ID':11}]", obj), QString("skin.jpg=11 10"));
        QCOMPARE(filesIn("[{'NAME':'/etc/a.png','ID':1},{'NAME':'..\\\\b.png','ID':'2'},{'NAME':'C:c.png','ID':3},"
                         "{'NAME':'d\\u0000.png','ID':4},{'NAME':'a/../..','ID':5},{'NAME':'a/','ID':6},"
                         "{'NAME':'.','ID':7},{'NAME':8,'ID':8},{'NAME':'a','ID':''},{'NAME':null,'ID':1},"
                         "{'NAME':'a','ID':{}},null]",
                         obj),
                 QString("a.png=1 b.png=2 _=3 _=4 8=8 10"));
        QCOMPARE(filesIn("{'NAME':'a','ID':1}", obj), QString("10"));
        QCOMPARE(filesIn("[{'NAME':'a','ID':1}]", "{'FILEFORMAT':{'NAME':'OBJ ( .obj )','FILEID':1}}"),
                 QString("a=1 none"));
        QCOMPARE(filesIn("[{'NAME':'a','ID':1}]", "null"), QString("none"));
    }

    void memberAndServerReplies()
    {
        KString name("before");
        for (const char *body : {"{'MEMBERID':'42','MEMBERNAME':5}", "{'MEMBERID':null}", "[42]", "<html>", ""})
            QVERIFY2(!PlyxReplies::isMember(json(body)) && !PlyxReplies::memberName(json(body), name), body);
        QVERIFY(PlyxReplies::isMember(json("{'MEMBERID':42}")) && name == "before");

        const auto hostIn = [](const QByteArray &text) {
            return PlyxReplies::downloadHost(json("{'DOWNLOAD':'" + text + "'}"));
        };
        QVERIFY(hostIn("files-2.plyx.example") == "files-2.plyx.example" &&
                hostIn("localhost:8443") == "localhost:8443");
        for (const char *text : {"", "https://a.b", "a.b/c", "a@b", "a.b?c", "a.b#c", "a.b:", "a.b:123456", "a b",
                                 "a.b\\n", "-a.b", "[::1]", "a:b@c", "ä.b", "a.b\\u0000c"})
            QVERIFY2(hostIn(text).isEmpty(), text);
    }

    void rootShowsTheGalleriesFirst()
    {
        RecordingHost host;
        host.setText("kCloudPortalHomeFolderName", "Eigene");
        host.answer("getenv", KCommandResult(KString(SOURCE_DIR)));
        Portal_Plyx portal(new Portal_Plyx_Login, new Portal_Plyx_IPortalBrowser);
        const std::unique_ptr<ICloudItem> root(portal.CreateFolderHierarchy());
        auto *model = new Portal_Plyx_ICloudItem(nullptr);
        root->AddChild(model);
        QVERIFY(model->GetDisplayName() == "-" && model->GetImportFilename() == "-.obj" && !model->IsDownloadable());

        ItemVector folders{root.get()};
        ItemVector files;
        const auto build = [&](ICloudItem *folder) {
            return portal.GetBrowser()->BuildFoldersAndFileList(folders, files, folder, root.get(), {}, {});
        };
        QVERIFY(build(root.get()) && files == ItemVector{model});
        QString shown;
        for (ICloudItem *folder : folders) {
            HeaderMap criteria;
            portal.FillSearchCriteria(folder, criteria);
            portal.FillSearchCriteria(model, criteria);
            QVERIFY(criteria.size() == 1);
            shown += KQtUtil::toQString(folder->GetDisplayName()) + ' ' +
                     QString::fromStdWString(criteria.begin()->first + criteria.begin()->second + L", ");
        }
        QCOMPARE(shown,
                 QString("Grell Public35, Tarn Public31, Lumo Public27, Lumo Mobile Public28, Eigene Hometrue, "));
        const auto picture = [&](std::size_t i) { return folders[i]->GetItemIcon().pixmap(16).toImage(); };
        QVERIFY(picture(2) == picture(3) && picture(4) == root->GetItemIcon().pixmap(16).toImage());
        for (std::size_t i = 0; i < 3; ++i)
            QVERIFY(!picture(i).isNull() && picture(i) != picture((i + 1) % 3));

        // Inside a gallery what is listed is appended by the general rule; the root empties the gallery again.
        root->RemoveChild(model, false);
        ICloudItem *lumo = folders[2];
        lumo->AddChild(model);
        QVERIFY(build(lumo) && folders.size() == 5 && files.size() == 2 && lumo->GetChildNumber() == 1);
        QVERIFY(build(root.get()) && folders.size() == 5 && lumo->GetChildNumber() == 0 && !build(nullptr));
        delete model;
    }
};

QTEST_MAIN(TestPlyxPure)
#include "tst_plyx_pure.moc"
