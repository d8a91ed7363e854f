#include "CloudClient.h"
#include <QElapsedTimer>
#include <QTcpSocket>
#include <QTest>
#include <QTimer>

namespace {

/// Answers with what it was asked.
class EchoService : public localcloud::CloudService
{
public:
    bool handles(const QString &host) const override { return host == "echo.test" || host == "other.test"; }
    bool handlesPath(const QByteArray &path) const override { return path.startsWith("/echo"); }
    void handle(localcloud::HttpRequest &request, localcloud::HttpResponse &response) override
    {
        const QByteArray body = QByteArray::number(request.body.size()) + ':' + request.body.bytes().left(100);
        const QByteArray target = request.host.toLatin1() + request.target();
        response.set(200, "text/plain", request.method + ' ' + target + (request.tls ? " tls " : " ") + body + ";\n");
    }
};

/// Lines of a request that follow its target.
const QByteArray kHost = " HTTP/1.1\r\nHost: echo.test\r\n";

} // namespace

class TestLocalCloudHttp : public QObject
{
    Q_OBJECT
private slots:
    void init() { start(10000); }

    void answersRawRequests()
    {
        const QByteArray put = "PUT /a" + kHost + "Content-Length: ";
        const QByteArray chunks = "PUT /a" + kHost + "Transfer-Encoding: chunked\r\n\r\n";
        const QByteArray two = put + "1\r\n\r\naGET /2" + kHost + "\r\n";
        for (const QByteArrayList &row : {
                 // a request, and what comes back in this order
                 QByteArrayList{"GET http://Echo.Test:80/a?b HTTP/1.1\r\nHost: x\r\n\r\n", "GET echo.test/a?b 0:;\n"},
                 {"\r\n\r\nGET /a" + kHost + "\r\n", "HTTP/1.1 200 OK", "GET echo.test/a 0:;\n"},
                 {"GET /echo HTTP/1.1\r\nHost: 127.0.0.1\r\n\r\n", "GET 127.0.0.1/echo 0:;\n"},
                 {chunks + "3\r\nabc\r\n2\r\nde\r\n0\r\n\r\n", "PUT echo.test/a 5:abcde;\n"},
                 {put + "150000\r\n\r\n" + QByteArray(150000, 'x'), "PUT echo.test/a 150000:;\n"},
                 {put + "2\r\nExpect: 100-continue\r\n\r\nhi", "100 Continue\r\n\r\nHTTP/1.1 200 OK", "2:hi;\n"},
                 {two + "GET /3 HTTP/1.0\r\nHost: echo.test\r\n\r\n", "alive", "1:a;", "/2 0:;", "close", "/3 0:;\n"},
                 {"HEAD /1" + kHost + "\r\nGET /2" + kHost + "\r\n", "alive\r\n\r\nHTTP/1.1 200", "/2 0:;\n"},
                 {"GET http://unknown.test/ HTTP/1.1\r\nConnection: close\r\n\r\n", "HTTP/1.1 502 "},
                 {"\x16\x03\x01 hello\r\n\r\n", "HTTP/1.1 400", "Connection: close"},
                 {"GET /" + QByteArray(100000, 'a'), "HTTP/1.1 431", "Connection: close"},
                 {put + "200001\r\n\r\n", "HTTP/1.1 413", "Connection: close"},
                 {chunks + "40000\r\n" + QByteArray(0x40000, 'x'), "HTTP/1.1 413", "Connection: close"},
                 {chunks + "zz\r\n", "HTTP/1.1 400", "Connection: close"},
                 {"CONNECT echo.test:443 HTTP/1.1\r\n\r\nearly", "HTTP/1.1 400", "Connection: close"},
             }) {
            const QByteArray received = rawExchange(*m_cloud, row.first(), row.last());
            int at = 0;
            for (const QByteArray &answer : row.mid(1)) {
                at = received.indexOf(answer, at);
                QVERIFY2(at >= 0, answer + " is missing in " + received);
                at += answer.size();
            }
        }
    }

    void slowClientsAreDropped()
    {
        start(150);
        QTcpSocket dripping;
        dripping.connectToHost(QHostAddress::LocalHost, m_cloud->port());
        QTimer drip;
        connect(&drip, &QTimer::timeout, &dripping, [&] { dripping.write("G"); });
        drip.start(20);
        QByteArray received;
        QTRY_VERIFY_WITH_TIMEOUT((received += dripping.readAll()).startsWith("HTTP/1.1 408"), 2000);
        received = rawExchange(*m_cloud, "PUT /a" + kHost + "Content-Length: 9\r\n\r\nhalf");
        QVERIFY2(received.startsWith("HTTP/1.1 408"), received);
        QVERIFY(m_cloud->requests().isEmpty());
    }

    void tunnelShowsAVerifiedCertificate()
    {
        CloudClient client(*m_cloud);
        QCOMPARE(client.get("https://echo.test/a%20b?x=%2F").body, QByteArray("GET echo.test/a%20b?x=%2F tls 0:;\n"));
        QCOMPARE(client.send("PUT", "https://other.test/b", "body").body, QByteArray("PUT other.test/b tls 4:body;\n"));
        CloudClient stranger(m_cloud->port(), QSslCertificate());
        QCOMPARE(stranger.get("https://echo.test/c").error, QNetworkReply::SslHandshakeFailedError);
        QVERIFY(client.get("https://unknown.test/").error != QNetworkReply::NoError);
        QCOMPARE(m_cloud->requests().size(), 2);
        QCOMPARE(m_cloud->requests().last().body, QByteArray("body"));
        m_cloud->addRule("unknown.test", "*", "status=418");
        QCOMPARE(client.get("https://unknown.test/").status, 418);
    }

