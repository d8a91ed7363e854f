#include "http/simpleHttpServer.h"
#include "support/RecordingHost.h"
#include "TavrinStrings.h"

#include <QSignalSpy>
#include <QTcpSocket>
#include <QtTest>

#include <dirent.h>

namespace {

const QByteArray redirectPath = "/crvn/kelda/oauth/dropbox/redirect";

/// The call-back's side: what was handed over, and what to do inside it.
struct Receiver
{
    QStringList codes;
    std::function<void()> inside;

    static void receive(void *self, KString &code)
    {
        auto *receiver = static_cast<Receiver *>(self);
        receiver->codes << QString::fromUtf8(code.utf8());
        if (receiver->inside)
            receiver->inside();
    }
};

/// A browser's side of one connection.
class Browser
{
public:
    explicit Browser(const SimpleHttpServer &server)
    {
        m_socket.connectToHost(QHostAddress::LocalHost, server.serverPort());
        m_connected = m_socket.waitForConnected(1000);
    }
    void send(const QByteArray &bytes)
    {
        m_socket.write(bytes);
        m_socket.flush();
    }
    /// Takes nothing off the connection before answer() is called.
    void readLater() { m_socket.setReadBufferSize(1); }
    /// All that came until the server hung up.
    QByteArray answer()
    {
        m_socket.setReadBufferSize(0);
        if (!QTest::qWaitFor([this] { return closed(); }, 2000))
            return "still open: " + m_socket.readAll();
        return m_socket.readAll();
    }
    QByteArray received() { return m_socket.readAll(); }
    bool connected() const { return m_connected; }
    bool closed() const { return m_socket.state() == QAbstractSocket::UnconnectedState; }

private:
    QTcpSocket m_socket;
    bool m_connected = false;
};

int openDescriptors()
{
    int count = 0;
    DIR *folder = opendir("/proc/self/fd");
    while (readdir(folder))
        ++count;
    closedir(folder);
    return count;
}

} // namespace

class TestSimpleHttpServer : public QObject
{
    Q_OBJECT
private slots:
    void init();
    void codeIsHandedOverAndAnswered_data();
    void codeIsHandedOverAndAnswered();
    void otherRequestsDoNotDisturb_data();
    void otherRequestsDoNotDisturb();
    void bytesOneAtATime();
    void callbackMayDeleteTheServer_data();
    void callbackMayDeleteTheServer();
    void slowCallbackOutlastsTheWaits();
    void unansweredConnectionsEnd();
    void pausedServerClosesDescriptors();
    void portInUse();

private:
    std::unique_ptr<SimpleHttpServer> listening(Receiver &receiver);
    RecordingHost m_host;
};

void TestSimpleHttpServer::init()
{
    m_host.clear();
    SimpleHttpServer::setDefaultTimeouts(300000);
}

std::unique_ptr<SimpleHttpServer> TestSimpleHttpServer::listening(Receiver &receiver)
{
    auto server = std::make_unique<SimpleHttpServer>();
    server->setCallback(&Receiver::receive, &receiver);
    if (!server->StartListenPort(0))
        qFatal("cannot listen");
    return server;
}

void TestSimpleHttpServer::codeIsHandedOverAndAnswered_data()
{
    QTest::addColumn<QByteArray>("query");
    QTest::addColumn<QString>("code");
    QTest::newRow("alone") << QByteArray("?code=XYZ") << "XYZ";
    QTest::newRow("with a state") << QByteArray("?state=x&code=abc&last=1") << "abc";
    QTest::newRow("not decoded") << QByteArray("?code=a%2Fb+c") << "a%2Fb+c";
    QTest::newRow("first is empty") << QByteArray("?code=&code=abc") << "abc";
}

