#include "HttpTest.h"

#include <QDir>
#include <QFileInfo>
#include <QTimer>

#include <csignal>
#include <sys/resource.h>

/// getFile over plain connections: the file on disk, redirects, and everything that may go wrong on the way.
class TestHttpDownload : public QObject
{
    Q_OBJECT
private slots:
    void init();
    void fileArrivesWhole_data();
    void fileArrivesWhole();
    void directoryIsMade();
    void oldFileIsReplaced_data();
    void oldFileIsReplaced();
    void writesInSlices();
    void oneRedirectIsFollowed_data();
    void oneRedirectIsFollowed();
    void otherRedirectsEndTheCall_data();
    void otherRedirectsEndTheCall();
    void failureOfTheTargetIsReported_data();
    void failureOfTheTargetIsReported();
    void failuresAreReported_data();
    void failuresAreReported();
    void serverDiesDuringTransfer();
    void timeoutAbortsTheTransfer();
    void fullDiskEndsTheDownload();
    void unwritableFileSendsNothing();
    void secondDownloadInsideOneIsRefused();

private:
    ReturnStatus download(const LocalServer &server, const QByteArray &path, const HeaderMap &headers = {});
    QString folder() const { return m_dir->path() + '/'; }
    QByteArray downloaded() const { return contentOf(folder() + "cup.obj"); }

    RecordingHost m_host;
    std::unique_ptr<QTemporaryDir> m_dir;
};

void TestHttpDownload::init()
{
    m_host.clear();
    m_dir = std::make_unique<QTemporaryDir>();
    httpClient::setDefaultTimeouts(60000, 900000);
}

ReturnStatus TestHttpDownload::download(const LocalServer &server, const QByteArray &path, const HeaderMap &headers)
{
    httpClient client;
    useServer(client, server);
    return client.getFile(folder(), "cup.obj", path, headers, false);
}

void TestHttpDownload::fileArrivesWhole_data()
{
    QTest::addColumn<int>("size");
    QTest::addColumn<bool>("chunked");
    QTest::addColumn<int>("piece");
    QTest::newRow("empty") << 0 << false << 0;
    QTest::newRow("one byte") << 1 << false << 0;
    QTest::newRow("chunks") << 100000 << true << 0;
    QTest::newRow("byte by byte") << 30 << true << 1;
    QTest::newRow("larger than the read buffer") << 17000001 << false << 0;
}

void TestHttpDownload::fileArrivesWhole()
{
    QFETCH(int, size);
    QFETCH(bool, chunked);
    QFETCH(int, piece);
    const QByteArray content = numberedBytes(size);
    Reply reply = Reply(200).body(content).pieces(piece, 1);
    if (chunked)
        reply.chunked();
    LocalServer server;
    server.answer("/cup", reply);
    const ReturnStatus status = download(server, "/cup?x=1", {{L"Authorization", L"Bearer s"}});
    QCOMPARE(status.GetStatusCode(), 200);
    QVERIFY(status.GetErrorMessage().isEmpty());
    QVERIFY(downloaded() == content);
    QCOMPARE(server.lastRequest("/cup").target, QByteArray("/cup?x=1"));
    QCOMPARE(server.lastRequest("/cup").header("Authorization"), QByteArray("Bearer s"));
    QCOMPARE(m_host.errors(), QStringList());
}

void TestHttpDownload::directoryIsMade()
{
    LocalServer server;
    server.answer("/cup", Reply().body("model"));
    httpClient client;
    useServer(client, server);
    const QString below = folder() + QString::fromUtf8("a b/\xc3\xa4/");
    QCOMPARE(client.getFile(below, "prefix", "/cup", {}, false).GetStatusCode(), 200);
    QCOMPARE(contentOf(below + "prefix"), QByteArray("model"));
    QCOMPARE(client.getFile(folder() + "no-separator-", "x", "/cup", {}, false).GetStatusCode(), 200);
    QCOMPARE(contentOf(folder() + "no-separator-x"), QByteArray("model"));
}

