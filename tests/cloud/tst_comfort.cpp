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
        const QString whole = "cup\\.obj  3\\.0 MB of 3\\.0 MB  [1-9][0-9.]* [kM]B/s";
        addRows({"text"}, {{"broken download", "cup\\.obj  1\\.5 MB of 3\\.0 MB  [1-9][0-9.]* [kM]B/s"},
                           {"upload", whole},
                           {"upload from a page that goes", whole}});
    }
    void aTransferIsShownUntilItEnds()
    {
        QFETCH(QString, text);
        const QString tag = QTest::currentDataTag();
        const QRegularExpression pattern('^' + text + '$');
        const QRect list = m_stage->list()->geometry();
        const QPointer<TransferBar> shown(bar());
        bool isRight = false;
        QTimer watch;
        connect(&watch, &QTimer::timeout, this, [&] {
            isRight = isRight || (bar()->isVisible() && pattern.match(bar()->accessibleDescription()).hasMatch());
        });
        m_service.during["download"] = [&] {
            watch.start(20);
            m_service.succeeds = transfer(tag.startsWith("upload"));
            watch.stop();
            if (tag.endsWith("goes"))
                m_window.reset();
        };
        m_stage->list()->setCurrentRow(1);
        m_stage->button("CloudImportButton")->click();
        QVERIFY(isRight && m_service.succeeds == tag.startsWith("upload") && shown.isNull() == tag.endsWith("goes"));
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
            const Transfer part(Transfer::Kind::Download, "part of that");
            QCOMPARE(bar()->text(), QString("inner  0 bytes"));
        };
        m_stage->page()->RefreshFolderData();
        m_service.during.clear();
        QVERIFY(!bar()->isVisible() && m_service.log.size() == 1);
    }

    void keys()
    {
        const auto press = [this](int key, int row = -1) {
            if (row >= 0)
                m_stage->list()->setCurrentRow(row);
            QTest::keyClick(QApplication::focusWidget(), Qt::Key(key & 0x1ffffff),
                            Qt::KeyboardModifiers(key & 0x4000000));
            return m_stage->folderBar() + ' ' + m_service.log.join(' ');
        };
        QCOMPARE(press(Qt::Key_Return, 0), QString("Top/Deep search 1 64"));
        m_service.log.clear();
        m_stage->page()->SwitchPage(2);
        QCOMPARE(press(Qt::Key_F5, 1), QString("Top/Deep search 3 64 search 3 64"));
        QVERIFY(!m_stage->button("CloudImportButton")->isEnabled());
        QVERIFY(press(Qt::Key_Enter, 1).endsWith("download g"));

        m_service.log.clear();
        press(int(Qt::CTRL) + Qt::Key_F);
        QTest::keyClicks(QApplication::focusWidget(), "ab");
        QCOMPARE(press(Qt::Key_Backspace), QString("Top/Deep "));
        QCOMPARE(m_stage->find<QLineEdit>("SearchTextInput")->text(), QString("a"));
        auto *parent = m_stage->find<QToolBar>("ParentFolderBar");
        parent->widgetForAction(parent->actions().first())->setFocus();
        QCOMPARE(press(Qt::Key_Backspace), QString("Top search 1 64"));
        QVERIFY(m_stage->list()->hasFocus()); // the button that had it is switched off

        m_stage->page()->ClearSelection();
        QCOMPARE(press(Qt::Key_F5), QString("Top search 1 64 search 1 64"));
        m_stage->dock()->findChild<QTabWidget *>()->setFocus();
        press(int(Qt::CTRL) + Qt::Key_F);
        QCOMPARE(press(Qt::Key_F5), QString("Top search 1 64 search 1 64"));
    }

    void tabGoesThroughNamedControlsInReadingOrder()
    {
        m_stage->doubleClick("Deep");
        m_stage->page()->SwitchPage(7);
        for (const int tab : {0, 1}) {
            m_stage->find<QTabWidget>("ImportExportTabs")->setCurrentIndex(tab);
            m_window->resizeDocks({m_stage->dock()}, {tab == 0 ? 480 : 200}, Qt::Horizontal);
            settle();
            m_stage->list()->setCurrentRow(1);
            QSet<QWidget *> missing;
            for (QWidget *widget : m_stage->page()->findChildren<QWidget *>()) {
                if (isControl(widget))
                    missing << widget;
            }
            QPoint last(0, -100);
            m_stage->button("CloudPortalLoginButton")->setFocus();
            for (QWidget *focus; missing.remove(focus = QApplication::focusWidget());) {
                const QPoint place = focus->mapTo(m_stage->page(), focus->rect().center());
                QVERIFY2(place.y() > last.y() + 8 || place.x() > last.x(), qPrintable(focus->objectName()));
                QVERIFY(!QAccessible::queryAccessibleInterface(focus)->text(QAccessible::Name).isEmpty());
                last = place;
                QTest::keyClick(focus, Qt::Key_Tab);
            }
            QVERIFY2(missing.isEmpty(), missing.isEmpty() ? "" : qPrintable((*missing.begin())->accessibleName()));
        }
    }

private:
    TransferBar *bar() const { return m_stage->find<TransferBar>("CloudPortalProgress"); }
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

    std::unique_ptr<QMainWindow> m_window;
};

QTEST_MAIN(TestComfort)
#include "tst_comfort.moc"
