// What happens while a call spins the event loop, and what is left after many clicks.

#include "TestPortal.h"

class TestLifetimes : public PageFixture
{
    Q_OBJECT
private slots:
    void manyClicksLeaveNothingBehind()
    {
        for (const int type : {ICloudPortalApi::kPlainListing, ICloudPortalApi::kPagedSearch}) {
            m_portal.type = type;
            start();
            clickThrough(3);
            const QVector<int> before = held();
            clickThrough(type == ICloudPortalApi::kPagedSearch ? 25 : 125);
            QCOMPARE(held(), before);
            QCOMPARE(page()->LiveItemCount(), TestItem::alive);
        }
        QCOMPARE(m_portal.count("search"), 28 * 6 + 1);
    }

    void aNodeOwnsWhatIsInItsSet()
    {
        const auto item = [](const char *id) { return new TestItem(id, id, TestItem::Kind::Folder); };
        const std::unique_ptr<TestItem> root(item("root"));
        QPointer<TestItem> leaf(item("leaf"));
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

    void refreshesInAFetchRunOnceAfterwards()
    {
        m_portal.during["fetch"] = [this] {
            QVERIFY(Portal_CloudBrowser::IsBusy());
            m_portal.during.clear();
            for (int i = 0; i < 3; ++i) {
                page()->RefreshFolderData();
                m_controller->LoginDoneCB(true);
                page()->SwitchPage(1);
            }
            QCOMPARE(m_portal.count("list"), 1);
        };
        doubleClick("Deep");
        QCOMPARE(m_portal.log, QStringList({"list d", "list root"}));
        QCOMPARE(path(), QString("Top"));
        QVERIFY(names().contains("Deep"));
    }

    void theWindowMayGoDuring_data()
    {
        addRows({{"login check", "none", ""},
                 {"fetch", "none", "Deep"},
                 {"choice", "Tavrin_GetImportTranslatorFromFileExtension", "cup.obj"},
                 {"download", "none", "cup.obj"},
                 {"import", "file -force", "cup.obj"},
                 {"question", "none", "cup"},
                 {"export", "file -force", "new"},
                 {"upload", "none", "new"}});
    }
    void theWindowMayGoDuring()
    {
        const auto [call, command, name] = currentRow<3>();
        const auto destroy = [this] { m_window.reset(); };
        m_portal.during[call] = destroy;
        m_host.handle(command, [destroy](const QString &, KCommandResult &) {
            destroy();
            return KStatus();
        });
        if (call == "question")
            QTimer::singleShot(0, this, destroy);
        if (call == "login check") {
            m_controller->LoginDoneCB(true);
        } else if (row(name)) {
            doubleClick(name);
        } else {
            find<QLineEdit>("CloudExportFileName")->setText(name);
            page()->ExportAllClick();
        }
        QVERIFY(!m_window);
        m_controller->LoginDoneCB(true);
        m_controller->ShowCloudBrowserWindow();
        m_controller->AddPortalTabPage();
        QVERIFY(!m_controller->GetParentLoginWidget());
    }

private:
    void prepare() override
    {
        m_portal.fixedFolders = QStringList{"Fixed", "Other"};
        m_portal.folders["Fixed"] = {{"h", "c.obj"}};
        m_host.answer("Tavrin_GetImportTranslatorFromFileExtension", KCommandResult(KString("OBJ")));
        m_host.answer("file -force", KCommandResult(KString("/x/new.obj")));
        m_host.answer("Tavrin_GetExportTranslator", result({"obj"}));
        openWindow(500, 500);
        start();
        settle();
        m_portal.log.clear();
    }
    /// Actions, widgets and items that exist now.
    QVector<int> held() const
    {
        return {dock()->findChildren<QAction *>().size(), dock()->findChildren<QWidget *>().size(), TestItem::alive};
    }
    /// Four folder changes a round: by the list, by the parent button, by a menu, by the bar. Pages are turned as well.
    void clickThrough(int rounds)
    {
        const auto top = [this] { return folderBar()->actions().at(1); };
        const std::vector<std::function<void()>> clicks{[this] { doubleClick("Deep"); },
                                                        [this] { page()->SwitchPage(1); },
                                                        [this] { page()->SwitchPage(-1); },
                                                        [this] { page()->PreviousFolderClick(); },
                                                        [&] { top()->menu()->actions().first()->trigger(); },
                                                        [&] { top()->trigger(); }};
        for (int i = 0; i < rounds; ++i) {
            for (const std::function<void()> &click : clicks) {
                click();
                settle();
            }
        }
    }
};

QTEST_MAIN(TestLifetimes)
#include "tst_lifetimes.moc"
