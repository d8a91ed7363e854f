#include "HttpTest.h"

#include <QPointer>
#include <QSslError>
#include <QTimer>

/// get, post and postFile: what goes out, what comes back, and how calls end.
class TestHttpClient : public QObject
{
    Q_OBJECT
private slots:
    void init();
    void requestGoesOutAsGiven();
    void hostAndPort();
    void headerValuesCannotAddLines_data();
    void headerValuesCannotAddLines();
    void statusAndBodyComeBack_data();
    void statusAndBodyComeBack();
    void brokenRepliesAreNoSuccess_data();
    void brokenRepliesAreNoSuccess();
    void noServer();
    void timeoutLeavesTheBodyAlone();
    void lateReplyDoesNotEndTheNextCall();
    void postFileSendsTheFile_data();
    void postFileSendsTheFile();
    void postFileRefusesWhatCannotBeSent();
    void errorNames();
    void sslErrorNames();
    void nestedCallsEndWithTheirOwnReply_data();
    void nestedCallsEndWithTheirOwnReply();
    void clientMayGoDuringItsCall_data();
    void clientMayGoDuringItsCall();

private:
    RecordingHost m_host;
    QTemporaryDir m_dir;
};

void TestHttpClient::init()
{
    m_host.clear();
    httpClient::setDefaultTimeouts(60000, 900000);
}

void TestHttpClient::requestGoesOutAsGiven()
{
    LocalServer server;
    server.answer("/1/a%20b", Reply(200).body("got"));
    server.answer("/1/post", Reply(201).body("posted"));
    httpClient client;
    useServer(client, server);
    QByteArray body;
    const HeaderMap headers = {{L"Authorization", L"Bearer k\u00e9y"}, {L"X-Empty", L""}};
    QCOMPARE(client.get("/1/a%20b?list=true&q=%23x", headers, false, body).GetStatusCode(), 200);
    QCOMPARE(body, QByteArray("got"));
    QByteArray data("a=1&b=\0", 7);
    const ReturnStatus posted = client.post("/1/post", data, {{L"Content-Type", L"text/x"}}, false, body);
    QCOMPARE(posted.GetStatusCode(), 201);
    QVERIFY(posted.GetErrorMessage().isEmpty());
    QCOMPARE(body, QByteArray("posted"));

    const Request get = server.lastRequest("/1/a%20b");
    QCOMPARE(get.method, QByteArray("GET"));
    QCOMPARE(get.target, QByteArray("/1/a%20b?list=true&q=%23x"));
    QCOMPARE(get.header("Host"), server.authority());
    QCOMPARE(get.header("Authorization"), QByteArray("Bearer k\xc3\xa9y"));
    QVERIFY(get.hasHeader("X-Empty"));
    QVERIFY(!get.hasHeader("Upgrade") && !get.hasHeader("HTTP2-Settings"));
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
    httpClient client;
    client.setHost("localhost", server.serverPort());
    client.setHost(nullptr, 443);
    QByteArray body;
    QCOMPARE(client.get("/", {}, false, body).GetStatusCode(), 200);
    QCOMPARE(server.lastRequest("/").header("Host"), "localhost:" + QByteArray::number(server.serverPort()));

    QNetworkProxyFactory::setApplicationProxyFactory(nullptr);
    QNetworkProxy::setApplicationProxy(
        QNetworkProxy(QNetworkProxy::HttpCachingProxy, "127.0.0.1", server.serverPort()));
    httpClient proxied;
    proxied.setHost("cloud.example", 0);
    server.answer("http://cloud.example/x", Reply(200).body("no port"));
    QCOMPARE(proxied.get("/x", {}, false, body).GetStatusCode(), 200);
    QNetworkProxy::setApplicationProxy(QNetworkProxy());
    QCOMPARE(body, QByteArray("no port"));
}

