// The folder view: the list, what can be imported, navigation, and the pages of a portal that searches.

#include "PageFixture.h"

class TestPage : public PageFixture
{
    Q_OBJECT
private slots:
    void foldersPrecedeFilesAndOnlyFilesHaveToolTips()
    {
        const QStringList shown = names();
        QStringList folders = shown.mid(0, 2);
        folders.sort();
        QCOMPARE(folders, QStringList({"Deep & far", "Fixed"}));
        QCOMPARE(shown.mid(2), QStringList({"a & b.OBJ", "<b>Notes</b>", "odd.xyz"}));
        QVERIFY(row("Fixed")->toolTip().isEmpty());

        const QPoint place = list()->visualItemRect(row("<b>Notes</b>")).center();
        QHelpEvent event(QEvent::ToolTip, place, list()->viewport()->mapToGlobal(place));
        QApplication::sendEvent(list()->viewport(), &event);
        QCOMPARE(QToolTip::text(), Qt::convertFromPlainText("id: n\nname: <b>Notes</b>"));
    }

    void folderBarShowsThePathAndLeadsUpwards()
    {
        page()->SearchUpdate();
        QCOMPARE(folderAction("Top")->menu()->actions().size(), 2);
        doubleClick("Deep & far");
        QCOMPARE(folderBar()->widgetForAction(folderAction("Deep & far"))->property("text"), QVariant("Deep && far"));

        doubleClick("Deeper");
        QCOMPARE(names(), QStringList({"", "inner.obj"}));
        QCOMPARE(path(), QString("Top/Deep & far/Deeper"));
        QCOMPARE(folderAction("Top")->menu()->actions().size(), 1); // the files listed there are gone
        auto *parent = find<QToolBar>("ParentFolderBar");
        for (const char *above : {"d", "root", "root"}) {
            QCOMPARE(parent->isEnabled(), path() != "Top");
            page()->PreviousFolderClick();
            QCOMPARE(m_portal.log.last(), QString("list ") + above);
        }
        QVERIFY(names().contains("Fixed"));
    }

    void onlyModelsCanBeImported()
    {
        for (const char *name : {"<b>Notes</b>", "odd.xyz", "Fixed"}) {
            list()->setCurrentItem(row("a & b.OBJ"));
            QCOMPARE(chosen(), QString("a & b.OBJ"));
            list()->setCurrentItem(row(name));
            QCOMPARE(chosen(), QString());
        }
    }

    void itemsOfOneNameAreDistinctAndAFetchClearsTheChoice()
    {
        m_portal.succeeds = false; // after half of the items
        doubleClick("Deep & far");
        QCOMPARE(names().size(), 3);
        list()->setCurrentRow(2);
        page()->ImportClick();
        page()->RefreshFolderData();
        QCOMPARE(chosen(), QString());
        page()->ImportClick();
        QCOMPARE(m_portal.log.filter("download"), QStringList("download 2"));
    }

    void logoutClearsThePageAndLoginFillsIt()
    {
        startWith(ICloudPortalApi::kPagedSearch);
        QPushButton *log = button("CloudPortalLoginButton");
        QCOMPARE(log->text() + ' ' + shownButtons(), QString("Logout (Ada & Co) [<] [1] 2 3 4 5 (Next >)"));
        row("a & b.OBJ")->setSelected(true);
        log->click();
        settle();
        QCOMPARE(log->text() + ' ' + shownButtons(), QString("Login [<] [>]"));
        QCOMPARE(names(), QStringList());
        QCOMPARE(chosen(), QString());
        QVERIFY(!list()->isEnabled());
        QVERIFY(!searchField()->isEnabled());
        page()->RefreshFolderData();
        QCOMPARE(m_portal.log, QStringList());
        log->click();
        settle();
        QCOMPARE(names().size(), 5);
        QVERIFY(list()->isEnabled());
    }

    void clicksLeaveNoObjectsBehind()
    {
        startWith(ICloudPortalApi::kPagedSearch);
        QVector<int> before;
        for (int round = 0; round < 12; ++round) {
            doubleClick("Deep & far");
            page()->SwitchPage(1);
            settle();
            page()->PreviousFolderClick();
            settle();
            folderAction("Top")->menu()->actions().first()->trigger();
            settle();
            folderAction("Top")->trigger();
            settle();
            if (round == 2)
                before = objectCounts();
        }
        QCOMPARE(objectCounts(), before);
        QCOMPARE(page()->LiveItemCount(), TestItem::alive);
        QCOMPARE(m_portal.log.size(), 60);
    }

    void refreshesInAFetchRunOnceAfterwards()
    {
        m_portal.log.clear();
        m_portal.during["fetch"] = [this] {
            QVERIFY(Portal_CloudBrowser::IsBusy());
            m_portal.during.clear();
            for (int i = 0; i < 3; ++i) {
                page()->RefreshFolderData();
                m_controller->LoginDoneCB(true);
                page()->SwitchPage(1);
            }
            QCOMPARE(m_portal.log.size(), 1);
        };
        doubleClick("Deep & far");
        QCOMPARE(m_portal.log, QStringList({"list d", "list root"}));
        QCOMPARE(path(), QString("Top"));
        QVERIFY(names().contains("Deep & far"));
    }