void TestHttpDownload::oldFileIsReplaced_data()
{
    QTest::addColumn<QString>("target");
    QTest::newRow("file") << QString();
    QTest::newRow("link") << QString("elsewhere");
    QTest::newRow("dangling link") << QString("nowhere");
}

void TestHttpDownload::oldFileIsReplaced()
{
    QFETCH(QString, target);
    QFile elsewhere(folder() + "elsewhere");
    QVERIFY(elsewhere.open(QIODevice::WriteOnly) && elsewhere.write("an older and longer file") > 0);
    elsewhere.close();
    QVERIFY(target.isEmpty() ? elsewhere.copy(folder() + "cup.obj") : QFile::link(target, folder() + "cup.obj"));
    LocalServer server;
    server.answer("/cup", Reply().body("new"));
    QCOMPARE(download(server, "/cup").GetStatusCode(), 200);
    QCOMPARE(downloaded(), QByteArray("new"));
    QVERIFY(!QFileInfo(folder() + "cup.obj").isSymLink());
    QCOMPARE(contentOf(folder() + "elsewhere"), QByteArray("an older and longer file"));
    QVERIFY(!QFile::exists(folder() + "nowhere"));
}

void TestHttpDownload::writesInSlices()
{
    constexpr qint64 slice = 1024 * 1024;
    const QByteArray content = numberedBytes(17 * 1024 * 1024);
    LocalServer server;
    server.answer("/cup", Reply().body(content));
    qint64 last = 0;
    qint64 largest = 0;
    QTimer everyTurn;
    connect(&everyTurn, &QTimer::timeout, this, [&] {
        const qint64 size = QFileInfo(folder() + "cup.obj").size();
        largest = qMax(largest, size - last);
        last = size;
        QThread::msleep(3);
    });
    everyTurn.start(0);
    QCOMPARE(download(server, "/cup").GetStatusCode(), 200);
    everyTurn.stop();
    QVERIFY(downloaded() == content);
    QVERIFY2(largest > 0 && largest <= slice, qPrintable(QString::number(largest)));
}

void TestHttpDownload::oneRedirectIsFollowed_data()
{
    QTest::addColumn<QByteArray>("location");
    QTest::newRow("absolute") << QByteArray("http://HOST/target?key=1%2F2");
    QTest::newRow("no scheme") << QByteArray("//HOST/target?key=1%2F2");
    QTest::newRow("absolute path") << QByteArray("/target?key=1%2F2");
    QTest::newRow("relative") << QByteArray("../target?key=1%2F2");
}

void TestHttpDownload::oneRedirectIsFollowed()
{
    QFETCH(QByteArray, location);
    LocalServer server;
    server.answer("/start/x", Reply(302)
                                  .location(location.replace("HOST", server.authority()))
                                  .body("you should not see this, it is longer than the model"));
    server.answer("/target", Reply(200).body("the model"));
    const ReturnStatus status = download(server, "/start/x", {{L"X-Session", L"s"}});
    QCOMPARE(status.GetStatusCode(), 200);
    QCOMPARE(downloaded(), QByteArray("the model"));
    QCOMPARE(server.lastRequest("/start/x").header("X-Session"), QByteArray("s"));
    QVERIFY(!server.lastRequest("/target").hasHeader("X-Session"));
    QCOMPARE(server.lastRequest("/target").target, QByteArray("/target?key=1%2F2"));
    QCOMPARE(server.requests().size(), 2);
}

