#include "HttpTest.h"

#include <QSslError>

/// What goes out, what comes back, and how calls end.
class TestHttpClient : public HttpFixture
{
    Q_OBJECT
private slots:
    void init() { reset(); }
    void requestGoesOutAsGiven();
    void hostAndPort();
    void postFileSendsTheFile();
    void postFileRefusesWhatCannotBeSent();
    void everyCallEndsAlike_data();
    void everyCallEndsAlike();
    void timeoutReleasesTheReply();
    void errorNames();
    void nestedCallsEndWithTheirOwnReply_data();
    void nestedCallsEndWithTheirOwnReply();
    void clientMayGoDuringItsCall();
};

void TestHttpClient::requestGoesOutAsGiven()
{
    LocalServer server;
    server.answer("/1/a%20b", Reply(200).body("got"));
    server.answer("/1/post", Reply(302).location("/1/a%20b").body("posted"));
    TestClient client(server);
    const HeaderMap headers = {{L"Authorization", L"Bearer k\u00e9y"},
                               {L"X-Empty", L""},
                               {L"X-Lines", std::wstring(L"a\r\nX-Evil: 1\r\n\r\nGET\0 /", 23)},
                               {L"X-Case", L"1"},
                               {L"x-case", L"2"}};
    QCOMPARE(client.run(Call::Get, "/1/a%20b?list=true&q=%23x", headers).GetStatusCode(), 200);
    QCOMPARE(client.body, QByteArray("got"));
    QByteArray data("a=1&b=\0", 7);
    const ReturnStatus posted = client.post("/1/post", data, {{L"Content-Type", L"text/x"}}, false, client.body);
    QCOMPARE(posted.GetStatusCode(), 302);
    QCOMPARE(client.body, QByteArray("posted"));

    QCOMPARE(server.requests().size(), 2);
    const Request get = server.lastRequest("/1/a%20b");
    QCOMPARE(get.method, QByteArray("GET"));
    QCOMPARE(get.target, QByteArray("/1/a%20b?list=true&q=%23x"));
    QCOMPARE(get.header("Authorization"), QByteArray("Bearer k\xc3\xa9y"));
    QVERIFY(get.hasHeader("X-Empty"));
    QCOMPARE(get.header("X-Lines"), QByteArray("aX-Evil: 1GET /"));
    QCOMPARE(get.headerValues("X-Case"), QList<QByteArray>{"2"});
    const Request post = server.lastRequest("/1/post");
    QCOMPARE(post.method, QByteArray("POST"));
    QCOMPARE(post.body, data);
    QCOMPARE(post.headerValues("Content-Type"), QList<QByteArray>{"text/x"});
    QVERIFY(!post.hasHeader("Authorization"));
    QCOMPARE(m_host.errors(), QStringList());
}

void TestHttpClient::hostAndPort()
{
    LocalServer server;
    server.answer("/", Reply(200));
    server.answer("http://cloud.example/x", Reply(200).body("no port"));
    TestClient client(server);
    client.setHost(nullptr, 443);
    QCOMPARE(client.run(Call::Get, "/").GetStatusCode(), 200);
    QCOMPARE(server.lastRequest("/").header("Host"), server.authority());

    QNetworkProxy::setApplicationProxy(
        QNetworkProxy(QNetworkProxy::HttpCachingProxy, "127.0.0.1", server.serverPort()));
    client.setHost("cloud.example", 0);
    client.run(Call::Get, "/x");
    QNetworkProxy::setApplicationProxy(QNetworkProxy());
    QCOMPARE(client.body, QByteArray("no port"));
}

