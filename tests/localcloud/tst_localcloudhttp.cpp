// localcloud/tst_localcloudhttp.cpp
//
// The local cloud as an HTTP proxy, independent of its services: requests, tunnels, certificates and rules.

#include "CloudClient.h"

#include <QtTest>

using namespace localcloud;

namespace {

/// Replies with a description of the request.
class EchoService : public CloudService
{
public:
    EchoService()
    {
        const auto echo = [](HttpRequest &request, HttpResponse &response) {
            const QByteArray target = request.query.isNull() ? request.path : request.path + '?' + request.query;
            const QByteArray body = QByteArray::number(request.body.size()) + ':' + request.body.bytes().left(100);
            response.set(200, "text/plain",
                         request.method + ' ' + request.host.toLatin1() + " /" + target +
                             (request.tls ? " tls " : " ") + body + ";\n");
        };
        addRoute(
            {{"echo.test", "other.test"}, "/", Route::Match::Prefix, {"GET", "PUT"}, Route::Transport::Any, echo, {}});
    }
};

} // namespace

class TestLocalCloudHttp : public QObject
{
    Q_OBJECT
private slots:
    void init()
    {
        m_cloud = std::make_unique<LocalCloud>();
        QVERIFY(m_cloud->start());
        m_cloud->addService(std::make_unique<EchoService>());
    }

    void rawRequestsAreServed_data()
    {
        QTest::addColumn<QByteArray>("request");      // the last one of a connection, which it closes
        QTest::addColumn<QByteArrayList>("expected"); // parts of the responses in this order
        const QByteArray end = " HTTP/1.1\r\nHost: echo.test\r\nConnection: close\r\n";
        const auto row = [](const char *name, const QByteArray &request, const QByteArrayList &expected) {
            QTest::newRow(name) << request << expected;
        };
        row("path", "GET /a%20b?x=1&y" + end + "\r\n", {"HTTP/1.1 200 OK", "GET echo.test /a%20b?x=1&y 0:;\n"});
        row("absolute address", "GET http://Echo.Test:80/a?b HTTP/1.1\r\nHost: x\r\nConnection: close\r\n\r\n",
            {"GET echo.test /a?b 0:;\n"});
        row("absolute address without a path",
            "PUT http://echo.test?q=http://x/ HTTP/1.1\nHost: x\nConnection: close\nContent-Length: 2\n\nhi",
            {"PUT echo.test /?q=http://x/ 2:hi;\n"});
        row("body in memory", "PUT /a" + end + "Content-Length: 3\r\n\r\nabc", {"PUT echo.test /a 3:abc;\n"});
        row("body in a file", "PUT /a" + end + "Content-Length: 150000\r\n\r\n" + QByteArray(150000, 'x'),
            {"PUT echo.test /a 150000:;\n"});
        row("expected continue", "PUT /a" + end + "Content-Length: 2\r\nExpect: 100-continue\r\n\r\nhi",
            {"100 Continue\r\n\r\nHTTP/1.1 200 OK", "2:hi;\n"});
        row("two requests at once", "GET /1 HTTP/1.1\r\nHost: echo.test\r\n\r\nGET /2" + end + "\r\n",
            {"keep-alive", "/1 0:;", "close", "/2 0:;\n"});
        row("unknown host", "GET http://unknown.test/ HTTP/1.1\r\nConnection: close\r\n\r\n", {"HTTP/1.1 502 "});
        row("unknown method", "BREW /" + end + "\r\n", {"HTTP/1.1 405 "});
    }

    void rawRequestsAreServed()
    {
        QFETCH(QByteArray, request);
        QFETCH(QByteArrayList, expected);
        const QByteArray received = rawExchange(*m_cloud, request);
        int at = 0;
        for (const QByteArray &part : qAsConst(expected)) {
            at = received.indexOf(part, at);
            QVERIFY2(at >= 0, part + " is missing in " + received);
            at += part.size();
        }
    }