void TestHttpDownload::otherRedirectsEndTheCall_data()
{
    QTest::addColumn<int>("code");
    QTest::addColumn<QByteArray>("location");
    QTest::addColumn<int>("requests");
    QTest::newRow("second 302") << 302 << QByteArray("/start") << 2;
    QTest::newRow("301") << 301 << QByteArray("/target") << 1;
    QTest::newRow("303") << 303 << QByteArray("/target") << 1;
    QTest::newRow("307") << 307 << QByteArray("/target") << 1;
    QTest::newRow("no target") << 302 << QByteArray() << 1;
    QTest::newRow("local file") << 302 << QByteArray("file:///etc/passwd") << 1;
    QTest::newRow("data") << 302 << QByteArray("data:text/plain,evil") << 1;
    QTest::newRow("ftp") << 302 << QByteArray("ftp://127.0.0.1/x") << 1;
}

void TestHttpDownload::otherRedirectsEndTheCall()
{
    QFETCH(int, code);
    QFETCH(QByteArray, location);
    QFETCH(int, requests);
    LocalServer server;
    server.answer("/target", Reply(200).body("the model"));
    server.answer("/start", location.isEmpty() ? Reply(code) : Reply(code).location(location));
    const ReturnStatus status = download(server, "/start");
    QCOMPARE(status.GetStatusCode(), code);
    QVERIFY(!status.IsSuccess());
    QCOMPARE(server.requests().size(), requests);
    QCOMPARE(downloaded(), QByteArray());
}

void TestHttpDownload::failureOfTheTargetIsReported_data()
{
    QTest::addColumn<Reply>("target");
    QTest::addColumn<int>("code");
    QTest::addColumn<QString>("message");
    QTest::newRow("404") << Reply(404).body("no") << 404 << failureText("ContentNotFoundError");
    QTest::newRow("broken off") << Reply().body(QByteArray(9999, 'x')).cutAfter(5000) << 0
                                << failureText("RemoteHostClosedError");
    QTest::newRow("hangs") << Reply().hang() << 408 << QString("408 Http request timeout");
}

void TestHttpDownload::failureOfTheTargetIsReported()
{
    QFETCH(Reply, target);
    QFETCH(int, code);
    QFETCH(QString, message);
    httpClient::setDefaultTimeouts(60000, 300);
    LocalServer server;
    server.answer("/start", Reply(302).location("/target").body("moved"));
    server.answer("/target", target);
    const ReturnStatus status = download(server, "/start");
    QCOMPARE(status.GetStatusCode(), code);
    QCOMPARE(messageOf(status), message);
    QVERIFY(!downloaded().contains("moved"));
}

void TestHttpDownload::failuresAreReported_data()
{
    QTest::addColumn<Reply>("reply");
    QTest::addColumn<int>("code");
    QTest::addColumn<QByteArray>("name");
    QTest::newRow("404") << Reply(404).body("no") << 404 << QByteArray("ContentNotFoundError");
    QTest::newRow("500") << Reply(500) << 500 << QByteArray("UnknownHttpClientError");
    QTest::newRow("closed at once") << Reply().cutAfter(0) << 0 << QByteArray("RemoteHostClosedError");
    QTest::newRow("cut") << Reply().body(QByteArray(90000, 'x')).cutAfter(50000) << 0
                         << QByteArray("RemoteHostClosedError");
    QTest::newRow("cut late") << Reply().body(QByteArray(9000000, 'x')).cutAfter(5000000) << 0
                              << QByteArray("RemoteHostClosedError");
}

void TestHttpDownload::failuresAreReported()
{
    QFETCH(Reply, reply);
    QFETCH(int, code);
    QFETCH(QByteArray, name);
    LocalServer server;
    server.answer("/cup", reply);
    const ReturnStatus status = download(server, "/cup");
    QCOMPARE(status.GetStatusCode(), code);
    QCOMPARE(messageOf(status), failureText(name));
    QVERIFY(m_host.errors().contains(failureText(name)));
}

void TestHttpDownload::serverDiesDuringTransfer()
{
    const QByteArray content = numberedBytes(20000000);
    LocalServer server;
    server.answer("/cup", Reply().body(content).hangAfter(10000000));
    QTimer::singleShot(150, this, [&server] { server.dropConnections(); });
    const ReturnStatus status = download(server, "/cup");
    QCOMPARE(status.GetStatusCode(), 0);
    QCOMPARE(messageOf(status), failureText("RemoteHostClosedError"));
    QVERIFY(content.startsWith(downloaded()));
}

