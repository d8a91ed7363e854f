// localcloud/tst_localcloudhttp.cpp
//
// The local cloud as an HTTP proxy, independent of its services: requests, tunnels, certificates and rules.

#include "CloudClient.h"
#include "support/Table.h"

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
        // The request: END ends a request line with its headers, LONG is a long text; then a pattern for the response.
        addRows({{"path", "GET /a%20b?x=1&y END", "HTTP/1.1 200 OK\r\n*GET echo.test /a%20b?x=1&y 0:;\n"},
                 {"address", "GET http://Echo.Test:80/a?b END", "*GET echo.test /a?b 0:;\n"},
                 {"address without a path", "GET http://echo.test?q=http://x/ END", "*echo.test /?q=http://x/ 0:;\n"},
                 {"body", "PUT /a END\r\nContent-Length: 7\r\n\r\nabc", "*PUT echo.test /a 7:abc\r\n\r\n;\n"},
                 {"body in a file", "PUT /a END\r\nContent-Length: 150004\r\n\r\nLONG", "*PUT echo.test /a 150004:;\n"},
                 {"two requests", "GET /1 HTTP/1.1\r\nHost: echo.test\r\n\r\nGET /2 END", "*/1 0:;*close*/2 0:;\n"},
                 {"unknown host", "GET http://unknown.test/ END", "HTTP/1.1 502 *"},
                 {"tunnel to an unknown host", "CONNECT x.test:443 END", "HTTP/1.1 502 *"},
                 {"unknown method", "BREW / END", "HTTP/1.1 405 *"},
                 {"no HTTP", "hello", "HTTP/1.1 400 *"},
                 {"no host", "GET / HTTP/1.1", "HTTP/1.1 400 *"},
                 {"negative length", "PUT / END\r\nContent-Length: -1", "HTTP/1.1 400 *"},
                 {"two lengths", "PUT / END\r\nContent-Length: 1\r\nContent-Length: 2", "HTTP/1.1 400 *"},
                 {"chunked body", "PUT / END\r\nTransfer-Encoding: chunked", "HTTP/1.1 501 *"},
                 {"endless head", "GET / END\r\nA: LONG", "*"}}); // 431, unless the connection is reset
    }

    void rawRequestIsAnswered()
    {
        const auto [title, request, expected] = currentRow<3>();
        QByteArray bytes = request.toLatin1() + "\r\n\r\n";
        bytes.replace("END", "HTTP/1.1\r\nHost: echo.test\r\nConnection: close")
            .replace("LONG", QByteArray(150000, 'x'));
        const QByteArray received = rawExchange(*m_cloud, bytes);
        const QString pattern = QRegularExpression::escape(expected).replace("\\*", ".*");
        const QRegularExpression glob(QRegularExpression::anchoredPattern(pattern),
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

    void tunnelIsTrustedWithTheAuthorityOnly()
    {
        QCOMPARE(CloudClient(*m_cloud).send("PUT", "https://other.test/b", "body").body,
                 QByteArray("PUT other.test /b tls 4:body;\n"));
        CloudClient stranger(m_cloud->port(), QSslCertificate());
        QCOMPARE(stranger.get("https://echo.test/c").error, QNetworkReply::SslHandshakeFailedError);
        QCOMPARE(m_cloud->requests().size(), 1);
    }

    void ruleChangesTheResponse_data()
    {
        // The rule; then status, media type, end of the connection, and beginning of the body.
        addRows({{"status", "/a/* status=503", "503 application/json whole {\"er"},
                 {"encoded path", "*%20? status=202", "202 application/json whole {\"er"},
                 {"decoded path", "/a/b?c status=201", "201 application/json whole {\"er"},
                 {"other path", "/a/b?c?q status=201", "200 text/plain whole GET "},
                 {"redirect", "* redirect=https://x.test/y", "302 text/plain; charset=utf-8 whole The "},
                 {"file", "* body=FILE.png", "200 image/png whole inst"},
                 {"cut", "* cut=4", "200 text/plain broken GET "},
                 {"no length", "* no-length", "200 text/plain whole GET "},
                 {"garbage", "* garbage", "0  broken "},
                 {"hang", "* hang", "0  hanging "}});
    }

    void ruleChangesTheResponse()
    {
        const auto [title, rule, expected] = currentRow<3>();
        static const QMap<int, QString> ends{{QNetworkReply::RemoteHostClosedError, "broken"},
                                             {QNetworkReply::OperationCanceledError, "hanging"}};
        QTemporaryDir dir;
        writeFile(dir.filePath("FILE.png"), "instead");
        m_cloud->addRule("other.test", "*", "status=500");
        QVERIFY(m_cloud->addRule("ECHO.* " + QString(rule).replace("FILE", dir.filePath("FILE"))));
        for (const char *scheme : {"http", "https"}) {
            const int timeoutMs = title == "hang" ? 200 : 10000;
            const QString url = QString(scheme) + "://echo.test/a/b%20c?q";
            const CloudReply reply = CloudClient(*m_cloud).send("GET", url, {}, timeoutMs);
            const QStringList found{QString::number(reply.status), reply.headers["Content-Type"],
                                    ends.value(reply.error, "whole"), reply.body.left(4)};
            QCOMPARE(found.join(' '), expected);
        }
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