    void pagerShowsTheNeighbouringPages_data()
    {
        // The page, the index of its size, the number of all items, and the buttons.
        addRows({{"first page", "1", "2", "130", "[<] [1] 2 (Next >)"},
                 {"third page", "3", "0", "1000", "(< Previous) 1 2 [3] 4 5 6 7 (Next >)"},
                 {"page in the middle", "9", "0", "1000", "(< Previous) 4 5 6 7 8 [9] 10 11 12 13 (Next >)"},
                 {"the last counted item hides a page", "1", "0", "32", "[<] [1] [>]"},
                 {"largest numbers", "2147483647", "2", "2147483647",
                  "(< Previous) 2147483642 2147483643 2147483644 2147483645 2147483646 [2147483647] [>]"}});
    }
    void pagerShowsTheNeighbouringPages()
    {
        const auto [title, number, size, count, expected] = currentRow<5>();
        startWith(ICloudPortalApi::kPagedSearch);
        m_portal.page = number.toInt();
        m_portal.itemCount = count.toInt();
        find<QComboBox>("ItemsPerPage")->setCurrentIndex(size.toInt());
        settle();
        page()->RefreshFolderData();
        QCOMPARE(shownButtons(), expected);
    }

    void pagerButtonsStayWithinTheCountAndAnotherSizeKeepsThePage()
    {
        startWith(ICloudPortalApi::kPagedSearch);
        for (const int pages : {15, 14, -15, -1, 2147483647, 7})
            page()->SwitchPage(pages);
        auto *box = find<QComboBox>("ItemsPerPage");
        QCOMPARE(box->currentText(), QString("show 64 items"));
        box->setCurrentIndex(0);
        settle();
        page()->ItemPerPageClick(-1);
        QCOMPARE(m_portal.log.join(';'), QString("search 15 64;search 0 64;search 7 64;search 7 16;search 7 16"));
        QString pages;
        for (const char *name : {"Previous5", "Next4", "Previous4", "Next3", "Previous3", "Next2", "Previous2", "Next1",
                                 "Previous1", "NextPageButton", "PreviousPageButton"}) {
            button(name)->click();
            pages += m_portal.log.last().section(' ', 1, 1);
        }
        QCOMPARE(pages, QString("26252423232"));
    }

    void searchTextIsACriterionAndAFailedSearchDisablesThePager()
    {
        startWith(ICloudPortalApi::kPagedSearch);
        page()->SwitchPage(2);
        searchField()->setText("R&B #1 100% <b>");
        press(searchField(), Qt::Key_Return);
        QCOMPARE(m_portal.log.last(), QString("search 1 64"));
        QCOMPARE(m_portal.lastCriteria[L"SearchString"], std::wstring(L"R&B #1 100% <b>"));
        searchField()->clear();
        m_portal.succeeds = false;
        page()->SearchUpdate();
        QCOMPARE(m_portal.lastCriteria.count(L"SearchString"), std::size_t(0));
        QCOMPARE(shownButtons(), QString("[<] [>]"));
        m_portal.log.clear();
        page()->SwitchPage(1);
        QCOMPARE(m_portal.log, QStringList());
    }

private:
    void prepare() override
    {
        m_portal.exportFormats.clear();
        m_portal.fixedFolders = QStringList{"Fixed"};
        m_portal.root() = {{"f", "a & b.OBJ"}, {"d", "Deep & far/"}, {"n", "<b>Notes</b>"}, {"x", "odd.xyz"}};
        m_portal.folders["d"] = {{"", "Deeper/"}, {"1", "same.obj"}, {"2", "same.obj"}};
        m_portal.folders[""] = {{"", "/"}, {"", "inner.obj"}};
        start();
    }
    void startWith(int type)
    {
        m_portal.type = type;
        start();
        m_portal.log.clear();
    }
    QLineEdit *searchField() const { return find<QLineEdit>("SearchTextInput"); }
    /// The visible buttons from the left, disabled ones in brackets.
    QString shownButtons() const
    {
        QStringList shown;
        for (const char *name : {"PreviousPageButton", "Previous5", "Previous4", "Previous3", "Previous2", "Previous1",
                                 "CurrentPage", "Next1", "Next2", "Next3", "Next4", "NextPageButton"}) {
            const QPushButton *one = button(name);
            const QString format = !one->isEnabled() ? "[%1]" : one->text().contains(' ') ? "(%1)" : "%1";
            if (!one->isHidden())
                shown << format.arg(one->text());
        }
        return shown.join(' ');
    }
    /// The numbers of actions, widgets and items.
    QVector<int> objectCounts() const
    {
        return {dock()->findChildren<QAction *>().size(), dock()->findChildren<QWidget *>().size(), TestItem::alive};
    }
    /// The name of the file that can be imported, or empty.
    QString chosen() const
    {
        const QString name = find<QLineEdit>("CloudImportFileName")->text();
        return button("CloudImportButton")->isEnabled() != name.isEmpty() ? name : "half " + name;
    }
};

QTEST_MAIN(TestPage)
#include "tst_page.moc"