void TestHttpClient::postFileSendsTheFile()
{
    LocalServer server;
    server.answer("/put", Reply(200).body("{\"rev\":\"1\"}"));
    TestClient client(server);
    const HeaderMap headers = {{L"content-LENGTH", L"3"}, {L"Content-Type", L"a/b"}, {L"content-type", L"c/d"}};
    for (const int size : {0, 1000000}) {
        const QByteArray content = numberedBytes(size);
        QVERIFY(writeFile(client.folder + QString::fromUtf8("t\xc3\xa4sse"), content));
        const KString folder = KQtUtil::toKString(client.folder);
        const ReturnStatus status = client.postFile(folder, "t\xc3\xa4sse", "/put?x=1", headers, false, client.body);
        QCOMPARE(status.GetStatusCode(), 200);
        QCOMPARE(client.body, QByteArray("{\"rev\":\"1\"}"));
        const Request request = server.lastRequest("/put");
        QCOMPARE(request.method, QByteArray("POST"));
        QCOMPARE(request.headerValues("Content-Type"), QList<QByteArray>{"application/octet-stream"});
        QCOMPARE(request.headerValues("Content-Length"), QList<QByteArray>{QByteArray::number(size)});
        QCOMPARE(request.body, content);
    }
}

void TestHttpClient::postFileRefusesWhatCannotBeSent()
{
    const LocalServer server;
    TestClient client(server);
    QFile sparse(client.folder + "large.fbx");
    QVERIFY(sparse.open(QIODevice::WriteOnly) && sparse.resize(2147483648LL - 63));
    const KString folder = KQtUtil::toKString(client.folder);
    const std::map<const char *, QString> messages = {
        {"missing", QString()}, {"", QString()}, {"large.fbx", "The file is too large to be uploaded."}};
    for (const auto &[name, message] : messages) {
        const ReturnStatus status = client.postFile(folder, name, "/put", {}, false, client.body);
        QCOMPARE(status.GetStatusCode(), 0);
        QCOMPARE(messageOf(status), message);
        QCOMPARE(client.body, QByteArray("before"));
    }
    QCOMPARE(server.requests().size(), 0);
}

void TestHttpClient::everyCallEndsAlike_data()
{
    QTest::addColumn<Reply>("reply");
    QTest::addColumn<int>("code");
    QTest::addColumn<QByteArray>("error");
    QTest::newRow("299") << Reply(299).body("why") << 299 << QByteArray();
    QTest::newRow("403") << Reply(403).body("why") << 403 << QByteArray("ContentAccessDenied");
    QTest::newRow("404") << Reply(404).body("why") << 404 << QByteArray("ContentNotFoundError");
    QTest::newRow("422") << Reply(422).body("why") << 422 << QByteArray("UnknownContentError");
    QTest::newRow("503") << Reply(503).body("why") << 503 << QByteArray("UnknownHttpClientError");
    const QByteArray closed("RemoteHostClosedError");
    QTest::newRow("closed at once") << Reply().cutAfter(0) << 0 << closed;
    QTest::newRow("cut") << Reply().header("X", "y").body(QByteArray(5000, 'x')).cutAfter(3000) << 0 << closed;
    QTest::newRow("cut late") << Reply().body(QByteArray(9000000, 'x')).cutAfter(5000000) << 0 << closed;
}

void TestHttpClient::everyCallEndsAlike()
{
    QFETCH(Reply, reply);
    QFETCH(int, code);
    QFETCH(QByteArray, error);
    const QString message = error.isEmpty() ? QString() : failureText(error);
    LocalServer server;
    server.answer("/x", reply);
    for (const Call call : {Call::Get, Call::Post, Call::GetFile, Call::PostFile}) {
        m_host.clear();
        TestClient client(server);
        const ReturnStatus status = client.run(call, "/x", {{L"Content-Type", L"text/plain"}});
        QCOMPARE(status.GetStatusCode(), code);
        QCOMPARE(messageOf(status), message);
        QCOMPARE(m_host.errors().value(0), message);
        if (call != Call::GetFile)
            QVERIFY(m_host.errors().size() <= 1 && (code == 0 || client.body == "why"));
    }
}

