// The web sign-in dialog, on pages of a real server.

#include "cloud/CloudPortalApi.h"
#include "support/LocalServer.h"
#include "support/RecordingHost.h"

#include <QDialog>
#include <QScreen>
#include <QSignalSpy>
#include <QtTest>
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
        seen << url.path();
        if (!url.path().endsWith("done"))
            return false;
        onDone();
        return true;
    }
    bool Logout() override { return true; }
    bool IsLogin() override { return loggedIn; }
    bool GetUserInformation(HeaderMap &) override { return false; }
    bool GetUsername(KString &) override { return false; }
    long CreateLoginRequest(char *buffer, unsigned long size) override
    {
        sizes << size;
        if (address.isEmpty())
            return -1;
        qstrncpy(buffer, address.constData(), static_cast<uint>(size));
        return claimedLength > 0 ? claimedLength : address.size() + 1;
    }

    bool loggedIn = false;
    QByteArray address;
    long claimedLength = 0;
    QList<unsigned long> sizes;
    QStringList seen;
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
        m_login->address.clear();
        QVERIFY(!m_ui->login(nullptr));
        QVERIFY(!dialog());
    }

    void theBufferGrowsForALongAddressButNotForEver()
    {
        m_login->address += "?q=" + QByteArray(1500, 'x');
        QVERIFY(m_ui->login(nullptr));
        QCOMPARE(m_login->sizes, (QList<unsigned long>{1000, 2000}));
        QTRY_COMPARE(m_server->lastRequest("/form").target.size(),
                     m_login->address.size() - 7 - m_server->authority().size());

        m_login->claimedLength = 0x7fffffff;
        QVERIFY(!m_ui->login(nullptr));
        QVERIFY(m_login->sizes.size() < 1100);
    }

    void theFinalAddressEndsTheDialogOnce()
    {
        m_server->answer("/form", page("<script>window.location='/done'</script>wait"));
        m_server->answer("/done", page("done"));
        QWidget window;
        QWidget inner(&window);
        QVERIFY(m_ui->login(&inner));
        QVERIFY(dialog()->isWindow() && dialog()->isModal());
        QTRY_COMPARE(m_told, QStringList({"signal 1", "callback 1"}));
        QVERIFY(!dialog()->isVisible());
        QTest::qWait(100);
        QCOMPARE(m_told.size(), 2);
    }

    void theWindowMayGoWhileTheEndIsTold()
    {
        m_server->answer("/form", page("<script>window.location='/done'</script>wait"));
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

    void aFailedLoadSaysWhy()
    {
        const std::tuple<Reply, QString, QString> pages[] = {
            {Reply(500), "Login", "Http code: 500"},
            {page("form").cutAfter(30), "Login", "RemoteHostClosedError"},
            {page("the service's own & only"), "Sign in", "the service's own & only"},
        };
        for (const auto &[reply, title, text] : pages) {
            m_server->answer("/form", reply);
            QVERIFY(m_ui->login(nullptr));
            const QWebFrame *frame = dialog()->findChild<QWebView *>()->page()->mainFrame();
            QTRY_VERIFY2(frame->toPlainText().contains(text), qPrintable(frame->toPlainText()));
            QTRY_COMPARE(dialog()->windowTitle(), title);
        }
        QVERIFY(m_told.isEmpty());
    }

    void closingIsCancelling()
    {
        m_server->answer("/form", page("please sign in"));
        QVERIFY(m_ui->login(nullptr));
        dialog()->close();
        QCOMPARE(m_told, QStringList({"callback 0", "signal 0"}));
        QVERIFY(!dialog()->isVisible());
        m_ui->setCallback(tell, this);
        QVERIFY(m_ui->login(nullptr));
        QTest::keyClick(dialog(), Qt::Key_Escape);
        QCOMPARE(m_told.mid(2), QStringList({"callback 0", "signal 0"}));
    }

    void theDialogFitsThePage_data()
    {
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<QSize>("size");
        QTest::newRow("empty page") << QByteArray() << QSize(343, 368);
        QTest::newRow("larger page") << QByteArray("<div style='width:480px;height:420px'>x</div>") << QSize(488, 436);
        QTest::newRow("monstrous page") << QByteArray("<div style='width:100000px;height:100000px'>x</div>")
                                        << QGuiApplication::primaryScreen()->availableSize();
    }

    void theDialogFitsThePage()
    {
        QFETCH(QByteArray, body);
        m_server->answer("/form", page(body));
        QVERIFY(m_ui->login(nullptr));
        const QPoint centre = dialog()->geometry().center();
        QSignalSpy loaded(dialog()->findChild<QWebView *>(), &QWebView::loadFinished);
        QVERIFY(loaded.wait());
        QCOMPARE(dialog()->windowTitle(), QString("Sign in"));
        QTEST(dialog()->size(), "size");
        if (body.contains("480"))
            QVERIFY((dialog()->geometry().center() - centre).manhattanLength() <= 2);
    }

private:
    static void tell(void *context, bool success)
    {
        static_cast<TestLoginUi *>(context)->m_told << (success ? "callback 1" : "callback 0");
    }
    QDialog *dialog() const
    {
        QDialog *newest = nullptr;
        for (QWidget *widget : QApplication::allWidgets()) {
            auto *candidate = qobject_cast<QDialog *>(widget);
            if (candidate && (!newest || candidate->isVisible()))
                newest = candidate;
        }
        return newest;
    }

    RecordingHost m_host;
    std::unique_ptr<LocalServer> m_server;
    std::unique_ptr<PageLogin> m_login;
    std::unique_ptr<LoginUi> m_ui;
    QStringList m_told;
};

QTEST_MAIN(TestLoginUi)
#include "tst_loginui.moc"
