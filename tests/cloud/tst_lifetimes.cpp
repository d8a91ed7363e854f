// What happens while a call spins the event loop, and what is left after many clicks.

#include "TestPortal.h"

#include "support/RecordingHost.h"

#include <QListWidget>
#include <QMainWindow>
#include <QMenu>
#include <QToolBar>
#include <QtTest>

using Kind = TestItem::Kind;

class TestLifetimes : public QObject
{
    Q_OBJECT
private slots:
    void init()
    {
        m_service = TestService();
        m_service.fixedFolders = QStringList{"Fixed", "Other"};
        m_service.root() = {{"d", "Deep", Kind::Folder}, {"f", "a.obj"}};
        m_service.folders["d"] = {{"dd", "Deeper", Kind::Folder}, {"g", "b.obj"}};
        m_service.folders["Fixed"] = {{"h", "c.obj"}};
        m_host.answer("Tavrin_GetImportTranslatorFromFileExtension", KCommandResult(KString("OBJ")));
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

    void manyClicksLeaveNothingBehind()
    {
        clickThrough(3);
        const int actions = m_stage->dock()->findChildren<QAction *>().size();
        const int widgets = m_stage->dock()->findChildren<QWidget *>().size();
        const int items = TestItem::alive;
        QCOMPARE(items, m_stage->page()->LiveItemCount());
        clickThrough(125);
        QCOMPARE(m_stage->dock()->findChildren<QAction *>().size(), actions);
        QCOMPARE(m_stage->dock()->findChildren<QWidget *>().size(), widgets);
        QCOMPARE(TestItem::alive, items);
        QCOMPARE(m_stage->page()->LiveItemCount(), items);
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
        for (const char *call : {"login check", "fetch", "download", "import", "options"})
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
        else
            m_host.handle(call == "import" ? "file -force" : "Tavrin_GetImportTranslatorFromFileExtension",
                          [&](const QString &, KCommandResult &) {
                              destroy();
                              return KStatus();
                          });
        if (call == "login check")
            m_stage->controller()->LoginDoneCB(true);
        else if (call == "fetch")
            doubleClick("Deep");
        else
            doubleClick("a.obj");
        m_service.duringFetch = m_service.duringLoginCheck = m_service.duringDownload = nullptr;
        m_host.answer("file -force", KCommandResult());
        m_host.answer("Tavrin_GetImportTranslatorFromFileExtension", KCommandResult());
        QVERIFY(gone);
        QVERIFY(!m_stage->controller()->GetParentLoginWidget());
    }

private:
    void doubleClick(const QString &name) { m_stage->page()->ListViewItemDoubleClick(m_stage->row(name)); }

    /// Four folder changes a round: by the list, by a menu, by the parent button, by the bar.
    void clickThrough(int rounds)
    {
        for (int i = 0; i < rounds; ++i) {
            doubleClick("Deep");
            settle();
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
