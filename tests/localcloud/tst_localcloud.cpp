// What the local cloud refuses and what it keeps on the disk, and its program. The tests of the portals cover what it
// serves, and its rules.

#include "CloudClient.h"
#include "localcloud/DemoData.h"
#include "support/Table.h"

#include <csignal>

namespace {

const QString kPlyx = QStringLiteral("https://www.plyx.example");
const QString kPlyxDownload = QStringLiteral("https://files1.plyx.example/v1/Download?id=7_1");
const QString kDropboxFiles = QStringLiteral("https://api-content.dropbox.com/1/files/dropbox");
const QString kDav = QStringLiteral("https://cloud.zephal.example/dav");
const QByteArray kCatalogue = R"json({"assets": [
    {"id":7,"gallery":27,"name":"Cup","published":"2014-05-03","fileTypes":[119],"thumbnail":"cup.png",
     "formats":[{"id":1,"name":"OBJ ( .obj )","file":"cup.obj"}]}]})json";

} // namespace

class TestLocalCloud : public QObject
{
    Q_OBJECT
private slots:
    void init()
    {
        m_data = std::make_unique<QTemporaryDir>();
        writeFile(m_data->filePath("plyx/catalogue.json"), kCatalogue);
        writeFile(m_data->filePath("plyx/files/cup.obj"), "cup");
        m_options.dataDir = m_data->path();
        m_options.ownAuthority = true;
        m_cloud = std::make_unique<LocalCloud>(m_options);
        QVERIFY(m_cloud->start());
        m_client = std::make_unique<CloudClient>(*m_cloud);
    }

    void unknownHostsAndClientsWithoutTheAuthorityAreRefused()
    {
        QCOMPARE(m_client->get("http://unknown.test/"), 502);
        CloudClient stranger(m_cloud->port(), QSslCertificate());
        stranger.get(kDav);
        QCOMPARE(stranger.reply().error(), QNetworkReply::SslHandshakeFailedError);
    }

    void callRequiresASignIn_data()
    {
        // The address, and the status after the sign-in.
        addRows({{"https://api.dropbox.com/1/account/info/", "200"},
                 {kDropboxFiles + "/none", "404"},
                 {kPlyx + "/API/v1/Member", "200"},
                 {kPlyx + "/API/v1/Asset/7", "200"},
                 {"http://www.plyx.example/API/v1/Server/Download", "200"},
                 {kPlyxDownload, "302"},
                 {kDav + "/none", "404"}});
    }
    void callRequiresASignIn()
    {
        const auto [url, status] = currentRow<2>();
        QCOMPARE(m_client->get(url), 401);
        signIn(url, "x");
        QCOMPARE(m_client->get(url), 401);
        signIn(url);
        QCOMPARE(m_client->get(url), status.toInt());
        const QString otherTransport = url.startsWith("https") ? "http" + url.mid(5) : "https" + url.mid(4);
        QCOMPARE(m_client->get(otherTransport), 403);
    }

    void plyxSessionMustNotBeSentToTheSecondServer()
    {
        signIn(kPlyx);
        QCOMPARE(m_client->get(kPlyxDownload), 302);
        const QByteArray location = m_client->reply().rawHeader("Location");
        QCOMPARE(m_client->get(location), 400);
        CloudClient other(*m_cloud);
        QCOMPARE(other.get(location), 200);
        QCOMPARE(other.reply().readAll(), QByteArray("cup"));
    }

    void pathOutsideIsNeitherReadNorWritten_data()
    {
        addRows({{"/..%2Fsecret"}, {"/sub/..%2F..%2Fsecret"}, {"/a%00b"}, {"/%FF"}, {"/link"}, {"/outside/secret"}});
    }
    void pathOutsideIsNeitherReadNorWritten()
    {
        const QString path = currentRow<1>()[0];
        const QTemporaryDir outside;
        writeFile(outside.filePath("secret"), "secret");
        writeFile(m_data->filePath("secret"), "secret");
        writeFile(m_cloud->zephalDir() + "/sub/cup.obj", "cup");
        QVERIFY(QFile::link(outside.path(), m_cloud->zephalDir() + "/outside"));
        QVERIFY(QFile::link(outside.filePath("secret"), m_cloud->zephalDir() + "/link"));
        signIn(kDav);
        const int status = m_client->get(kDav + path);
        QVERIFY2(status == 400 || status == 404, qPrintable(QString::number(status)));
        QCOMPARE(m_cloud->requests().last().target, "/dav" + path.toLatin1());
        m_client->send("DELETE", kDav + path);
        m_client->setHeader("Destination", "/dav" + path.toLatin1());
        m_client->send("MOVE", kDav + "/sub/cup.obj");
        m_client->send("PUT", kDav + path, "new");
        QCOMPARE(readFile(m_data->filePath("secret")), QByteArray("secret"));
        QCOMPARE(readFile(outside.filePath("secret")), QByteArray("secret"));
        QCOMPARE(QDir(outside.path()).entryList(QDir::Files), QStringList("secret"));
        QCOMPARE(QDir(m_data->path()).entryList(QDir::Files), QStringList("secret"));
    }

