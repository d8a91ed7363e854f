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
        press(list(), Qt::Key_D, Qt::AltModifier);
        QVERIFY(!button("CloudPortalLoginButton")->isDown());
        for (const QAbstractButton *one : page()->findChildren<QAbstractButton *>())
            QVERIFY2(one->shortcut().isEmpty(), qPrintable(one->text()));
    }

    void folderNameDefinesNoShortcutInAMenu_data()
    {
        addRows({{"sub-folders", "Top"}, {"hidden part of the path", "\u00ab"}});
    }
    void folderNameDefinesNoShortcutInAMenu()
    {
        const auto [title, holder] = currentRow<2>();
        m_portal.fixedFolders = QStringList{"R&D"};
        m_portal.folders["R&D"] = {{"x", QString("Another folder with a name that leaves no room").repeated(3) + '/'}};
        m_controller->LoginDoneCB(true);
        if (holder != "Top") {
            doubleClick("R&D");
            doubleClick(names().first());
        }
        const QString before = path();
        QMenu *menu = nullptr;
        for (QAction *action : folderBar()->actions()) {
            if (action->text() == holder)
                menu = action->menu();
        }
        for (const Qt::KeyboardModifiers modifiers : {Qt::NoModifier, Qt::AltModifier}) {
            menu->popup(QPoint());
            press(menu, Qt::Key_D, modifiers);
            QCOMPARE(path(), before);
        }
        menu->popup(QPoint());
        press(menu, Qt::Key_Down);
        press(menu, Qt::Key_Return);
        QVERIFY(path() != before);
    }

    void userNameDoesNotChangeThePageSize_data()
    {
        addRows({{"long", QString(250, 'W')}, {"of several lines", QString("Ada\n").repeated(9)}, {"short", "Li"}});
    }
    void userNameDoesNotChangeThePageSize()
    {
        const auto [title, name] = currentRow<2>();
        const QSize window = m_window->size();
        const QSize smallest = page()->minimumSizeHint();
        const QSize wanted = page()->sizeHint();
        const QWidget *log = button("CloudPortalLoginButton");
        const int height = log->height();
        setUserName(name);
        QCOMPARE(button("CloudPortalLoginButton")->text(), "Logout (" + name + ')');
        QCOMPARE(page()->minimumSizeHint(), smallest);
        QCOMPARE(page()->sizeHint(), wanted);
        QCOMPARE(m_window->size(), window);
        QCOMPARE(log->height(), height);
        QVERIFY(page()->rect().contains(log->geometry()));
        QCOMPARE(log->width(), std::min(page()->width(), log->sizeHint().width()));
        QCOMPARE(toolTip(log, log->rect().center()).contains(name), title == "long");
    }

    void endOfALongNameIsShown_data() { addRows({{"first row", "0"}, {"below a short one", "1"}}); }
    void endOfALongNameIsShown()
    {
        const int place = currentRow<2>()[1].toInt();
        QList<QImage> pictures;
        for (const QString extension : {".obj", ".fbx"}) {
            m_portal.root() = {{"s", "cup.obj"}};
            m_portal.root().insert(place, {"f", QString(80, 'n') + extension});
            page()->RefreshFolderData();
            settle();
            QCOMPARE(list()->horizontalScrollBar()->maximum(), 0);
            const QRect area = list()->visualItemRect(list()->item(place));
            QCOMPARE(area.width(), list()->viewport()->width());
            pictures << list()->viewport()->grab(area).toImage();
            const QString tip = toolTip(list()->viewport(), area.center());
            QVERIFY(tip.contains(QString(80, 'n') + extension));
        }
        QVERIFY(pictures[0] != pictures[1]);
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
            click(folderBar()->widgetForAction(folderBar()->actions().at(1)));
        settle();
        QVERIFY(wasOpen);
        QVERIFY(!m_window);
    }

    void menuOfTheListRefreshes()
    {
        m_portal.log.clear();
        openMenuOfTheList();
        QPointer<QWidget> menu(QApplication::activePopupWidget());
        QVERIFY(menu);
        press(menu, Qt::Key_Down);
        press(menu, Qt::Key_Return);
        QCOMPARE(m_portal.log, QStringList("search 1 64"));
        QVERIFY(!menu);
    }

    void windowMayBeDeletedAfter_data()
    {
        // The user's action, and the portal call, host command or question that deletes the window.
        addRows({{"double click on a folder", "fetch"},
                 {"double click on a file", "download"},
                 {"choice of a page size", "fetch"},
                 {"Return in the search field", "fetch"},
                 {"click on the search sign", "fetch"},
                 {"click on a page", "fetch"},
                 {"choice in a folder's menu", "fetch"},
                 {"click on the upper folder", "fetch"},
                 {"log-out", "login check"},
                 {"click on a portal's tab", "login check"},
                 {"click on the export tab", "Tavrin_GetExportTranslatorList"},
                 {"click on a file", "Tavrin_GetImportTranslatorFromFileExtension"},
                 {"arrow key in the list", "Tavrin_GetImportTranslatorFromFileExtension"},
                 {"Return in the list", "fetch"},
                 {"F5", "fetch"},
                 {"import with options", "file "},
                 {"export over a file", "question"},
                 {"export", "file "},
                 {"export", "upload"}});
    }
    void windowMayBeDeletedAfter()
    {
        const auto [action, call] = currentRow<2>();
        TestPortal other("Other");
        QVERIFY(Portal_CloudBrowser::RegisterPortal(&other));
        const std::unique_ptr<Portal_CloudBrowser> second(Portal_CloudBrowser::GetInstance("Other"));
        const auto unregister = qScopeGuard([&other] {
            other.during.clear();
            Portal_CloudBrowser::UnRegisterPortal(&other);
        });
        second->AddPortalTabPage();
        if (call != "fetch" && call != "login check")
            m_portal.type = ICloudPortalApi::kPlainListing;
        doubleClick("Deep");
        const auto destroy = [this] { m_window.reset(); };
        m_portal.during[call] = destroy;
        other.during[call] = destroy;
        m_host.handle(call, [destroy](const QString &, KCommandResult &) {
            destroy();
            return KStatus();
        });
        perform(action);
        settle();
        QVERIFY(!m_window);
        m_controller->LoginDoneCB(true);
        m_controller->ShowCloudBrowserWindow();
        m_controller->AddPortalTabPage();
        QVERIFY(!m_controller->GetParentLoginWidget());
    }

    void eachCommandMayCloseTheDockOrDeleteTheWindow_data()
    {
        QTest::addColumn<QStringList>("texts");
        for (const QString action :
             {"start", "refresh", "double click on a folder", "import with options", "export over a file", "options",
              "log-out", "log-in", "click on the export tab", "click on a file"}) {
            for (const QString event : {"the dock closes", "the window is deleted"})
                QTest::newRow(qPrintable(action + ", " + event)) << QStringList{action, event};
        }
    }
    void eachCommandMayCloseTheDockOrDeleteTheWindow()
    {
        const auto [action, event] = currentRow<2>();
        const bool closes = event == "the dock closes";
        m_portal.type = ICloudPortalApi::kPlainListing;
        int count = 0;
        for (int number = -1; number < count; ++number) { // the first run only counts the commands
            prepareWindow(action != "start");
            int sent = 0;
            m_host.watch([&] {
                auto *panel = m_window ? m_window->findChild<Portal_CloudBrowserDockWidget *>() : nullptr;
                if (sent++ != number || !panel)
                    return;
                if (closes)
                    panel->close();
                else
                    m_window.reset();
            });
            perform(action);
            settle();
            m_host.watch({});
            if (number < 0)
                count = sent;
            QVERIFY(count > 0);
            QCOMPARE(m_window == nullptr, !closes && number >= 0);
            if (closes) {
                m_portal.loggedIn = true;
                m_controller->LoginDoneCB(true);
                QCOMPARE(names(), QStringList({"Deep", "cup.obj"}));
            }
            stop();
        }
        start();
    }