void TestHttpClient::timeoutReleasesTheReply()
{
    httpClient::setDefaultTimeouts(200, 200);
    for (const Call call : {Call::Get, Call::GetFile}) {
        m_host.clear();
        LocalServer server;
        server.answer("/half", Reply().body("0123456789").hangAfter(50));
        server.answer("/late", Reply().body("late").delayed(240));
        server.answer("/next", Reply().body("next").delayed(80));
        TestClient client(server);
        const ReturnStatus status = client.run(call, "/half");
        QCOMPARE(status.GetStatusCode(), 408);
        QCOMPARE(messageOf(status), QString("408 zu lange"));
        QCOMPARE(m_host.errors(), QStringList("408 zu lange"));
        QCOMPARE(client.body, QByteArray("before"));
        QTRY_COMPARE(server.findChildren<QTcpSocket *>().size(), 0);
        for (const QFileInfo &open : QDir("/proc/self/fd").entryInfoList(QDir::Files))
            QVERIFY(!open.symLinkTarget().startsWith(client.folder));

        QCOMPARE(client.run(call, "/late").GetStatusCode(), 408);
        QCOMPARE(client.run(call, "/next").GetStatusCode(), 200);
        client.readyReadCB();
        QCOMPARE(call == Call::Get ? client.body : client.downloaded(), QByteArray("next"));
    }
}

void TestHttpClient::errorNames()
{
    auto server = std::make_unique<LocalServer>();
    TestClient client(*server);
    server.reset();
    const ReturnStatus refused = client.run(Call::Get, "/");
    QCOMPARE(refused.GetStatusCode(), 0);
    QCOMPARE(messageOf(refused), failureText("ConnectionRefusedError"));
    QVERIFY(client.slotError(QNetworkReply::NoError).isEmpty());
    client.slotError(QNetworkReply::ProtocolFailure);
    const QList<QSslError> errors = {QSslError(QSslError::HostNameMismatch, LocalServer::certificate()),
                                     QSslError(QSslError::SelfSignedCertificateInChain),
                                     QSslError(QSslError::UnspecifiedError)};
    QCOMPARE(client.slotSslErrors(errors).utf8(), "HostNameMismatch\n\nUnspecifiedError\n");
    QCOMPARE(m_host.errors(), (QStringList{messageOf(refused), failureText("ProtocolFailure"), "HostNameMismatch", "",
                                           "UnspecifiedError"}));
}

void TestHttpClient::nestedCallsEndWithTheirOwnReply_data()
{
    QTest::addColumn<int>("outerMs");
    QTest::addColumn<int>("innerMs");
    QTest::addColumn<int>("outerCode");
    QTest::newRow("inner ends first") << 100 << 20 << 200;
    QTest::newRow("outer done before its time-out, returns after it") << 20 << 400 << 200;
    QTest::newRow("outer too late") << 450 << 20 << 408;
}

void TestHttpClient::nestedCallsEndWithTheirOwnReply()
{
    QFETCH(int, outerMs);
    QFETCH(int, innerMs);
    QFETCH(int, outerCode);
    LocalServer server;
    server.answer("/outer", Reply().body("outer").delayed(outerMs));
    server.answer("/inner", Reply().body("inner").delayed(innerMs));
    httpClient::setDefaultTimeouts(300, 300);
    TestClient outer(server);
    httpClient::setDefaultTimeouts(5000, 5000);
    TestClient inner(server);
    int innerCode = -1;
    QTimer::singleShot(5, this, [&] { innerCode = inner.run(Call::Get, "/inner").GetStatusCode(); });
    QCOMPARE(outer.run(Call::Get, "/outer").GetStatusCode(), outerCode);
    QCOMPARE(outer.body, outerCode == 200 ? QByteArray("outer") : QByteArray("before"));
    QCOMPARE(innerCode, 200);
    QCOMPARE(inner.body, QByteArray("inner"));
}

void TestHttpClient::clientMayGoDuringItsCall()
{
    LocalServer server;
    server.answer("/hang", Reply().body(numberedBytes(100000)).hangAfter(50000));
    const QTemporaryDir dir;
    QByteArray body("before");
    for (const bool download : {false, true}) {
        auto client = std::make_unique<httpClient>();
        client->setHost("127.0.0.1", server.serverPort());
        QTimer::singleShot(50, this, [&client] { client.reset(); });
        const ReturnStatus status = download ? client->getFile(dir.path() + '/', "gone.obj", "/hang", {}, false)
                                             : client->get("/hang", {}, false, body);
        QCOMPARE(status.GetStatusCode(), 0);
        QCOMPARE(messageOf(status), failureText("OperationCanceledError"));
        QCOMPARE(body, QByteArray("before"));
        QVERIFY(!client);
    }
}

QTEST_GUILESS_MAIN(TestHttpClient)
#include "tst_httpclient.moc"
