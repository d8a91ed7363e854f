// Names of any length and spelling, a dock that closes, and a window that is deleted while a command or a call runs.
// Mouse and key events drive the page.

#include "PageFixture.h"

class TestHostile : public PageFixture
{
    Q_OBJECT
private slots:
    void userNameDefinesNoShortcut()
    {
        setUserName("R&D Team");
        QCOMPARE(button("CloudPortalLoginButton")->text(), QString("Logout (R&D Team)"));
        for (const QAbstractButton *one : page()->findChildren<QAbstractButton *>())
            QVERIFY2(one->shortcut().isEmpty(), qPrintable(one->text()));
    }

    void userNameDoesNotChangeThePageSize_data()
    {
        addRows({{"long", QString(250, 'W')}, {"of several lines", QString("Ada\n").repeated(9)}});
    }
    void userNameDoesNotChangeThePageSize()
    {
        QPushButton *log = button("CloudPortalLoginButton");
        const auto sizes = [&] {
            return QList<QSize>{page()->minimumSizeHint(), page()->sizeHint(), m_window->size(), {0, log->height()}};
        };
        const QList<QSize> before = sizes();
        setUserName(currentRow<2>()[1]);
        QCOMPARE(sizes(), before);
        QVERIFY(page()->rect().contains(log->geometry()));
        QCOMPARE(log->width(), std::min(page()->width(), log->sizeHint().width()));
    }

    void windowMayBeDeletedWhileAMenuIsOpen_data() { addRows({{"list"}, {"folder"}}); }
    void windowMayBeDeletedWhileAMenuIsOpen()
    {
        bool wasOpen = false;
        QTimer::singleShot(0, this, [&] {
            wasOpen = qobject_cast<QMenu *>(QApplication::activePopupWidget()) != nullptr;
            m_window.reset();
        });
        if (currentRow<1>()[0] == "list")
            openMenuOfTheList();
        else
            click(folderBar()->widgetForAction(folderAction("Top")));
        settle();
        QVERIFY(wasOpen);
        QVERIFY(!m_window);
    }

    void menuOfTheListRefreshes()
    {
        m_portal.log.clear();
        openMenuOfTheList();
        const QPointer<QWidget> menu(QApplication::activePopupWidget());
        QVERIFY(menu);
        chooseFirstEntry();
        settle();
        QCOMPARE(m_portal.log, QStringList("list root"));
        QVERIFY(!menu);
    }

