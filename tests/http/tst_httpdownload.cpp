#include "HttpTest.h"

#include <csignal>
#include <dlfcn.h>
#include <sys/resource.h>
#include <sys/stat.h>

namespace {

/// Whether close() reports a full quota for files, as on a network file system.
bool closeFails = false;

QString errorOf(int code)
{
    return QString("(%1)").arg(strerror(code));
}

} // namespace

/// Replaces the function of the C library in this program.
extern "C" int close(int descriptor)
{
    static const auto original = reinterpret_cast<int (*)(int)>(dlsym(RTLD_NEXT, "close"));
    struct stat file;
    const bool fails = closeFails && fstat(descriptor, &file) == 0 && S_ISREG(file.st_mode);
    const int result = original(descriptor);
    if (fails)
        errno = EDQUOT;
    return fails ? -1 : result;
}

/// getFile: the file on the disk, redirects, certificates, and their errors.
class TestHttpDownload : public HttpFixture
{
    Q_OBJECT
private slots:
    void init() { reset(); }

    void fileArrivesWholeInSlices()
    {
        const QByteArray content = numberedBytes(17825792);
        m_server->answer("/cup", Reply().body(content));
        qint64 last = 0;
        qint64 largest = 0;
        QTimer everyTurn;
        connect(&everyTurn, &QTimer::timeout, this, [&] {
            const qint64 now = QFileInfo(m_client->folder + "down").size();
            largest = qMax(largest, now - last);
            last = now;
            QThread::msleep(3);
        });
        everyTurn.start(0);
        QCOMPARE(outcome(m_client->run(Call::GetFile, "/cup")), QString("200 "));
        QVERIFY(m_client->downloaded() == content);
        QVERIFY2(largest <= 1024 * 1024, qPrintable(QString::number(largest)));
        QVERIFY(largest > 0);
        QCOMPARE(m_host.errors(), QStringList());
    }

    void errorOfCloseFailsTheDownload()
    {
        m_server->answer("/cup", Reply().body("the model"));
        closeFails = true;
        const QString end = outcome(m_client->run(Call::GetFile, "/cup"));
        closeFails = false;
        QCOMPARE(end, "0 The file cannot be written: " + m_client->folder + "down " + errorOf(EDQUOT));
        QVERIFY(!QFile::exists(m_client->folder + "down"));
    }

    void fileReplacesALinkButNotAFolder()
    {
        const QString down = m_client->folder + "down";
        const QString elsewhere = m_client->folder + "elsewhere";
        m_server->answer("/cup", Reply().body("new"));
        for (const QString below : {"", "a b/\u00e4/", "no-separator-"}) {
            QVERIFY(m_client->getFile(m_client->folder + below, "x", "/cup", {}, false).IsSuccess());
            QCOMPARE(readFile(m_client->folder + below + "x"), QByteArray("new"));
        }
        writeFile(elsewhere, "an older and longer file");
        QVERIFY(QFile::link(elsewhere, down));
        QVERIFY(m_client->run(Call::GetFile, "/cup").IsSuccess());
        QCOMPARE(m_client->downloaded(), QByteArray("new"));
        QCOMPARE(readFile(elsewhere), QByteArray("an older and longer file"));

        // A folder cannot be replaced; then there is no request.
        QVERIFY(QFile::remove(down));
        QVERIFY(QDir().mkdir(down));
        QVERIFY(outcome(m_client->run(Call::GetFile, "/cup")).startsWith("0 The file cannot be written: " + down));
        QCOMPARE(m_server->requests().size(), 4);
        QVERIFY(QFileInfo(down).isDir());
    }

    void downloadHasTheLengthThatTheServiceNames_data()
    {
        // The reply after its first line, the length that the service names, and the result.
        const QString chunked = "Transfer-Encoding: chunked\r\n\r\n";
        addRows({{"closed, cut", "\r\nthe mo", "9", "broken"},
                 {"chunked, whole", chunked + "9\r\nthe model\r\n0\r\n\r\n", "9", "whole"},
                 {"chunked, cut after a chunk", chunked + "6\r\nthe mo\r\n", "9", "broken"},
                 {"own length", "Content-Length: 6\r\n\r\nthe mo", "9", "whole"}});
    }

    void downloadHasTheLengthThatTheServiceNames()
    {
        const auto [title, wire, length, result] = currentRow<4>();
        m_server->answer("/cup", Reply::raw("HTTP/1.1 200 OK\r\n" + wire.toLatin1()));
        m_server->answer("/start", Reply(302).location("/cup"));
        m_client->expectDownloadBytes(length.toInt());
        const QStringList ends{"0 The downloaded file does not have the size that the list shows. Refresh the list "
                               "and try again.",
                               "0 " + failureText("RemoteHostClosedError")};
        for (const char *path : {"/cup", "/start"}) {
            for (int run = 0; run < 10; ++run) {
                const QString end = outcome(m_client->run(Call::GetFile, path));
                QVERIFY2(result == "whole" ? end == "200 " : ends.contains(end), qPrintable(end));
            }
        }
    }