    void malformedRequestsAreRefused_data()
    {
        QTest::addColumn<QByteArray>("request");
        QTest::addColumn<int>("status");
        const QByteArray get = "GET / HTTP/1.1\r\nHost: h";
        const QByteArray put = "PUT / HTTP/1.1\r\nHost: h\r\nContent-Length: ";
        QTest::newRow("TLS hello") << QByteArray("\x16\x03\x01 hello") << 400;
        QTest::newRow("no version") << QByteArray("GET /") << 400;
        QTest::newRow("no host") << QByteArray("GET / HTTP/1.1") << 400;
        QTest::newRow("user in the host") << QByteArray("GET / HTTP/1.1\r\nHost: u@h") << 400;
        QTest::newRow("relative target") << QByteArray("GET a HTTP/1.1\r\nHost: h") << 400;
        QTest::newRow("https target") << QByteArray("GET https://h/ HTTP/1.1\r\nHost: h") << 400;
        QTest::newRow("tunnel without a host") << QByteArray("CONNECT / HTTP/1.1\r\nHost: h") << 400;
        QTest::newRow("tunnel to an unknown host") << QByteArray("CONNECT x.test:443 HTTP/1.1") << 502;
        QTest::newRow("port out of range") << get + ":65536" << 400;
        QTest::newRow("folded header") << get + "\r\n more" << 400;
        QTest::newRow("blank in a header name") << get + "\r\nA : b" << 400;
        QTest::newRow("carriage return in a header") << get + "\r\nA: b\rc" << 400;
        QTest::newRow("zero byte") << get + QByteArray("\r\nA: b\0c", 8) << 400;
        QTest::newRow("two lengths") << put + "1\r\nContent-Length: 2" << 400;
        QTest::newRow("negative length") << put + "-1" << 400;
        QTest::newRow("enormous length") << put + "99999999999999999999" << 400;
        QTest::newRow("chunked body") << get + "\r\nTransfer-Encoding: chunked" << 501;
        QTest::newRow("other version") << QByteArray("GET / HTTP/2.0\r\nHost: h") << 505;
        QTest::newRow("endless head") << get + "\r\nA: " + QByteArray(70000, 'a') << 431;
    }

    void malformedRequestsAreRefused()
    {
        QFETCH(QByteArray, request);
        QFETCH(int, status);
        const QByteArray received = rawExchange(*m_cloud, request + "\r\n\r\n");
        if (status != 431) // the connection may be reset before the client reads the response
            QCOMPARE(received.left(12), "HTTP/1.1 " + QByteArray::number(status));
        QVERIFY(m_cloud->requests().isEmpty());
        QCOMPARE(CloudClient(*m_cloud).get("http://echo.test/next").status, 200);
    }

    void incompleteRequestIsNotServed()
    {
        QTcpSocket socket;
        socket.connectToHost(QHostAddress::LocalHost, m_cloud->port());
        socket.write("PUT /a HTTP/1.1\r\nHost: echo.test\r\nContent-Length: 150000\r\n\r\n" + QByteArray(100000, 'x'));
        QTRY_COMPARE(m_cloud->findChildren<HttpConnection *>().size(), 1);
        QTRY_COMPARE(socket.bytesToWrite(), 0);
        socket.disconnectFromHost();
        QTRY_COMPARE(m_cloud->findChildren<HttpConnection *>().size(), 0);
        QVERIFY(m_cloud->requests().isEmpty());
    }

    void tunnelHasACertificateForItsHost()
    {
        CloudClient client(*m_cloud);
        QCOMPARE(client.get("https://echo.test/a%20b?x=%2F").body, QByteArray("GET echo.test /a%20b?x=%2F tls 0:;\n"));
        QCOMPARE(client.send("PUT", "https://other.test/b", "body").body,
                 QByteArray("PUT other.test /b tls 4:body;\n"));
        CloudClient stranger(m_cloud->port(), QSslCertificate());
        QCOMPARE(stranger.get("https://echo.test/c").error, QNetworkReply::SslHandshakeFailedError);
        QCOMPARE(client.get("https://unknown.test/").error, QNetworkReply::UnknownNetworkError);
        QCOMPARE(m_cloud->requests().size(), 2);
        m_cloud->addRule("unknown.test", "*", "status=418");
        QCOMPARE(client.get("https://unknown.test/").status, 418);
    }

