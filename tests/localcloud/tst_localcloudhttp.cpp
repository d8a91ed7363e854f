#include "CloudClient.h"
#include <QJsonDocument>
#include <QJsonObject>
#include <QNetworkProxy>
#include <QSignalSpy>
#include <QSslSocket>
#include <QTcpSocket>
#include <QTest>

using localcloud::HttpRequest;
using localcloud::HttpResponse;

namespace {

/// Answers with what it was asked.
class EchoService : public localcloud::CloudService
{
public:
    bool handles(const QString &host) const override { return host == "echo.test" || host == "other.test"; }
    bool handlesPath(const QByteArray &path) const override { return path.startsWith("/echo"); }
    void handle(HttpRequest &request, HttpResponse &response) override
    {
        response.set(200, "text/plain",
                     request.method + ' ' + request.host.toLatin1() + request.target() + (request.tls ? " tls " : " ") +
                         QByteArray::number(request.body.size()) + ':' + request.body.bytes().left(100) + ";\n");
    }
};

} // namespace

class TestLocalCloudHttp : public QObject
{
    Q_OBJECT
private slots:
    void init();
    void cleanup() { m_cloud.reset(); }

    void servesRawRequests_data();
    void servesRawRequests();
    void refusesAndCloses_data();
    void refusesAndCloses();
    void slowClientsAreDropped();
    void tunnelShowsAVerifiedCertificate();
    void tunnelToUnknownNamesIsRefused();
    void manyConnectionsAtOnce();
    void connectionsBeyondTheLimitAreClosed();

    void ruleAnswers_data();
    void ruleAnswers();
    void ruleHangs();
    void ruleDelays();
    void ruleEndsAfterItsTimes();
    void logHasOneObjectPerRequest();

private:
    void startWith(const LocalCloudOptions &options);
    std::unique_ptr<LocalCloud> m_cloud;
};

void TestLocalCloudHttp::startWith(const LocalCloudOptions &options)
{
    m_cloud = std::make_unique<LocalCloud>(options);
    m_cloud->addService(std::make_unique<EchoService>());
    QString error;
    QVERIFY2(m_cloud->start(&error), qPrintable(error));
}

void TestLocalCloudHttp::init()
{
    LocalCloudOptions options;
    options.limits.headBytes = 4096;
    options.limits.bodyBytes = 200000;
    startWith(options);
}