    void ruleAnswers_data()
    {
        QTest::addColumn<int>("status");
        QTest::addColumn<QByteArray>("bodyStart");
        QTest::addColumn<QNetworkReply::NetworkError>("error");
        const auto row = [](const char *rule, int status, const char *bodyStart, QNetworkReply::NetworkError error) {
            QTest::newRow(rule) << status << QByteArray(bodyStart) << error;
        };
        row("/a/* status=503", 503, "{\"error\"", QNetworkReply::ServiceUnavailableError);
        row("/a/b?c?q status=201", 200, "GET echo.test/a/b%20c?q", QNetworkReply::NoError);
        row("/a/b?c status=201", 201, "{", QNetworkReply::NoError);
        row("*%20? status=202", 202, "{", QNetworkReply::NoError);
        row("* redirect=https://x.test/y?z", 302, "", QNetworkReply::NoError);
        row("* body=FILE", 200, "instead", QNetworkReply::NoError);
        row("* body=/missing", 500, "", QNetworkReply::InternalServerError);
        row("* cut=4", 200, "GET ", QNetworkReply::RemoteHostClosedError);
        row("* cut=0", 200, "", QNetworkReply::RemoteHostClosedError);
        row("* garbage", 0, "", QNetworkReply::RemoteHostClosedError);
    }

    void ruleAnswers()
    {
        QFETCH(QByteArray, bodyStart);
        QTemporaryDir dir;
        QVERIFY(writeFile(dir.filePath("wrong.png"), "instead"));
        QVERIFY(
            m_cloud->addRule("ECHO.* " + QString(QTest::currentDataTag()).replace("FILE", dir.filePath("wrong.png"))));
        m_cloud->addRule("other.test", "*", "status=500");
        for (const char *scheme : {"http", "https"}) {
            const CloudReply reply = CloudClient(*m_cloud).get(QString(scheme) + "://echo.test/a/b%20c?q");
            QTEST(reply.status, "status");
            QTEST(reply.error, "error");
            QVERIFY2(reply.body.startsWith(bodyStart), reply.body);
            QVERIFY(reply.error != QNetworkReply::RemoteHostClosedError || reply.body == bodyStart);
            QCOMPARE(reply.headers["Location"], QByteArray(reply.status == 302 ? "https://x.test/y?z" : ""));
            QCOMPARE(reply.headers["Content-Type"] == "image/png", bodyStart == "instead");
        }
    }

    void rulesDelayEndAndHang()
    {
        m_cloud->addRule("echo.test", "*", "delay=120");
        m_cloud->addRule("echo.test", "/b", "status=507", 1);
        CloudClient client(*m_cloud);
        QElapsedTimer timer;
        timer.start();
        QCOMPARE(client.get("http://echo.test/b").status, 507);
        QVERIFY(timer.elapsed() >= 120);
        QCOMPARE(client.get("http://echo.test/b").status, 200);
        // A request that is already here when the delayed answer goes out is served next.
        const QByteArray both = rawExchange(*m_cloud, "GET /1" + kHost + "\r\nGET /2" + kHost + "\r\n", "/2 0:;\n");
        QVERIFY2(both.contains("echo.test/1") && both.endsWith("/2 0:;\n"), both);

        m_cloud->clearRules();
        m_cloud->addRule("echo.test", "*", "hang");
        const CloudReply reply = client.send("GET", "https://echo.test/a", {}, 200);
        QVERIFY(reply.error == QNetworkReply::OperationCanceledError && reply.status == 0);
        QCOMPARE(m_cloud->requests().size(), 5);
    }

    void logHasOneObjectPerRequest()
    {
        QTemporaryDir dir;
        start(10000, dir.filePath("log.jsonl"));
        m_cloud->addRule("echo.test", "/refused", "status=401");
        CloudClient client(*m_cloud, "secret");
        client.send("PUT", "https://echo.test/a?b=c", "12345");
        client.get("http://echo.test/refused");
        rawExchange(*m_cloud, "not http\r\n\r\n");

        const QByteArrayList lines = readFile(dir.filePath("log.jsonl")).split('\n');
        QCOMPARE(lines.size(), 3);
        for (const char *part :
             {R"({"bodyBytes":5,)", R"("host":"echo.test",)", R"("method":"PUT",)", R"("status":200,)",
              R"("target":"/a?b=c","tls":true})", R"("Authorization":"Bearer secret")"})
            QVERIFY2(lines[0].contains(part), lines[0]);
        QVERIFY2(lines[1].contains(R"("status":401,)") && lines[1].contains(R"("tls":false})"), lines[1]);
        QVERIFY(lines[2].isEmpty() && isPrivate(dir.filePath("log.jsonl")));
    }

private:
    void start(int timeoutMs, const QString &logFile = {})
    {
        LocalCloudOptions options;
        options.limits.headBytes = 4096;
        options.limits.bodyBytes = 200000;
        options.limits.headTimeoutMs = options.limits.idleTimeoutMs = timeoutMs;
        options.logFile = logFile;
        m_cloud = std::make_unique<LocalCloud>(options);
        m_cloud->addService(std::make_unique<EchoService>());
        QVERIFY(m_cloud->start());
    }

    std::unique_ptr<LocalCloud> m_cloud;
};

QTEST_GUILESS_MAIN(TestLocalCloudHttp)
#include "tst_localcloudhttp.moc"
