#include "HttpTest.h"

#include <csignal>
#include <sys/resource.h>

/// getFile over plain connections: the file on disk, redirects, and what may go wrong with both.
class TestHttpDownload : public HttpFixture
{
    Q_OBJECT
private slots:
    void init() { reset(); }

    void fileArrivesWholeInSlices()
    {
        for (const int size : {0, 17 * 1024 * 1024}) {
            const QByteArray content = numberedBytes(size);
            reset();
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
            const ReturnStatus status = m_client->run(Call::GetFile, "/cup?x=1", {{L"Authorization", L"Bearer s"}});
            everyTurn.stop();
            QCOMPARE(outcome(status), QString("200 "));
            QVERIFY(m_client->downloaded() == content);
            QVERIFY2(largest <= 1024 * 1024 && (largest > 0) == (size > 0), qPrintable(QString::number(largest)));
            QCOMPARE(m_server->lastRequest("/cup").target, QByteArray("/cup?x=1"));
            QCOMPARE(m_server->lastRequest("/cup").header("Authorization"), QByteArray("Bearer s"));
        }
        QCOMPARE(m_host.errors(), QStringList());
    }

    void directoryIsMade()
    {
        m_server->answer("/cup", Reply().body("model"));
        const QString below = m_client->folder + QString::fromUtf8("a b/\xc3\xa4/");
        QCOMPARE(m_client->getFile(below, "prefix", "/cup", {}, false).GetStatusCode(), 200);
        QCOMPARE(contentOf(below + "prefix"), QByteArray("model"));
        QCOMPARE(m_client->getFile(m_client->folder + "no-separator-", "x", "/cup", {}, false).GetStatusCode(), 200);
        QCOMPARE(contentOf(m_client->folder + "no-separator-x"), QByteArray("model"));
    }

    void oldFileIsReplaced()
    {
        const QByteArray older("an older and longer file");
        m_server->answer("/cup", Reply().body("new"));
        QVERIFY(writeFile(m_client->folder + "down", older) && writeFile(m_client->folder + "elsewhere", older));
        for (const bool link : {false, true}) {
            QVERIFY(!link ||
                    (QFile::remove(m_client->folder + "down") && QFile::link("elsewhere", m_client->folder + "down")));
            QCOMPARE(m_client->run(Call::GetFile, "/cup").GetStatusCode(), 200);
            QCOMPARE(m_client->downloaded(), QByteArray("new"));
            QCOMPARE(contentOf(m_client->folder + "elsewhere"), older);
        }

        // A directory cannot be replaced, and nothing is asked of the service then.
        QVERIFY(QFile::remove(m_client->folder + "down") && QDir(m_client->folder).mkdir("down"));
        const ReturnStatus status = m_client->run(Call::GetFile, "/cup");
        QVERIFY(outcome(status).startsWith("0 ") && outcome(status).contains(m_client->folder + "down"));
        QCOMPARE(m_server->requests().size(), 2);
        QVERIFY(QFileInfo(m_client->folder + "down").isDir());
    }

    void redirects_data()
    {
        QTest::addColumn<int>("code");
        QTest::addColumn<QByteArray>("location");
        QTest::addColumn<Reply>("target");
        QTest::addColumn<int>("requests");
        QTest::addColumn<QString>("end");
        const QByteArray relative("../target?key=1%2F2");
        const Reply model = Reply().body("the model");
        const Reply missing = Reply(404).body("no");
        const Reply cut = Reply().body(QByteArray(9999, 'x')).cutAfter(5000);
        QTest::newRow("absolute") << 302 << QByteArray("http://HOST/target?key=1%2F2") << model << 2 << "200 ";
        QTest::newRow("relative") << 302 << relative << model << 2 << "200 ";
        QTest::newRow("second 302") << 302 << relative << Reply(302).location("/start/x") << 2 << "302 ";
        QTest::newRow("301") << 301 << relative << model << 1 << "301 ";
        QTest::newRow("no target") << 302 << QByteArray() << model << 1 << "302 ";
        QTest::newRow("local file") << 302 << QByteArray("file:///etc/passwd") << model << 1 << "302 ";
        QTest::newRow("404") << 302 << relative << missing << 2 << "404 " + failureText("ContentNotFoundError");
        QTest::newRow("broken off") << 302 << relative << cut << 2 << "0 " + failureText("RemoteHostClosedError");
        QTest::newRow("hangs") << 302 << relative << Reply().hangAfter(0) << 2 << "408 408 zu lange";
    }
    void redirects()
    {
        QFETCH(int, code);
        QFETCH(QByteArray, location);
        QFETCH(Reply, target);
        QFETCH(int, requests);
        QFETCH(QString, end);
        reset(60000, 300);
        Reply start = Reply(code).body(requests == 2 ? "moved, which is longer than the model" : "");
        if (!location.isEmpty())
            start.location(location.replace("HOST", m_server->authority()));
        m_server->answer("/start/x", start);
        m_server->answer("/target", target);
        QCOMPARE(outcome(m_client->run(Call::GetFile, "/start/x", {{L"X-Session", L"s"}})), end);
        QCOMPARE(m_client->downloaded() == "the model", end == "200 ");
        QVERIFY(!m_client->downloaded().contains("moved") && !m_client->downloaded().contains("root"));
        QCOMPARE(m_server->requests().size(), requests);
        QCOMPARE(m_server->lastRequest("/start/x").header("X-Session"), QByteArray("s"));
        QVERIFY(!m_server->lastRequest("/target").hasHeader("X-Session"));
        QCOMPARE(m_server->lastRequest("/target").target, requests == 2 ? "/target?key=1%2F2" : QByteArray());
    }

    void fullDiskEndsTheDownload()
    {
        m_server->answer("/cup", Reply().body(numberedBytes(5000000)));
        m_server->answer("/start", Reply(302).location("/cup"));
        const auto oldHandler = std::signal(SIGXFSZ, SIG_IGN);
        rlimit old;
        QCOMPARE(getrlimit(RLIMIT_FSIZE, &old), 0);
        const rlimit small = {100000, old.rlim_max};
        for (const char *path : {"/cup", "/start"}) {
            m_host.clear();
            QCOMPARE(setrlimit(RLIMIT_FSIZE, &small), 0);
            const QString end = outcome(m_client->run(Call::GetFile, path));
            QCOMPARE(setrlimit(RLIMIT_FSIZE, &old), 0);
            QVERIFY(end.startsWith("0 The file cannot be written: " + m_client->folder + "down"));
            QCOMPARE(m_host.errors(), QStringList(end.mid(2)));
            QVERIFY(!QFile::exists(m_client->folder + "down"));
        }
        std::signal(SIGXFSZ, oldHandler);
        QCOMPARE(m_client->run(Call::GetFile, "/cup").GetStatusCode(), 200);
    }

    void secondDownloadInsideOneIsRefused()
    {
        m_server->answer("/cup", Reply().body("the model").delayed(80));
        int inner = -1;
        QTimer::singleShot(10, this, [&] {
            inner = m_client->getFile(m_client->folder, "other.obj", "/cup", {}, false).GetStatusCode();
            m_client->run(Call::Get, "/cup");
        });
        QCOMPARE(m_client->run(Call::GetFile, "/cup").GetStatusCode(), 200);
        QCOMPARE(inner, 0);
        QCOMPARE(m_client->body, QByteArray("the model"));
        QCOMPARE(m_client->downloaded(), QByteArray("the model"));
        QVERIFY(!QFile::exists(m_client->folder + "other.obj"));
    }
};

QTEST_GUILESS_MAIN(TestHttpDownload)
#include "tst_httpdownload.moc"
