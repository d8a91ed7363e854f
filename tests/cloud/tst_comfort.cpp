// What the page does for its user's comfort: the end of a long path, the bar that shows a transfer, the keys, and names
// for screen readers.

#include "cloud/page/TransferBar.h"
#include "http/httpClient.h"
#include "http/Transfer.h"
#include "PageFixture.h"
#include "support/LocalServer.h"

class TestComfort : public PageFixture
{
    Q_OBJECT
private slots:
    void theEndOfALongPathIsShown()
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
            QVERIFY(end->isVisible() && folderBar()->rect().contains(end->geometry()));
            shown << path();
        }
        shown.removeDuplicates();
        QCOMPARE(shown, QStringList({"Top/Deep/" + longName, "«Deep/" + longName, "«" + longName}));
        QCOMPARE(current->iconText().mid(0, 4), QString("R&&B"));
        QVERIFY(current->iconText().size() < longName.size());

        QMenu *rest = folderBar()->actions().at(1)->menu();
        emit rest->aboutToShow();
        QCOMPARE(rest->actions().size(), 2);
        rest->actions().last()->trigger();
        settle();
        QCOMPARE(path(), QString("Top/Deep"));
    }

    void aTransferIsShownUntilItEnds_data()
    {
        addRows({{"broken download", "1.5"}, {"upload", "3.0"}, {"upload from a page that goes", "3.0"}});
    }
    void aTransferIsShownUntilItEnds()
    {
        const auto row = currentRow<2>();
        const bool isUpload = row[0].startsWith("upload");
        const bool pageGoes = row[0].endsWith("goes");
        const QRegularExpression pattern("^cup\\.obj  " + row[1] + " MB of 3\\.0 MB  [1-9][0-9.]* [kM]B/s$");
        const QRect place = list()->geometry();
        const QPointer<TransferBar> shown(bar());
        bool isRight = false;
        QTimer watch;
        connect(&watch, &QTimer::timeout, this, [&] {
            isRight = isRight || (bar()->isVisible() && pattern.match(bar()->accessibleDescription()).hasMatch());
        });
        m_portal.during["download"] = [&] {
            watch.start(20);
            m_portal.succeeds = transfer(isUpload);
            watch.stop();
            if (pageGoes)
                m_window.reset();
        };
        list()->setCurrentRow(1);
        button("CloudImportButton")->click();
        QVERIFY(isRight && m_portal.succeeds == isUpload && shown.isNull() == pageGoes);
        QVERIFY(!shown || (!shown->isVisible() && list()->hasFocus() && list()->geometry() == place));
    }

    void whatTakesLongIsShownAfterAWhile()
    {
        QDialog question(m_window.get());
        question.setModal(true);
        TestPortal other("Other");
        QVERIFY(Portal_CloudBrowser::RegisterPortal(&other));
        const std::unique_ptr<Portal_CloudBrowser> second(Portal_CloudBrowser::GetInstance("Other"));
        second->AddPortalTabPage();
        other.during["fetch"] = [this] {
            const Transfer transfer(Transfer::Kind::Download, "another page's");
            QCOMPARE(bar()->text(), QString("inner  0 bytes"));
        };
        m_portal.during["fetch"] = [&] {
            const Transfer request(Transfer::Kind::Waiting); // part of the page's call
            QVERIFY(!bar()->isVisible());
            QTRY_VERIFY(bar()->isVisible());
            QVERIFY(request.ageMs() > 200);
            QCOMPARE(bar()->text(), QString("Waiting for the service"));
            dock()->resize(dock()->width() + 20, dock()->height() + 20);
            QCOMPARE(bar()->geometry().bottomRight(), page()->rect().bottomRight());
            QVERIFY(bar()->width() == page()->width() && bar()->height() < 30);
            question.show();
            QTRY_VERIFY(!bar()->isVisible());
            question.hide();
            const Transfer inner(Transfer::Kind::Upload, "inner");
            second->LoginDoneCB(true);
        };
        m_portal.log.clear();
        page()->RefreshFolderData();
        QVERIFY(!bar()->isVisible() && m_portal.log.size() == 1);
        QCOMPARE(other.count("list"), 2);
        Portal_CloudBrowser::UnRegisterPortal(&other);
    }

    void keys()
    {
        const auto press = [this](int key, int row = -1) {
            if (row >= 0)
                list()->setCurrentRow(row);
            m_portal.log.clear();
            QTest::keyClick(QApplication::focusWidget(), Qt::Key(key & 0x1ffffff),
                            Qt::KeyboardModifiers(key & 0x4000000));
            settle();
            return path() + ' ' + m_portal.log.join(' ');
        };
        QCOMPARE(press(Qt::Key_Return, 0), QString("Top/Deep search 1 64"));
        page()->SwitchPage(2);
        QCOMPARE(press(Qt::Key_F5, 1), QString("Top/Deep search 3 64"));
        QVERIFY(!button("CloudImportButton")->isEnabled());
        QCOMPARE(press(Qt::Key_Enter, 1), QString("Top/Deep download g"));

        press(int(Qt::CTRL) + Qt::Key_F);
        QTest::keyClicks(QApplication::focusWidget(), "ab");
        QCOMPARE(press(Qt::Key_Backspace), QString("Top/Deep "));
        QCOMPARE(find<QLineEdit>("SearchTextInput")->text(), QString("a"));
        auto *parent = find<QToolBar>("ParentFolderBar");
        parent->widgetForAction(parent->actions().first())->setFocus();
        QCOMPARE(press(Qt::Key_Backspace), QString("Top search 1 64"));
        QVERIFY(list()->hasFocus()); // the button that had it is switched off

        page()->ClearSelection();
        QCOMPARE(press(Qt::Key_F5), QString("Top search 1 64"));
        dock()->findChild<QTabWidget *>()->setFocus();
        press(int(Qt::CTRL) + Qt::Key_F);
        QCOMPARE(press(Qt::Key_F5), QString("Top "));
    }

    void tabGoesThroughNamedControlsInReadingOrder()
    {
        doubleClick("Deep");
        page()->SwitchPage(7);
        for (const int tab : {0, 1}) {
            find<QTabWidget>("ImportExportTabs")->setCurrentIndex(tab);
            dock()->resize(tab == 0 ? 480 : 250, 400);
            settle();
            list()->setCurrentRow(1);
            QSet<QWidget *> missing;
            for (QWidget *widget : page()->findChildren<QWidget *>()) {
                if (isControl(widget))
                    missing << widget;
            }
            QPoint last(0, -100);
            button("CloudPortalLoginButton")->setFocus();
            for (QWidget *focus; missing.remove(focus = QApplication::focusWidget());) {
                const QPoint place = focus->mapTo(page(), focus->rect().center());
                QVERIFY2(place.y() > last.y() + 8 || place.x() > last.x(), qPrintable(focus->objectName()));
                QVERIFY(!QAccessible::queryAccessibleInterface(focus)->text(QAccessible::Name).isEmpty());
                last = place;
                QTest::keyClick(focus, Qt::Key_Tab);
            }
            QVERIFY2(missing.isEmpty(), missing.isEmpty() ? "" : qPrintable((*missing.begin())->accessibleName()));
        }
    }

