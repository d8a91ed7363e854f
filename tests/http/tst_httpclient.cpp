#include "HttpTest.h"

#include <QSslError>
#include <QTcpServer>
#include <QTcpSocket>

namespace {

/// A line of this process's memory figures, in bytes.
qint64 memoryInUse(const QByteArray &key)
{
    const QByteArray figures = contentOf("/proc/self/status");
    return figures.mid(figures.indexOf(key) + key.size()).simplified().split(' ').first().toLongLong() * 1024;
}

} // namespace

/// What goes out, what comes back, and how calls end.
class TestHttpClient : public HttpFixture
{
    Q_OBJECT
private slots:
    void init() { reset(); }

    void requestGoesOutAsGiven()
    {
        m_server->answer("/1/a%20b", Reply(200).body("got"));
        m_server->answer("/1/post", Reply(302).location("/1/a%20b").body("posted"));
        const HeaderMap headers = {{L"Authorization", L"Bearer k\u00e9y"},
                                   {L"X-Empty", L""},
                                   {L"X-Lines", std::wstring(L"a\r\nX-Evil: 1\r\n\r\nGET\0 /", 23)},
                                   {L"X-Case", L"1"},
                                   {L"x-case", L"2"}};
        QCOMPARE(m_client->run(Call::Get, "/1/a%20b?list=true&q=%23x", headers).GetStatusCode(), 200);
        QCOMPARE(m_client->body, QByteArray("got"));
        QByteArray data("a=1&b=\0", 7);
        const ReturnStatus posted =
            m_client->post("/1/post", data, {{L"Content-Type", L"text/x"}}, false, m_client->body);
        QCOMPARE(posted.GetStatusCode(), 302);
        QCOMPARE(m_client->body, QByteArray("posted"));

        QCOMPARE(m_server->requests().size(), 2);
        const Request get = m_server->lastRequest("/1/a%20b");
        QCOMPARE(get.method, QByteArray("GET"));
        QCOMPARE(get.target, QByteArray("/1/a%20b?list=true&q=%23x"));
        QCOMPARE(get.header("Authorization"), QByteArray("Bearer k\xc3\xa9y"));
        QVERIFY(get.hasHeader("X-Empty"));
        QCOMPARE(get.header("X-Lines"), QByteArray("aX-Evil: 1GET /"));
        QCOMPARE(get.headerValues("X-Case"), QList<QByteArray>{"2"});
        const Request post = m_server->lastRequest("/1/post");
        QCOMPARE(post.method, QByteArray("POST"));
        QCOMPARE(post.body, data);
        QCOMPARE(post.headerValues("Content-Type"), QList<QByteArray>{"text/x"});
        QVERIFY(!post.hasHeader("Authorization"));
        QCOMPARE(m_host.errors(), QStringList());
    }

    void hostAndPort()
    {
        m_server->answer("/", Reply(200));
        m_server->answer("http://cloud.example/x", Reply(200).body("no port"));
        m_client->setHost(nullptr, 443);
        QCOMPARE(m_client->run(Call::Get, "/").GetStatusCode(), 200);
        QCOMPARE(m_server->lastRequest("/").header("Host"), m_server->authority());

        QNetworkProxy::setApplicationProxy(
            QNetworkProxy(QNetworkProxy::HttpCachingProxy, "127.0.0.1", m_server->serverPort()));
        m_client->setHost("cloud.example", 0);
        m_client->run(Call::Get, "/x");
        QNetworkProxy::setApplicationProxy(QNetworkProxy());
        QCOMPARE(m_client->body, QByteArray("no port"));
    }

    void postFileSendsTheFile()
    {
        m_server->answer("/put", Reply(200).body("{\"rev\":\"1\"}"));
        const HeaderMap headers = {{L"content-LENGTH", L"3"}, {L"Content-Type", L"a/b"}, {L"content-type", L"c/d"}};
        for (const int size : {0, 3000000}) {
            const QByteArray content = numberedBytes(size);
            QVERIFY(writeFile(m_client->folder + QString::fromUtf8("t\xc3\xa4sse"), content));
            const KString folder = KQtUtil::toKString(m_client->folder);
            const ReturnStatus status =
                m_client->postFile(folder, "t\xc3\xa4sse", "/put?x=1", headers, false, m_client->body);
            QCOMPARE(status.GetStatusCode(), 200);
            QCOMPARE(m_client->body, QByteArray("{\"rev\":\"1\"}"));
            const Request request = m_server->lastRequest("/put");
            QCOMPARE(request.method, QByteArray("POST"));
            QCOMPARE(request.headerValues("Content-Type"), QList<QByteArray>{"application/octet-stream"});
            QCOMPARE(request.headerValues("Content-Length"), QList<QByteArray>{QByteArray::number(size)});
            QCOMPARE(request.body, content);
        }
    }

