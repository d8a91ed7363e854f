// localcloud/tst_localcloudhttp.cpp
//
// Requests and answers between a client and the local cloud, whichever service is asked, and the rules of misbehaviour.

#include "CloudClient.h"

#include <QtTest>

#include <localcloud/http/Replies.h>

using namespace localcloud;

namespace {

/// Answers with what it was asked.
class EchoService : public CloudService
{
public:
    bool handles(const QString &host) const override { return host == "echo.test" || host == "other.test"; }
    bool handlesPath(const QByteArray &path) const override { return path.startsWith("/echo"); }
    void handle(HttpRequest &request, HttpResponse &response) override
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

    void findsAndRefusesHeads()
    {
        const QByteArray whole = "GET / HTTP/1.1\r\nHost: h\r\n\r\n";
        for (int length = 0; length < whole.size(); ++length)
            QCOMPARE(headLength(whole.left(length)), -1);
        QCOMPARE(headLength(whole + "\r\n\r\nbody"), whole.size());
        const QByteArray get = "GET / HTTP/1.1\r\nHost: h";
        const QByteArray put = "PUT / HTTP/1.1\r\nHost: h\r\nContent-Length: ";
        for (const QByteArray &head :
             {QByteArray("GET /"), QByteArray("GET / HTTP/1.1"), QByteArray("GET / HTTP/1.1\r\nHost: u@h"),
              QByteArray("GET a HTTP/1.1\r\nHost: h"), QByteArray("GET https://h/ HTTP/1.1\r\nHost: h"),
              QByteArray("CONNECT / HTTP/1.1\r\nHost: h"), get + ":65536", get + "\r\n more", get + "\r\nA : b",
              get + "\r\nA: b\rc", put + "1\r\nContent-Length: 2", put + "-1", put + "99999999999999999999",
              put + "1\r\nTransfer-Encoding: chunked"})
            QVERIFY2(parseHead(head + "\r\n\r\n").status == 400, head);
        QCOMPARE(parseHead("GET / HTTP/2.0\r\nHost: h\r\n\r\n").status, 505);
        QCOMPARE(parseHead(get + "\r\nTransfer-Encoding: gzip, chunked\r\n\r\n").status, 501);
    }

    void decodesChunksInPiecesOfAnySize()
    {
        const QByteArray encoded = "5;note=x\r\nhello\r\n0A\r\n, \r\nworld!\r\n0\r\nTrailer: t\r\n\r\nGET /next";
        for (int size = 1; size <= encoded.size(); ++size) {
            ChunkedDecoder decoder;
            QByteArray pending, decoded;
            for (int at = 0; at < encoded.size(); at += size) {
                pending += encoded.mid(at, size);
                QVERIFY(decoder.feed(pending, decoded));
            }
            QVERIFY2(decoder.isDone() && decoded == "hello, \r\nworld!" && pending == "GET /next", decoded + pending);
        }
        const QByteArray endless = "0\r\n" + QByteArray("Name: value\r\n").repeated(1000);
        for (QByteArray bad : {"xyz\r\n", "-5\r\n", "0x5\r\n", "ffffffffffffffff\r\n", "1\r\nab\r\n", endless.data()}) {
            QByteArray decoded;
            QVERIFY2(!ChunkedDecoder().feed(bad, decoded), bad);
        }
    }

    void readsRanges()
    {
        for (const auto &[range, expected] : {std::pair("bytes=0-9", "206 bytes 0-9/100"),
                                              {"bytes=-3", "206 bytes 97-99/100"},
                                              {"bytes=99-1000", "206 bytes 99-99/100"},
                                              {"bytes=100-", "416 bytes */100"},
                                              {"bytes=-0", "416 bytes */100"},
                                              {"bytes=9-3", "200 "},
                                              {"bytes=0-1,5-6", "200 "}}) {
            HttpResponse response;
            setFile(response, "x.obj", 100, range);
            const QByteArray contentRange = headerValue(response.headers, "Content-Range");
            QCOMPARE(QByteArray::number(response.status) + ' ' + contentRange, QByteArray(expected));
        }
    }

