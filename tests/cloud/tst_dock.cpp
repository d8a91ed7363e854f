// The portal registry and the dock panel.

#include "TestPortal.h"

using Tavrin::Settings;

static const char *const kSettings = Portal_CloudBrowserDockWidget::kSettingsName;

class TestDock : public StageTest
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
        m_stage.reset();
        QVERIFY(m_window->findChildren<Portal_CloudBrowserDockWidget *>().isEmpty());
        m_window.reset();
    }

    void aPortalIsRegisteredOnceAndRestoresItsSession()
    {
        m_service.root() = {{"1", "one.obj"}};
        start();
        QCOMPARE(m_stage->names(), QStringList{"one.obj"});
        QCOMPARE(m_service.count("list"), 1);
        TestPortal twin(m_service);
        QVERIFY(!Portal_CloudBrowser::RegisterPortal(&twin));
        QCOMPARE(Portal_CloudBrowser::GetInstance("Test"), m_stage->controller());
        m_stage->controller()->AddPortalTabPage();
        QCOMPARE(tabs()->count(), 1);
    }

    void onlyTheTabThatBecameCurrentIsAsked()
    {
        start();
        TestService other;
        const TestStage second(other, "Second");
        QStringList asked;
        m_service.during["login check"] = [&] { asked << "first"; };
        other.during["login check"] = [&] { asked << "second"; };
        tabs()->setCurrentIndex(1);
        m_stage->dock()->ShowPortal(m_stage->controller());
        QCOMPARE(asked, QStringList({"second", "first"}));
    }

    void placement_data()
    {
        const QString none = QString::number(Qt::NoDockWidgetArea);
        const QString left = QString::number(Qt::LeftDockWidgetArea);
        const QString right = QString::number(Qt::RightDockWidgetArea);
        addRows({"stored", "area", "neighbour", "expected"},
                {{"new user", "floating", none, right, "floating" + none},
                 {"floating, docked before", "floating", right, none, "floating" + right},
                 {"docked nowhere", "docked", none, none, "docked" + right},
                 {"beside another dock", "docked", right, right, "tabbed" + right},
                 {"other side than the other dock", "docked", left, right, "docked" + left},
                 {"garbage area", "docked", "77", right, "tabbed" + right}});
    }
    void placement()
    {
        QFETCH(QString, stored);
        QFETCH(QString, area);
        QFETCH(QString, neighbour);
        auto *other = new QDockWidget("Other", m_window.get());
        m_window->addDockWidget(Qt::RightDockWidgetArea, other);
        other->setVisible(neighbour.toInt() != Qt::NoDockWidgetArea);
        Settings(kSettings).setWindowFloating(stored == "floating");
        Settings(kSettings).setValue("preview_window_Dock", area.toInt());
        start();
        // The second time the panel is there itself and must not become a tab of itself.
        for (int time = 0; time < 2; ++time) {
            Portal_CloudBrowser::RaiseDockingWindow(true);
            settle();
            QVERIFY(m_stage->dock()->isVisible());
            const bool tabbed = m_window->tabifiedDockWidgets(other).contains(m_stage->dock());
            const QString place = m_stage->dock()->isFloating() ? "floating" : tabbed ? "tabbed" : "docked";
            QTEST(place + QString::number(m_window->dockWidgetArea(m_stage->dock())), "expected");
        }
    }

    void thePlaceIsRememberedUnlessOffEveryScreen()
    {
        start();
        Portal_CloudBrowser::RaiseDockingWindow(true);
        QVERIFY(Settings(kSettings).getWindowActive());
        m_stage->dock()->resize(633, 577);
        m_stage->dock()->move(41, 52);
        settle();
        QSize size;
        QPoint place;
        QVERIFY(Settings(kSettings).getWindowSize(size.rwidth(), size.rheight()));
        QVERIFY(Settings(kSettings).getWindowPosition(place.rx(), place.ry()));
        QCOMPARE(size, QSize(633, 577));
        QCOMPARE(place, m_stage->dock()->pos());
        QVERIFY(Settings(kSettings).getWindowRaised());

        m_stage->dock()->close();
        QVERIFY(!Settings(kSettings).getWindowActive());
        Settings(kSettings).setWindowPosition(90000, -70000);
        Portal_CloudBrowser::RaiseDockingWindow(true);
        QVERIFY(QGuiApplication::primaryScreen()->geometry().contains(m_stage->dock()->pos()));
    }

private:
    QTabWidget *tabs() const { return static_cast<QTabWidget *>(m_stage->dock()->widget()); }

    std::unique_ptr<QMainWindow> m_window;
};

QTEST_MAIN(TestDock)
#include "tst_dock.moc"