void TestLocalCloudHttp::servesRawRequests_data()
{
    QTest::addColumn<QByteArray>("request");
    QTest::addColumn<QByteArrayList>("answers"); // in this order
    const QByteArray host = "Host: echo.test\r\n";
    QTest::newRow("absolute form") << QByteArray("GET http://Echo.Test:80/a?b HTTP/1.1\r\nHost: x\r\n\r\n")
                                   << QByteArrayList{"HTTP/1.1 200 OK", "GET echo.test/a?b 0:;\n"};
    QTest::newRow("origin form") << "GET /a HTTP/1.1\r\n" + host + "\r\n" << QByteArrayList{"GET echo.test/a 0:;\n"};
    QTest::newRow("this machine") << QByteArray("GET /echo HTTP/1.1\r\nHost: 127.0.0.1\r\n\r\n")
                                  << QByteArrayList{"GET 127.0.0.1/echo 0:;\n"};
    QTest::newRow("blank lines first") << "\r\n\r\nGET /a HTTP/1.1\r\n" + host + "\r\n"
                                       << QByteArrayList{"GET echo.test/a 0:;\n"};
    QTest::newRow("length") << "PUT /a HTTP/1.1\r\n" + host + "Content-Length: 5\r\n\r\nhello"
                            << QByteArrayList{"PUT echo.test/a 5:hello;\n"};
    QTest::newRow("chunks") << "PUT /a HTTP/1.1\r\n" + host +
                                   "Transfer-Encoding: chunked\r\n\r\n3\r\nabc\r\n2\r\nde\r\n0\r\n\r\n"
                            << QByteArrayList{"PUT echo.test/a 5:abcde;\n"};
    QTest::newRow("large body goes to a file")
        << "PUT /a HTTP/1.1\r\n" + host + "Content-Length: 150000\r\n\r\n" + QByteArray(150000, 'x')
        << QByteArrayList{"PUT echo.test/a 150000:;\n"};
    QTest::newRow("expectation") << "PUT /a HTTP/1.1\r\n" + host + "Expect: 100-continue\r\nContent-Length: 2\r\n\r\nhi"
                                 << QByteArrayList{"HTTP/1.1 100 Continue\r\n\r\nHTTP/1.1 200 OK", "2:hi;\n"};
    QTest::newRow("pipelined") << "PUT /1 HTTP/1.1\r\n" + host + "Content-Length: 1\r\n\r\na" + "GET /2 HTTP/1.1\r\n" +
                                      host + "\r\nGET /3 HTTP/1.0\r\n" + host + "\r\n"
                               << QByteArrayList{"keep-alive", "/1 1:a;", "keep-alive", "/2 0:;", "close", "/3 0:;\n"};
    QTest::newRow("head without body") << "HEAD /1 HTTP/1.1\r\n" + host + "\r\nGET /2 HTTP/1.1\r\n" + host + "\r\n"
                                       << QByteArrayList{"keep-alive\r\n\r\nHTTP/1.1 200 OK", "GET echo.test/2 0:;\n"};
    QTest::newRow("unknown name") << QByteArray("GET http://unknown.test/ HTTP/1.1\r\nConnection: close\r\n\r\n")
                                  << QByteArrayList{"HTTP/1.1 502 "};
    QTest::newRow("this machine through the proxy")
        << QByteArray("GET http://127.0.0.1/echo HTTP/1.1\r\nConnection: close\r\n\r\n")
        << QByteArrayList{"HTTP/1.1 502 "};
}

void TestLocalCloudHttp::servesRawRequests()
{
    QFETCH(QByteArray, request);
    QFETCH(QByteArrayList, answers);
    const QByteArray received = rawExchange(*m_cloud, request, answers.last());
    int at = 0;
    for (const QByteArray &answer : answers) {
        at = received.indexOf(answer, at);
        QVERIFY2(at >= 0, answer + " is missing in " + received);
        at += answer.size();
    }
}

void TestLocalCloudHttp::refusesAndCloses_data()
{
    QTest::addColumn<QByteArray>("request");
    QTest::addColumn<QByteArray>("status");
    const QByteArray put = "PUT /a HTTP/1.1\r\nHost: echo.test\r\n";
    QTest::newRow("garbage") << QByteArray("\x16\x03\x01 hello\r\n\r\n") << QByteArray("400");
    QTest::newRow("endless head") << "GET /" + QByteArray(100000, 'a') << QByteArray("431");
    QTest::newRow("announced too large") << put + "Content-Length: 200001\r\n\r\n" << QByteArray("413");
    QTest::newRow("grows too large") << put + "Transfer-Encoding: chunked\r\n\r\n40000\r\n" + QByteArray(0x40000, 'x')
                                     << QByteArray("413");
    QTest::newRow("broken chunks") << put + "Transfer-Encoding: chunked\r\n\r\nzz\r\n" << QByteArray("400");
    QTest::newRow("bytes behind a tunnel request")
        << QByteArray("CONNECT echo.test:443 HTTP/1.1\r\n\r\nearly") << QByteArray("400");
}

void TestLocalCloudHttp::refusesAndCloses()
{
    QFETCH(QByteArray, request);
    QFETCH(QByteArray, status);
    const QByteArray received = rawExchange(*m_cloud, request);
    QVERIFY2(received.startsWith("HTTP/1.1 " + status), received);
    QVERIFY(received.contains("Connection: close"));
    QVERIFY(m_cloud->requests().isEmpty());
    QVERIFY(rawExchange(*m_cloud, "GET /x HTTP/1.1\r\nHost: echo.test\r\n\r\n").contains("GET echo.test/x"));
}

