#include "HttpTest.h"

#include <csignal>
#include <sys/resource.h>

/// getFile over plain connections: the file on disk, redirects, and what may go wrong with both.
class TestHttpDownload : public HttpFixture
{
    Q_OBJECT
private slots:
    void init() { reset(); }
    void fileArrivesWholeInSlices();
    void directoryIsMade();
    void oldFileIsReplaced();
    void redirects_data();
    void redirects();
    void fullDiskEndsTheDownload();
    void secondDownloadInsideOneIsRefused();
};

void TestHttpDownload::fileArrivesWholeInSlices()
{
    for (const int size : {0, 17 * 1024 * 1024}) {
        const QByteArray content = numberedBytes(size);
        LocalServer server;
        server.answer("/cup", Reply().body(content));
        TestClient client(server);
        qint64 last = 0;
        qint64 largest = 0;
        QTimer everyTurn;
        connect(&everyTurn, &QTimer::timeout, this, [&] {
            const qint64 now = QFileInfo(client.folder + "down").size();
            largest = qMax(largest, now - last);
            last = now;
            QThread::msleep(3);
        });
        everyTurn.start(0);
        const ReturnStatus status = client.run(Call::GetFile, "/cup?x=1", {{L"Authorization", L"Bearer s"}});
        everyTurn.stop();
        QCOMPARE(status.GetStatusCode(), 200);
        QCOMPARE(messageOf(status), QString());
        QVERIFY(client.downloaded() == content);
        QVERIFY2(largest <= 1024 * 1024 && (largest > 0) == (size > 0), qPrintable(QString::number(largest)));
        QCOMPARE(server.lastRequest("/cup").target, QByteArray("/cup?x=1"));
        QCOMPARE(server.lastRequest("/cup").header("Authorization"), QByteArray("Bearer s"));
    }
    QCOMPARE(m_host.errors(), QStringList());
}

void TestHttpDownload::directoryIsMade()
{
    LocalServer server;
    server.answer("/cup", Reply().body("model"));
    TestClient client(server);
    const QString below = client.folder + QString::fromUtf8("a b/\xc3\xa4/");
    QCOMPARE(client.getFile(below, "prefix", "/cup", {}, false).GetStatusCode(), 200);
    QCOMPARE(contentOf(below + "prefix"), QByteArray("model"));
    QCOMPARE(client.getFile(client.folder + "no-separator-", "x", "/cup", {}, false).GetStatusCode(), 200);
    QCOMPARE(contentOf(client.folder + "no-separator-x"), QByteArray("model"));
}

void TestHttpDownload::oldFileIsReplaced()
{
    const QByteArray older("an older and longer file");
    LocalServer server;
    server.answer("/cup", Reply().body("new"));
    TestClient client(server);
    QVERIFY(writeFile(client.folder + "down", older) && writeFile(client.folder + "elsewhere", older));
    for (const bool link : {false, true}) {
        QVERIFY(!link || (QFile::remove(client.folder + "down") && QFile::link("elsewhere", client.folder + "down")));
        QCOMPARE(client.run(Call::GetFile, "/cup").GetStatusCode(), 200);
        QCOMPARE(client.downloaded(), QByteArray("new"));
        QCOMPARE(contentOf(client.folder + "elsewhere"), older);
    }

    // A directory cannot be replaced, and nothing is asked of the service then.
    QVERIFY(QFile::remove(client.folder + "down") && QDir(client.folder).mkdir("down"));
    const ReturnStatus status = client.run(Call::GetFile, "/cup");
    QCOMPARE(status.GetStatusCode(), 0);
    QVERIFY(messageOf(status).contains(client.folder + "down"));
    QCOMPARE(server.requests().size(), 2);
    QVERIFY(QFileInfo(client.folder + "down").isDir());
}

