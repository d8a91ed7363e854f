// The web sign-in dialog, on pages of a real server.

#include "PageFixture.h"
#include "support/LocalServer.h"

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
    void nothingIsOpenedWithoutNeedOrAddress()
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

    void theFinalAddressEndsTheDialogOnce()
    {
        m_server->answer("/done", html("done"));
        m_portal.address += "?q=" + QByteArray(1500, 'x'); // more than the first buffer holds
        QWidget window;
        QWidget inner(&window);
        QVERIFY(m_ui->login(&inner));
        QVERIFY(dialog() && dialog()->isWindow());
        QTRY_COMPARE(m_told, QStringList({"signal 1", "callback 1"}));
        QCOMPARE("http://" + m_server->authority() + m_server->lastRequest("/form").target, m_portal.address);
        QVERIFY(!dialog());
        QTest::qWait(100);
        QCOMPARE(m_told.size(), 2);
    }

    void theWindowMayGoWhileTheEndIsTold()
    {
        m_server->answer("/done", html(QByteArray(300000, 'x')).hangAfter(100000));
        openWindow(100, 100);
        m_portal.during["sign-in"] = [this] {
            QTest::qWait(20); // the page is still loading then
            m_window.reset();
        };
        QVERIFY(m_ui->login(m_window.get()));
        QTRY_VERIFY(!m_window);
        QTest::qWait(50);
        QVERIFY(m_told == QStringList({"signal 1", "callback 1"}) && !dialog());
    }

    void theDialogFitsThePageOrSaysWhyThereIsNone()
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
            QCOMPARE(dialog()->size(), size);
            QVERIFY(size == screen || (dialog()->geometry().center() - centre).manhattanLength() <= 2);
        }
        m_ui.reset();
        QVERIFY(m_told.isEmpty() && !dialog());
    }

    void closingIsCancelling()
    {
        QVERIFY(m_ui->login(nullptr));
        dialog()->close();
        QCOMPARE(m_told, QStringList({"callback 0", "signal 0"}));
        QVERIFY(!dialog());
    }

private:
    void prepare() override
    {
        m_server = std::make_unique<LocalServer>();
        m_server->answer("/form", html("<script>window.location='/done'</script>wait"));
        m_portal.address = "http://" + m_server->authority() + "/form";
        m_portal.loggedIn = false;
        m_told.clear();
        m_ui = std::make_unique<LoginUi>();
        m_ui->SetILogin(&m_portal);
        m_ui->setCallback(tell, this);
        connect(m_ui.get(), &LoginUi::loggedIn, this,
                [this](bool success) { m_told << "signal " + QString::number(success); });
    }
    static void tell(void *context, bool success)
    {
        static_cast<TestLoginUi *>(context)->m_told << "callback " + QString::number(success);
    }
    /// The one that is open.
    QWidget *dialog() const { return QApplication::activeModalWidget(); }

    std::unique_ptr<LocalServer> m_server;
    std::unique_ptr<LoginUi> m_ui;
    QStringList m_told;
};

QTEST_MAIN(TestLoginUi)
#include "tst_loginui.moc"
