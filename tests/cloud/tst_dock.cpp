// The portal registry and the dock panel.

#include "TestPortal.h"

#include "support/RecordingHost.h"

#include <QMainWindow>
#include <QTabWidget>
#include <QtTest>

using Tavrin::Settings;

namespace {

const char *const kSettings = Portal_CloudBrowserDockWidget::kSettingsName;

} // namespace

class TestDock : public QObject
{
    Q_OBJECT
private slots:
    void init()
    {
        QFile::remove(Settings(kSettings).fileName());
        m_window = std::make_unique<QMainWindow>();
        m_window->resize(900, 700);
        m_window->setCentralWidget(new QWidget);
        m_window->show();
        m_host.setMainWindow(m_window.get());
        m_service = TestService();
    }

    void cleanup()
    {
        if (m_window)
            QVERIFY(m_window->findChildren<Portal_CloudBrowserDockWidget *>().isEmpty());
        m_window.reset();
        settle();
    }

    void aPortalIsRegisteredOnce()
    {
        TestStage stage(m_service);
        TestPortal twin(m_service);
        QVERIFY(!Portal_CloudBrowser::RegisterPortal(&twin));
        QCOMPARE(Portal_CloudBrowser::GetInstance("Test"), stage.controller());
        stage.controller()->AddPortalTabPage();
        auto *tabs = stage.dock()->findChild<QTabWidget *>("Portal_CloudBrowserDockWidget_tabWidget");
        QCOMPARE(tabs->count(), 1);
        QVERIFY(!Portal_CloudBrowser::GetInstance("unknown"));
        QCOMPARE(m_window->findChildren<QDockWidget *>().size(), 1);
    }

    void aRestoredSessionFillsTheFirstTab()
    {
        m_service.root() = {{"1", "one.obj"}};
        TestStage stage(m_service);
        QCOMPARE(stage.names(), QStringList{"one.obj"});
        QVERIFY(m_service.count("list") == 1);
    }

    void onlyTheTabThatBecameCurrentIsAsked()
    {
        m_service.loggedIn = false;
        TestService other;
        other.loggedIn = false;
        TestStage stage(m_service);
        TestStage second(other, "Second");
        int asked = 0;
        int otherAsked = 0;
        m_service.duringLoginCheck = [&asked] { ++asked; };
        other.duringLoginCheck = [&otherAsked] { ++otherAsked; };
        auto *tabs = stage.dock()->findChild<QTabWidget *>("Portal_CloudBrowserDockWidget_tabWidget");
        tabs->setCurrentIndex(1);
        QCOMPARE(asked, 0);
        QCOMPARE(otherAsked, 1);
        stage.dock()->ShowPortal(stage.controller());
        QCOMPARE(tabs->currentIndex(), 0);
        QCOMPARE(asked, 1);
    }

    void placement_data()
    {
        QTest::addColumn<bool>("floating");
        QTest::addColumn<int>("area");
        QTest::addColumn<bool>("neighbour");
        QTest::addColumn<int>("expectedArea");
        QTest::addColumn<bool>("tabbed");
        const int none = Qt::NoDockWidgetArea;
        const int right = Qt::RightDockWidgetArea;
        const int left = Qt::LeftDockWidgetArea;
        QTest::newRow("new user") << true << none << true << none << false;
        QTest::newRow("floating, docked before") << true << right << false << right << false;
        QTest::newRow("docked nowhere") << false << none << false << right << false;
        QTest::newRow("docked left") << false << left << false << left << false;
        QTest::newRow("beside another dock") << false << right << true << right << true;
        QTest::newRow("other side than the other dock") << false << left << true << left << false;
        QTest::newRow("garbage area") << false << 77 << true << right << true;
    }

    void placement()
    {
        QFETCH(bool, floating);
        QFETCH(int, area);
        QFETCH(bool, neighbour);
        QFETCH(int, expectedArea);
        QFETCH(bool, tabbed);
        auto *other = new QDockWidget("Other", m_window.get());
        if (neighbour)
            m_window->addDockWidget(Qt::RightDockWidgetArea, other);
        other->setVisible(neighbour);
        {
            Settings settings(kSettings);
            settings.setWindowFloating(floating);
            settings.setValue("preview_window_Dock", area);
        }
        TestStage stage(m_service);
        // The second time the panel is there itself and must not become a tab of itself.
        for (int time = 0; time < 2; ++time) {
            Portal_CloudBrowser::RaiseDockingWindow(true);
            settle();
            QVERIFY(stage.dock()->isVisible());
            QCOMPARE(stage.dock()->isFloating(), floating);
            QCOMPARE(int(m_window->dockWidgetArea(stage.dock())), expectedArea);
            QCOMPARE(m_window->tabifiedDockWidgets(other).contains(stage.dock()), tabbed);
        }
        QCOMPARE(Settings(kSettings).getWindowActive(), true);
    }

    void thePlaceIsRememberedUnlessOffEveryScreen()
    {
        TestStage stage(m_service);
        Portal_CloudBrowser::RaiseDockingWindow(true);
        stage.dock()->resize(633, 577);
        stage.dock()->move(41, 52);
        settle();
        int width = 0;
        int height = 0;
        int x = 0;
        int y = 0;
        QVERIFY(Settings(kSettings).getWindowSize(width, height));
        QVERIFY(Settings(kSettings).getWindowPosition(x, y));
        QCOMPARE(QSize(width, height), QSize(633, 577));
        QCOMPARE(QPoint(x, y), stage.dock()->pos());
        QVERIFY(Settings(kSettings).getWindowRaised());

        stage.dock()->close();
        QVERIFY(!Settings(kSettings).getWindowActive());

        Settings(kSettings).setWindowPosition(90000, -70000);
        Portal_CloudBrowser::RaiseDockingWindow(true);
        QVERIFY(QGuiApplication::primaryScreen()->geometry().contains(stage.dock()->pos()));
    }

    void theHostMayDestroyItsWindowFirst()
    {
        TestStage stage(m_service);
        Portal_CloudBrowser::RaiseDockingWindow(true);
        m_window.reset();
        QVERIFY(!stage.controller()->GetParentLoginWidget());
        stage.controller()->LoginDoneCB(true);
        stage.controller()->ShowCloudBrowserWindow();
        stage.controller()->AddPortalTabPage();
        QVERIFY(!stage.controller()->GetParentLoginWidget());
    }

    void aHostWithoutAMainWindowGetsAWindow()
    {
        m_host.setMainWindow(nullptr);
        TestStage stage(m_service);
        Portal_CloudBrowser::RaiseDockingWindow(true);
        QVERIFY(stage.dock()->isVisible());
        QVERIFY(!stage.dock()->parent());
    }

private:
    RecordingHost m_host;
    std::unique_ptr<QMainWindow> m_window;
    TestService m_service;
};

QTEST_MAIN(TestDock)
#include "tst_dock.moc"