void TestHttpDownload::timeoutAbortsTheTransfer()
{
    httpClient::setDefaultTimeouts(60000, 200);
    LocalServer server;
    server.answer("/hang", Reply().body("0123456789").hangAfter(50));
    server.answer("/cup", Reply().body("the model"));
    httpClient client;
    useServer(client, server);
    const ReturnStatus late = client.getFile(folder(), "late.obj", "/hang", {}, false);
    QCOMPARE(late.GetStatusCode(), 408);
    QCOMPARE(messageOf(late), QString("408 Http request timeout"));
    QCOMPARE(m_host.errors(), QStringList("408 Http request timeout"));
    QTRY_COMPARE(server.findChildren<QTcpSocket *>().size(), 0);
    QCOMPARE(client.getFile(folder(), "cup.obj", "/cup", {}, false).GetStatusCode(), 200);
    QCOMPARE(downloaded(), QByteArray("the model"));
    client.readyReadCB();
    QCOMPARE(downloaded(), QByteArray("the model"));
}

void TestHttpDownload::fullDiskEndsTheDownload()
{
    LocalServer server;
    server.answer("/cup", Reply().body(numberedBytes(5000000)));
    server.answer("/start", Reply(302).location("/cup"));
    const auto oldHandler = std::signal(SIGXFSZ, SIG_IGN);
    rlimit old;
    QCOMPARE(getrlimit(RLIMIT_FSIZE, &old), 0);
    const rlimit small = {100000, old.rlim_max};
    for (const char *path : {"/cup", "/start"}) {
        m_host.clear();
        QCOMPARE(setrlimit(RLIMIT_FSIZE, &small), 0);
        const ReturnStatus status = download(server, path);
        QCOMPARE(setrlimit(RLIMIT_FSIZE, &old), 0);
        QCOMPARE(status.GetStatusCode(), 0);
        const QString expected = "The file cannot be written: " + folder() + "cup.obj";
        QVERIFY2(messageOf(status).startsWith(expected), status.GetErrorMessage().utf8());
        QCOMPARE(m_host.errors(), QStringList(messageOf(status)));
        QVERIFY(!QFile::exists(folder() + "cup.obj"));
    }
    std::signal(SIGXFSZ, oldHandler);
    QCOMPARE(download(server, "/cup").GetStatusCode(), 200);
}

void TestHttpDownload::unwritableFileSendsNothing()
{
    QVERIFY(QDir(folder()).mkdir("cup.obj"));
    LocalServer server;
    server.answer("/cup", Reply().body("the model"));
    const ReturnStatus status = download(server, "/cup");
    QCOMPARE(status.GetStatusCode(), 0);
    QVERIFY(messageOf(status).contains(folder() + "cup.obj"));
    QCOMPARE(server.connections(), 0);
    QVERIFY(QFileInfo(folder() + "cup.obj").isDir());
}

void TestHttpDownload::secondDownloadInsideOneIsRefused()
{
    LocalServer server;
    server.answer("/cup", Reply().body("the model").delayed(80));
    httpClient client;
    useServer(client, server);
    int inner = -1;
    QByteArray body;
    QTimer::singleShot(10, this, [&] {
        inner = client.getFile(folder(), "other.obj", "/cup", {}, false).GetStatusCode();
        client.get("/cup", {}, false, body);
    });
    QCOMPARE(client.getFile(folder(), "cup.obj", "/cup", {}, false).GetStatusCode(), 200);
    QCOMPARE(inner, 0);
    QCOMPARE(body, QByteArray("the model"));
    QCOMPARE(downloaded(), QByteArray("the model"));
    QVERIFY(!QFile::exists(folder() + "other.obj"));
}

QTEST_GUILESS_MAIN(TestHttpDownload)
#include "tst_httpdownload.moc"
