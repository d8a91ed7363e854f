// What the local cloud refuses: requests without a sign-in, paths outside of its folders, and conditions that are not
// met. The tests of the portals cover what it serves, and its rules.

#include "CloudClient.h"
#include "support/Table.h"

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
        LocalCloudOptions options;
        options.dataDir = m_data->path();
        m_cloud = std::make_unique<LocalCloud>(options);
        QVERIFY(m_cloud->start());
        m_client = std::make_unique<CloudClient>(*m_cloud);
    }

    void unknownHostsAndClientsWithoutTheAuthorityAreRefused()
    {
        QCOMPARE(m_client->get("http://unknown.test/").status, 502);
        CloudClient stranger(m_cloud->port(), QSslCertificate());
        QCOMPARE(stranger.get(kDav).error, QNetworkReply::SslHandshakeFailedError);
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
        QCOMPARE(m_client->get(url).status, 401);
        signIn(url, "x");
        QCOMPARE(m_client->get(url).status, 401);
        signIn(url);
        QCOMPARE(m_client->get(url).status, status.toInt());
        const QString otherTransport = url.startsWith("https") ? "http" + url.mid(5) : "https" + url.mid(4);
        QCOMPARE(m_client->get(otherTransport).status, 403);
    }

    void plyxSessionMustNotBeSentToTheSecondServer()
    {
        signIn(kPlyx);
        const QByteArray location = m_client->get(kPlyxDownload).headers["Location"];
        QCOMPARE(m_client->get(location).status, 400);
        QCOMPARE(CloudClient(*m_cloud).get(location).body, QByteArray("cup"));
    }

    void pathOutsideIsNeitherReadNorWritten_data()
    {
        addRows({{"/..%2Fsecret"}, {"/sub/..%2F..%2Fsecret"}, {"/a%00b"}, {"/%FF"}, {"/link"}, {"/outside/secret"}});
    }
    void pathOutsideIsNeitherReadNorWritten()
    {
        const QString path = currentRow<1>()[0];
        QTemporaryDir outside;
        writeFile(outside.filePath("secret"), "secret");
        for (const QString &folder : {m_cloud->dropboxDir(), m_cloud->zephalDir()}) {
            writeFile(folder + "/sub/cup.obj", "cup");
            QVERIFY(QFile::link(outside.path(), folder + "/outside"));
            QVERIFY(QFile::link(outside.filePath("secret"), folder + "/link"));
        }
        writeFile(m_data->filePath("secret"), "secret");
        const QString metadata = "https://api.dropbox.com/1/metadata/dropbox";
        for (const QString &base : {metadata, kDropboxFiles, kDav}) {
            signIn(base);
            const int status = m_client->get(base + path).status;
            QVERIFY2(status == 400 || status == 404, qPrintable(base));
        }
        QCOMPARE(m_cloud->requests().last().target, "/dav" + path.toLatin1());
        m_client->send("DELETE", kDav + path);
        m_client->setHeader("Destination", "/dav" + path.toLatin1());
        m_client->send("MOVE", kDav + "/sub/cup.obj");
        m_client->send("PUT", kDav + path, "new");
        signIn(kDropboxFiles);
        m_client->send("PUT", "https://api-content.dropbox.com/1/files_put/dropbox" + path, "new");
        QCOMPARE(readFile(m_data->filePath("secret")), QByteArray("secret"));
        QCOMPARE(readFile(outside.filePath("secret")), QByteArray("secret"));
        QCOMPARE(QDir(outside.path()).entryList(QDir::Files), QStringList("secret"));
        QCOMPARE(QDir(m_data->path()).entryList(QDir::Files), QStringList("secret"));
    }

    void zephalChecksConditions_data()
    {
        // The request and a header, in which TAG is the entity tag of /old.obj; then the status, and the content of
        // /old.obj afterwards.
        addRows({{"name taken", "PUT /old.obj", "If-None-Match: *", "412 old"},
                 {"known state", "PUT /old.obj", "If-Match: TAG", "204 new"},
                 {"changed meanwhile", "PUT /old.obj", "If-Match: \"x\"", "412 old"},
                 {"moved to a taken name", "MOVE /part", "Overwrite: F", "412 old"},
                 {"moved over a known state", "MOVE /part", "If: </dav/old.obj> ([TAG])", "204 new"},
                 {"moved over a changed file", "MOVE /part", "If: </dav/old.obj> ([\"x\"])", "412 old"}});
    }
    void zephalChecksConditions()
    {
        const auto [title, request, header, expected] = currentRow<4>();
        const QString old = m_cloud->zephalDir() + "/old.obj";
        writeFile(old, "old");
        writeFile(m_cloud->zephalDir() + "/part", "new");
        signIn(kDav);
        const QByteArray value = header.section(": ", 1).toLatin1();
        const QByteArray tag = m_client->get(kDav + "/old.obj").headers["ETag"];
        m_client->setHeader(header.section(": ", 0, 0).toLatin1(), QByteArray(value).replace("TAG", tag));
        m_client->setHeader("Destination", "/dav/old.obj");
        const QStringList words = request.split(' ');
        const int status = m_client->send(words[0].toLatin1(), kDav + words[1], "new").status;
        QCOMPARE(QString::number(status) + ' ' + readFile(old), expected);
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

    std::unique_ptr<QTemporaryDir> m_data;
    std::unique_ptr<LocalCloud> m_cloud;
    std::unique_ptr<CloudClient> m_client;
};

QTEST_GUILESS_MAIN(TestLocalCloud)
#include "tst_localcloud.moc"
