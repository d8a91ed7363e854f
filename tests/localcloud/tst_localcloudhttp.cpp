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
            response.set(200, "text/plain",
                         request.method + ' ' + request.host.toLatin1() + " /" + request.target() +
                             (request.tls ? " tls " : " ") + QByteArray::number(request.body.size()) + ':' +
                             request.body.bytes() + ";\n");
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

    void rawRequestIsAnswered_data()
    {
        QTest::addColumn<QByteArray>("request"); // its last blank line is added
        QTest::addColumn<QString>("expected");   // a glob
        const auto row = [](const char *name, const QByteArray &request, const char *expected) {
            QTest::newRow(name) << request << QString(expected);
        };
        const QByteArray end = " HTTP/1.1\r\nHost: echo.test\r\nConnection: close";
        const QByteArray get = "GET / HTTP/1.1\r\nHost: h";
        const QByteArray put = "PUT / HTTP/1.1\r\nHost: h\r\nContent-Length: ";
        row("path", "GET /a%20b?x=1&y" + end, "HTTP/1.1 200 OK\r\n*GET echo.test /a%20b?x=1&y 0:;\n");
        row("address", "GET http://Echo.Test:80/a?b HTTP/1.1\r\nConnection: close", "*GET echo.test /a?b 0:;\n");
        row("address without a path", "GET http://echo.test?q=http://x/" + end, "*GET echo.test /?q=http://x/ 0:;\n");
        row("line feeds only", "GET /a HTTP/1.1\nHost: echo.test\nConnection: close", "*GET echo.test /a 0:;\n");
        row("body", "PUT /a" + end + "\r\nContent-Length: 7\r\n\r\nabc", "*PUT echo.test /a 7:abc\r\n\r\n;\n");
        row("body in a file", "PUT /a" + end + "\r\nContent-Length: 150004\r\n\r\n" + QByteArray(150000, 'x'),
            "*PUT echo.test /a 150004:;\n");
        row("expected continue", "PUT /a" + end + "\r\nContent-Length: 2\r\nExpect: 100-continue\r\n\r\nhi",
            "HTTP/1.1 100 Continue\r\n\r\nHTTP/1.1 200 OK*2:hi;\n");
        row("two requests", "GET /1 HTTP/1.1\r\nHost: echo.test\r\n\r\nGET /2" + end,
            "*keep-alive*/1 0:;*close*/2 0:;\n");
        row("unknown host", "GET http://unknown.test/" + end, "HTTP/1.1 502 *");
        row("unknown method", "BREW /" + end, "HTTP/1.1 405 *");
        row("TLS hello", "\x16\x03\x01 hello", "HTTP/1.1 400 *");
        row("no version", "GET /", "HTTP/1.1 400 *");
        row("no host", "GET / HTTP/1.1", "HTTP/1.1 400 *");
        row("user in the host", "GET / HTTP/1.1\r\nHost: u@h", "HTTP/1.1 400 *");
        row("relative target", "GET a HTTP/1.1\r\nHost: h", "HTTP/1.1 400 *");
        row("https target", "GET https://h/ HTTP/1.1\r\nHost: h", "HTTP/1.1 400 *");
        row("tunnel without a host", "CONNECT / HTTP/1.1\r\nHost: h", "HTTP/1.1 400 *");
        row("tunnel to an unknown host", "CONNECT x.test:443 HTTP/1.1", "HTTP/1.1 502 *");
        row("port out of range", get + ":65536", "HTTP/1.1 400 *");
        row("folded header", get + "\r\n more", "HTTP/1.1 400 *");
        row("blank in a header name", get + "\r\nA : b", "HTTP/1.1 400 *");
        row("carriage return in a header", get + "\r\nA: b\rc", "HTTP/1.1 400 *");
        row("zero byte", get + QByteArray("\r\nA: b\0c", 8), "HTTP/1.1 400 *");
        row("two lengths", put + "1\r\nContent-Length: 2", "HTTP/1.1 400 *");
        row("negative length", put + "-1", "HTTP/1.1 400 *");
        row("enormous length", put + "99999999999999999999", "HTTP/1.1 400 *");
        row("chunked body", get + "\r\nTransfer-Encoding: chunked", "HTTP/1.1 501 *");
        row("other version", "GET / HTTP/2.0\r\nHost: h", "HTTP/1.1 505 *");
        row("endless head", get + "\r\nA: " + QByteArray(70000, 'a'), "*"); // 431, unless the connection is reset
    }

    void rawRequestIsAnswered()
    {
        QFETCH(QByteArray, request);
        QFETCH(QString, expected);
        const QByteArray received = rawExchange(*m_cloud, request + "\r\n\r\n");
        QRegularExpression glob(
            QRegularExpression::anchoredPattern(QRegularExpression::escape(expected).replace("\\*", ".*")),
            QRegularExpression::DotMatchesEverythingOption);
        QVERIFY2(glob.match(received).hasMatch(), received);
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
        QTest::addColumn<QString>("expected"); // status, media type, end of the connection, beginning of the body
        const auto row = [](const char *name, const char *rule, const char *expected) {
            QTest::newRow(name) << QString(rule) << QString(expected);
        };
        row("status", "/a/* status=503", "503 application/json whole {\"er");
        row("blanks around the words", "  /a/b?c  status=201 ", "201 application/json whole {\"er");
        row("encoded path", "*%20? status=202", "202 application/json whole {\"er");
        row("other path", "/a/b?c?q status=201", "200 text/plain whole GET ");
        row("redirect", "* redirect=https://x.test/y", "302 text/plain; charset=utf-8 whole The ");
        row("file", "* body=FILE.png", "200 image/png whole inst");
        row("missing file", "* body=/missing", "500 text/plain; charset=utf-8 whole The ");
        row("cut", "* cut=4", "200 text/plain broken GET ");
        row("cut at the start", "* cut=0", "200 text/plain broken ");
        row("no length", "* no-length", "200 text/plain whole GET ");
        row("garbage", "* garbage", "0  broken ");
        row("hang", "* hang", "0  hanging ");
    }

    void ruleChangesTheResponse()
    {
        QFETCH(QString, rule);
        QFETCH(QString, expected);
        static const QMap<int, QString> ends{{QNetworkReply::RemoteHostClosedError, "broken"},
                                             {QNetworkReply::OperationCanceledError, "hanging"}};
        QTemporaryDir dir;
        writeFile(dir.filePath("FILE.png"), "instead");
        m_cloud->addRule("other.test", "*", "status=500");
        QVERIFY(m_cloud->addRule("ECHO.* " + rule.replace("FILE", dir.filePath("FILE"))));
        for (const char *scheme : {"http", "https"}) {
            const int timeoutMs = expected.contains("hanging") ? 200 : 10000;
            const QString url = QString(scheme) + "://echo.test/a/b%20c?q";
            const CloudReply reply = CloudClient(*m_cloud).send("GET", url, {}, timeoutMs);
            const QStringList found{QString::number(reply.status), reply.headers["Content-Type"],
                                    ends.value(reply.error, "whole"), reply.body.left(4)};
            QCOMPARE(found.join(' '), expected);
        }
    }

    void malformedRuleIsRefused()
    {
        for (const char *action : {"", "explode", "status=", "status=99", "delay=-1", "delay=3000000000", "redirect="})
            QVERIFY2(!m_cloud->addRule(QStringLiteral("h /p ") + action), action);
    }

    void ruleDelaysAndEndsAfterItsCount()
    {
        m_cloud->addRule("echo.test", "*", "delay=120");
        m_cloud->addRule("echo.test", "/b", "status=507", 1);
        CloudClient client(*m_cloud);
        QElapsedTimer timer;
        timer.start();
        QCOMPARE(client.get("http://echo.test/b").status, 507);
        QVERIFY(timer.elapsed() >= 120);
        QCOMPARE(client.get("http://echo.test/b").status, 200);
    }

private:
    std::unique_ptr<LocalCloud> m_cloud;
};

QTEST_GUILESS_MAIN(TestLocalCloudHttp)
#include "tst_localcloudhttp.moc"