    void postFileRefusesWhatCannotBeSent()
    {
        QFile sparse(m_client->folder + "large.fbx");
        QVERIFY(sparse.open(QIODevice::WriteOnly) && sparse.resize(2147483648LL - 63));
        const KString folder = KQtUtil::toKString(m_client->folder);
        const std::map<const char *, QString> messages = {
            {"missing", QString()}, {"", QString()}, {"large.fbx", "The file is too large to be uploaded."}};
        for (const auto &[name, message] : messages) {
            const ReturnStatus status = m_client->postFile(folder, name, "/put", {}, false, m_client->body);
            QCOMPARE(outcome(status), "0 " + message);
            QCOMPARE(m_client->body, QByteArray("before"));
        }
        QCOMPARE(m_server->requests().size(), 0);
    }

    void anUploadHoldsTheFileOnce()
    {
        constexpr qint64 size = 96 << 20;
        QFile file(m_client->folder + "big");
        QVERIFY(file.open(QIODevice::WriteOnly) && file.resize(size));
        qint64 received = 0;
        QTcpServer sink;
        connect(&sink, &QTcpServer::newConnection, this, [&] {
            QTcpSocket *socket = sink.nextPendingConnection();
            connect(socket, &QTcpSocket::readyRead, socket, [&, socket] {
                received += socket->readAll().size();
                if (received > size)
                    socket->write("HTTP/1.1 200 OK\r\nContent-Length: 0\r\n\r\n");
            });
        });
        QVERIFY(sink.listen(QHostAddress::LocalHost));
        m_client->setHost("127.0.0.1", sink.serverPort());
        httpClient::setDefaultTimeouts(5000, 60000);
        const qint64 before = memoryInUse("VmRSS:");
        const KString folder = KQtUtil::toKString(m_client->folder);
        QCOMPARE(m_client->postFile(folder, "big", "/put", {}, false, m_client->body).GetStatusCode(), 200);
        const qint64 growth = memoryInUse("VmHWM:") - before;
        QVERIFY2(growth < size + (32 << 20), qPrintable(QString::number(growth >> 20) + " MiB"));
    }

    void everyCallEndsAlike_data()
    {
        QTest::addColumn<Reply>("reply");
        QTest::addColumn<int>("code");
        QTest::addColumn<QString>("message");
        QTest::newRow("299") << Reply(299).body("why") << 299 << QString();
        QTest::newRow("403") << Reply(403).body("why") << 403 << failureText("ContentAccessDenied");
        QTest::newRow("404") << Reply(404).body("why") << 404 << failureText("ContentNotFoundError");
        QTest::newRow("503") << Reply(503).body("why") << 503 << failureText("UnknownHttpClientError");
        const QString closed = failureText("RemoteHostClosedError");
        QTest::newRow("closed at once") << Reply().cutAfter(0) << 0 << closed;
        QTest::newRow("cut") << Reply().body(QByteArray(5000, 'x')).cutAfter(3000) << 0 << closed;
        QTest::newRow("cut late") << Reply().body(QByteArray(9000000, 'x')).cutAfter(5000000) << 0 << closed;
    }
    void everyCallEndsAlike()
    {
        QFETCH(Reply, reply);
        QFETCH(int, code);
        QFETCH(QString, message);
        for (const Call call : {Call::Get, Call::Post, Call::GetFile, Call::PostFile}) {
            reset();
            m_server->answer("/x", reply);
            const ReturnStatus status = m_client->run(call, "/x", {{L"Content-Type", L"text/plain"}});
            QCOMPARE(outcome(status), QString::number(code) + ' ' + message);
            QCOMPARE(m_host.errors().value(0), message);
            if (call != Call::GetFile)
                QVERIFY(m_host.errors().size() <= 1 && (code == 0 || m_client->body == "why"));
        }
    }

