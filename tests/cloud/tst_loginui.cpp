// The web sign-in dialog with pages of a real server.

#include "PageFixture.h"
#include "support/LocalServer.h"
#include "support/MessageBoxes.h"

#include <QWebFrame>
#include <QWebView>

using ICloudPortalApi::LoginUi;

static Reply html(const QByteArray &body)
{
    const QByteArray start = "<html><head><title>Sign in</title></head><body>";
    return Reply().header("Content-Type", "text/html").body(start + body + "</body></html>");
}

class TestLoginUi : public PageFixture
{
    Q_OBJECT
private slots:
    void dialogNeedsAnAddressAndASignedOutUser()
    {
        m_portal.loggedIn = true;
        QVERIFY(!m_ui->login(nullptr));
        m_portal.loggedIn = false;
        for (const long length : {-1, 0x7fffffff}) {
            m_portal.claimedLength = length;
            QVERIFY(!m_ui->login(nullptr));
        }
        QVERIFY(!dialog());
    }

    void finalAddressEndsTheDialogOnce()
    {
        m_server->answer("/done", html("done"));
        m_portal.address += "?q=" + QByteArray(1500, 'x'); // more than the first buffer holds
        QWidget window;
        QWidget inner(&window);
        QVERIFY(m_ui->login(&inner));
        QVERIFY(dialog());
        QVERIFY(dialog()->isWindow());
        QTRY_COMPARE(m_results, QStringList({"signal 1", "callback 1"}));
        QCOMPARE("http://" + m_server->authority() + m_server->lastRequest("/form").target, m_portal.address);
        QVERIFY(!dialog());
        QTest::qWait(100);
        m_ui->loginDone(); // as at the end of another sign-in
        QCOMPARE(m_results.size(), 2);
    }

    void windowMayBeDeletedInTheCallback()
    {
        m_server->answer("/done", html(QByteArray(300000, 'x')).hangAfter(100000));
        openWindow(100, 100);
        m_portal.during["sign-in"] = [this] {
            QTest::qWait(20); // the page is still loading
            m_window.reset();
        };
        QVERIFY(m_ui->login(m_window.get()));
        QTRY_VERIFY(!m_window);
        QTest::qWait(50);
        QCOMPARE(m_results, QStringList({"signal 1", "callback 1"}));
        QVERIFY(!dialog());
    }

    void dialogFitsThePageOrShowsTheError()
    {
        const QSize first(343, 368);
        const QSize screen = QGuiApplication::primaryScreen()->availableSize();
        const QByteArray large = "<div style='width:480px;height:420px'>the service's own &amp; only</div>";
        const std::tuple<Reply, QString, QString, QSize> pages[] = {
            {Reply(500), "Login", "Http code: 500", first},
            {html("form").cutAfter(30), "Login", "RemoteHostClosedError", first},
            {html(""), "Sign in", "", first},
            {html(large), "Sign in", "the service's own & only", QSize(488, 436)},
            {html(QByteArray(large).replace("px", "00px")), "Sign in", "own", screen},
        };
        for (const auto &[reply, title, text, size] : pages) {
            m_server->answer("/form", reply);
            QVERIFY(m_ui->login(nullptr));
            const QPoint centre = dialog()->geometry().center();
            auto *view = dialog()->findChild<QWebView *>();
            QVERIFY(QSignalSpy(view, &QWebView::loadFinished).wait());
            QTRY_VERIFY2(view->page()->mainFrame()->toPlainText().contains(text), qPrintable(text));
            QCOMPARE(dialog()->windowTitle(), title);
            QCOMPARE(size == screen ? dialog()->frameSize() : dialog()->size(), size);
            QVERIFY(size == screen || (dialog()->geometry().center() - centre).manhattanLength() <= 2);
        }
        m_ui.reset();
        QCOMPARE(m_results, QStringList());
        QVERIFY(!dialog());
    }

    void tallOrWidePageStaysOnTheScreenAndScrolls_data()
    {
        QTest::addColumn<QByteArray>("size");
        QTest::addColumn<bool>("isWide");
        QTest::addColumn<bool>("isTall");
        QTest::newRow("tall") << QByteArray("width:480px;height:5000px") << false << true;
        QTest::newRow("wide") << QByteArray("width:5000px;height:420px") << true << false;
        QTest::newRow("wide only with the other scroll bar") << QByteArray("width:790px;height:5000px") << true << true;
    }

