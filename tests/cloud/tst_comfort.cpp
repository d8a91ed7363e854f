// What the page does for its user's comfort: the bar that shows a transfer, the keys, and names for screen readers.

#include "TestPortal.h"

#include "cloud/TransferBar.h"
#include "http/httpClient.h"
#include "http/Transfer.h"
#include "support/LocalServer.h"

using Kind = TestItem::Kind;

class TestComfort : public StageTest
{
    Q_OBJECT
private slots:
    void init()
    {
        m_service = TestService();
        m_service.type = ICloudPortalApi::kPagedSearch;
        m_service.search = true;
        m_service.page = 0;
        m_service.itemCount = 1000;
        m_service.exportFormats = {"obj"};
        m_service.root() = {{"d", "Deep", Kind::Folder}, {"f", "cup.obj"}};
        m_service.folders["d"] = {{"dd", "Deeper", Kind::Folder}, {"g", "b.obj"}};
        m_window = std::make_unique<QMainWindow>();
        m_window->resize(500, 500);
        m_host.setMainWindow(m_window.get());
        start();
        Portal_CloudBrowser::RaiseDockingWindow(true);
        m_window->show();
        QApplication::setActiveWindow(m_window.get());
        m_stage->list()->setFocus();
        QTRY_VERIFY(m_stage->list()->hasFocus());
        m_service.log.clear();
    }

    void cleanup()
    {
        m_stage.reset();
        m_window.reset();
        settle();
    }

    void aTransferIsShownUntilItEnds_data()
    {
        addRows({"end", "expected"}, {{"download", "time-out", "cup\\.obj  1\\.5 MB of 3\\.0 MB  [1-9][0-9.]* [kM]B/s"},
                                      {"upload", "success", "cup\\.obj  3\\.0 MB of 3\\.0 MB  [1-9][0-9.]* [kM]B/s"},
                                      {"another", "no page", "cup\\.obj  2\\.0 kB  [1-9][0-9.]* (kB|bytes)/s"}});
    }
    void aTransferIsShownUntilItEnds()
    {
        QFETCH(QString, end);
        QFETCH(QString, expected);
        const QRegularExpression pattern('^' + expected + '$');
        const QRect list = m_stage->list()->geometry();
        const QPointer<TransferBar> shown(bar());
        bool isRight = false;
        QTimer watch;
        connect(&watch, &QTimer::timeout, this, [&] {
            isRight = isRight || (bar()->isVisible() && pattern.match(bar()->accessibleDescription()).hasMatch());
        });
        m_service.during["download"] = [&] {
            QVERIFY(!bar()->isVisible());
            watch.start(20);
            m_service.succeeds = transfer(QTest::currentDataTag(), isRight);
            watch.stop();
            if (end == "no page")
                m_window.reset();
        };
        m_stage->list()->setCurrentRow(1);
        m_stage->button("CloudImportButton")->click();
        QVERIFY(isRight);
        QCOMPARE(m_service.succeeds, end != "time-out");
        QCOMPARE(shown.isNull(), end == "no page");
        QVERIFY(!shown || (!shown->isVisible() && m_stage->list()->hasFocus() && m_stage->list()->geometry() == list));
    }

    void whatTakesLongIsShownAfterAWhile()
    {
        QDialog question(m_window.get());
        question.setModal(true);
        m_service.during["fetch"] = [&] {
            const Transfer request(Transfer::Kind::Waiting); // part of the page's call
            QVERIFY(!bar()->isVisible());
            QTRY_VERIFY(bar()->isVisible());
            QVERIFY(request.ageMs() > 200);
            QCOMPARE(bar()->text(), QString("Waiting for the service"));
            m_window->resize(400, 480);
            QCOMPARE(bar()->geometry().bottomRight(), m_stage->page()->rect().bottomRight());
            QVERIFY(bar()->width() == m_stage->page()->width() && bar()->height() < 30);
            question.show();
            QTRY_VERIFY(!bar()->isVisible());
            question.hide();
            const Transfer inner(Transfer::Kind::Upload, "inner");
            const Transfer other(Transfer::Kind::Download, "another page's", &question);
            QCOMPARE(bar()->text(), QString("inner  0 bytes"));
        };
        m_stage->page()->RefreshFolderData();
        m_service.during.clear();
        QVERIFY(!bar()->isVisible() && m_service.log.size() == 1);
    }

