// The portal registry and the dock panel.

#include "PageFixture.h"

using Tavrin::Settings;

static const char *const kSettings = Portal_CloudBrowserDockWidget::kSettingsName;

class TestDock : public PageFixture
{
    Q_OBJECT
private slots:
    void portalIsAddedOnceAndCheckedWhenItsTabBecomesCurrent()
    {
        start();
        QCOMPARE(names(), QStringList({"Deep", "cup.obj"}));
        QCOMPARE(m_portal.log, QStringList("list root"));
        TestPortal twin;
        QVERIFY(!Portal_CloudBrowser::RegisterPortal(&twin));
        QCOMPARE(Portal_CloudBrowser::GetInstance("Test"), m_controller.get());
        m_controller->AddPortalTabPage();
        QCOMPARE(tabs()->count(), 1);

        QStringList checked;
        SecondPortal second;
        m_portal.during["login check"] = [&] { checked << "first"; };
        second.portal.during["login check"] = [&] { checked << "second"; };
        tabs()->setCurrentIndex(1);
        dock()->ShowPortal(m_controller.get());
        QCOMPARE(checked, QStringList({"second", "first"}));
    }

    void dockOpensInTheStoredArea_data()
    {
        // Areas are 0 for none, 1 for the left and 2 for the right one.
        addRows({{"new user", "floating", "0", "2", "floating 0"},
                 {"floating, docked before", "floating", "2", "0", "floating 2"},
                 {"beside another dock", "docked", "2", "2", "tabbed 2"},
                 {"garbage area", "docked", "77", "2", "tabbed 2"}});
    }
    void dockOpensInTheStoredArea()
    {
        const auto [title, stored, area, neighbour, expected] = currentRow<5>();
        auto *other = new QDockWidget(title, m_window.get());
        m_window->addDockWidget(Qt::RightDockWidgetArea, other);
        other->setVisible(neighbour.toInt() != Qt::NoDockWidgetArea);
        Settings(kSettings).setWindowFloating(stored == "floating");
        Settings(kSettings).setValue("preview_window_Dock", area.toInt());
        start();
        // The second time the panel itself is in the area and must not become a tab of itself.
        for (int time = 0; time < 2; ++time) {
            Portal_CloudBrowser::RaiseDockingWindow(true);
            settle();
            QVERIFY(dock()->isVisible());
            const bool tabbed = m_window->tabifiedDockWidgets(other).contains(dock());
            const QString place = dock()->isFloating() ? "floating" : tabbed ? "tabbed" : "docked";
            QCOMPARE(place + ' ' + QString::number(m_window->dockWidgetArea(dock())), expected);
        }
    }

    void placeIsRestoredIfItIsOnAScreen()
    {
        start();
        Portal_CloudBrowser::RaiseDockingWindow(true);
        QVERIFY(Settings(kSettings).getWindowActive());
        dock()->setGeometry(41, 52, 633, 577);
        settle();
        QSize size;
        QPoint place;
        QVERIFY(Settings(kSettings).getWindowSize(size.rwidth(), size.rheight()));
        QVERIFY(Settings(kSettings).getWindowPosition(place.rx(), place.ry()));
        QCOMPARE(size, QSize(633, 577));
        QCOMPARE(place, dock()->pos());
        QVERIFY(Settings(kSettings).getWindowRaised());

        dock()->close();
        QVERIFY(!Settings(kSettings).getWindowActive());
        Settings(kSettings).setWindowPosition(90000, -70000);
        Portal_CloudBrowser::RaiseDockingWindow(true);
        QVERIFY(QGuiApplication::primaryScreen()->geometry().contains(dock()->pos()));
    }

    void layoutIsRestoredAfterARestart_data()
    {
        // The area of the other panel (Tavrin's is docked on the right, which is 2), which of them the user raised
        // last.
        addRows({{"alone", "1", "panel"}, {"beside another, behind", "2", "other"}});
    }
    void layoutIsRestoredAfterARestart()
    {
        const auto [title, area, raised] = currentRow<3>();
        Settings(kSettings).setWindowFloating(false);
        m_portal.during["login check"] = [] { settle(); };
        QDockWidget *other = restart(area.toInt());
        raiseTab(dock());
        m_window->resizeDocks({dock()}, {553}, Qt::Horizontal);
        settle();
        raiseTab(raised == "panel" ? dock() : other);
        for (int run = 0; run < 3; ++run) {
            other = restart(area.toInt());
            QCOMPARE(dock()->width(), 553);
            QCOMPARE(dock()->visibleRegion().isEmpty(), raised == "other");
            QVERIFY(!other->visibleRegion().isEmpty());
        }
        Portal_CloudBrowser::RaiseDockingWindow(true);
        settle();
        QCOMPARE(dock()->width(), 553);
        QVERIFY(!dock()->visibleRegion().isEmpty());
    }

private:
    /// Restarts the host with another panel in \p area. The host reopens the panel that was open.
    QDockWidget *restart(int area)
    {
        m_window->hide();
        settle();
        stop();
        openWindow(1200, 700);
        m_window->setCentralWidget(new QWidget);
        auto *other = new QDockWidget(m_window.get());
        other->setWidget(new QWidget);
        m_window->addDockWidget(static_cast<Qt::DockWidgetArea>(area), other);
        m_window->resizeDocks({other}, {190}, Qt::Horizontal);
        m_window->show();
        const bool wasRaised = Settings(kSettings).getWindowRaised();
        start();
        Portal_CloudBrowser::RaiseDockingWindow(wasRaised);
        settle();
        return other;
    }
    /// Raises \p panel as a click on its tab does, without the panel's own raise().
    static void raiseTab(QWidget *panel)
    {
        panel->raise();
        settle();
    }
    void prepare() override
    {
        QFile::remove(Settings(kSettings).fileName());
        openWindow(900, 700);
        m_window->setCentralWidget(new QWidget);
        m_window->show();
    }
    QTabWidget *tabs() const { return static_cast<QTabWidget *>(dock()->widget()); }
};

QTEST_MAIN(TestDock)
#include "tst_dock.moc"