    void tallOrWidePageStaysOnTheScreenAndScrolls()
    {
        QFETCH(QByteArray, size);
        QFETCH(bool, isWide);
        QFETCH(bool, isTall);
        m_server->answer("/form", html("<input id='first'><div style='" + size + "'>text</div>" +
                                       "<div style='text-align:right;" + size.split(';')[0] + "'><input></div>" +
                                       "<script>onload=function(){first.focus()}</script>"));
        QVERIFY(m_ui->login(nullptr));
        const QRect screen = QGuiApplication::primaryScreen()->availableGeometry();
        dialog()->move(screen.bottomRight() - QPoint(100, 100));
        loadPage();
        const QRect shown = dialog()->frameGeometry();
        QCOMPARE(shown.intersected(screen), shown);
        QCOMPARE(shown.width() == screen.width(), isWide);
        QCOMPARE(shown.height() == screen.height(), isTall);

        const auto *area = dialog()->findChild<QScrollArea *>();
        settle();
        QCOMPARE(area->horizontalScrollBar()->isVisible(), isWide);
        QCOMPARE(area->verticalScrollBar()->isVisible(), isTall);
        const auto scrolled = [area] {
            return QPoint(area->horizontalScrollBar()->value(), area->verticalScrollBar()->value());
        };
        const QPoint centre = area->viewport()->rect().center();
        const QPoint turned = isTall ? QPoint(0, -120) : QPoint(-120, 0);
        QWheelEvent wheel(centre, area->viewport()->mapToGlobal(centre), {}, turned, Qt::NoButton, Qt::NoModifier,
                          Qt::NoScrollPhase, false);
        QApplication::sendEvent(view(), &wheel);
        QVERIFY(!scrolled().isNull());
        const QPoint before = scrolled();
        QTest::keyClick(view(), Qt::Key_Tab);
        QTRY_VERIFY(scrolled().manhattanLength() > before.manhattanLength() + 200);
        const QPoint atField = scrolled();
        QTest::mouseClick(view(), Qt::LeftButton, Qt::NoModifier, atField + QPoint(30, 30)); // beside the field
        QTest::qWait(20);
        QCOMPARE(scrolled(), atField);
    }

    void reloadingPageLeavesTheSize()
    {
        m_server->answer("/form", html("text<script>location.reload()</script>"));
        QVERIFY(m_ui->login(nullptr));
        const QRect before = dialog()->geometry();
        QSignalSpy loaded(view(), &QWebView::loadFinished);
        QTRY_VERIFY(loaded.size() > 3);
        QCOMPARE(dialog()->geometry(), before);
    }

    void escapeCancelsFromEveryFocus_data()
    {
        QTest::addColumn<QByteArray>("field");
        QTest::addColumn<bool>("deletesWindow");
        QTest::newRow("text field") << QByteArray("<input id='it'>") << false;
        QTest::newRow("password") << QByteArray("<input type='password' id='it'>") << false;
        QTest::newRow("page") << QByteArray("<p>text</p>") << false;
        QTest::newRow("text field, and the callback deletes the window") << QByteArray("<input id='it'>") << true;
    }

