// The web sign-in dialog with pages of a real server.

#include "PageFixture.h"
#include "support/LocalServer.h"
#include "support/MessageBoxes.h"

#include <QWebFrame>
#include <QWebView>

using ICloudPortalApi::LoginUi;

static Reply html(const QString &body)
{
    const QString page = "<html><head><title>Sign in</title></head><body>" + body + "</body></html>";
    return Reply().header("Content-Type", "text/html").body(page.toUtf8());
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
        m_portal.address.clear();
        QVERIFY(!m_ui->login(nullptr));
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
        QTRY_COMPARE(m_results, kSignedIn);
        QCOMPARE("http://" + m_server->authority() + m_server->lastRequest("/form").target, m_portal.address);
        QVERIFY(!dialog());
        QTest::qWait(100);
        m_ui->loginDone(); // as at the end of another sign-in
        QCOMPARE(m_results, kSignedIn);
    }

    void windowMayBeDeletedInTheCallback()
    {
        m_server->answer("/done", html(QString(300000, 'x')).hangAfter(100000));
        m_portal.during["sign-in"] = [this] {
            QTest::qWait(20); // the page is still loading
            m_window.reset();
        };
        QVERIFY(m_ui->login(m_window.get()));
        QTRY_VERIFY(!m_window);
        QTest::qWait(50);
        QCOMPARE(m_results, kSignedIn);
        QVERIFY(!dialog());
    }

    void dialogFitsThePageOrShowsTheError_data()
    {
        const QString page = "<div style='width:%1;height:%2'>the service's own &amp; only</div>";
        addRows({{"error status", "", "Login", "Http code: 500", "343 x 368"},
                 {"broken connection", "", "Login", "RemoteHostClosedError", "343 x 368"},
                 {"large", page.arg("480px", "420px"), "Sign in", "the service's own & only", "488 x 436"}});
    }
    void dialogFitsThePageOrShowsTheError()
    {
        const auto [row, body, title, text, size] = currentRow<5>();
        m_server->answer("/form", row == "error status"        ? Reply(500)
                                  : row == "broken connection" ? html("form").cutAfter(30)
                                                               : html(body));
        QVERIFY(m_ui->login(nullptr));
        QVERIFY(m_ui->login(nullptr)); // replaces the first dialog
        const QPoint centre = dialog()->geometry().center();
        loadPage();
        QTRY_VERIFY2(frame()->toPlainText().contains(text), qPrintable(frame()->toPlainText()));
        QCOMPARE(dialog()->windowTitle(), title);
        QCOMPARE(QString("%1 x %2").arg(dialog()->width()).arg(dialog()->height()), size);
        QVERIFY((dialog()->geometry().center() - centre).manhattanLength() <= 2);
        m_ui.reset();
        QCOMPARE(m_results, QStringList());
        QVERIFY(!dialog());
    }

    void tallPageStaysOnTheScreenAndScrolls()
    {
        m_server->answer("/form", html("<div style='width:480px;height:5000px'>text</div>"));
        QVERIFY(m_ui->login(nullptr));
        const QRect screen = QGuiApplication::primaryScreen()->availableGeometry();
        dialog()->move(screen.bottomRight() - QPoint(100, 100));
        loadPage();
        const QRect shown = dialog()->frameGeometry();
        QCOMPARE(shown.intersected(screen), shown);
        QCOMPARE(shown.height(), screen.height());

        settle();
        const QPoint at(50, 50);
        QWheelEvent wheel(at, view()->mapToGlobal(at), {}, QPoint(0, -120), Qt::NoButton, Qt::NoModifier,
                          Qt::NoScrollPhase, false);
        QApplication::sendEvent(view(), &wheel);
        QVERIFY(dialog()->findChild<QScrollArea *>()->verticalScrollBar()->value() > 0);
    }

    void escapeCancelsFromEveryFocus_data()
    {
        addRows({{"text field", "<input id='it'>", "it"}, {"page", "<p>text</p>", ""}});
    }
    void escapeCancelsFromEveryFocus()
    {
        const auto [title, body, focused] = currentRow<3>();
        m_server->answer("/form", html(body + "<script>onload=function(){it.focus()}</script>"));
        QVERIFY(m_ui->login(nullptr));
        loadPage();
        QVERIFY(QTest::qWaitForWindowActive(dialog()));
        QCOMPARE(QApplication::focusWidget(), view());
        QCOMPARE(frame()->evaluateJavaScript("document.activeElement.id").toString(), focused);
        QTest::keyClick(view(), Qt::Key_Escape);
        QTRY_COMPARE(m_results, kCancelled);
        QVERIFY(!dialog());
    }

    void scriptDialogsDoNotBlock_data()
    {
        // The script, the text of the box, and the dialogs after which the script ended with an error.
        addRows({{"alert", "alert('<b>Wrong\\npassword</b>')", "<b>Wrong password</b>", "0"},
                 {"many confirmations", "while(dialogs<1000&&!confirm('Sure?'))++dialogs", "Sure?", "100"},
                 {"many alerts of a frame",
                  "var f=document.createElement('iframe');document.body.appendChild(f);"
                  "for(;dialogs<1000;++dialogs)f.contentWindow.alert('inside')",
                  "inside", "100"}});
    }
    void scriptDialogsDoNotBlock()
    {
        const auto [title, script, text, dialogs] = currentRow<4>();
        m_server->answer("/form", html("text<script>var dialogs=0;" + script + "</script>"));
        m_server->answer("/done", html("done"));
        QVERIFY(m_ui->login(nullptr));
        QWebFrame *page = frame();
        loadPage();
        QTRY_VERIFY(box());
        const QPointer<QMessageBox> shown = box();
        QCOMPARE(shownText(*shown), text);
        QCOMPARE(shown->buttons().size(), 1);
        QCOMPARE(!shown->informativeText().isEmpty(), script.startsWith("while"));
        QCOMPARE(page->evaluateJavaScript("dialogs").toString(), dialogs);
        QCOMPARE(shown->size().boundedTo(QGuiApplication::primaryScreen()->availableSize()), shown->size());

        page->evaluateJavaScript("location='/done'");
        QTRY_COMPARE(m_results, kSignedIn);
        QVERIFY(!dialog());
        settle();
        QVERIFY(!shown);
    }

    void secondAlertOffersToCancel()
    {
        m_server->answer("/form", html("text<script>setInterval(function(){alert('again')},1)</script>"));
        QVERIFY(m_ui->login(nullptr));
        QTRY_VERIFY(box());
        QTest::keyClick(box(), Qt::Key_Escape);
        QTRY_COMPARE(box() ? box()->buttons().size() : 0, 2);
        QTest::mouseClick(box()->buttons().last(), Qt::LeftButton);
        QTRY_COMPARE(m_results, kCancelled);
        QVERIFY(!dialog());
    }