void TestLocalCloudHttp::slowClientsAreDropped()
{
    LocalCloudOptions options;
    options.limits.headTimeoutMs = 150;
    options.limits.idleTimeoutMs = 150;
    startWith(options);

    QTcpSocket dripping;
    dripping.connectToHost(QHostAddress::LocalHost, m_cloud->port());
    QTimer drip;
    connect(&drip, &QTimer::timeout, &dripping, [&] { dripping.write("G"); });
    drip.start(20);
    QByteArray received;
    QTRY_VERIFY_WITH_TIMEOUT((received += dripping.readAll()).startsWith("HTTP/1.1 408"), 2000);

    QVERIFY(rawExchange(*m_cloud, "PUT /a HTTP/1.1\r\nHost: echo.test\r\nContent-Length: 9\r\n\r\nhalf")
                .startsWith("HTTP/1.1 408"));
    QCOMPARE(rawExchange(*m_cloud, ""), QByteArray());
    QVERIFY(m_cloud->requests().isEmpty());
}

void TestLocalCloudHttp::tunnelShowsAVerifiedCertificate()
{
    CloudClient client(*m_cloud);
    QCOMPARE(client.get("https://echo.test/a%20b?x=%2F").body, QByteArray("GET echo.test/a%20b?x=%2F tls 0:;\n"));
    QCOMPARE(client.send("PUT", "https://other.test/b", "body").body, QByteArray("PUT other.test/b tls 4:body;\n"));
    QCOMPARE(client.get("http://echo.test/plain").body, QByteArray("GET echo.test/plain 0:;\n"));

    CloudClient stranger(*m_cloud);
    stranger.trustAuthority(false);
    QCOMPARE(stranger.get("https://echo.test/c").error, QNetworkReply::SslHandshakeFailedError);
    QCOMPARE(m_cloud->requests().size(), 3);
    QVERIFY(m_cloud->requests().at(1).tls);
    QCOMPARE(m_cloud->requests().at(1).body, QByteArray("body"));
    QCOMPARE(m_cloud->requests().at(2).tls, false);

    // The certificate is for the tunnel's name only.
    QSslSocket socket;
    socket.setProxy(QNetworkProxy(QNetworkProxy::HttpProxy, "127.0.0.1", m_cloud->port()));
    QSslConfiguration tls = socket.sslConfiguration();
    tls.setCaCertificates({m_cloud->caCertificate()});
    socket.setSslConfiguration(tls);
    QSignalSpy errors(&socket, qOverload<const QList<QSslError> &>(&QSslSocket::sslErrors));
    socket.connectToHostEncrypted("echo.test", 443, "other.test");
    QTRY_COMPARE_WITH_TIMEOUT(errors.size(), 1, 5000);
    QCOMPARE(errors.first().first().value<QList<QSslError>>().first().error(), QSslError::HostNameMismatch);
}

void TestLocalCloudHttp::tunnelToUnknownNamesIsRefused()
{
    CloudClient client(*m_cloud);
    QVERIFY(client.get("https://unknown.test/").error != QNetworkReply::NoError);
    QVERIFY(m_cloud->requests().isEmpty());
    m_cloud->addRule("unknown.test", "*", "status=418");
    QCOMPARE(client.get("https://unknown.test/").status, 418);
}