    void answersRawRequests()
    {
        const QByteArray put = "PUT /a" + kHost + "Content-Length: ";
        const QByteArray chunks = "PUT /a" + kHost + "Transfer-Encoding: chunked\r\n\r\n";
        const QByteArray two = put + "1\r\n\r\naGET /2" + kHost + "\r\n";
        for (const QByteArrayList &row : {
                 // a request, and what comes back in this order
                 QByteArrayList{"GET http://Echo.Test:80/a?b HTTP/1.1\r\nHost: x\r\n\r\n", "GET echo.test/a?b 0:;\n"},
                 {"GET /a%20b?x=1&y HTTP/1.1\r\nHost: echo.test:8\r\n\r\n", "alive", "GET echo.test/a%20b?x=1&y 0:;\n"},
                 {"PUT http://echo.test?q=http://x/ HTTP/1.1\nHost: x\nContent-Length: 2\n\nhi",
                  "/?q=http://x/ 2:hi;\n"},
                 {"GET /echo HTTP/1.0\r\nConnection: foo, Keep-Alive\r\n\r\n", "alive", "GET /echo 0:;\n"},
                 {"\r\n\r\nGET /a" + kHost + "\r\n", "HTTP/1.1 200 OK", "GET echo.test/a 0:;\n"},
                 {"GET /echo HTTP/1.1\r\nHOST:127.0.0.1\r\nProxy-Connection: close\r\n\r\n", "close",
                  "127.0.0.1/echo 0:;\n"},
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

    void aCutRequestIsNotServed()
    {
        const auto connections = [this] { return m_cloud->findChildren<HttpConnection *>().size(); };
        for (const char *framing : {"Content-Length: 150000\r\n\r\n", "Transfer-Encoding: chunked\r\n\r\n30000\r\n"}) {
            QTcpSocket socket;
            socket.connectToHost(QHostAddress::LocalHost, m_cloud->port());
            socket.write("PUT /a" + kHost + framing + QByteArray(100000, 'x'));
            QTRY_VERIFY(connections() == 1 && socket.bytesToWrite() == 0);
            socket.disconnectFromHost();
            QTRY_COMPARE(connections(), 0);
        }
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

    void rulesAnswer()
    {
        QTemporaryDir dir;
        writeFile(dir.filePath("wrong.png"), "instead");
        const std::tuple<QString, int, QByteArray> rows[] = {
            {"/a/* status=503", 503, "{\"error\""},
            {"/a/b?c?q status=201", 200, "GET echo.test/a/b%20c?q"},
            {"  /a/b?c  status=201 ", 201, "{"},
            {"*%20? status=202", 202, "{"},
            {"* redirect=https://x.test/y?z", 302, ""},
            {"* body=" + dir.filePath("wrong.png"), 200, "instead"},
            {"* body=/missing", 500, ""},
            {"* cut=4", 200, "GET "},
            {"* cut=0", 200, ""},
            {"* garbage", 0, ""},
        };
        for (const auto &[rule, status, bodyStart] : rows) {
            m_cloud->clearRules();
            m_cloud->addRule("other.test", "*", "status=500");
            QVERIFY2(m_cloud->addRule("ECHO.* " + rule), qPrintable(rule));
            const bool breaksOff = rule.contains("cut") || rule.contains("garbage");
            for (const char *scheme : {"http", "https"}) {
                const CloudReply reply = CloudClient(*m_cloud).get(QString(scheme) + "://echo.test/a/b%20c?q");
                QVERIFY2(reply.status == status && reply.body.startsWith(bodyStart), qPrintable(rule));
                QCOMPARE(reply.error == QNetworkReply::RemoteHostClosedError, breaksOff);
                QVERIFY(!breaksOff || reply.body == bodyStart);
                QCOMPARE(reply.headers["Location"], QByteArray(status == 302 ? "https://x.test/y?z" : ""));
                QCOMPARE(reply.headers["Content-Type"] == "image/png", bodyStart == "instead");
            }
        }
        for (const char *action : {"", "explode", "status=", "status=99", "delay=-1", "delay=3000000000", "redirect="})
            QVERIFY2(!m_cloud->addRule(QStringLiteral("h /p ") + action), action);
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

private:
    void start(int timeoutMs)
    {
        LocalCloudOptions options;
        options.limits = {4096, 200000, timeoutMs, timeoutMs, 100};
        m_cloud = std::make_unique<LocalCloud>(options);
        m_cloud->addService(std::make_unique<EchoService>());
        QVERIFY(m_cloud->start());
    }

    std::unique_ptr<LocalCloud> m_cloud;
};

QTEST_GUILESS_MAIN(TestLocalCloudHttp)
#include "tst_localcloudhttp.moc"
