// The item tree, the default sorting, and file extensions.

#include "TestPortal.h"

using namespace ICloudPortalApi;

static TestItem *item(const char *name, TestItem::Kind kind = TestItem::Kind::File)
{
    return new TestItem(name, name, kind);
}

class TestItems : public QObject
{
    Q_OBJECT
private slots:
    void cleanup() { QCOMPARE(TestItem::alive, 0); }

    void propertiesStandInNameOrder()
    {
        const std::unique_ptr<TestItem> one(item("1"));
        one->SetProperty("mark-up", "new");
        one->SetProperty("b", "2");
        QCOMPARE(one->GetTooltip(), KString("b: 2\nid: 1\nmark-up: new"));
        QVERIFY(one->GetPropertyName(-5) == KString("b") && one->GetPropertyValue(3).isEmpty());
        KString value("kept");
        QVERIFY(!one->GetProperty("c", value) && value == KString("kept"));
    }

    void aNodeOwnsWhatIsInItsSet()
    {
        const std::unique_ptr<TestItem> root(item("root", TestItem::Kind::Folder));
        QPointer<ICloudItem> leaf(item("leaf"));
        root->AddChild(item("branch"));
        (*root->GetChildBegin())->AddChild(leaf);
        QVERIFY(!root->RemoveChild(leaf, true) && leaf);
        root->RemoveAllChild(true);
        QVERIFY(!leaf);

        leaf = item("leaf");
        root->AddChild(leaf);
        root->RemoveAllChild(false);
        QVERIFY(leaf);
        delete leaf;
    }

    void sortingAdoptsExtraItemsAndSkipsExcludedOnes()
    {
        TestService service;
        TestPortal portal(service);
        IPortalBrowser &browser = *portal.GetBrowser();
        const std::unique_ptr<TestItem> root(item("root", TestItem::Kind::Folder));
        auto *known = item("known", TestItem::Kind::Folder);
        const std::unique_ptr<TestItem> grandchild(item("grandchild"));
        const std::unique_ptr<TestItem> extra(item("extra"));
        const std::unique_ptr<TestItem> hidden(item("hidden"));
        root->AddChild(known);
        known->AddChild(grandchild.get());

        ItemVector folders, files;
        QVERIFY(!browser.BuildFoldersAndFileList(folders, files, root.get(), nullptr, {extra.get()}, {}));
        QVERIFY(browser.BuildFoldersAndFileList(folders, files, root.get(), root.get(),
                                                {nullptr, extra.get(), hidden.get()}, {hidden.get()}));
        QCOMPARE(folders, ItemVector{known});
        QCOMPARE(files, ItemVector{extra.get()});
        QVERIFY(extra->GetParent() == root.get() && !hidden->GetParent());
        QCOMPARE(known->GetChildNumber(), 0);
    }

    void extensions()
    {
        const std::map<QString, QString> names{
            {"a/Model.tar.GZ", "GZ"}, {"v1.2/model", "none"}, {"a/.obj", "none"}, {"模型.ply", "ply"}, {"..", ""}};
        for (const auto &[name, extension] : names) {
            KString text = KQtUtil::toKString(name);
            KString found("none");
            getFileExtension(text, found);
            QCOMPARE(KQtUtil::toQString(found), extension);
        }
    }
};

QTEST_MAIN(TestItems)
#include "tst_items.moc"