void TestLocalCloudHttp::manyConnectionsAtOnce()
{
    std::vector<std::unique_ptr<QTcpSocket>> sockets;
    QVector<QByteArray> received(150);
    for (int i = 0; i < received.size(); ++i) {
        sockets.push_back(std::make_unique<QTcpSocket>());
        sockets.back()->connectToHost(QHostAddress::LocalHost, m_cloud->port());
        sockets.back()->write("GET /" + QByteArray::number(i) + " HTTP/1.1\r\nHost: echo.test\r\n\r\n");
    }
    for (int i = 0; i < received.size(); ++i)
        QTRY_VERIFY((received[i] += sockets[static_cast<std::size_t>(i)]->readAll())
                        .endsWith("/" + QByteArray::number(i) + " 0:;\n"));
    QCOMPARE(m_cloud->requests().size(), received.size());
}

void TestLocalCloudHttp::connectionsBeyondTheLimitAreClosed()
{
    LocalCloudOptions options;
    options.maxConnections = 2;
    startWith(options);
    QTcpSocket sockets[2];
    for (QTcpSocket &socket : sockets) {
        socket.connectToHost(QHostAddress::LocalHost, m_cloud->port());
        QTRY_COMPARE(socket.state(), QAbstractSocket::ConnectedState);
    }
    const QByteArray request = "GET /a HTTP/1.1\r\nHost: echo.test\r\n\r\n";
    QCOMPARE(rawExchange(*m_cloud, request), QByteArray());
    sockets[0].abort();
    QTRY_VERIFY(rawExchange(*m_cloud, request).contains("200 OK"));
}

void TestLocalCloudHttp::ruleAnswers_data()
{
    QTest::addColumn<QString>("glob");
    QTest::addColumn<QString>("action");
    QTest::addColumn<int>("status");
    QTest::addColumn<QByteArray>("bodyStart");
    QTest::addColumn<bool>("broken");
    const QByteArray own = "GET echo.test/a/b%20c?q";
    QTest::newRow("status") << "/a/*"
                            << "status=503" << 503 << QByteArray("{\"error\"") << true;
    QTest::newRow("decoded path") << "/a/b c"
                                  << "status=201" << 201 << QByteArray("{") << false;
    QTest::newRow("path as it came") << "*%20?"
                                     << "status=202" << 202 << QByteArray("{") << false;
    QTest::newRow("other path") << "/a"
                                << "status=503" << 200 << own << false;
    QTest::newRow("query does not count") << "*q"
                                          << "status=503" << 200 << own << false;
    QTest::newRow("redirect") << "*"
                              << "redirect=https://x.test/y?z" << 302 << QByteArray() << false;
    QTest::newRow("file") << "*"
                          << "body=FILE" << 200 << QByteArray("instead") << false;
    QTest::newRow("missing file") << "*"
                                  << "body=/missing" << 500 << QByteArray() << true;
    QTest::newRow("cut") << "*"
                         << "cut=4" << 200 << QByteArray("GET ") << true;
    QTest::newRow("cut at once") << "*"
                                 << "cut=0" << 200 << QByteArray() << true;
    QTest::newRow("garbage") << "*"
                             << "garbage" << 0 << QByteArray() << true;
}

void TestLocalCloudHttp::ruleAnswers()
{
    QFETCH(QString, glob);
    QFETCH(QString, action);
    QFETCH(QByteArray, bodyStart);
    QFETCH(bool, broken);
    QTemporaryDir dir;
    QVERIFY(writeFile(dir.filePath("wrong.png"), "instead"));
    QVERIFY(m_cloud->addRule("ECHO.*", glob, action.replace("FILE", dir.filePath("wrong.png"))));
    m_cloud->addRule("other.test", "*", "status=500");
    for (const char *scheme : {"http", "https"}) {
        const CloudReply reply = CloudClient(*m_cloud).get(QString(scheme) + "://echo.test/a/b%20c?q");
        QTEST(reply.status, "status");
        QVERIFY2(reply.body.startsWith(bodyStart), reply.body);
        QCOMPARE(reply.error != QNetworkReply::NoError, broken);
        if (action.startsWith("cut"))
            QCOMPARE(reply.body.size(), bodyStart.size());
        if (reply.status == 302)
            QCOMPARE(reply.header("Location"), QByteArray("https://x.test/y?z"));
        if (action.startsWith("body") && !broken)
            QCOMPARE(reply.header("Content-Type"), QByteArray("image/png"));
    }
    m_cloud->clearRules();
    QCOMPARE(CloudClient(*m_cloud).get("http://echo.test/a").status, 200);
}

