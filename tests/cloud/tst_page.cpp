// The folder view: what is shown, what can be chosen, where clicks lead, and the pages of a portal that searches.

#include "TestPortal.h"

using Kind = TestItem::Kind;

class TestPage : public StageTest
{
    Q_OBJECT
private slots:
    void init()
    {
        m_service = TestService();
        m_service.fixedFolders = QStringList{"Fixed"};
        m_service.root() = {{"f", "a & b.OBJ"}, {"d", "Deep & far", Kind::Folder}, {"n", "Notes"}, {"x", "odd.xyz"}};
        m_service.folders["d"] = {{"", "Deeper", Kind::Folder}, {"1", "same.obj"}, {"2", "same.obj"}};
        m_service.folders[""] = {{"", "", Kind::Folder}, {"", "inner.obj"}};
        m_host.answer("Tavrin_GetImportTranslatorFromFileExtension(\"obj\")", KCommandResult(KString("OBJ")));
        start();
    }

    void cleanup() { m_stage.reset(); }

    void foldersStandBeforeFilesAndOnlyFilesHaveToolTips()
    {
        const QStringList names = m_stage->names();
        QVERIFY(names.indexOf("Fixed") < 2 && names.indexOf("Deep & far") < 2);
        QCOMPARE(names.mid(2), QStringList({"a & b.OBJ", "Notes", "odd.xyz"}));
        QVERIFY(m_stage->row("Fixed")->toolTip().isEmpty());

        const QPoint place = m_stage->list()->visualItemRect(m_stage->row("Notes")).center();
        QHelpEvent asked(QEvent::ToolTip, place, QPoint());
        QApplication::sendEvent(m_stage->list()->viewport(), &asked);
        QCOMPARE(QToolTip::text(), Qt::convertFromPlainText("id: n\nmark-up: <b>x</b>"));
        QToolTip::hideText();
    }

    void enteringAndLeavingAFolder()
    {
        m_stage->doubleClick("Deep & far");
        m_stage->doubleClick("Deeper");
        QCOMPARE(m_stage->names(), QStringList({"", "inner.obj"}));
        QCOMPARE(m_stage->folderBar(), QString("Top/Deep & far/Deeper"));
        QCOMPARE(folderAction("Top")->menu()->actions().size(), 1); // what was listed there is not known any more
        auto *parent = m_stage->find<QToolBar>("ParentFolderBar");
        for (const char *above : {"d", "root", "root"}) {
            QCOMPARE(parent->isEnabled(), m_stage->folderBar() != "Top");
            m_stage->page()->PreviousFolderClick();
            QCOMPARE(m_service.log.last(), QString("list ") + above);
        }
        QVERIFY(m_stage->names().contains("Fixed"));
    }

    void theMenuOfAFolderLeadsIntoItsSubFolders()
    {
        m_stage->page()->SearchUpdate();
        QMap<QString, QAction *> entries;
        for (QAction *entry : folderAction("Top")->menu()->actions())
            entries[entry->text()] = entry;
        QCOMPARE(entries.keys(), QStringList({"Deep & far", "Fixed"}));
        entries["Deep & far"]->trigger();
        QCOMPARE(m_service.log.last(), QString("list d"));
        auto *bar = m_stage->find<QToolBar>("FolderBar");
        const auto *button = qobject_cast<QToolButton *>(bar->widgetForAction(folderAction("Deep & far")));
        QCOMPARE(button->text(), QString("Deep && far"));
    }

    void onlyModelsCanBeChosen()
    {
        for (const QString name : {"a & b.OBJ", "Notes", "odd.xyz", "Fixed"}) {
            m_stage->row("a & b.OBJ")->setSelected(true);
            QVERIFY(isImportable("a & b.OBJ"));
            m_stage->list()->setCurrentItem(m_stage->row(name));
            QVERIFY2(isImportable(name.contains('&') ? name : QString()), qPrintable(name));
        }
    }

    void twoItemsOfOneNameStayTwoAndAFetchForgetsTheChoice()
    {
        m_service.succeeds = false; // half-way, so that something came
        m_stage->doubleClick("Deep & far");
        QCOMPARE(m_stage->names().size(), 3);
        m_stage->list()->setCurrentRow(2);
        m_stage->page()->ImportClick();
        QCOMPARE(m_service.log.last(), QString("download 2"));
        m_stage->page()->RefreshFolderData();
        QVERIFY(isImportable(""));
        m_stage->page()->ImportClick();
        QCOMPARE(m_service.count("download"), 1);
    }

    void loggingOutAndIn()
    {
        const auto buttons = m_stage->page()->findChildren<QPushButton *>();
        const auto isLog = [](const QPushButton *button) { return button->text().startsWith("Log"); };
        QPushButton *log = *std::find_if(buttons.begin(), buttons.end(), isLog);
        QCOMPARE(log->text(), QString("Logout (Ada & Co)"));
        m_stage->row("a & b.OBJ")->setSelected(true);
        log->click();
        QCOMPARE(log->text(), QString("Login"));
        QVERIFY(m_stage->names().isEmpty() && !m_stage->list()->isEnabled() && isImportable(""));
        const int asked = m_service.count("list");
        m_stage->page()->RefreshFolderData();
        QCOMPARE(m_service.count("list"), asked);
        log->click();
        QVERIFY(m_stage->names().size() == 5 && m_stage->list()->isEnabled());
    }