    void eachCallMayCloseTheDockOrDeleteTheWindow_data()
    {
        QTest::addColumn<QStringList>("texts");
        for (const auto &[action, perform] : actions()) {
            for (const QString event : {"the dock closes", "the window is deleted"})
                QTest::newRow(qPrintable(action + ", " + event)) << QStringList{action, event};
        }
    }
    void eachCallMayCloseTheDockOrDeleteTheWindow()
    {
        const auto [action, event] = currentRow<2>();
        const bool closes = event == "the dock closes";
        int count = 0;
        for (int number = -1; number < count; ++number) { // the first run only counts the calls
            prepareFor(action);
            const int begun = interrupt(number, closes, actions().at(action));
            count = number < 0 ? begun : count;
            QVERIFY(count > 0);
            checkAfter(closes || number < 0);
        }
    }

private:
    void prepare() override
    {
        answerDialogs();
        prepareWindow();
        showPage();
    }
    void prepareWindow()
    {
        stop();
        Tavrin::Settings(Portal_CloudBrowserDockWidget::kSettingsName).setWindowFloating(false);
        openWindow(600, 500);
        m_window->setCentralWidget(new QWidget);
    }
    /// Shows the folder "Deep" of a portal that can be searched if \p action needs one.
    void prepareFor(const QString &action)
    {
        const bool isPaged = action.contains("page") || action.contains("search");
        m_portal.type = isPaged ? ICloudPortalApi::kPagedSearch : ICloudPortalApi::kPlainListing;
        m_portal.loggedIn = true;
        prepareWindow();
        if (action == "start")
            return;
        showPage();
        doubleClick("Deep");
        if (action == "click on a portal's tab") {
            m_second.emplace();
            dock()->ShowPortal(m_second->controller.get());
        }
        m_portal.loggedIn = action != "log-in";
    }
    /// Performs \p action, and closes the dock or deletes the window in the call with that \p number: a host command, a
    /// call of the portal or a dialog. Returns the number of calls.
    int interrupt(int number, bool closes, const std::function<void()> &action)
    {
        int begun = 0;
        const auto watch = [&] {
            auto *panel = m_window ? m_window->findChild<Portal_CloudBrowserDockWidget *>() : nullptr;
            if (begun++ != number || !panel)
                return;
            if (closes)
                panel->close();
            else
                m_window.reset();
        };
        m_host.watch(watch);
        for (const QString call : {"login check", "fetch", "download", "upload", "dialog"})
            m_portal.during[call] = watch;
        action();
        settle();
        m_host.watch({});
        m_portal.during.clear();
        m_second.reset();
        return begun;
    }
    void checkAfter(bool windowExists)
    {
        QCOMPARE(m_window != nullptr, windowExists);
        m_portal.loggedIn = true;
        m_controller->LoginDoneCB(true);
        m_controller->ShowCloudBrowserWindow();
        m_controller->AddPortalTabPage();
        QCOMPARE(m_controller->GetParentLoginWidget() != nullptr, windowExists);
        if (windowExists)
            QCOMPARE(names(), QStringList({"Deep", "cup.obj"}));
    }
    void setUserName(const QString &name)
    {
        m_portal.userName = name;
        m_controller->LoginDoneCB(true);
        settle();
    }
    void openMenuOfTheList()
    {
        QContextMenuEvent event(QContextMenuEvent::Mouse, QPoint(5, 5), list()->mapToGlobal(QPoint(5, 5)));
        QApplication::sendEvent(list()->viewport(), &event);
    }
    static void chooseFirstEntry()
    {
        const QPointer<QWidget> menu(QApplication::activePopupWidget());
        QTest::keyClick(menu, Qt::Key_Down);
        QTest::keyClick(menu, Qt::Key_Return);
    }
    /// Clicks on a folder of the bar, which blocks until its menu closes, and chooses the first entry.
    void chooseInMenu(const QString &folder)
    {
        QTimer::singleShot(0, this, chooseFirstEntry);
        click(folderBar()->widgetForAction(folderAction(folder)));
    }
    static void type(QWidget *widget, Qt::Key key)
    {
        widget->setFocus();
        QTest::keyClick(widget, key);
    }
    static void clickTab(QTabWidget *tabs, int index)
    {
        click(tabs->tabBar(), tabs->tabBar()->tabRect(index).center());
    }
    void clickOn(const char *bar, int index)
    {
        auto *widget = find<QToolBar>(bar);
        click(widget->widgetForAction(widget->actions().at(index)));
    }
    void exportAs(const char *name)
    {
        find<QLineEdit>("CloudExportFileName")->setText(name);
        button("CloudExportAllButton")->click();
    }
    /// Actions of a user, in the folder "Deep" except for the first one.
    std::map<QString, std::function<void()>> actions()
    {
        return {
            {"start", [this] { showPage(); }},
            {"refresh", [this] { m_controller->LoginDoneCB(true); }},
            {"double click on a folder", [this] { doubleClick("Deeper"); }},
            {"import with options", [this] { find<QCheckBox>("CloudImportOptions")->click(), doubleClick("b.obj"); }},
            {"export over a file", [this] { exportAs("b.obj"); }},
            {"log-out", [this] { click(button("CloudPortalLoginButton")); }},
            {"log-in", [this] { click(button("CloudPortalLoginButton")); }},
            {"click on the export tab", [this] { clickTab(find<QTabWidget>("ImportExportTabs"), 1); }},
            {"click on a file", [this] { clickRow("b.obj"); }},
            {"Return in the search field", [this] { type(find<QLineEdit>("SearchTextInput"), Qt::Key_Return); }},
            {"click on the search sign", [this] { clickOn("SearchBar", 1); }},
            {"click on the upper folder", [this] { clickOn("ParentFolderBar", 0); }},
            {"choice in a folder's menu", [this] { chooseInMenu("Deep"); }},
            {"click on a portal's tab", [this] { clickTab(dock()->findChild<QTabWidget *>(), 0); }},
            {"arrow key in the list", [this] { list()->setCurrentRow(0), type(list(), Qt::Key_Down); }},
        };
    }

    std::optional<SecondPortal> m_second;
};

QTEST_MAIN(TestHostile)
#include "tst_hostile.moc"
