// What happens while a call spins the event loop, and what is left after many clicks.

#include "TestPortal.h"

#include "support/RecordingHost.h"

#include <QLineEdit>
#include <QMainWindow>
#include <QMenu>
#include <QTimer>
#include <QToolBar>
#include <QtTest>

using Kind = TestItem::Kind;

namespace {

KStringArray oneText(const char *text)
{
    KStringArray array;
    array.append(text);
    return array;
}

} // namespace

class TestLifetimes : public QObject
{
    Q_OBJECT
private slots:
    void init()
    {
        m_service = TestService();
        m_service.fixedFolders = QStringList{"Fixed", "Other"};
        m_service.exportFormats = QStringList{"obj"};
        m_service.root() = {{"d", "Deep", Kind::Folder}, {"f", "a.obj"}};
        m_service.folders["d"] = {{"dd", "Deeper", Kind::Folder}, {"g", "b.obj"}};
        m_service.folders["Fixed"] = {{"h", "c.obj"}};
        m_host.answer("Tavrin_GetImportTranslatorFromFileExtension", KCommandResult(KString("OBJ")));
        m_host.answer("file -force", KCommandResult(KString("/x/new.obj")));
        for (const char *command : {"Tavrin_GetExportTranslatorList", "Tavrin_GetExportTranslatorExtensionList"})
            m_host.answer(command, KCommandResult(oneText("obj")));
        m_window = std::make_unique<QMainWindow>();
        m_host.setMainWindow(m_window.get());
        m_stage = std::make_unique<TestStage>(m_service);
        settle();
        m_service.log.clear();
    }

    void cleanup()
    {
        m_service.duringFetch = nullptr;
        m_stage.reset();
        m_window.reset();
        settle();
        QCOMPARE(TestItem::alive, 0);
        QVERIFY(!Portal_CloudBrowser::IsBusy());
    }

    void manyClicksLeaveNothingBehind_data()
    {
        QTest::addColumn<bool>("paged");
        QTest::newRow("listing") << false;
        QTest::newRow("search and pages") << true;
    }

    void manyClicksLeaveNothingBehind()
    {
        QFETCH(bool, paged);
        if (paged)
            restartPaged();
        clickThrough(3);
        const int actions = m_stage->dock()->findChildren<QAction *>().size();
        const int widgets = m_stage->dock()->findChildren<QWidget *>().size();
        const int items = TestItem::alive;
        QCOMPARE(items, m_stage->page()->LiveItemCount());
        clickThrough(paged ? 25 : 125);
        QCOMPARE(m_stage->dock()->findChildren<QAction *>().size(), actions);
        QCOMPARE(m_stage->dock()->findChildren<QWidget *>().size(), widgets);
        QCOMPARE(TestItem::alive, items);
        QCOMPARE(m_stage->page()->LiveItemCount(), items);
        QCOMPARE(m_service.count("search"), paged ? 28 * 6 + 1 : 0);
    }

    void refreshesInAFetchRunOnceAfterwards()
    {
        m_service.duringFetch = [this] {
            QVERIFY(Portal_CloudBrowser::IsBusy());
            m_service.duringFetch = nullptr;
            for (int i = 0; i < 3; ++i) {
                m_stage->page()->RefreshFolderData();
                m_stage->controller()->LoginDoneCB(true);
                m_stage->page()->SwitchPage(1);
            }
            QCOMPARE(m_service.count("list"), 1);
        };
        doubleClick("Deep");
        QCOMPARE(m_service.log, QStringList({"list d", "list root"}));
        QCOMPARE(m_stage->folderBar(), QStringList{"Top"});
        QVERIFY(m_stage->names().contains("Deep"));
    }