void TestLocalCloudHttp::ruleHangs()
{
    m_cloud->addRule("echo.test", "*", "hang");
    const CloudReply reply = CloudClient(*m_cloud).send("GET", "https://echo.test/a", {}, 200);
    QCOMPARE(reply.error, QNetworkReply::OperationCanceledError);
    QCOMPARE(reply.status, 0);
    QCOMPARE(m_cloud->requests().size(), 1);
    QCOMPARE(m_cloud->requests().first().status, 0);
}

void TestLocalCloudHttp::ruleDelays()
{
    m_cloud->addRule("echo.test", "*", "delay=120");
    m_cloud->addRule("echo.test", "/b", "status=507");
    QElapsedTimer timer;
    timer.start();
    QCOMPARE(CloudClient(*m_cloud).get("http://echo.test/a").status, 200);
    QVERIFY(timer.restart() >= 120);
    QCOMPARE(CloudClient(*m_cloud).get("http://echo.test/b").status, 507);
    QVERIFY(timer.elapsed() >= 120);

    // A request that is already here when the delayed answer goes out is served next.
    const QByteArray received = rawExchange(*m_cloud,
                                            "GET /1 HTTP/1.1\r\nHost: echo.test\r\n\r\nGET /2 HTTP/1.1\r\nHost: "
                                            "echo.test\r\n\r\n",
                                            "/2 0:;\n");
    QVERIFY2(received.endsWith("GET echo.test/2 0:;\n"), received);
}

void TestLocalCloudHttp::ruleEndsAfterItsTimes()
{
    m_cloud->addRule("echo.test", "*", "status=503", 2);
    QVector<int> seen;
    for (int i = 0; i < 4; ++i)
        seen.append(CloudClient(*m_cloud).get("http://echo.test/a").status);
    QCOMPARE(seen, (QVector<int>{503, 503, 200, 200}));
}

void TestLocalCloudHttp::logHasOneObjectPerRequest()
{
    QTemporaryDir dir;
    LocalCloudOptions options;
    options.logFile = dir.filePath("log.jsonl");
    startWith(options);
    m_cloud->addRule("echo.test", "/refused", "status=401");
    CloudClient client(*m_cloud);
    client.setHeader("Authorization", "Bearer secret");
    client.send("PUT", "https://echo.test/a?b=c", "12345");
    client.get("http://echo.test/refused");
    rawExchange(*m_cloud, "not http\r\n\r\n");

    const QByteArrayList lines = readFile(options.logFile).split('\n');
    QCOMPARE(lines.size(), 3);
    QCOMPARE(lines.last(), QByteArray());
    const QJsonObject first = QJsonDocument::fromJson(lines[0]).object();
    QCOMPARE(first.value("host").toString(), QString("echo.test"));
    QCOMPARE(first.value("tls").toBool(), true);
    QCOMPARE(first.value("method").toString(), QString("PUT"));
    QCOMPARE(first.value("target").toString(), QString("/a?b=c"));
    QCOMPARE(first.value("bodyBytes").toInt(), 5);
    QCOMPARE(first.value("status").toInt(), 200);
    QCOMPARE(first.value("headers").toObject().value("Authorization").toString(), QString("Bearer secret"));
    QCOMPARE(QJsonDocument::fromJson(lines[1]).object().value("status").toInt(), 401);
    QCOMPARE(QFile::permissions(options.logFile) & (QFile::ReadGroup | QFile::ReadOther), QFile::Permissions());
}

QTEST_GUILESS_MAIN(TestLocalCloudHttp)
#include "tst_localcloudhttp.moc"
