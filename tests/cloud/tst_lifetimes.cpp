// What happens while a call spins the event loop, and what is left after many clicks.

#include "TestPortal.h"

using Kind = TestItem::Kind;

class TestLifetimes : public StageTest
{
    Q_OBJECT
private slots:
    void init()
    {
        m_service = TestService();
        m_service.fixedFolders = QStringList{"Fixed", "Other"};
        m_service.exportFormats = {"obj"};
        m_service.root() = {{"d", "Deep", Kind::Folder}, {"f", "a.obj"}};
        m_service.folders["d"] = {{"dd", "Deeper", Kind::Folder}, {"g", "b.obj"}};
        m_service.folders["Fixed"] = {{"h", "c.obj"}};
        m_service.page = 0;
        m_service.itemCount = 1000;
        m_host.answer("Tavrin_GetImportTranslatorFromFileExtension", KCommandResult(KString("OBJ")));
        m_host.answer("file -force", KCommandResult(KString("/x/new.obj")));
        KStringArray translators;
        translators.append("obj");
        m_host.answer("Tavrin_GetExportTranslator", KCommandResult(translators));
        m_window = std::make_unique<QMainWindow>();
        m_host.setMainWindow(m_window.get());
        start();
        settle();
        m_service.log.clear();
    }

    void cleanup()
    {
        m_service.during.clear();
        m_stage.reset();
        m_window.reset();
        settle();
        QCOMPARE(TestItem::alive, 0);
        QVERIFY(!Portal_CloudBrowser::IsBusy());
    }

    void manyClicksLeaveNothingBehind()
    {
        for (const int type : {ICloudPortalApi::kPlainListing, ICloudPortalApi::kPagedSearch}) {
            m_service.type = type;
            m_service.search = type == ICloudPortalApi::kPagedSearch;
            start();
            clickThrough(3);
            const QVector<int> before = held();
            clickThrough(m_service.search ? 25 : 125);
            QCOMPARE(held(), before);
            QCOMPARE(m_stage->page()->LiveItemCount(), TestItem::alive);
        }
        QCOMPARE(m_service.count("search"), 28 * 6 + 1);
    }

    void refreshesInAFetchRunOnceAfterwards()
    {
        m_service.during["fetch"] = [this] {
            QVERIFY(Portal_CloudBrowser::IsBusy());
            m_service.during.clear();
            for (int i = 0; i < 3; ++i) {
                m_stage->page()->RefreshFolderData();
                m_stage->controller()->LoginDoneCB(true);
                m_stage->page()->SwitchPage(1);
            }
            QCOMPARE(m_service.count("list"), 1);
        };
        m_stage->doubleClick("Deep");
        QCOMPARE(m_service.log, QStringList({"list d", "list root"}));
        QCOMPARE(m_stage->folderBar(), QString("Top"));
        QVERIFY(m_stage->names().contains("Deep"));
    }

    void closingTheDockInAFetchLeavesTheListAlone()
    {
        const QStringList before = m_stage->names();
        m_service.during["fetch"] = [this] { m_stage->page()->ClearSelection(); };
        m_stage->page()->RefreshFolderData();
        m_service.during.clear();
        QCOMPARE(m_stage->names(), before);
        settle();
        m_stage->doubleClick("Deep");
        QVERIFY(m_stage->names().contains("Deeper"));
    }

    void theWindowMayGoDuring_data()
    {
        addRows({"command", "name"}, {{"login check", "", ""},
                                      {"fetch", "", "Deep"},
                                      {"choice", "Tavrin_GetImportTranslatorFromFileExtension", "a.obj"},
                                      {"download", "", "a.obj"},
                                      {"import", "file -force", "a.obj"},
                                      {"question", "", "a"},
                                      {"export", "file -force", "new"},
                                      {"upload", "", "new"}});
    }
    void theWindowMayGoDuring()
    {
        const QString call = QTest::currentDataTag();
        QFETCH(QString, command);
        QFETCH(QString, name);
        const auto destroy = [this] { m_window.reset(); };
        m_service.during[call] = destroy;
        if (!command.isEmpty()) {
            m_host.handle(command, [&](const QString &, KCommandResult &) {
                destroy();
                return KStatus();
            });
        }
        if (call == "question")
            QTimer::singleShot(0, this, destroy);
        if (call == "login check") {
            m_stage->controller()->LoginDoneCB(true);
        } else if (m_stage->row(name)) {
            m_stage->doubleClick(name);
        } else {
            m_stage->find<QLineEdit>("CloudExportFileName")->setText(name);
            m_stage->page()->ExportAllClick();
        }
        QVERIFY(!m_window);
        m_stage->controller()->LoginDoneCB(true);
        m_stage->controller()->ShowCloudBrowserWindow();
        m_stage->controller()->AddPortalTabPage();
        QVERIFY(!m_stage->controller()->GetParentLoginWidget());
    }

private:
    /// Actions, widgets and items that exist now.
    QVector<int> held() const
    {
        return {m_stage->dock()->findChildren<QAction *>().size(), m_stage->dock()->findChildren<QWidget *>().size(),
                TestItem::alive};
    }
    QAction *topFolder() const { return m_stage->find<QToolBar>("FolderBar")->actions().at(1); }

    /// Four folder changes a round: by the list, by the parent button, by a menu, by the bar. Pages are turned as well.
    void clickThrough(int rounds)
    {
        for (int i = 0; i < rounds; ++i) {
            m_stage->doubleClick("Deep");
            settle();
            for (const int pages : {1, -1})
                m_stage->page()->SwitchPage(pages);
            m_stage->page()->PreviousFolderClick();
            settle();
            topFolder()->menu()->actions().first()->trigger();
            settle();
            topFolder()->trigger();
            settle();
        }
    }

    std::unique_ptr<QMainWindow> m_window;
};

QTEST_MAIN(TestLifetimes)
#include "tst_lifetimes.moc"
