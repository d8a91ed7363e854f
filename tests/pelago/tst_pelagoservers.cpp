// The library unchanged against four servers.

#include "pelago/Cloud.h"
#include "pelago/DavServers.h"

#include <QtTest>

#include <algorithm>

namespace {

const QStringList hurtingNames = {"plain.obj",       "with blank .obj",
                                  "#hash.obj",       "what?.obj",
                                  "100%.obj",        "%41%2F.obj",
                                  "a&b+c=d;e.obj",   "\"d\" 's'.obj",
                                  "back\\slash.obj", "Größe 模型 🏺.obj",
                                  ".hidden.obj",     "~[x]{y}|^`<z>.obj",
                                  "a:b@c,$!.obj",    "..."};

struct Walk
{
    int64_t endPoint;
    QStringList seen;
};

/// Lists each folder from inside the listing that names it.
void descend(void *context, const char *id, const char *, const char *, const char *mediaType, int64_t size)
{
    auto *walk = static_cast<Walk *>(context);
    const bool folder = *mediaType == '\0' && size == 0;
    walk->seen << QString(id) + (folder ? "/" : "");
    if (folder)
        Skein_Storage_listContents(walk->endPoint, id, descend, walk);
}

} // namespace

class TestPelagoServers : public QObject
{
    Q_OBJECT
private slots:
    void init();
    void names_data() { servers(); }
    void names();
    void folders_data() { servers(); }
    void folders();
    void failures_data() { servers(); }
    void failures();
    void cut_data() { servers(); }
    void cut();
    void sizes_data() { servers(); }
    void sizes();

private:
    void servers();

    std::map<QString, std::unique_ptr<DavServer>> m_servers; ///< they stay up for all tests
    DavServer *m_server = nullptr;
    std::unique_ptr<Cloud> m_cloud; ///< signed in to it
};

void TestPelagoServers::servers()
{
    QTest::addColumn<QString>("name");
    for (const char *name : {"apache", "nginx", "rclone", "localcloud"})
        QTest::newRow(name) << name;
}

void TestPelagoServers::init()
{
    QFETCH(QString, name);
    std::unique_ptr<DavServer> &server = m_servers[name];
    if (!server)
        server = DavServer::start(name);
    m_server = server.get();
    m_cloud = std::make_unique<Cloud>(m_server->storage);
    QCOMPARE(m_cloud->signIn("wrong"), int{Skein_Result_NotSignedIn});
    QCOMPARE(Skein_Auth_isUserLoggedIn(m_cloud->session), 0);
    QCOMPARE(m_cloud->signIn(), 1);
    QCOMPARE(Skein_Auth_isUserLoggedIn(m_cloud->session), 1);
}

void TestPelagoServers::names()
{
    m_server->makeFolder("names");
    for (const QString &name : hurtingNames) {
        const QByteArray utf8 = name.toUtf8();
        QCOMPARE(m_cloud->upload("names", utf8, "first " + utf8), 1);
        QCOMPARE(m_server->content("names/" + name), "first " + utf8);
        QCOMPARE(m_cloud->replace("names", utf8, "second " + utf8), 1);
        QCOMPARE(m_server->content("names/" + name), "second " + utf8);
        QCOMPARE(m_cloud->download("names", utf8), 1);
        QCOMPARE(m_cloud->got(), "second " + utf8);
    }
    QStringList expected = hurtingNames;
    std::sort(expected.begin(), expected.end());
    QStringList onDisk = m_server->entries("names");
    std::sort(onDisk.begin(), onDisk.end());
    QCOMPARE(onDisk, expected);

    QCOMPARE(m_cloud->list("names"), m_server->listsDotFiles ? 14 : 12);
    QStringList listed;
    for (const Entry &entry : qAsConst(m_cloud->entries)) {
        listed << entry.name;
        QCOMPARE(entry.id, "names/" + entry.name);
        QCOMPARE(entry.size, qint64{7} + entry.name.toUtf8().size());
        QVERIFY(!entry.mediaType.isEmpty() && entry.modified.contains(" GMT"));
    }
    if (!m_server->listsDotFiles)
        expected = expected.filter(QRegularExpression("^[^.]"));
    std::sort(listed.begin(), listed.end());
    QCOMPARE(listed, expected);
}