void TestSimpleHttpServer::codeIsHandedOverAndAnswered()
{
    QFETCH(QByteArray, query);
    QFETCH(QString, code);
    m_host.setText("kCloudPortalLoginDone", "F\xc3\xa4rdig");
    Receiver receiver;
    const auto server = listening(receiver);
    QCOMPARE(server->serverAddress(), QHostAddress(QHostAddress::LocalHost));
    Browser browser(*server);
    browser.send("GET " + redirectPath + query + " HTTP/1.1\r\nHost: 127.0.0.1\r\n\r\n");
    const QByteArray answer = browser.answer();
    QCOMPARE(receiver.codes, QStringList(code));
    const QByteArray expected = "HTTP/1.0 200 Ok\r\nContent-Type: text/html; charset=\"utf-8\"\r\n\r\n<h1>"
                                "F\xc3\xa4rdig</h1>\n";
    QCOMPARE(answer.left(expected.size()), expected);
    QVERIFY(QDateTime::fromString(QString::fromUtf8(answer.mid(expected.size()).trimmed())).isValid());
    QVERIFY(answer.endsWith('\n'));
    QVERIFY(!server->isListening());
}

void TestSimpleHttpServer::otherRequestsDoNotDisturb_data()
{
    QTest::addColumn<QByteArray>("bytes");
    const QByteArray line = redirectPath + "?code=evil HTTP/1.1\r\n\r\n";
    QTest::newRow("nothing") << QByteArray();
    QTest::newRow("denied") << "GET " + redirectPath + "?error=access_denied HTTP/1.1\r\nX: code evil\r\n\r\n";
    QTest::newRow("empty code") << "GET " + redirectPath + "?code= HTTP/1.1\r\ncode: evil\r\n\r\n";
    QTest::newRow("the time-out word") << "GET " + redirectPath + "?code=timeout HTTP/1.1\r\n\r\n";
    QTest::newRow("other case") << "GET " + redirectPath + "?Code=evil HTTP/1.1\r\n\r\n";
    QTest::newRow("other path") << QByteArray("GET /redirect?code=evil HTTP/1.1\r\n\r\n");
    QTest::newRow("POST") << "POST " + line;
    QTest::newRow("OPTIONS") << "OPTIONS " + line;
    QTest::newRow("TLS hello") << QByteArray("\x16\x03\x01\x02\x00\x01\n\x00\n", 9);
    QTest::newRow("too long") << QByteArray(200000, 'x');
}

void TestSimpleHttpServer::otherRequestsDoNotDisturb()
{
    QFETCH(QByteArray, bytes);
    Receiver receiver;
    const auto server = listening(receiver);
    Browser stranger(*server);
    stranger.send(bytes);
    QTest::qWait(20);
    QCOMPARE(receiver.codes, QStringList());
    QVERIFY(server->isListening());

    Browser browser(*server);
    browser.send("GET " + redirectPath + "?code=good HTTP/1.1\r\n\r\n");
    QVERIFY(browser.answer().startsWith("HTTP/1.0 200 Ok\r\n"));
    QCOMPARE(receiver.codes, QStringList("good"));
    QCOMPARE(stranger.received(), QByteArray());
}

void TestSimpleHttpServer::bytesOneAtATime()
{
    Receiver receiver;
    const auto server = listening(receiver);
    Browser browser(*server);
    browser.readLater();
    const QByteArray request = "GET " + redirectPath + "?code=slow HTTP/1.1\r\nHost: localhost\r\nAccept: */*\r\n\r\n";
    for (const char byte : request) {
        browser.send(QByteArray(1, byte));
        QTest::qWait(1);
    }
    QVERIFY(browser.answer().contains("</h1>"));
    QCOMPARE(receiver.codes, QStringList("slow"));
}

void TestSimpleHttpServer::callbackMayDeleteTheServer_data()
{
    QTest::addColumn<QByteArray>("request");
    QTest::addColumn<QString>("code");
    QTest::newRow("code") << "GET " + redirectPath + "?code=last HTTP/1.1\r\n\r\n"
                          << "last";
    QTest::newRow("time-out") << QByteArray("GET / HTTP/1.1\r\n\r\n") << "timeout";
}