private:
    void prepare() override
    {
        m_portal.type = ICloudPortalApi::kPagedSearch;
        openWindow(500, 500);
        start();
        Portal_CloudBrowser::RaiseDockingWindow(true);
        m_window->show();
        QApplication::setActiveWindow(m_window.get());
        list()->setFocus();
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

    /// Three megabytes that go, or that stop half-way.
    static bool transfer(bool isUpload)
    {
        const QTemporaryDir folder;
        const QString path = folder.path() + '/';
        const QByteArray bytes(3000000, 'x');
        QFile file(path + "cup.obj");
        LocalServer server;
        server.answer("/up", Reply().delayed(300));
        server.answer("/down", Reply().body(bytes).hangAfter(bytes.size() / 2));
        httpClient::setDefaultTimeouts(5000, isUpload ? 5000 : 1500);
        httpClient client;
        client.setHost("127.0.0.1", server.serverPort());
        QByteArray body;
        if (!isUpload)
            return client.getFile(path, "cup.obj", "/down", {}, false).IsSuccess();
        return file.open(QIODevice::WriteOnly) && file.resize(bytes.size()) &&
               client.postFile(KQtUtil::toKString(path), "cup.obj", "/up", {}, false, body).IsSuccess();
    }
};

QTEST_MAIN(TestComfort)
#include "tst_comfort.moc"
