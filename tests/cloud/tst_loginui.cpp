// The web sign-in dialog, on pages of a real server.

#include "cloud/CloudPortalApi.h"
#include "support/LocalServer.h"
#include "support/RecordingHost.h"

#include <QtTest>
#include <QtWidgets>
#include <QWebFrame>
#include <QWebView>

#include <functional>

using ICloudPortalApi::LoginUi;

namespace {

/// Asks for one address and accepts every address that ends in "done".
class PageLogin : public ICloudPortalApi::ILogin
{
public:
    bool Login(ICloudPortalApi::IPortalOwnerCB *) override { return false; }
    bool LoginUIDoneCB(const QUrl &url) override
    {
        const bool isDone = url.path().endsWith("done");
        if (isDone)
            onDone();
        return isDone;
    }
    bool Logout() override { return true; }
    bool IsLogin() override { return loggedIn; }
    bool GetUserInformation(HeaderMap &) override { return false; }
    bool GetUsername(KString &) override { return false; }
    long CreateLoginRequest(char *buffer, unsigned long size) override
    {
        qstrncpy(buffer, address.constData(), static_cast<uint>(size));
        return claimedLength != 0 ? claimedLength : address.size() + 1;
    }

    bool loggedIn = false;
    QByteArray address;
    long claimedLength = 0;
    std::function<void()> onDone = [] {};
};

Reply page(const QByteArray &body)
{
    return Reply(200)
        .header("Content-Type", "text/html")
        .body("<html><head><title>Sign in</title></head><body>" + body + "</body></html>");
}

} // namespace

class TestLoginUi : public QObject
{
    Q_OBJECT
private slots:
    void init()
    {
        m_login = std::make_unique<PageLogin>();
        m_server = std::make_unique<LocalServer>();
        m_server->answer("/form", page("<script>window.location='/done'</script>wait"));
        m_login->address = "http://" + m_server->authority() + "/form";
        m_ui = std::make_unique<LoginUi>();
        m_ui->SetILogin(m_login.get());
        m_told.clear();
        m_ui->setCallback(tell, this);
        connect(m_ui.get(), &LoginUi::loggedIn, this,
                [this](bool success) { m_told << (success ? "signal 1" : "signal 0"); });
    }

    void cleanup()
    {
        m_ui.reset();
        m_server.reset();
        QApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QVERIFY(!dialog());
    }

    void nothingIsOpenedWithoutNeedOrAddress()
    {
        m_login->loggedIn = true;
        QVERIFY(!m_ui->login(nullptr));
        m_login->loggedIn = false;
        for (const long length : {-1, 0x7fffffff}) {
            m_login->claimedLength = length;
            QVERIFY(!m_ui->login(nullptr));
        }
        QVERIFY(!dialog());
    }

    void theFinalAddressEndsTheDialogOnce()
    {
        m_server->answer("/done", page("done"));
        m_login->address += "?q=" + QByteArray(1500, 'x'); // more than the first buffer holds
        QWidget window;
        QWidget inner(&window);
        QVERIFY(m_ui->login(&inner));
        QVERIFY(dialog() && dialog()->isWindow());
        QTRY_COMPARE(m_told, QStringList({"signal 1", "callback 1"}));
        QCOMPARE("http://" + m_server->authority() + m_server->lastRequest("/form").target, m_login->address);
        QVERIFY(!dialog());
        QTest::qWait(100);
        QCOMPARE(m_told.size(), 2);
    }

    void theWindowMayGoWhileTheEndIsTold()
    {
        m_server->answer("/done", page(QByteArray(300000, 'x')).hangAfter(100000));
        auto window = std::make_unique<QWidget>();
        m_login->onDone = [&] {
            QTest::qWait(20); // the page is still loading then
            window.reset();
        };
        QVERIFY(m_ui->login(window.get()));
        QTRY_VERIFY(!window);
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
            {page("form").cutAfter(30), "Login", "RemoteHostClosedError", first},
            {page(""), "Sign in", "", first},
            {page(large), "Sign in", "the service's own & only", QSize(488, 436)},
            {page(QByteArray(large).replace("px", "00px")), "Sign in", "own", screen},
        };
        for (const auto &[reply, title, text, size] : pages) {
            m_server->answer("/form", reply);
            QVERIFY(m_ui->login(nullptr));
            const QPoint centre = dialog()->geometry().center();
            auto *view = dialog()->findChild<QWebView *>();
            QSignalSpy loaded(view, &QWebView::loadFinished);
            QVERIFY(loaded.wait());
            QTRY_VERIFY2(view->page()->mainFrame()->toPlainText().contains(text), qPrintable(text));
            QCOMPARE(dialog()->windowTitle(), title);
            QCOMPARE(dialog()->size(), size);
            QVERIFY(size == screen || (dialog()->geometry().center() - centre).manhattanLength() <= 2);
        }
        QVERIFY(m_told.isEmpty());
    }

    void closingIsCancelling()
    {
        QVERIFY(m_ui->login(nullptr));
        dialog()->close();
        QCOMPARE(m_told, QStringList({"callback 0", "signal 0"}));
        QVERIFY(!dialog());
    }

private:
    static void tell(void *context, bool success)
    {
        static_cast<TestLoginUi *>(context)->m_told << (success ? "callback 1" : "callback 0");
    }
    /// The one that is open.
    QWidget *dialog() const { return QApplication::activeModalWidget(); }

    RecordingHost m_host;
    std::unique_ptr<LocalServer> m_server;
    std::unique_ptr<PageLogin> m_login;
    std::unique_ptr<LoginUi> m_ui;
    QStringList m_told;
};

QTEST_MAIN(TestLoginUi)
#include "tst_loginui.moc"