void TestPelagoServers::folders()
{
    for (const char *id : {"tree", "tree/a b#", "tree/a b#/%41 & ü", "tree/empty+"})
        m_server->makeFolder(id);
    m_server->makeFile("tree/a b#/%41 & ü/deep?.obj", "deep");
    m_server->makeFile("tree/nothing.obj", "");
    Walk walk{m_cloud->endPoint, {}};
    QCOMPARE(Skein_Storage_listContents(m_cloud->endPoint, "tree", descend, &walk), 3);
    walk.seen.sort();
    QCOMPARE(walk.seen, QStringList({"tree/a b#/", "tree/a b#/%41 & ü/", "tree/a b#/%41 & ü/deep?.obj", "tree/empty+/",
                                     "tree/nothing.obj"}));
    QCOMPARE(m_cloud->download("tree/a b#/%41 & ü", "deep?.obj"), 1);
    QCOMPARE(m_cloud->got(), QByteArray("deep"));
    QVERIFY(m_cloud->list("") > 0);
    QVERIFY(std::any_of(m_cloud->entries.begin(), m_cloud->entries.end(),
                        [](auto &each) { return each.id == "tree" && each.mediaType.isEmpty() && each.size == 0; }));
}

void TestPelagoServers::failures()
{
    m_server->makeFolder("taken");
    m_server->makeFolder("taken/folder");
    m_server->makeFile("taken/cup.obj", "old");
    QCOMPARE(m_cloud->upload("taken", "cup.obj", "new"), int{Skein_Result_Conflict});
    QVERIFY(m_cloud->upload("taken", "folder", "new") < 0);
    QVERIFY(m_cloud->replace("taken", "folder", "new") < 0);
    QVERIFY(m_cloud->upload("taken/missing", "cup.obj", "new") < 0);
    QCOMPARE(m_cloud->list("missing"), int{Skein_Result_NotFound});
    QVERIFY(m_cloud->list("taken/cup.obj") < 0);
    QCOMPARE(m_cloud->download("taken", "missing"), int{Skein_Result_NotFound});
    QVERIFY(m_cloud->download("taken", "folder") < 0);
    QCOMPARE(m_cloud->got(), QByteArray("nothing"));
    QCOMPARE(m_server->entries("taken"), QStringList({"cup.obj", "folder"}));
    QCOMPARE(m_server->content("taken/cup.obj"), QByteArray("old"));
}

void TestPelagoServers::cut()
{
    m_server->makeFolder("cut");
    m_server->makeFile("cut/cup.obj", "old");
    const QByteArray path = m_cloud->write("large", "");
    QVERIFY(QFile::resize(path, 256 * 1024 * 1024));
    const char *const paths[] = {path.constData()};
    const char *const names[] = {"new.obj"};
    for (const bool replaces : {true, false}) {
        m_cloud->signIn();
        // Bytes of the file are on their way by then, and by far not all.
        QTimer::singleShot(100, this, [this] { Skein_Storage_destroyEndPoint(m_cloud->endPoint); });
        const int64_t at = m_cloud->endPoint;
        QCOMPARE(replaces ? Skein_Storage_updateFile(at, "cut", "cut/cup.obj", 2, path, nullptr, nullptr)
                          : Skein_Storage_uploadFiles(at, "cut", paths, names, 1, nullptr, nullptr),
                 int{Skein_Result_Closed});
    }
    QCOMPARE(m_server->content("cut/cup.obj"), QByteArray("old"));
    QVERIFY(!m_server->entries("cut").contains("new.obj"));
    if (m_server->forgetsCutUploads)
        QTRY_COMPARE(m_server->entries("cut").size(), 1);
}

void TestPelagoServers::sizes()
{
    m_server->makeFolder("sizes");
    for (const int bytes : {0, 1, 6 * 1024 * 1024 + 1}) {
        const QByteArray content = QByteArray("0123456789abc").repeated(bytes / 13 + 1).left(bytes);
        const QByteArray name = QByteArray::number(bytes);
        QCOMPARE(m_cloud->upload("sizes", name, content), 1);
        QVERIFY(m_server->content("sizes/" + name) == content);
        QVERIFY(bytes == 0 || (m_cloud->done == bytes && m_cloud->total == bytes));
        QCOMPARE(m_cloud->download("sizes", name), 1);
        QVERIFY(m_cloud->got() == content);
        QVERIFY(bytes == 0 || (m_cloud->done == bytes && m_cloud->total == bytes));
    }
    QCOMPARE(m_cloud->results, QVector<int>(6, 1));
    QCOMPARE(m_cloud->list("sizes"), 3);
    for (const Entry &entry : qAsConst(m_cloud->entries))
        QVERIFY(entry.size == entry.name.toLongLong() && !entry.mediaType.isEmpty());
}

QTEST_GUILESS_MAIN(TestPelagoServers)
#include "tst_pelagoservers.moc"
