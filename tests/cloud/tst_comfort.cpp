// The end of a long path, the bar that shows a transfer, the keys, and names for screen readers.

#include "cloud/page/TransferBar.h"
#include "http/Transfer.h"
#include "PageFixture.h"

class TestComfort : public PageFixture
{
    Q_OBJECT
private slots:
    void endOfALongPathIsShown()
    {
        const QString longName = "R&B, with a name that is too long for a narrow bar";
        m_portal.folders["d"] = {{"r", longName + '/'}};
        doubleClick("Deep");
        doubleClick(longName);
        QAction *current = folderBar()->actions().last();
        const QWidget *end = folderBar()->widgetForAction(current);
        QStringList shown;
        for (int width = 1200; width >= 150; width -= 15) {
            dock()->resize(width, 400);
            settle();
            QVERIFY(end->isVisible());
            QVERIFY(folderBar()->rect().contains(end->geometry()));
            shown << path();
        }
        shown.removeDuplicates();
        QCOMPARE(shown, QStringList({"Top/Deep/" + longName, "«Deep/" + longName, "«" + longName}));
        QCOMPARE(current->iconText().mid(0, 4), QString("R&&B"));
        QVERIFY(current->iconText().size() < longName.size());
    }

    void transferIsShownUntilItEnds()
    {
        const QRegularExpression numbers("^cup\\.obj  1\\.5 MB of 3\\.0 MB  [1-9][0-9.]* [kM]B/s$");
        const QRect place = list()->geometry();
        m_portal.during["download"] = [&] {
            Transfer transfer(Transfer::Kind::Download, "cup.obj");
            QVERIFY(bar()->isVisible());
            QTest::qWait(120); // before that the rate is unknown
            transfer.report(1500000, 3000000);
            QTRY_VERIFY(numbers.match(bar()->accessibleDescription()).hasMatch());
        };
        list()->setCurrentRow(1);
        button("CloudImportButton")->click();
        QCOMPARE(m_portal.log, QStringList("download f"));
        QVERIFY(!bar()->isVisible());
        QVERIFY(list()->hasFocus());
        QCOMPARE(list()->geometry(), place);
    }

    void longRequestIsShownAfterADelay()
    {
        m_portal.during["fetch"] = [&] {
            const Transfer request(Transfer::Kind::Waiting); // part of the page's call
            QVERIFY(!bar()->isVisible());
            QTRY_VERIFY(bar()->isVisible());
            QVERIFY(request.ageMs() > 200);
            QCOMPARE(bar()->text(), QString("Waiting for the service"));
        };
        m_portal.log.clear();
        page()->RefreshFolderData();
        QVERIFY(!bar()->isVisible());
        QCOMPARE(m_portal.log.size(), 1);
    }

    void keysOpenFoldersRefreshImportAndSearch()
    {
        // Sends a key to the widget that has the focus. Returns the path and the requests.
        const auto send = [this](Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::NoModifier) {
            m_portal.log.clear();
            press(QApplication::focusWidget(), key, modifiers);
            return path() + ' ' + m_portal.log.join(' ');
        };
        list()->setCurrentRow(0);
        QCOMPARE(send(Qt::Key_Return), QString("Top/Deep search 1 64"));
        page()->SwitchPage(2);
        list()->setCurrentRow(1);
        QCOMPARE(send(Qt::Key_F5), QString("Top/Deep search 3 64"));
        QVERIFY(!button("CloudImportButton")->isEnabled());
        list()->setCurrentRow(1);
        QCOMPARE(send(Qt::Key_Enter), QString("Top/Deep download g"));

        send(Qt::Key_F, Qt::ControlModifier);
        QTest::keyClicks(QApplication::focusWidget(), "ab");
        QCOMPARE(send(Qt::Key_Backspace), QString("Top/Deep "));
        QCOMPARE(find<QLineEdit>("SearchTextInput")->text(), QString("a"));
        auto *parent = find<QToolBar>("ParentFolderBar");
        parent->widgetForAction(parent->actions().first())->setFocus();
        QCOMPARE(send(Qt::Key_Backspace), QString("Top search 1 64"));
        QVERIFY(list()->hasFocus()); // the button that had it is disabled

        page()->ClearSelection();
        QCOMPARE(send(Qt::Key_F5), QString("Top search 1 64"));
        dock()->findChild<QTabWidget *>()->setFocus();
        send(Qt::Key_F, Qt::ControlModifier);
        QCOMPARE(send(Qt::Key_F5), QString("Top "));
    }

    void everyControlHasAName()
    {
        for (const int tab : {0, 1}) {
            find<QTabWidget>("ImportExportTabs")->setCurrentIndex(tab);
            for (QWidget *widget : page()->findChildren<QWidget *>()) {
                const QString name = QAccessible::queryAccessibleInterface(widget)->text(QAccessible::Name);
                QVERIFY2(!isControl(widget) || !name.isEmpty(), qPrintable(widget->objectName()));
            }
        }
    }

private:
    void prepare() override
    {
        m_portal.type = ICloudPortalApi::kPagedSearch;
        openWindow(500, 500);
        showPage();
        QTRY_VERIFY(list()->hasFocus());
        m_portal.log.clear();
    }
    TransferBar *bar() const { return find<TransferBar>("CloudPortalProgress"); }
    static bool isControl(const QWidget *widget)
    {
        bool isUsed = false;
        for (const char *kind : {"QAbstractButton", "QLineEdit", "QComboBox", "QListWidget", "QTabBar"})
            isUsed = isUsed || widget->inherits(kind);
        return isUsed && widget->isVisible() && widget->isEnabled() && !widget->parentWidget()->inherits("QTabBar");
    }
};

QTEST_MAIN(TestComfort)
#include "tst_comfort.moc"