void TestSimpleHttpServer::callbackMayDeleteTheServer()
{
    QFETCH(QByteArray, request);
    QFETCH(QString, code);
    SimpleHttpServer::setDefaultTimeouts(150);
    Receiver receiver;
    auto server = listening(receiver);
    Browser browser(*server);
    receiver.inside = [&server] { server.reset(); };
    browser.send(request);
    QCOMPARE(browser.answer(), QByteArray());
    QCOMPARE(receiver.codes, QStringList(code));
}

void TestSimpleHttpServer::slowCallbackOutlastsTheWaits()
{
    SimpleHttpServer::setDefaultTimeouts(150, 150);
    Receiver receiver;
    receiver.inside = [] { QTest::qWait(200); };
    const auto server = listening(receiver);
    Browser browser(*server);
    browser.send("GET " + redirectPath + "?code=abc HTTP/1.1\r\n\r\n");
    QVERIFY(browser.answer().contains("</h1>"));
    QCOMPARE(receiver.codes, QStringList("abc"));

    QVERIFY(server->StartListenPort(0));
    Browser again(*server);
    again.send("GET " + redirectPath + "?code=def HTTP/1.1\r\n\r\n");
    QVERIFY(again.answer().contains("</h1>"));
    QCOMPARE(receiver.codes, (QStringList{"abc", "def"}));
}

void TestSimpleHttpServer::unansweredConnectionsEnd()
{
    SimpleHttpServer::setDefaultTimeouts(300000, 50);
    Receiver receiver;
    const auto server = listening(receiver);
    Browser silent(*server);
    Browser ignored(*server);
    ignored.send("GET / HTTP/1.1\r\n\r\n");
    QTRY_VERIFY_WITH_TIMEOUT(silent.closed() && ignored.closed(), 1000);
    QCOMPARE(server->findChildren<QTcpSocket *>().size(), 0);
    QVERIFY(server->isListening());

    SimpleHttpServer::setDefaultTimeouts(300000);
    const auto patient = listening(receiver);
    Browser flood(*patient);
    flood.send(QByteArray(200000, 'x'));
    QTRY_VERIFY_WITH_TIMEOUT(flood.closed(), 1000);
}

void TestSimpleHttpServer::pausedServerClosesDescriptors()
{
    Receiver receiver;
    const auto server = listening(receiver);
    server->pause();
    const int before = openDescriptors();
    for (int connection = 0; connection < 5; ++connection) {
        Browser browser(*server);
        QVERIFY(browser.connected());
        browser.send("GET " + redirectPath + "?code=abc HTTP/1.1\r\n\r\n");
        QTRY_VERIFY_WITH_TIMEOUT(browser.closed(), 1000);
    }
    QCOMPARE(openDescriptors(), before);
    QCOMPARE(receiver.codes, QStringList());

    server->resume();
    Browser browser(*server);
    browser.send("GET " + redirectPath + "?code=abc HTTP/1.1\r\n\r\n");
    QTRY_COMPARE(receiver.codes, QStringList("abc"));
}

void TestSimpleHttpServer::portInUse()
{
    SimpleHttpServer::setDefaultTimeouts(50);
    QTcpServer occupant;
    QVERIFY(occupant.listen(QHostAddress::LocalHost, 0));
    const quint16 port = occupant.serverPort();
    Receiver receiver;
    SimpleHttpServer server;
    server.setCallback(&Receiver::receive, &receiver);
    QVERIFY(!server.tryListen(port));
    QCOMPARE(m_host.errors(), QStringList());
    QVERIFY(!server.StartListenPort(port));
    QCOMPARE(
        m_host.errors(),
        QStringList(QString("Error listening to localhost because the following port is protected: %1").arg(port)));
    QTRY_COMPARE(receiver.codes, QStringList("timeout"));

    occupant.close();
    SimpleHttpServer probe;
    QVERIFY(probe.tryListen(port));
    QVERIFY(!probe.isListening());
}

QTEST_GUILESS_MAIN(TestSimpleHttpServer)
#include "tst_simplehttpserver.moc"