    void closingTheDockForgetsTheFolderButNotTheList()
    {
        m_stage->row("a & b.OBJ")->setSelected(true);
        Portal_CloudBrowser::RaiseDockingWindow(true);
        m_stage->dock()->close();
        QVERIFY(m_stage->list()->selectedItems().isEmpty());
        m_service.log.clear();
        m_stage->page()->PreviousFolderClick();
        m_stage->page()->SearchUpdate();
        m_stage->page()->RefreshFolderData();
        QVERIFY(m_service.log.isEmpty() && m_stage->names().size() == 5);
    }

    void buttons_data()
    {
        addRows({"page", "size", "count", "expected"},
                {{"first of three", "1", "2", "130", "[<] [1] 2 (Next >)"},
                 {"third with 16", "3", "0", "1000", "(< Previous) 1 2 [3] 4 5 6 7 (Next >)"},
                 {"ninth with 16", "9", "0", "1000", "(< Previous) 4 5 6 7 8 [9] 10 11 12 13 (Next >)"},
                 {"the last counted item hides a page", "1", "0", "32", "[<] [1] [>]"},
                 {"largest numbers", "2147483647", "2", "2147483647",
                  "(< Previous) 2147483642 2147483643 2147483644 2147483645 2147483646 [2147483647] [>]"}});
    }
    void buttons()
    {
        QFETCH(QString, page);
        QFETCH(QString, size);
        QFETCH(QString, count);
        startPaged();
        m_service.page = page.toInt();
        m_service.itemCount = count.toInt();
        m_stage->find<QComboBox>("ItemsPerPage")->setCurrentIndex(size.toInt());
        m_stage->page()->RefreshFolderData();
        QTEST(shownButtons(), "expected");
    }

    void everyButtonGoesItsWayWithinTheCountAndAnotherPageSizeKeepsThePage()
    {
        startPaged();
        for (const int pages : {15, 14, -15, -1, 2147483647, 7})
            m_stage->page()->SwitchPage(pages);
        auto *box = m_stage->find<QComboBox>("ItemsPerPage");
        QCOMPARE(box->currentText(), QString("show 64 items"));
        box->setCurrentIndex(0);
        m_stage->page()->ItemPerPageClick(-1);
        QCOMPARE(m_service.log,
                 QStringList({"search 15 64", "search 0 64", "search 7 64", "search 7 16", "search 7 16"}));
        const QList<QPair<const char *, int>> clicks = {
            {"Previous5", 2}, {"Next4", 6},          {"Previous4", 2},         {"Next3", 5},
            {"Previous3", 2}, {"Next2", 4},          {"Previous2", 2},         {"Next1", 3},
            {"Previous1", 2}, {"NextPageButton", 3}, {"PreviousPageButton", 2}};
        for (const auto &[name, page] : clicks) {
            m_stage->button(name)->click();
            QCOMPARE(m_service.log.takeLast(), QStringLiteral("search %1 16").arg(page));
        }
    }

    void theSearchTextIsACriterionOfEveryFetch()
    {
        startPaged();
        m_stage->page()->SwitchPage(2);
        auto *field = m_stage->find<QLineEdit>("SearchTextInput");
        field->setText("R&B #1 100% <b>");
        QTest::keyClick(field, Qt::Key_Return);
        QCOMPARE(m_service.log.last(), QString("search 1 64"));
        QCOMPARE(m_service.lastCriteria[L"SearchString"], std::wstring(L"R&B #1 100% <b>"));
        field->clear();
        m_stage->page()->SearchUpdate();
        QCOMPARE(m_service.lastCriteria.count(L"SearchString"), std::size_t(0));
    }

    void aFailedSearchAndALogoutSwitchThePagerOff()
    {
        startPaged();
        m_service.succeeds = false;
        m_stage->page()->SearchUpdate();
        QCOMPARE(shownButtons(), QString("[<] [>]"));
        m_service.log.clear();
        m_stage->page()->SwitchPage(1);
        QCOMPARE(m_service.log, QStringList());
        m_service.succeeds = true;
        m_stage->page()->RefreshFolderData();
        m_stage->page()->LogActionClick();
        QCOMPARE(shownButtons(), QString("[<] [>]"));
        QVERIFY(!m_stage->find<QLineEdit>("SearchTextInput")->isEnabled());
    }

private:
    /// A service of 1000 items, which answers with the page it is asked for.
    void startPaged()
    {
        m_service.type = ICloudPortalApi::kPagedSearch;
        m_service.search = true;
        m_service.page = 0;
        m_service.itemCount = 1000;
        start();
        m_service.log.clear();
    }
    /// From the left, those that are switched off in brackets.
    QString shownButtons() const
    {
        QStringList shown;
        for (const char *name : {"PreviousPageButton", "Previous5", "Previous4", "Previous3", "Previous2", "Previous1",
                                 "CurrentPage", "Next1", "Next2", "Next3", "Next4", "NextPageButton"}) {
            const QPushButton *button = m_stage->button(name);
            const QString format = !button->isEnabled() ? "[%1]" : button->text().contains(' ') ? "(%1)" : "%1";
            if (!button->isHidden())
                shown << format.arg(button->text());
        }
        return shown.join(' ');
    }
    /// The choice is \p name; empty for none.
    bool isImportable(const QString &name) const
    {
        return m_stage->button("CloudImportButton")->isEnabled() != name.isEmpty() &&
               m_stage->find<QLineEdit>("CloudImportFileName")->text() == name;
    }
    QAction *folderAction(const QString &name)
    {
        const QList<QAction *> actions = m_stage->find<QToolBar>("FolderBar")->actions();
        return *std::find_if(actions.begin(), actions.end(), [&](QAction *action) { return action->text() == name; });
    }
};

QTEST_MAIN(TestPage)
#include "tst_page.moc"