void TestHttpClient::headerValuesCannotAddLines_data()
{
    QTest::addColumn<QString>("value");
    QTest::addColumn<QByteArray>("sent");
    QTest::newRow("line feed") << QString("a\nX-Evil: 1") << QByteArray("aX-Evil: 1");
    QTest::newRow("both") << QString("a\r\nX-Evil: 1\r\n\r\nGET / HTTP/1.1") << QByteArray("aX-Evil: 1GET / HTTP/1.1");
    QTest::newRow("zero") << QString("a%1b").arg(QChar(0)) << QByteArray("ab");
}

void TestHttpClient::headerValuesCannotAddLines()
{
    QFETCH(QString, value);
    QFETCH(QByteArray, sent);
    LocalServer server;
    server.answer("/", Reply(200));
    httpClient client;
    useServer(client, server);
    QByteArray body;
    QCOMPARE(client.get("/", {{L"X-Value", value.toStdWString()}}, false, body).GetStatusCode(), 200);
    QCOMPARE(server.lastRequest("/").header("X-Value"), sent);
    QVERIFY(!server.lastRequest("/").hasHeader("X-Evil"));
    QCOMPARE(server.requests().size(), 1);
}

void TestHttpClient::statusAndBodyComeBack_data()
{
    QTest::addColumn<int>("code");
    QTest::addColumn<QByteArray>("name");
    QTest::newRow("299") << 299 << QByteArray();
    QTest::newRow("302 is not followed") << 302 << QByteArray();
    QTest::newRow("401") << 401 << QByteArray("AuthenticationRequiredError");
    QTest::newRow("403") << 403 << QByteArray("ContentAccessDenied");
    QTest::newRow("404") << 404 << QByteArray("ContentNotFoundError");
    QTest::newRow("409") << 409 << QByteArray("UnknownHttpClientError");
    QTest::newRow("422") << 422 << QByteArray("UnknownContentError");
    QTest::newRow("503") << 503 << QByteArray("UnknownHttpClientError");
}

void TestHttpClient::statusAndBodyComeBack()
{
    QFETCH(int, code);
    QFETCH(QByteArray, name);
    LocalServer server;
    server.answer("/x", Reply(code).location("/other").body("{\"error\":\"why\"}"));
    httpClient client;
    useServer(client, server);
    QByteArray body("before");
    const ReturnStatus status = client.get("/x", {}, false, body);
    QCOMPARE(status.GetStatusCode(), code);
    QCOMPARE(body, QByteArray("{\"error\":\"why\"}"));
    QCOMPARE(server.requests().size(), 1);
    const QStringList errors = name.isEmpty() ? QStringList() : QStringList(failureText(name));
    QCOMPARE(messageOf(status), errors.value(0));
    QCOMPARE(m_host.errors(), errors);
}

void TestHttpClient::brokenRepliesAreNoSuccess_data()
{
    QTest::addColumn<Reply>("reply");
    QTest::newRow("closed at once") << Reply().cutAfter(0);
    QTest::newRow("cut in the header") << Reply().body("0123456789").cutAfter(20);
    QTest::newRow("cut in the body") << Reply().header("X", "y").body(QByteArray(5000, 'x')).cutAfter(3000);
    QTest::newRow("cut late") << Reply().body(QByteArray(9000000, 'x')).cutAfter(5000000);
    QTest::newRow("no HTTP") << Reply().raw("SSH-2.0-x\r\n\r\n").closing();
    QTest::newRow("broken compression")
        << Reply().header("Content-Encoding", "gzip").body("this was never compressed").closing();
}

void TestHttpClient::brokenRepliesAreNoSuccess()
{
    QFETCH(Reply, reply);
    LocalServer server;
    server.answer("/x", reply);
    httpClient client;
    useServer(client, server);
    QByteArray body;
    const ReturnStatus status = client.get("/x", {}, false, body);
    QCOMPARE(status.GetStatusCode(), 0);
    QVERIFY(messageOf(status).contains("http Error: "));
    QCOMPARE(m_host.errors(), QStringList(messageOf(status)));
}

