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

QByteArray noise(int bytes)
{
    QByteArray made(bytes, Qt::Uninitialized);
    QRandomGenerator generator(7);
    std::generate(made.begin(), made.end(), [&generator] { return static_cast<char>(generator.generate()); });
    return made;
}

struct Walk
{
    const Cloud *cloud;
    QStringList seen;
};

/// Lists each folder from inside the listing that names it.
void descend(void *context, const char *id, const char *, const char *, const char *mediaType, int64_t size)
{
    auto *walk = static_cast<Walk *>(context);
    walk->seen << QString(id) + (*mediaType == '\0' && size == 0 ? "/" : "");
    if (*mediaType == '\0')
        Skein_Storage_listContents(walk->cloud->endPoint, id, descend, walk);
}

} // namespace

class TestPelagoServers : public QObject
{
    Q_OBJECT
private slots:
    void init();
    void signIn_data() { servers(); }
    void signIn();
    void names_data() { servers(); }
    void names();
    void folders_data() { servers(); }
    void folders();
    void taken_data() { servers(); }
    void taken();
    void cut_data() { servers(); }
    void cut();
    void sizes_data() { servers(); }
    void sizes();

private:
    /// One row per server; rows of one server follow one another only within a test, so all of them stay up.
    void servers();

    std::map<QString, std::unique_ptr<DavServer>> m_servers;
    DavServer *m_server = nullptr;
};

void TestPelagoServers::servers()
{
    QTest::addColumn<QString>("name");
    for (const QString &name : DavServer::names())
        QTest::newRow(qPrintable(name)) << name;
}

void TestPelagoServers::init()
{
    QFETCH(QString, name);
    std::unique_ptr<DavServer> &server = m_servers[name];
    if (!server)
        server = DavServer::start(name);
    m_server = server.get();
}

void TestPelagoServers::signIn()
{
    Cloud cloud(m_server->storage());
    QCOMPARE(Skein_Auth_isUserLoggedIn(cloud.session), 0);
    QCOMPARE(Skein_Auth_createLoginRequest(cloud.session, nullptr, 0), long{Skein_Result_PasswordSignIn});
    QCOMPARE(cloud.signIn("wrong"), int{Skein_Result_NotSignedIn});
    QCOMPARE(Skein_Auth_isUserLoggedIn(cloud.session), 0);
    QCOMPARE(cloud.signIn(), 1);
    QCOMPARE(Skein_Auth_isUserLoggedIn(cloud.session), 1);
    QCOMPARE(QString(Skein_Auth_getUserLastName(cloud.session)), QString("demo"));
}

void TestPelagoServers::names()
{
    m_server->makeFolder("names");
    Cloud cloud(m_server->storage());
    QCOMPARE(cloud.signIn(), 1);
    for (const QString &name : hurtingNames) {
        QCOMPARE(cloud.upload("names", name, "first " + name.toUtf8()), 1);
        QCOMPARE(m_server->content("names/" + name), "first " + name.toUtf8());
        QCOMPARE(cloud.replace("names", name, "second " + name.toUtf8()), 1);
        QCOMPARE(m_server->content("names/" + name), "second " + name.toUtf8());
        QCOMPARE(cloud.download("names", name), 1);
        QCOMPARE(cloud.got(), "second " + name.toUtf8());
    }
    QStringList expected = hurtingNames;
    std::sort(expected.begin(), expected.end());
    QStringList onDisk = m_server->entries("names");
    std::sort(onDisk.begin(), onDisk.end());
    QCOMPARE(onDisk, expected);

    QVector<Entry> entries;
    const int count = cloud.list("names", &entries);
    QCOMPARE(count, entries.size());
    QStringList listed;
    for (const Entry &entry : entries) {
        listed << entry.name;
        QCOMPARE(entry.id, "names/" + entry.name);
        QCOMPARE(entry.size, qint64{7} + entry.name.toUtf8().size());
        QVERIFY(!entry.mediaType.isEmpty() && entry.modified.contains(" GMT"));
    }
    if (!m_server->traits().listsDotFiles)
        expected.erase(std::remove_if(expected.begin(), expected.end(), [](auto &each) { return each[0] == '.'; }),
                       expected.end());
    std::sort(listed.begin(), listed.end());
    QCOMPARE(listed, expected);
}