private:
    void prepare() override
    {
        openWindow(100, 100);
        m_server = std::make_unique<LocalServer>();
        m_server->answer("/form", html("<script>window.location='/done'</script>wait"));
        m_portal.address = "http://" + m_server->authority() + "/form";
        m_portal.loggedIn = false;
        m_results.clear();
        m_ui = std::make_unique<LoginUi>();
        m_ui->SetILogin(&m_portal);
        m_ui->setCallback(addResult, this);
        connect(m_ui.get(), &LoginUi::loggedIn, this,
                [this](bool success) { m_results << "signal " + QString::number(success); });
    }
    static void addResult(void *context, bool success)
    {
        static_cast<TestLoginUi *>(context)->m_results << "callback " + QString::number(success);
    }
    QWidget *dialog() const { return QApplication::activeModalWidget(); }
    QMessageBox *box() const { return qobject_cast<QMessageBox *>(dialog()); }
    QWebView *view() const { return dialog()->findChild<QWebView *>(); }
    QWebFrame *frame() const { return view()->page()->mainFrame(); }
    void loadPage() const { QVERIFY(QSignalSpy(view(), &QWebView::loadFinished).wait()); }

    const QStringList kSignedIn{"signal 1", "callback 1"};
    const QStringList kCancelled{"callback 0", "signal 0"};
    std::unique_ptr<LocalServer> m_server;
    std::unique_ptr<LoginUi> m_ui;
    QStringList m_results;
};

QTEST_MAIN(TestLoginUi)
#include "tst_loginui.moc"