void TestHttpClient::noServer()
{
    httpClient client;
    {
        const LocalServer gone;
        useServer(client, gone);
    }
    QByteArray body;
    const ReturnStatus status = client.get("/", {}, false, body);
    QCOMPARE(status.GetStatusCode(), 0);
    QCOMPARE(messageOf(status), failureText("ConnectionRefusedError"));
    client.setHost("name.invalid", 0);
    QCOMPARE(messageOf(client.get("/", {}, false, body)), failureText("HostNotFoundError"));
}

void TestHttpClient::timeoutLeavesTheBodyAlone()
{
    m_host.setText("kHttpRequestTimeout", "408 zu lange");
    httpClient::setDefaultTimeouts(80, 900000);
    LocalServer server;
    server.answer("/hang", Reply().hang());
    server.answer("/half", Reply().body("0123456789").hangAfter(50));
    httpClient client;
    useServer(client, server);
    for (const char *path : {"/hang", "/half"}) {
        m_host.clear();
        QByteArray body("before");
        const ReturnStatus status = client.get(path, {}, false, body);
        QCOMPARE(status.GetStatusCode(), 408);
        QCOMPARE(messageOf(status), QString("408 zu lange"));
        QCOMPARE(m_host.errors(), QStringList("408 zu lange"));
        QCOMPARE(body, QByteArray("before"));
    }
    m_host.setText("kHttpRequestTimeout", "408 Http request timeout");
}

void TestHttpClient::lateReplyDoesNotEndTheNextCall()
{
    httpClient::setDefaultTimeouts(200, 900000);
    LocalServer server;
    server.answer("/late", Reply().body("late").delayed(240));
    server.answer("/next", Reply().body("next").delayed(80));
    httpClient client;
    useServer(client, server);
    QByteArray body;
    QCOMPARE(client.get("/late", {}, false, body).GetStatusCode(), 408);
    QCOMPARE(client.get("/next", {}, false, body).GetStatusCode(), 200);
    QCOMPARE(body, QByteArray("next"));
}

void TestHttpClient::postFileSendsTheFile_data()
{
    QTest::addColumn<int>("size");
    QTest::newRow("empty") << 0;
    QTest::newRow("small") << 10;
    QTest::newRow("1000000") << 1000000;
}

void TestHttpClient::postFileSendsTheFile()
{
    QFETCH(int, size);
    const QByteArray content = numberedBytes(size);
    QFile file(m_dir.filePath(QString::fromUtf8("t\xc3\xa4sse")));
    QVERIFY(file.open(QIODevice::WriteOnly) && file.write(content) == size);
    file.close();
    LocalServer server;
    server.answer("/put", Reply(200).body("{\"rev\":\"1\"}"));
    httpClient client;
    useServer(client, server);
    QByteArray body;
    const HeaderMap headers = {{L"content-LENGTH", L"3"}, {L"Content-Type", L"a/b"}, {L"content-type", L"c/d"}};
    const KString folder = KQtUtil::toKString(m_dir.path() + '/');
    const ReturnStatus status = client.postFile(folder, "t\xc3\xa4sse", "/put?x=1", headers, false, body);
    QCOMPARE(status.GetStatusCode(), 200);
    QCOMPARE(body, QByteArray("{\"rev\":\"1\"}"));
    const Request request = server.lastRequest("/put");
    QCOMPARE(request.method, QByteArray("POST"));
    QCOMPARE(request.headerValues("Content-Type"), QList<QByteArray>{"application/octet-stream"});
    QCOMPARE(request.headerValues("Content-Length"), QList<QByteArray>{QByteArray::number(size)});
    QCOMPARE(request.body, content);
}