    void ruleChangesTheResponse_data()
    {
        QTest::addColumn<QString>("rule");
        QTest::addColumn<QString>(
            "expected"); // status, media type, whether the connection broke, beginning of the body
        const QString echo = "200 text/plain whole GET ";
        QTest::newRow("status") << "/a/* status=503"
                                << "503 application/json whole {\"er";
        QTest::newRow("blanks around the words") << "  /a/b?c  status=201 "
                                                 << "201 application/json whole {\"er";
        QTest::newRow("encoded path") << "*%20? status=202"
                                      << "202 application/json whole {\"er";
        QTest::newRow("other path") << "/a/b?c?q status=201" << echo;
        QTest::newRow("redirect") << "* redirect=https://x.test/y"
                                  << "302 text/plain; charset=utf-8 whole The ";
        QTest::newRow("file") << "* body=FILE.png"
                              << "200 image/png whole inst";
        QTest::newRow("missing file") << "* body=/missing"
                                      << "500 text/plain; charset=utf-8 whole The ";
        QTest::newRow("cut") << "* cut=4"
                             << "200 text/plain broken GET ";
        QTest::newRow("cut at the start") << "* cut=0"
                                          << "200 text/plain broken ";
        QTest::newRow("no length") << "* no-length" << echo;
        QTest::newRow("garbage") << "* garbage"
                                 << "0  broken ";
    }

    void ruleChangesTheResponse()
    {
        QFETCH(QString, rule);
        QFETCH(QString, expected);
        QTemporaryDir dir;
        writeFile(dir.filePath("FILE.png"), "instead");
        m_cloud->addRule("other.test", "*", "status=500");
        QVERIFY(m_cloud->addRule("ECHO.* " + rule.replace("FILE", dir.filePath("FILE"))));
        for (const char *scheme : {"http", "https"}) {
            const CloudReply reply = CloudClient(*m_cloud).get(QString(scheme) + "://echo.test/a/b%20c?q");
            const QString end = reply.error == QNetworkReply::RemoteHostClosedError ? "broken" : "whole";
            QCOMPARE(QStringLiteral("%1 %2 %3 %4")
                         .arg(reply.status)
                         .arg(QString(reply.headers["Content-Type"]), end, QString(reply.body.left(4))),
                     expected);
        }
    }

    void malformedRuleIsRefused()
    {
        for (const char *action : {"", "explode", "status=", "status=99", "delay=-1", "delay=3000000000", "redirect="})
            QVERIFY2(!m_cloud->addRule(QStringLiteral("h /p ") + action), action);
    }

    void ruleEndsAfterItsCount()
    {
        m_cloud->addRule("echo.test", "/b", "status=507", 1);
        CloudClient client(*m_cloud);
        QCOMPARE(client.get("http://echo.test/b").status, 507);
        QCOMPARE(client.get("http://echo.test/b").status, 200);
    }

    void delayedResponseComesLater()
    {
        m_cloud->addRule("echo.test", "*", "delay=120");
        QElapsedTimer timer;
        timer.start();
        QCOMPARE(CloudClient(*m_cloud).get("http://echo.test/b").status, 200);
        QVERIFY(timer.elapsed() >= 120);
    }

    void hangingRequestGetsNoResponse()
    {
        m_cloud->addRule("echo.test", "*", "hang");
        const CloudReply reply = CloudClient(*m_cloud).send("GET", "http://echo.test/a", {}, 200);
        QCOMPARE(reply.error, QNetworkReply::OperationCanceledError);
        QCOMPARE(m_cloud->requests().size(), 1);
    }

private:
    std::unique_ptr<LocalCloud> m_cloud;
};

QTEST_GUILESS_MAIN(TestLocalCloudHttp)
#include "tst_localcloudhttp.moc"