    void aClickedFolderMayBeReplacedWhileItsSlotRuns()
    {
        doubleClick("Deep");
        settle();
        QAction *top = m_stage->find<QToolBar>("FolderBar")->actions().at(1);
        QCOMPARE(top->text(), QString("Top"));
        m_service.duringFetch = [this] {
            m_service.duringFetch = nullptr;
            m_stage->page()->Refresh();
        };
        top->trigger();
        settle();
        QCOMPARE(m_stage->folderBar(), QStringList{"Top"});
        QCOMPARE(TestItem::alive, m_stage->page()->LiveItemCount());
    }

    void closingTheDockInAFetchLeavesTheListAlone()
    {
        const QStringList before = m_stage->names();
        m_service.duringFetch = [this] { m_stage->page()->ClearSelection(); };
        m_stage->page()->RefreshFolderData();
        m_service.duringFetch = nullptr;
        QCOMPARE(m_stage->names(), before);
        settle();
        doubleClick("Deep");
        QVERIFY(m_stage->names().contains("Deeper"));
    }

    void theWindowMayGoDuring_data()
    {
        QTest::addColumn<QString>("call");
        for (const char *call :
             {"login check", "fetch", "download", "import", "options", "question", "export", "upload"})
            QTest::newRow(call) << call;
    }

    void theWindowMayGoDuring()
    {
        QFETCH(QString, call);
        bool gone = false;
        const auto destroy = [&] {
            if (!gone)
                m_window.reset();
            gone = true;
        };
        if (call == "login check")
            m_service.duringLoginCheck = destroy;
        else if (call == "fetch")
            m_service.duringFetch = destroy;
        else if (call == "download")
            m_service.duringDownload = destroy;
        else if (call == "question")
            QTimer::singleShot(0, this, destroy);
        else if (call == "upload")
            m_service.duringUpload = destroy;
        else
            m_host.handle(call != "options" ? "file -force" : "Tavrin_GetImportTranslatorFromFileExtension",
                          [&](const QString &, KCommandResult &) {
                              destroy();
                              return KStatus();
                          });
        if (call == "login check")
            m_stage->controller()->LoginDoneCB(true);
        else if (call == "fetch")
            doubleClick("Deep");
        else if (call == "export" || call == "upload" || call == "question")
            exportAs(call == "question" ? "a" : "new");
        else
            doubleClick("a.obj");
        m_service.duringFetch = m_service.duringLoginCheck = nullptr;
        m_service.duringDownload = m_service.duringUpload = nullptr;
        m_host.answer("file -force", KCommandResult());
        m_host.answer("Tavrin_GetImportTranslatorFromFileExtension", KCommandResult());
        QVERIFY(gone);
        QVERIFY(!m_stage->controller()->GetParentLoginWidget());
    }

private:
    void doubleClick(const QString &name) { m_stage->page()->ListViewItemDoubleClick(m_stage->row(name)); }

    void exportAs(const QString &name)
    {
        m_stage->find<QLineEdit>("CloudExportFileName")->setText(name);
        m_stage->page()->ExportAllClick();
    }

    void restartPaged()
    {
        m_stage.reset();
        m_service.type = ICloudPortalApi::kPagedSearch;
        m_service.search = true;
        m_service.page = 0;
        m_service.itemCount = 1000;
        m_stage = std::make_unique<TestStage>(m_service);
        settle();
    }

    /// Four folder changes a round: by the list, by a menu, by the parent button, by the bar. Pages are turned as well.
    void clickThrough(int rounds)
    {
        for (int i = 0; i < rounds; ++i) {
            doubleClick("Deep");
            settle();
            for (const int pages : {1, -1})
                m_stage->page()->SwitchPage(pages);
            m_stage->page()->PreviousFolderClick();
            settle();
            m_stage->find<QToolBar>("FolderBar")->actions().at(1)->menu()->actions().first()->trigger();
            settle();
            m_stage->find<QToolBar>("FolderBar")->actions().at(1)->trigger();
            settle();
        }
    }

    RecordingHost m_host;
    std::unique_ptr<QMainWindow> m_window;
    TestService m_service;
    std::unique_ptr<TestStage> m_stage;
};

QTEST_MAIN(TestLifetimes)
#include "tst_lifetimes.moc"