    void changedFileIsNotOverwritten()
    {
        writeFile(m_cloud->zephalDir() + "/old.obj", "old");
        writeFile(m_cloud->zephalDir() + "/part", "new");
        signIn(kDav);
        m_client->setHeader("Destination", "/dav/old.obj");
        m_client->setHeader("If", "</dav/old.obj> ([\"x\"])");
        m_client->setHeader("If-Match", "\"x\"");
        QCOMPARE(m_client->send("MOVE", kDav + "/part"), 412);
        QCOMPARE(m_client->send("PUT", kDav + "/old.obj", "new"), 412);
        QCOMPARE(readFile(m_cloud->zephalDir() + "/old.obj"), QByteArray("old"));
    }

    void servesUntilASignal()
    {
        const QTemporaryDir dir;
        for (const char *name : {"dropbox", "plyx", "zephal"}) // no demo data
            writeFile(dir.filePath(QString(".localcloud/seeded-") + name), "");
        QProcess program;
        program.start(QCoreApplication::applicationDirPath() + "/../bin/localcloud",
                      {"--data", dir.path(), "--log", dir.filePath("log")});
        while (!program.canReadLine())
            QVERIFY(program.waitForReadyRead(10000));
        const QString ready = program.readLine();
        QVERIFY2(ready.contains(QRegularExpression("^ready http://127\\.0\\.0\\.1:\\d+\n$")), qPrintable(ready));
        QCOMPARE(::kill(static_cast<pid_t>(program.processId()), SIGTERM), 0);
        QVERIFY(program.waitForFinished(10000));
        QCOMPARE(program.exitStatus(), QProcess::NormalExit);
        QCOMPARE(program.exitCode(), 0);
        QVERIFY(isPrivate(dir.filePath("log")));
        QVERIFY(isPrivate(dir.filePath(".localcloud/certificates/ca.key")));
    }

    void authorityAndTokensOutliveTheProgram()
    {
        const QByteArray token = m_cloud->issueZephalToken().toUtf8();
        LocalCloud next(m_options);
        QVERIFY(next.start());
        QCOMPARE(next.caCertificate(), m_cloud->caCertificate());
        CloudClient client(next);
        client.setHeader("Authorization", "Basic " + ("demo:" + token).toBase64());
        QCOMPARE(client.send("OPTIONS", kDav + '/'), 200);
        QVERIFY(isPrivate(m_data->filePath(".localcloud/zephal-tokens.json")));
    }

    void demoDataIsWrittenOnceAndReplacesNothing()
    {
        QString error;
        const auto fill = [&] {
            return localcloud::fillOnce("zephal", m_data->filePath("demo"), m_data->filePath("marker"), &error);
        };
        const QString file = m_data->filePath("demo/Read me.txt");
        writeFile(file, "mine");
        QVERIFY2(fill(), qPrintable(error));
        QCOMPARE(readFile(file), QByteArray("mine"));
        QVERIFY(QFile::remove(file));
        QVERIFY2(fill(), qPrintable(error));
        QVERIFY(!QFile::exists(file));
    }

private:
    /// Signs the client in to the service at \p url. Appends \p fault to each secret.
    void signIn(const QString &url, const QString &fault = {})
    {
        const localcloud::PlyxSession session = m_cloud->issuePlyxSession();
        m_client->setHeader("X-AFC", "QK4ZT8");
        m_client->setHeader("X-Session", (session.id + fault).toLatin1());
        m_client->setHeader("X-Secure-Session", (session.secureId + fault).toLatin1());
        const QString basic = "demo:" + m_cloud->issueZephalToken() + fault;
        m_client->setHeader("Authorization", url.contains("dropbox")
                                                 ? "Bearer " + (m_cloud->issueDropboxToken() + fault).toLatin1()
                                                 : "Basic " + basic.toLatin1().toBase64());
    }

    /// Returns whether the file exists and only its owner can read it.
    static bool isPrivate(const QString &path)
    {
        return QFile::exists(path) && !(QFile::permissions(path) & (QFile::ReadGroup | QFile::ReadOther));
    }

    std::unique_ptr<QTemporaryDir> m_data;
    LocalCloudOptions m_options;
    std::unique_ptr<LocalCloud> m_cloud;
    std::unique_ptr<CloudClient> m_client;
};

QTEST_GUILESS_MAIN(TestLocalCloud)
#include "tst_localcloud.moc"