    void keys()
    {
        m_stage->list()->setCurrentRow(0);
        press(Qt::Key_Return);
        QCOMPARE(m_stage->folderBar(), QString("Top/Deep"));
        m_stage->page()->SwitchPage(2);
        m_stage->list()->setCurrentRow(1);
        press(Qt::Key_F5);
        QCOMPARE(m_service.log, QStringList({"search 1 64", "search 3 64", "search 3 64"}));
        QVERIFY(!m_stage->button("CloudImportButton")->isEnabled());
        m_stage->list()->setCurrentRow(1);
        press(Qt::Key_Enter);
        QCOMPARE(m_service.log.last(), QString("download g"));

        press(Qt::Key_F, Qt::ControlModifier);
        QTest::keyClicks(QApplication::focusWidget(), "ab");
        press(Qt::Key_Backspace);
        QCOMPARE(m_stage->find<QLineEdit>("SearchTextInput")->text() + m_stage->folderBar(), QString("aTop/Deep"));
        auto *parent = m_stage->find<QToolBar>("ParentFolderBar");
        parent->widgetForAction(parent->actions().first())->setFocus();
        press(Qt::Key_Backspace);
        QCOMPARE(m_stage->folderBar(), QString("Top"));
        QVERIFY(m_stage->list()->hasFocus()); // the button that had it is switched off

        m_stage->page()->ClearSelection();
        press(Qt::Key_F5);
        QCOMPARE(m_service.log.size(), 6);
        m_stage->dock()->findChild<QTabWidget *>()->setFocus();
        press(Qt::Key_F5);
        press(Qt::Key_F, Qt::ControlModifier);
        QVERIFY(m_service.log.size() == 6 && m_stage->dock()->findChild<QTabWidget *>()->hasFocus());
    }

    void tabGoesThroughNamedControlsInReadingOrder()
    {
        m_stage->doubleClick("Deep");
        m_stage->page()->SwitchPage(7);
        for (const int tab : {0, 1}) {
            m_stage->find<QTabWidget>("ImportExportTabs")->setCurrentIndex(tab);
            m_stage->list()->setCurrentRow(1);
            QSet<QWidget *> missing;
            for (QWidget *widget : m_stage->page()->findChildren<QWidget *>()) {
                if (isControl(widget))
                    missing << widget;
            }
            QPoint last(0, -100);
            QWidget *const first = m_stage->button("CloudPortalLoginButton");
            first->setFocus();
            for (QWidget *focus = first; missing.remove(focus); focus = QApplication::focusWidget()) {
                const QPoint place = focus->mapTo(m_stage->page(), focus->rect().center());
                QVERIFY2(place.y() > last.y() + 8 || place.x() > last.x(), qPrintable(focus->objectName()));
                QVERIFY(!QAccessible::queryAccessibleInterface(focus)->text(QAccessible::Name).isEmpty());
                last = place;
                press(Qt::Key_Tab);
            }
            QVERIFY2(missing.isEmpty(), missing.isEmpty() ? "" : qPrintable((*missing.begin())->accessibleName()));
        }
    }

private:
    TransferBar *bar() const { return m_stage->find<TransferBar>("CloudPortalProgress"); }
    static void press(Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::NoModifier)
    {
        QTest::keyClick(QApplication::focusWidget(), key, modifiers);
    }
    static bool isControl(const QWidget *widget)
    {
        bool isUsed = false;
        for (const char *kind : {"QAbstractButton", "QLineEdit", "QComboBox", "QListWidget", "QTabBar"})
            isUsed = isUsed || widget->inherits(kind);
        return isUsed && widget->isVisible() && widget->isEnabled() && !widget->parentWidget()->inherits("QTabBar");
    }

    /// Three megabytes that stop half-way, three that go, or two kilobytes that no HTTP request moves.
    static bool transfer(const QString &call, const bool &isSeen)
    {
        const QTemporaryDir folder;
        const KString path = KQtUtil::toKString(folder.path() + '/');
        LocalServer server;
        server.answer("/", Reply(call == "upload" ? 200 : 404).body(QByteArray(3000000, 'x')).delayed(300));
        server.answer("/half", Reply().body(QByteArray(3000000, 'x')).hangAfter(1500000));
        httpClient::setDefaultTimeouts(5000, call == "download" ? 1500 : 5000);
        httpClient client;
        client.setHost("127.0.0.1", server.serverPort());
        if (call == "download")
            return client.getFile(KQtUtil::toQString(path), "cup.obj", "/half", {}, false).IsSuccess();
        if (call == "upload") {
            QFile file(folder.filePath("cup.obj"));
            QByteArray body;
            return file.open(QIODevice::WriteOnly) && file.resize(3000000) &&
                   client.postFile(path, "cup.obj", "/", {}, false, body).IsSuccess();
        }
        Transfer other(Transfer::Kind::Download, "cup.obj");
        other.report(2000, -1);
        return QTest::qWaitFor([&] { return isSeen; });
    }

    std::unique_ptr<QMainWindow> m_window;
};

QTEST_MAIN(TestComfort)
#include "tst_comfort.moc"