void TestHttpClient::postFileRefusesWhatCannotBeSent()
{
    const KString folder = KQtUtil::toKString(m_dir.path() + '/');
    QFile sparse(m_dir.filePath("large.fbx"));
    QVERIFY(sparse.open(QIODevice::WriteOnly) && sparse.resize(2147483648LL - 63));
    LocalServer server;
    httpClient client;
    useServer(client, server);
    QByteArray body("before");
    const ReturnStatus missing = client.postFile(folder, "missing", "/put", {}, false, body);
    const ReturnStatus directory = client.postFile(folder, "", "/put", {}, false, body);
    const ReturnStatus large = client.postFile(folder, "large.fbx", "/put", {}, false, body);
    for (const ReturnStatus &status : {missing, directory, large})
        QCOMPARE(status.GetStatusCode(), 0);
    QCOMPARE(messageOf(missing), QString());
    QCOMPARE(messageOf(directory), QString());
    QCOMPARE(messageOf(large), QString("The file is too large to be uploaded."));
    QCOMPARE(server.connections(), 0);
    QCOMPARE(body, QByteArray("before"));
}

void TestHttpClient::errorNames()
{
    httpClient client;
    QVERIFY(client.slotError(QNetworkReply::NoError).isEmpty());
    QCOMPARE(m_host.errors(), QStringList());
    client.slotError(QNetworkReply::ProtocolFailure);
    client.slotError(QNetworkReply::InternalServerError);
    QCOMPARE(m_host.errors(), (QStringList{failureText("ProtocolFailure"), failureText("UnknownHttpClientError")}));
}

void TestHttpClient::sslErrorNames()
{
    const QList<QSslError> errors = {QSslError(QSslError::HostNameMismatch, LocalServer::certificate()),
                                     QSslError(QSslError::SelfSignedCertificateInChain),
                                     QSslError(QSslError::UnspecifiedError)};
    httpClient client;
    QCOMPARE(client.slotSslErrors(errors).utf8(), "HostNameMismatch\n\nUnspecifiedError\n");
    QCOMPARE(m_host.errors(), (QStringList{"HostNameMismatch", "", "UnspecifiedError"}));
}

void TestHttpClient::nestedCallsEndWithTheirOwnReply_data()
{
    QTest::addColumn<int>("outerMs");
    QTest::addColumn<int>("innerMs");
    QTest::addColumn<int>("outerCode");
    QTest::newRow("inner ends first") << 100 << 20 << 200;
    QTest::newRow("outer ends first") << 20 << 100 << 200;
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
    httpClient outer;
    httpClient::setDefaultTimeouts(5000, 5000);
    httpClient inner;
    useServer(outer, server);
    useServer(inner, server);
    QByteArray innerBody;
    ReturnStatus innerStatus(-1);
    QTimer::singleShot(5, this, [&] { innerStatus = inner.get("/inner", {}, false, innerBody); });
    QByteArray outerBody("before");
    const ReturnStatus status = outer.get("/outer", {}, false, outerBody);
    QCOMPARE(status.GetStatusCode(), outerCode);
    QCOMPARE(outerBody, outerCode == 200 ? QByteArray("outer") : QByteArray("before"));
    QCOMPARE(innerStatus.GetStatusCode(), 200);
    QCOMPARE(innerBody, QByteArray("inner"));
}

void TestHttpClient::clientMayGoDuringItsCall_data()
{
    QTest::addColumn<bool>("download");
    QTest::newRow("get") << false;
    QTest::newRow("getFile") << true;
}

void TestHttpClient::clientMayGoDuringItsCall()
{
    QFETCH(bool, download);
    LocalServer server;
    server.answer("/hang", Reply().body(numberedBytes(100000)).hangAfter(50000));
    auto client = std::make_unique<httpClient>();
    useServer(*client, server);
    QTimer::singleShot(50, this, [&client] { client.reset(); });
    QByteArray body("before");
    const ReturnStatus status = download ? client->getFile(m_dir.path() + '/', "gone.obj", "/hang", {}, false)
                                         : client->get("/hang", {}, false, body);
    QCOMPARE(status.GetStatusCode(), 0);
    QCOMPARE(messageOf(status), failureText("OperationCanceledError"));
    QCOMPARE(body, QByteArray("before"));
    QVERIFY(!client);
}

QTEST_GUILESS_MAIN(TestHttpClient)
#include "tst_httpclient.moc"