private:
    void prepare() override
    {
        m_answering.start(5, this);
        m_host.setState(KGlobal::kInteractive);
        m_host.answer("internalVar -userAppDir", KCommandResult(KQtUtil::toKString(m_dir.path() + '/')));
        m_host.answer("file ", KCommandResult(KString("/elsewhere/Written.FBX")));
        m_host.answer("Tavrin_GetImportTranslatorFromFileExtension", KCommandResult(KString("known")));
        m_host.answer("Tavrin_GetExportTranslatorList", result({"OBJ"}));
        m_host.answer("Tavrin_GetExportTranslatorExtensionList", result({"obj"}));
        m_portal.type = ICloudPortalApi::kPagedSearch;
        prepareWindow(true);
    }
    void prepareWindow(bool withPage)
    {
        stop();
        Tavrin::Settings(Portal_CloudBrowserDockWidget::kSettingsName).setWindowFloating(false);
        openWindow(600, 500);
        m_window->setCentralWidget(new QWidget);
        if (withPage)
            showPage();
    }
    void showPage()
    {
        start();
        if (!m_window)
            return;
        Portal_CloudBrowser::RaiseDockingWindow(true);
        m_window->show();
        QApplication::setActiveWindow(m_window.get());
        list()->setFocus();
        settle();
    }
    void setUserName(const QString &name)
    {
        m_portal.userName = name;
        m_controller->LoginDoneCB(true);
        settle();
    }

    static void press(QWidget *widget, Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::NoModifier)
    {
        QTest::keyClick(widget, key, modifiers);
        settle();
    }
    void openMenuOfTheList()
    {
        QContextMenuEvent event(QContextMenuEvent::Mouse, QPoint(5, 5), list()->mapToGlobal(QPoint(5, 5)));
        QApplication::sendEvent(list()->viewport(), &event);
    }
    static QString toolTip(const QWidget *widget, const QPoint &place)
    {
        QHelpEvent event(QEvent::ToolTip, place, widget->mapToGlobal(place));
        QApplication::sendEvent(const_cast<QWidget *>(widget), &event);
        const QString text = QToolTip::text();
        QToolTip::hideText();
        settle();
        return text;
    }
    /// Performs one user action, in the folder that the page shows.
    void perform(const QString &action)
    {
        const bool isDeep = m_controller && page() && row("Deeper");
        const QString folder = isDeep ? "Deeper" : "Deep";
        const QString file = isDeep ? "b.obj" : "cup.obj";
        const auto bar = [this](const char *name) { return find<QToolBar>(name); };
        const auto clickOn = [&](const char *name, int index) {
            click(bar(name)->widgetForAction(bar(name)->actions().at(index)));
        };
        const auto exportAs = [this](const QString &name) {
            find<QLineEdit>("CloudExportFileName")->setText(name);
            button("CloudExportAllButton")->click();
        };
        const std::map<QString, std::function<void()>> actions{
            {"start", [&] { showPage(); }},
            {"refresh", [&] { m_controller->LoginDoneCB(true); }},
            {"double click on a folder", [&] { doubleClick(folder); }},
            {"double click on a file", [&] { doubleClick(file); }},
            {"import with options",
             [&] {
                 find<QCheckBox>("CloudImportOptions")->setChecked(true);
                 doubleClick(file);
             }},
            {"export", [&] { exportAs("new"); }},
            {"export over a file", [&] { exportAs(file); }},
            {"options", [&] { button("CloudExportOptionsButton")->click(); }},
            {"log-out", [&] { click(button("CloudPortalLoginButton")); }},
            {"log-in", [&] { click(button("CloudPortalLoginButton")); }},
            {"choice of a page size", [&] { QTest::keyClick(find<QComboBox>("ItemsPerPage"), Qt::Key_Up); }},
            {"Return in the search field",
             [&] {
                 find<QLineEdit>("SearchTextInput")->setFocus();
                 QTest::keyClick(find<QLineEdit>("SearchTextInput"), Qt::Key_Return);
             }},
            {"click on the search sign", [&] { clickOn("SearchBar", bar("SearchBar")->actions().size() - 1); }},
            {"click on a page", [&] { click(button("Next1")); }},
            {"choice in a folder's menu",
             [&] { chooseInMenu(folderBar()->widgetForAction(folderBar()->actions().last())); }},
            {"click on the upper folder", [&] { clickOn("ParentFolderBar", 0); }},
            {"click on a portal's tab", [&] { clickTab(dock()->findChild<QTabWidget *>()); }},
            {"click on the export tab", [&] { clickTab(find<QTabWidget>("ImportExportTabs")); }},
            {"click on a file", [&] { clickRow(file); }},
            {"arrow key in the list",
             [&] { QTest::keyClick(list(), Qt::Key_Down), QTest::keyClick(list(), Qt::Key_Down); }},
            {"Return in the list", [&] { list()->setCurrentRow(0), QTest::keyClick(list(), Qt::Key_Return); }},
            {"F5", [&] { QTest::keyClick(list(), Qt::Key_F5); }}};
        if (action.startsWith("log-"))
            m_portal.loggedIn = action == "log-out";
        actions.at(action)();
    }
    /// Opens the menu of \p button, which blocks until the menu closes, and chooses its first entry.
    void chooseInMenu(QWidget *button)
    {
        QTimer::singleShot(0, this, [] {
            QPointer<QWidget> menu(QApplication::activePopupWidget());
            QTest::keyClick(menu, Qt::Key_Down);
            QTest::keyClick(menu, Qt::Key_Return);
        });
        click(button);
    }
    static void clickTab(QTabWidget *tabs) { click(tabs->tabBar(), tabs->tabBar()->tabRect(1).center()); }

    /// Agrees to a question or an options dialog, after the hook of a question has run.
    void timerEvent(QTimerEvent *) override
    {
        const QPointer<QDialog> dialog = qobject_cast<QDialog *>(QApplication::activeModalWidget());
        if (dialog)
            m_portal.run("question");
        if (auto *box = qobject_cast<QMessageBox *>(dialog))
            box->button(QMessageBox::Yes)->click();
        else if (dialog)
            dialog->findChild<QDialogButtonBox *>()->button(QDialogButtonBox::Ok)->click();
    }

    QTemporaryDir m_dir;
    QBasicTimer m_answering;
};

QTEST_MAIN(TestHostile)
#include "tst_hostile.moc"
