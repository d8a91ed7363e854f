#include "http/simpleHttpServer.h"
#include "support/RecordingHost.h"
#include "support/Table.h"
#include "TavrinStrings.h"

#include <QtNetwork>

namespace {

const QByteArray kPath("/crvn/kelda/oauth/dropbox/redirect");

QByteArray redirect(const QByteArray &query)
{
    return "GET " + kPath + '?' + query + " HTTP/1.1\r\nHost: code evil\r\n\r\n";
}

/// The browser's side of a connection. answer() is the first call that reads from it.
class Browser : public QTcpSocket
{
public:
    explicit Browser(const SimpleHttpServer &server, const QByteArray &bytes = QByteArray())
    {
        setReadBufferSize(1);
        connectToHost(QHostAddress::LocalHost, server.serverPort());
        if (!waitForConnected())
            qFatal("cannot connect");
        send(bytes);
    }
    bool send(const QByteArray &bytes) { return write(bytes) == bytes.size() && flush(); }
    bool closed() const { return state() == UnconnectedState; }
    /// Everything that the server sent until it closed the connection.
    QByteArray answer()
    {
        setReadBufferSize(0);
        const bool ended = QTest::qWaitFor([this] { return closed(); }, 20000);
        return (ended ? "" : "still open: ") + readAll();
    }
};

} // namespace

class TestSimpleHttpServer : public QObject
{
    Q_OBJECT
private slots:
    void init()
    {
        m_host.clear();
        m_codes.clear();
        m_inside = [] {};
        listen(300000);
    }

    void onlyARedirectWithACodeEndsTheWait_data()
    {
        // The request line, in which PATH is the path of the redirect. The code; empty if the wait continues.
        addRows({{"code among others", "GET PATH?state=x&code=abc&last=1", "abc"},
                 {"encoded code", "GET PATH?code=a%2Fb+c", "a%2Fb+c"},
                 {"refusal", "GET PATH?error=denied", ""},
                 {"other path", "GET /oauth/dropbox/redirect?code=path", ""},
                 {"endless line", QString(200000, 'x'), ""}});
    }

    void onlyARedirectWithACodeEndsTheWait()
    {
        const auto [title, line, code] = currentRow<3>();
        m_host.setText("kCloudPortalLoginDone", "F\xc3\xa4rdig");
        const QByteArray page = "HTTP/1.0 200 Ok\r\nContent-Type: text/html; charset=\"utf-8\"\r\n\r\n<h1>"
                                "F\xc3\xa4rdig</h1>\n";
        const QByteArray request = line.toLatin1().replace("PATH", kPath) + " HTTP/1.1\r\nHost: code evil\r\n\r\n";
        QCOMPARE(m_server->serverAddress(), QHostAddress(QHostAddress::LocalHost));
        Browser browser(*m_server, request);
        if (code.isEmpty()) {
            QTest::qWait(20);
            QVERIFY(m_codes.isEmpty());
            QVERIFY(m_server->isListening());
            QCOMPARE(browser.readAll(), QByteArray());
            QCOMPARE(Browser(*m_server, redirect("code=good")).answer().left(page.size()), page);
        } else {
            QCOMPARE(browser.answer().left(page.size()), page);
        }
        QVERIFY(!m_server->isListening());
        QCOMPARE(m_codes, QStringList(code.isEmpty() ? "good" : code));
    }

    void callbackMayDeleteTheServer()
    {
        m_inside = [this] { m_server.reset(); };
        for (const char *query : {"code=last", "error=denied"}) {
            listen(QByteArray(query) == "code=last" ? 300000 : 150);
            QCOMPARE(Browser(*m_server, redirect(query)).answer(), QByteArray());
            QVERIFY(!m_server);
        }
        QCOMPARE(m_codes, (QStringList{"last", "timeout"}));
    }

    void slowCallbackOutlastsTheTimeLimits()
    {
        listen(300000, 180);
        m_inside = [] { QTest::qWait(200); };
        Browser first(*m_server, redirect("code=abc"));
        Browser second(*m_server, redirect("code=second"));
        QVERIFY(first.answer().contains("</h1>"));
        QCOMPARE(second.readAll(), QByteArray());
        QCOMPARE(m_codes, QStringList("abc"));
    }

    void openConnectionsEndWithTheWait_data()
    {
        // What ends the wait, and the code that the callback receives.
        addRows({{"code", "first"}, {"time-out", "timeout"}, {"stop", ""}, {"stop before the code is passed on", ""}});
    }

    void openConnectionsEndWithTheWait()
    {
        const auto [end, code] = currentRow<2>();
        const QByteArray request = redirect("code=late");
        Browser silent(*m_server);
        Browser halfway(*m_server, request.left(50));
        Browser first(*m_server);
        QTRY_COMPARE(m_server->findChildren<QTcpSocket *>().size(), 3);
        if (end.startsWith("stop before")) {
            for (auto *client : m_server->findChildren<QTcpSocket *>())
                connect(client, &QTcpSocket::readyRead, m_server.get(), &SimpleHttpServer::stop);
        }
        if (end == "stop")
            m_server->stop();
        else if (end == "time-out")
            QVERIFY(QMetaObject::invokeMethod(m_server.get(), "serverTimeout"));
        else
            first.send(redirect("code=first"));
        QTRY_VERIFY(!m_server->isListening());
        silent.send(request);
        halfway.send(request.mid(50));
        QCOMPARE(silent.answer(), QByteArray());
        QCOMPARE(halfway.answer(), QByteArray());
        QCOMPARE(first.answer().contains("</h1>"), end == "code");
        QTest::qWait(20);
        QCOMPARE(m_codes.join(' '), code);
    }

    void unansweredConnectionsEnd()
    {
        const Browser flood(*m_server, QByteArray(200000, 'x'));
        QTRY_VERIFY(flood.closed());
        listen(300000, 50);
        const Browser silent(*m_server);
        const Browser ignored(*m_server, "GET / HTTP/1.1\r\n\r\n");
        QTRY_VERIFY(silent.closed());
        QTRY_VERIFY(ignored.closed());
        QCOMPARE(m_server->findChildren<QTcpSocket *>().size(), 0);
        QVERIFY(m_server->isListening());
    }

private:
    void listen(int redirectMs, int connectionMs = 30000)
    {
        SimpleHttpServer::setDefaultTimeouts(redirectMs, connectionMs);
        m_server = std::make_unique<SimpleHttpServer>();
        m_server->setCallback(
            [](void *test, KString &code) { static_cast<TestSimpleHttpServer *>(test)->receive(code); }, this);
        if (!m_server->StartListenPort(0))
            qFatal("cannot listen");
    }
    void receive(const KString &code)
    {
        m_codes << QString::fromUtf8(code.utf8());
        m_inside();
    }

    RecordingHost m_host;
    QStringList m_codes;
    std::function<void()> m_inside; ///< runs in the callback
    std::unique_ptr<SimpleHttpServer> m_server;
};

QTEST_GUILESS_MAIN(TestSimpleHttpServer)
#include "tst_simplehttpserver.moc"