    void escapeCancelsFromEveryFocus()
    {
        QFETCH(QByteArray, field);
        QFETCH(bool, deletesWindow);
        m_server->answer("/form", html(field + "<script>onload=function(){it.focus()}</script>"));
        openWindow(100, 100);
        QVERIFY(m_ui->login(m_window.get()));
        if (deletesWindow)
            m_onResult = [this] { m_window.reset(); };
        loadPage();
        QVERIFY(QTest::qWaitForWindowActive(dialog()));
        QCOMPARE(QApplication::focusWidget(), view());
        const QString focused = frame()->evaluateJavaScript("document.activeElement.id").toString();
        QCOMPARE(focused, field.contains("id=") ? QString("it") : QString());
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Escape);
        QTRY_COMPARE(m_results, QStringList({"callback 0", "signal 0"}));
        QVERIFY(!dialog());
        QCOMPARE(!m_window, deletesWindow);
    }

    void scriptDialogsDoNotBlock_data()
    {
        QTest::addColumn<QByteArray>("script");
        QTest::addColumn<QString>("text");
        QTest::newRow("alert") << QByteArray("alert('<b>Wrong\\npassword</b>')") << "<b>Wrong password</b>";
        QTest::newRow("long alert") << QByteArray("alert(Array(9999).join('x\\n'))") << QString("x ").repeated(250);
        QTest::newRow("endless alert") << QByteArray("for(;;)alert(1)") << "1";
        QTest::newRow("endless confirm") << QByteArray("while(!confirm('Sure?'));") << "Sure?";
        QTest::newRow("endless prompt") << QByteArray("while(prompt('Name')!='x');") << "Name";
        QTest::newRow("frame") << QByteArray("var f=document.createElement('iframe');document.body.appendChild(f);"
                                             "for(;;)f.contentWindow.alert('inside')")
                               << "inside";
        QTest::newRow("question on leaving") << QByteArray("onbeforeunload=function(){return 'Leave?'}") << "";
    }

    void scriptDialogsDoNotBlock()
    {
        QFETCH(QByteArray, script);
        QFETCH(QString, text);
        m_server->answer("/form", html("text<script>" + script + "</script>"));
        m_server->answer("/done", html("done"));
        QVERIFY(m_ui->login(nullptr));
        QWidget *signIn = dialog();
        loadPage();
        QApplication::processEvents();
        const QPointer<QMessageBox> box = signIn->findChild<QMessageBox *>();
        QCOMPARE(box ? shownText(*box) : QString(), text);
        QCOMPARE(dialog(), box ? static_cast<QWidget *>(box) : signIn);
        QCOMPARE(box ? box->buttons().size() : 1, 1);
        QCOMPARE(box && !box->informativeText().isEmpty(), script.startsWith("while"));
        QVERIFY(!box || QGuiApplication::primaryScreen()->availableSize().boundedTo(box->size()) == box->size());

        signIn->findChild<QWebView *>()->page()->mainFrame()->evaluateJavaScript("location='/done'");
        QTRY_COMPARE(m_results, QStringList({"signal 1", "callback 1"}));
        QVERIFY(!dialog());
        settle();
        QVERIFY(!box);
    }

    void secondAlertOffersToCancel()
    {
        m_server->answer("/form", html("text<script>setInterval(function(){alert('again')},1)</script>"));
        QVERIFY(m_ui->login(nullptr));
        const auto box = [] { return qobject_cast<QMessageBox *>(QApplication::activeModalWidget()); };
        QTRY_VERIFY(box());
        QCOMPARE(box()->buttons().size(), 1);
        QTest::keyClick(box(), Qt::Key_Escape);
        QTRY_VERIFY(box());
        QTRY_COMPARE(box() ? box()->buttons().size() : 0, 2);
        QTest::keyClick(box(), Qt::Key_Escape);
        QVERIFY(m_results.isEmpty());
        QTRY_VERIFY(box());
        for (QAbstractButton *button : box()->buttons()) {
            if (button->text() == "Cancel the sign-in")
                QTest::mouseClick(button, Qt::LeftButton);
        }
        QTRY_COMPARE(m_results, QStringList({"callback 0", "signal 0"}));
        QVERIFY(!dialog());
    }

    void windowMayBeDeletedWhileAnAlertIsShown()
    {
        m_server->answer("/form", html("text<script>alert('hello')</script>"));
        openWindow(100, 100);
        QVERIFY(m_ui->login(m_window.get()));
        QTRY_VERIFY(qobject_cast<QMessageBox *>(dialog()));
        m_window.reset();
        settle();
        QVERIFY(!dialog());
        QCOMPARE(m_results, QStringList());
    }

    void closingCancels()
    {
        QVERIFY(m_ui->login(nullptr));
        dialog()->close();
        QCOMPARE(m_results, QStringList({"callback 0", "signal 0"}));
        QVERIFY(!dialog());
    }

private:
    void prepare() override
    {
        m_server = std::make_unique<LocalServer>();
        m_server->answer("/form", html("<script>window.location='/done'</script>wait"));
        m_portal.address = "http://" + m_server->authority() + "/form";
        m_portal.loggedIn = false;
        m_results.clear();
        m_onResult = [] {};
        m_ui = std::make_unique<LoginUi>();
        m_ui->SetILogin(&m_portal);
        m_ui->setCallback(addResult, this);
        connect(m_ui.get(), &LoginUi::loggedIn, this,
                [this](bool success) { m_results << "signal " + QString::number(success); });
    }
    static void addResult(void *context, bool success)
    {
        auto &test = *static_cast<TestLoginUi *>(context);
        test.m_results << "callback " + QString::number(success);
        test.m_onResult();
    }
    QWidget *dialog() const { return QApplication::activeModalWidget(); }
    QWebView *view() const { return dialog()->findChild<QWebView *>(); }
    QWebFrame *frame() const { return view()->page()->mainFrame(); }
    void loadPage() const { QVERIFY(QSignalSpy(view(), &QWebView::loadFinished).wait()); }

    std::unique_ptr<LocalServer> m_server;
    std::unique_ptr<LoginUi> m_ui;
    QStringList m_results;
    std::function<void()> m_onResult; ///< runs in the callback
};

QTEST_MAIN(TestLoginUi)
#include "tst_loginui.moc"