    void timeoutReleasesTheReply()
    {
        for (const Call call : {Call::Get, Call::GetFile}) {
            reset(200, 200);
            m_server->answer("/half", Reply().body("0123456789").hangAfter(50));
            m_server->answer("/late", Reply().body("late").delayed(240));
            m_server->answer("/next", Reply().body("next").delayed(80));
            QCOMPARE(outcome(m_client->run(call, "/half")), QString("408 408 zu lange"));
            QCOMPARE(m_host.errors(), QStringList("408 zu lange"));
            QCOMPARE(m_client->body, QByteArray("before"));
            QTRY_COMPARE(m_server->findChildren<QTcpSocket *>().size(), 0);
            for (const QFileInfo &open : QDir("/proc/self/fd").entryInfoList(QDir::Files))
                QVERIFY(!open.symLinkTarget().startsWith(m_client->folder));

            QCOMPARE(m_client->run(call, "/late").GetStatusCode(), 408);
            QCOMPARE(m_client->run(call, "/next").GetStatusCode(), 200);
            m_client->readyReadCB();
            QCOMPARE(call == Call::Get ? m_client->body : m_client->downloaded(), QByteArray("next"));
        }
    }

    void errorNames()
    {
        m_server->close();
        const QString refused = failureText("ConnectionRefusedError");
        QCOMPARE(outcome(m_client->run(Call::Get, "/")), "0 " + refused);
        QVERIFY(m_client->slotError(QNetworkReply::NoError).isEmpty());
        m_client->slotError(QNetworkReply::ProtocolFailure);
        const QList<QSslError> errors = {QSslError(QSslError::HostNameMismatch, LocalServer::certificate()),
                                         QSslError(QSslError::SelfSignedCertificateInChain),
                                         QSslError(QSslError::UnspecifiedError)};
        QCOMPARE(m_client->slotSslErrors(errors).utf8(), "HostNameMismatch\n\nUnspecifiedError\n");
        QCOMPARE(m_host.errors(),
                 (QStringList{refused, failureText("ProtocolFailure"), "HostNameMismatch", "", "UnspecifiedError"}));
    }

    void nestedCallsEndWithTheirOwnReply_data()
    {
        QTest::addColumn<int>("outerMs");
        QTest::addColumn<int>("innerMs");
        QTest::addColumn<int>("outerCode");
        QTest::newRow("inner ends first") << 100 << 20 << 200;
        QTest::newRow("outer done before its time-out, returns after it") << 20 << 400 << 200;
        QTest::newRow("outer too late") << 450 << 20 << 408;
    }
    void nestedCallsEndWithTheirOwnReply()
    {
        QFETCH(int, outerMs);
        QFETCH(int, innerMs);
        QFETCH(int, outerCode);
        reset(300, 300);
        httpClient::setDefaultTimeouts(5000, 5000);
        TestClient inner(*m_server);
        m_server->answer("/outer", Reply().body("outer").delayed(outerMs));
        m_server->answer("/inner", Reply().body("inner").delayed(innerMs));
        int innerCode = -1;
        QTimer::singleShot(5, this, [&] { innerCode = inner.run(Call::Get, "/inner").GetStatusCode(); });
        QCOMPARE(m_client->run(Call::Get, "/outer").GetStatusCode(), outerCode);
        QCOMPARE(m_client->body, outerCode == 200 ? QByteArray("outer") : QByteArray("before"));
        QCOMPARE(innerCode, 200);
        QCOMPARE(inner.body, QByteArray("inner"));
    }

    void clientMayGoDuringItsCall()
    {
        const QTemporaryDir dir;
        QByteArray body("before");
        for (const bool download : {false, true}) {
            reset();
            m_server->answer("/hang", Reply().body(numberedBytes(100000)).hangAfter(50000));
            QTimer::singleShot(50, this, [this] { m_client.reset(); });
            const ReturnStatus status = download ? m_client->getFile(dir.path() + '/', "gone.obj", "/hang", {}, false)
                                                 : m_client->get("/hang", {}, false, body);
            QCOMPARE(outcome(status), "0 " + failureText("OperationCanceledError"));
            QCOMPARE(body, QByteArray("before"));
            QVERIFY(!m_client);
        }
    }
};

QTEST_GUILESS_MAIN(TestHttpClient)
#include "tst_httpclient.moc"