void TestPelagoServers::folders()
{
    m_server->makeFolder("tree");
    for (const char *id : {"tree/a b#", "tree/a b#/%41 & ü", "tree/empty+"})
        m_server->makeFolder(id);
    m_server->makeFile("tree/a b#/%41 & ü/deep?.obj", "deep");
    m_server->makeFile("tree/nothing.obj", "");
    Cloud cloud(m_server->storage());
    QCOMPARE(cloud.signIn(), 1);

    Walk walk{&cloud, {}};
    QCOMPARE(Skein_Storage_listContents(cloud.endPoint, "tree", descend, &walk), 3);
    walk.seen.sort();
    QCOMPARE(walk.seen, QStringList({"tree/a b#/", "tree/a b#/%41 & ü/", "tree/a b#/%41 & ü/deep?.obj", "tree/empty+/",
                                     "tree/nothing.obj"}));
    QCOMPARE(cloud.download("tree/a b#/%41 & ü", "deep?.obj"), 1);
    QCOMPARE(cloud.got(), QByteArray("deep"));

    QVector<Entry> root;
    QVERIFY(cloud.list(QString(), &root) > 0);
    QVERIFY(std::any_of(root.begin(), root.end(), [](auto &each) { return each.id == "tree" && each.isFolder(); }));
    QCOMPARE(cloud.list("missing", &root), int{Skein_Result_NotFound});
    QVERIFY(cloud.list("tree/nothing.obj", &root) < 0);
    QCOMPARE(cloud.download("tree", "missing"), int{Skein_Result_NotFound});
    QVERIFY(cloud.download("tree", "empty+") < 0);
    QVERIFY(!QFile::exists(cloud.local("got.tmp")));
}

void TestPelagoServers::taken()
{
    m_server->makeFolder("taken");
    m_server->makeFolder("taken/folder");
    m_server->makeFile("taken/cup.obj", "old");
    Cloud cloud(m_server->storage());
    QCOMPARE(cloud.signIn(), 1);

    QCOMPARE(cloud.upload("taken", "cup.obj", "new"), int{Skein_Result_Conflict});
    QVERIFY(cloud.upload("taken", "folder", "new") < 0);
    QVERIFY(cloud.replace("taken", "folder", "new") < 0);
    QVERIFY(cloud.upload("taken/missing", "cup.obj", "new") < 0);
    QCOMPARE(m_server->entries("taken"), QStringList({"cup.obj", "folder"}));
    QCOMPARE(m_server->content("taken/cup.obj"), QByteArray("old"));
    QCOMPARE(cloud.replace("taken", "gone.obj", "again"), 1);
    QCOMPARE(m_server->content("taken/gone.obj"), QByteArray("again"));
}

void TestPelagoServers::cut()
{
    m_server->makeFolder("cut");
    m_server->makeFile("cut/cup.obj", "old");
    for (const bool replaces : {true, false}) {
        Cloud cloud(m_server->storage());
        QCOMPARE(cloud.signIn(), 1);
        QFile large(cloud.local("large"));
        QVERIFY(large.open(QIODevice::WriteOnly) && large.resize(256 * 1024 * 1024));
        const QByteArray path = large.fileName().toUtf8();
        const char *const paths[] = {path.constData()};
        const char *const names[] = {"new.obj"};
        // The first bytes of the file have been read by then, and by far not all.
        QTimer poll;
        QElapsedTimer clock;
        connect(&poll, &QTimer::timeout, this, [&] {
            if (clock.elapsed() > 60)
                Skein_Storage_destroyEndPoint(cloud.endPoint);
        });
        poll.start(5);
        clock.start();
        QCOMPARE(replaces ? Skein_Storage_updateFile(cloud.endPoint, "cut", "cut/cup.obj", 2, path, nullptr, nullptr)
                          : Skein_Storage_uploadFiles(cloud.endPoint, "cut", paths, names, 1, nullptr, nullptr),
                 int{Skein_Result_Closed});
    }
    QCOMPARE(m_server->content("cut/cup.obj"), QByteArray("old"));
    QVERIFY(!m_server->entries("cut").contains("new.obj"));
    if (m_server->traits().forgetsCutUploads)
        QTRY_COMPARE(m_server->entries("cut").size(), 1);
}

void TestPelagoServers::sizes()
{
    m_server->makeFolder("sizes");
    Cloud cloud(m_server->storage());
    QCOMPARE(cloud.signIn(), 1);
    for (const int bytes : {0, 1, 6 * 1024 * 1024 + 1}) {
        const QByteArray content = noise(bytes);
        const QString name = QString::number(bytes);
        QCOMPARE(cloud.upload("sizes", name, content), 1);
        QVERIFY(m_server->content("sizes/" + name) == content);
        QVERIFY(bytes == 0 || (cloud.done == bytes && cloud.total == bytes));
        QCOMPARE(cloud.download("sizes", name), 1);
        QVERIFY(cloud.got() == content);
        QVERIFY(bytes == 0 || (cloud.done == bytes && cloud.total == bytes));
    }
    QCOMPARE(cloud.results, QVector<int>(6, 1));
    QVector<Entry> entries;
    QCOMPARE(cloud.list("sizes", &entries), 3);
    for (const Entry &entry : entries) {
        QCOMPARE(entry.size, entry.name.toLongLong());
        QVERIFY(!entry.isFolder());
    }
}

QTEST_GUILESS_MAIN(TestPelagoServers)
#include "tst_pelagoservers.moc"