void TestHttpDownload::redirects_data()
{
    QTest::addColumn<int>("code");
    QTest::addColumn<QByteArray>("location");
    QTest::addColumn<Reply>("target");
    QTest::addColumn<int>("requests");
    QTest::addColumn<int>("endCode");
    QTest::addColumn<QString>("message");
    const QByteArray relative("../target?key=1%2F2");
    const Reply model = Reply().body("the model");
    const Reply missing = Reply(404).body("no");
    const Reply cut = Reply().body(QByteArray(9999, 'x')).cutAfter(5000);
    QTest::newRow("absolute") << 302 << QByteArray("http://HOST/target?key=1%2F2") << model << 2 << 200 << QString();
    QTest::newRow("relative") << 302 << relative << model << 2 << 200 << QString();
    QTest::newRow("second 302") << 302 << relative << Reply(302).location("/start/x") << 2 << 302 << QString();
    QTest::newRow("301") << 301 << relative << model << 1 << 301 << QString();
    QTest::newRow("no target") << 302 << QByteArray() << model << 1 << 302 << QString();
    QTest::newRow("local file") << 302 << QByteArray("file:///etc/passwd") << model << 1 << 302 << QString();
    QTest::newRow("404") << 302 << relative << missing << 2 << 404 << failureText("ContentNotFoundError");
    QTest::newRow("broken off") << 302 << relative << cut << 2 << 0 << failureText("RemoteHostClosedError");
    QTest::newRow("hangs") << 302 << relative << Reply().hang() << 2 << 408 << QString("408 zu lange");
}

void TestHttpDownload::redirects()
{
    QFETCH(int, code);
    QFETCH(QByteArray, location);
    QFETCH(Reply, target);
    QFETCH(int, requests);
    QFETCH(int, endCode);
    QFETCH(QString, message);
    httpClient::setDefaultTimeouts(60000, 300);
    LocalServer server;
    Reply start = Reply(code).body(requests == 2 ? "moved, which is longer than the model" : "");
    if (!location.isEmpty())
        start.location(location.replace("HOST", server.authority()));
    server.answer("/start/x", start);
    server.answer("/target", target);
    TestClient client(server);
    const ReturnStatus status = client.run(Call::GetFile, "/start/x", {{L"X-Session", L"s"}});
    QCOMPARE(status.GetStatusCode(), endCode);
    QCOMPARE(messageOf(status), message);
    QCOMPARE(client.downloaded() == "the model", endCode == 200);
    QVERIFY(!client.downloaded().contains("moved") && !client.downloaded().contains("root"));
    QCOMPARE(server.requests().size(), requests);
    QCOMPARE(server.lastRequest("/start/x").header("X-Session"), QByteArray("s"));
    QVERIFY(!server.lastRequest("/target").hasHeader("X-Session"));
    QCOMPARE(server.lastRequest("/target").target, requests == 2 ? "/target?key=1%2F2" : QByteArray());
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
    TestClient client(server);
    for (const char *path : {"/cup", "/start"}) {
        m_host.clear();
        QCOMPARE(setrlimit(RLIMIT_FSIZE, &small), 0);
        const ReturnStatus status = client.run(Call::GetFile, path);
        QCOMPARE(setrlimit(RLIMIT_FSIZE, &old), 0);
        QCOMPARE(status.GetStatusCode(), 0);
        QVERIFY(messageOf(status).startsWith("The file cannot be written: " + client.folder + "down"));
        QCOMPARE(m_host.errors(), QStringList(messageOf(status)));
        QVERIFY(!QFile::exists(client.folder + "down"));
    }
    std::signal(SIGXFSZ, oldHandler);
    QCOMPARE(client.run(Call::GetFile, "/cup").GetStatusCode(), 200);
}

void TestHttpDownload::secondDownloadInsideOneIsRefused()
{
    LocalServer server;
    server.answer("/cup", Reply().body("the model").delayed(80));
    TestClient client(server);
    int inner = -1;
    QTimer::singleShot(10, this, [&] {
        inner = client.getFile(client.folder, "other.obj", "/cup", {}, false).GetStatusCode();
        client.run(Call::Get, "/cup");
    });
    QCOMPARE(client.run(Call::GetFile, "/cup").GetStatusCode(), 200);
    QCOMPARE(inner, 0);
    QCOMPARE(client.body, QByteArray("the model"));
    QCOMPARE(client.downloaded(), QByteArray("the model"));
    QVERIFY(!QFile::exists(client.folder + "other.obj"));
}

QTEST_GUILESS_MAIN(TestHttpDownload)
#include "tst_httpdownload.moc"