    void one302IsFollowed_data()
    {
        QTest::addColumn<QByteArray>("location");
        QTest::addColumn<Reply>("target");
        QTest::addColumn<QString>("end"); // and the number of requests
        const QByteArray there("../target?key=1%2F2");
        const Reply model = Reply().body("the model");
        const Reply cut = Reply().body(QByteArray(9999, 'x')).cutAfter(5000);
        QTest::newRow("absolute") << QByteArray("http://HOST/target?key=1%2F2") << model << "200 :2";
        QTest::newRow("relative") << there << model << "200 :2";
        QTest::newRow("second redirect") << there << Reply(302).location("/start/x") << "302 :2";
        QTest::newRow("cut") << there << cut << "0 " + failureText("RemoteHostClosedError") + ":2";
        QTest::newRow("301") << there << model << "301 :1";
        QTest::newRow("file") << QByteArray("file:///etc/passwd") << model << "302 :1";
    }

    void one302IsFollowed()
    {
        QFETCH(QByteArray, location);
        QFETCH(Reply, target);
        QFETCH(QString, end);
        const QByteArray longer = "moved, which is longer than the model";
        location.replace("HOST", m_server->authority());
        m_server->answer("/start/x", Reply(end.startsWith("301") ? 301 : 302).location(location).body(longer));
        m_server->answer("/target", target);
        const QString found = outcome(m_client->run(Call::GetFile, "/start/x", {{L"X-Session", L"s"}}));
        const bool isFollowed = m_server->requests().size() == 2;
        QCOMPARE(found + ':' + QString::number(m_server->requests().size()), end);
        QCOMPARE(m_client->downloaded() == "the model", end == "200 :2");
        QVERIFY(!isFollowed || !m_client->downloaded().contains("moved"));
        QVERIFY(!m_client->downloaded().contains("root"));
        QCOMPARE(m_server->lastRequest("/start/x").header("X-Session"), QByteArray("s"));
        QVERIFY(!m_server->lastRequest("/target").hasHeader("X-Session"));
        QCOMPARE(m_server->lastRequest("/target").target, isFollowed ? "/target?key=1%2F2" : QByteArray());
    }

    void fullDiskEndsTheDownload()
    {
        m_server->answer("/cup", Reply().body(numberedBytes(5000000)));
        std::signal(SIGXFSZ, SIG_IGN);
        rlimit old;
        QCOMPARE(getrlimit(RLIMIT_FSIZE, &old), 0);
        const rlimit small = {100000, old.rlim_max};
        QCOMPARE(setrlimit(RLIMIT_FSIZE, &small), 0);
        const QString end = outcome(m_client->run(Call::GetFile, "/cup"));
        QCOMPARE(setrlimit(RLIMIT_FSIZE, &old), 0);
        QCOMPARE(end, "0 The file cannot be written: " + m_client->folder + "down " + errorOf(EFBIG));
        QCOMPARE(m_host.errors(), QStringList(end.mid(2)));
        QVERIFY(!QFile::exists(m_client->folder + "down"));
        QCOMPARE(m_client->run(Call::GetFile, "/cup").GetStatusCode(), 200);
    }

    void onlyDownloadsAcceptAnyCertificate()
    {
        LocalServer server(LocalServer::Transport::Tls);
        server.answer("/x", Reply().body("the model"));
        TestClient client(server);
        int accepted = 0;
        // The calls after a download must not reuse its connection.
        for (const Call call : {Call::Get, Call::Post, Call::PostFile, Call::GetFile, Call::Get, Call::GetFile}) {
            const bool isDownload = call == Call::GetFile;
            accepted += isDownload ? 1 : 0;
            QCOMPARE(outcome(client.run(call, "/x", {{L"Authorization", L"Bearer secret"}}, true)),
                     isDownload ? "200 " : "0 " + failureText("SslHandshakeFailedError"));
            QCOMPARE(server.requests().size(), accepted);
        }
        QCOMPARE(client.downloaded(), QByteArray("the model"));
    }

    void redirectTargetIsChecked()
    {
        LocalServer tls(LocalServer::Transport::Tls);
        tls.answer("/target", Reply().body("the model"));
        for (LocalServer *first : {m_server.get(), &tls}) {
            first->answer("/start", Reply(302).location("https://" + tls.authority() + "/target"));
            TestClient client(*first);
            const ReturnStatus status = client.run(Call::GetFile, "/start", {}, first == &tls);
            QCOMPARE(outcome(status) + client.downloaded(), "0 " + failureText("SslHandshakeFailedError"));
            QCOMPARE(tls.requests().size(), first == &tls ? 1 : 0);
        }
    }
};

QTEST_GUILESS_MAIN(TestHttpDownload)
#include "tst_httpdownload.moc"
