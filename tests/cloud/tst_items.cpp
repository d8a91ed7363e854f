// The item tree, the default sorting, and file names.

#include "TestPortal.h"

#include "support/RecordingHost.h"

#include <QtTest>

using namespace ICloudPortalApi;

namespace {

TestItem *folder(const char *name)
{
    return new TestItem(name, name, TestItem::Kind::Folder);
}

TestItem *file(const char *name)
{
    return new TestItem(name, name, TestItem::Kind::File);
}

} // namespace

class TestItems : public QObject
{
    Q_OBJECT
private slots:
    void init() { m_aliveBefore = TestItem::alive; }
    void cleanup() { QCOMPARE(TestItem::alive, m_aliveBefore); }

    void propertiesStandInNameOrder()
    {
        TestItem item("1", "x", TestItem::Kind::File);
        item.SetProperty("mark-up", "old");
        item.SetProperty("mark-up", "new");
        item.SetProperty("b", "2");
        QCOMPARE(item.GetTooltip(), KString("b: 2\nid: 1\nmark-up: new"));
        QCOMPARE(item.GetPropertiesCount(), 3);
        QCOMPARE(item.GetPropertyValue(1), KString("1"));
        QCOMPARE(item.GetPropertyName(-5), KString("b"));
        QCOMPARE(item.GetPropertyValue(3), KString());
        KString value("kept");
        QVERIFY(!item.GetProperty("c", value));
        QCOMPARE(value, KString("kept"));
    }

    void aNodeOwnsWhatIsInItsSet()
    {
        auto *root = folder("root");
        auto *branch = folder("branch");
        QPointer<ICloudItem> leaf(file("leaf"));
        root->AddChild(branch);
        root->AddChild(branch);
        branch->AddChild(leaf);
        QCOMPARE(root->GetChildNumber(), 1);
        QVERIFY(!root->RemoveChild(leaf, true));
        QVERIFY(leaf);
        root->RemoveAllChild(true);
        QVERIFY(!leaf);

        leaf = file("leaf");
        root->AddChild(leaf);
        root->RemoveAllChild(false);
        delete root;
        QVERIFY(leaf);
        delete leaf;
    }

    void sortingAdoptsExtraItemsAndSkipsExcludedOnes()
    {
        TestService service;
        TestPortal portal(service);
        IPortalBrowser &browser = *portal.GetBrowser();
        const std::unique_ptr<TestItem> root(folder("root"));
        auto *known = folder("known");
        auto *grandchild = file("grandchild");
        root->AddChild(known);
        known->AddChild(grandchild);
        auto *extraFile = file("extra");
        auto *hidden = file("hidden");

        ItemVector folders;
        ItemVector files;
        QVERIFY(!browser.BuildFoldersAndFileList(folders, files, root.get(), nullptr, {extraFile}, {}));
        QVERIFY(browser.BuildFoldersAndFileList(folders, files, root.get(), root.get(), {nullptr, extraFile, hidden},
                                                {hidden}));
        QCOMPARE(folders, ItemVector{known});
        QCOMPARE(files, ItemVector{extraFile});
        QCOMPARE(extraFile->GetParent(), root.get());
        QVERIFY(!hidden->GetParent());
        QCOMPARE(known->GetChildNumber(), 0);
        delete grandchild;
        delete extraFile;
        delete hidden;
    }

    void fileNames()
    {
        const std::map<QString, QString> extensions{{"a/Model.OBJ", "OBJ"}, {"a.tar.gz", "gz"}, {"model", "none"},
                                                    {"v1.2/model", "none"}, {".obj", "none"},   {"a/.obj", "none"},
                                                    {"模型.ply", "ply"},    {"..", ""}};
        for (const auto &[name, extension] : extensions) {
            KString text = KQtUtil::toKString(name);
            KString found("none");
            getFileExtension(text, found);
            QCOMPARE(KQtUtil::toQString(found), extension);
        }
        const std::map<QString, QString> typed{
            {"  My Model.FBX\t", "my model.fbx"}, {"../..", ".."}, {"dir\\ x ", "x"}, {"ÄRA|.obj", "ära.obj"}};
        for (const auto &[text, cleaned] : typed) {
            QString name = text;
            CleanFilename(name);
            QCOMPARE(name, cleaned);
        }
    }

    void echoIsRestoredWhenTheCommandFails()
    {
        RecordingHost host;
        host.answer("commandEcho -q -state", KCommandResult(1));
        host.fail("broken", "no");
        executeCommandSilently("broken");
        QCOMPARE(host.commands(), QStringList({"commandEcho -q -state", "commandEcho -state false;", "broken",
                                               "commandEcho -state true;"}));
        host.clear();
        host.answer("commandEcho -q -state", KCommandResult(0));
        executeCommandSilently("quiet");
        QCOMPARE(host.commands(), QStringList({"commandEcho -q -state", "quiet"}));
    }

private:
    int m_aliveBefore = 0;
};

QTEST_MAIN(TestItems)
#include "tst_items.moc"
