// localcloud/tst_localcloudservices.cpp
//
// What the services refuse: requests without a sign-in, paths outside of their folders, and conditions that are not
// met. The tests of the portals cover what they serve.

#include "CloudClient.h"
#include "support/Table.h"

namespace {

const QString kPlyx = QStringLiteral("https://www.plyx.example");
const QString kChooseServer = QStringLiteral("http://www.plyx.example/API/v1/Server/Download");
const QString kDav = QStringLiteral("https://cloud.zephal.example/dav");
const QByteArray kCatalogue = R"json({"assets": [
    {"id":7,"gallery":27,"name":"Cup","published":"2014-05-03","fileTypes":[119],"thumbnail":"cup.png",
     "formats":[{"id":1,"name":"OBJ ( .obj )","file":"cup.obj"},{"id":2,"name":"STL","file":"missing.stl"}]}]})json";

QByteArray basic(const QByteArray &user, const QByteArray &secret)
{
    return "Basic " + (user + ':' + secret).toBase64();
}

QStringList namesIn(const QString &folder)
{
    return QDir(folder).entryList(QDir::AllEntries | QDir::NoDotAndDotDot);
}

} // namespace

class TestLocalCloudServices : public QObject
{
    Q_OBJECT
private slots:
    void init()
    {
        m_data = std::make_unique<QTemporaryDir>();
        writeFile(m_data->filePath("plyx/catalogue.json"), kCatalogue);
        writeFile(m_data->filePath("plyx/files/cup.obj"), "cup");
        writeFile(m_data->filePath("plyx/thumbnails/cup.png"), "picture");
        LocalCloudOptions options;
        options.dataDir = m_data->path();
        m_cloud = std::make_unique<LocalCloud>(options);
        QVERIFY(m_cloud->start());
        m_client = std::make_unique<CloudClient>(*m_cloud);
    }

    void callRequiresASignIn_data()
    {
        // The address, and the status after the sign-in.
        const QString download = "https://files1.plyx.example/v1/Download?id=";
        addRows({{"https://api.dropbox.com/1/account/info/", "200"},
                 {"https://api.dropbox.com/1/metadata/dropbox/", "200"},
                 {"https://api-content.dropbox.com/1/files/dropbox/none", "404"},
                 {kPlyx + "/API/v1/Member", "200"},
                 {kPlyx + "/API/v1/Search?page_num=2147483647", "200"},
                 {kPlyx + "/API/v1/Asset/7", "200"},
                 {kPlyx + "/API/v1/Asset/99999999999999999999", "404"},
                 {kChooseServer, "200"},
                 {download + "7_1", "302"},
                 {download + "7_2", "404"}, // the file does not exist
                 {download + "8_1", "404"},
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

    void pathOutsideIsNeitherReadNorWritten_data()
    {
        addRows({{"/../secret"},
                 {"/%2e%2E/secret"},
                 {"/sub/..%2F..%2Fsecret"},
                 {"/a%00b"},
                 {"/%FF"},
                 {"/link"},
                 {"/outside/secret"},
                 {"/outside/new/file"}});
    }

    void pathOutsideIsNeitherReadNorWritten()
    {
        const QByteArray path = currentRow<1>()[0].toLatin1();
        QTemporaryDir outside;
        writeFile(outside.filePath("secret"), "secret");
        for (const QString &folder : {m_cloud->dropboxDir(), m_cloud->zephalDir()}) {
            writeFile(folder + "/sub/cup.obj", "cup");
            QVERIFY(QFile::link(outside.path(), folder + "/outside"));
            QVERIFY(QFile::link(outside.filePath("secret"), folder + "/link"));
        }
        writeFile(m_data->filePath("secret"), "secret");
        for (const char *call : {"GET api.dropbox.com /1/metadata/dropbox", "GET cloud.zephal.example /dav",
                                 "GET api-content.dropbox.com /1/files/dropbox", "PROPFIND cloud.zephal.example /dav",
                                 "DELETE cloud.zephal.example /dav"}) {
            const int status = raw(call, path);
            QVERIFY2(status == 400 || status == 404, call);
        }
        raw("PUT api-content.dropbox.com /1/files_put/dropbox", path); // may replace the link
        raw("MOVE cloud.zephal.example /dav", "/sub/cup.obj", "Destination: /dav" + path + "\r\n");
        raw("PUT cloud.zephal.example /dav", path);
        QCOMPARE(readFile(m_data->filePath("secret")), QByteArray("secret"));
        QCOMPARE(readFile(outside.filePath("secret")), QByteArray("secret"));
        QCOMPARE(namesIn(outside.path()), QStringList("secret"));
        QCOMPARE(namesIn(m_data->path()), QStringList({"dropbox", "plyx", "secret", "zephal"}));
    }

    void zephalChecksConditions_data()
    {
        // The request, its headers, in which TAG is the entity tag of /old.obj; then the status, and the content of
        // /old.obj afterwards.
        const QString over = "Destination: /dav/old.obj\r\n";
        addRows({{"new file", "PUT /new.obj", "If-None-Match: *", "201 old"},
                 {"name taken", "PUT /old.obj", "If-None-Match: *", "412 old"},
                 {"known state", "PUT /old.obj", "If-Match: TAG", "204 new"},
                 {"changed meanwhile", "PUT /old.obj", "If-Match: \"x\"", "412 old"},
                 {"moved to a taken name", "MOVE /part", over + "Overwrite: F", "412 old"},
                 {"moved over a known state", "MOVE /part", over + "If: </dav/old.obj> ([TAG])", "204 new"},
                 {"moved over a changed file", "MOVE /part", over + "If: </dav/old.obj> ([\"x\"])", "412 old"},
                 {"moved by an address", "MOVE /part", "Destination: " + kDav + "/new.obj", "201 old"},
                 {"moved to another server", "MOVE /part", "Destination: https://x.example/dav/new.obj", "502 old"},
                 {"folder does not exist", "PUT /none/new.obj", "A: b", "409 old"},
                 {"folder at the path", "PUT /folder", "A: b", "405 old"},
                 {"file as a folder", "PROPFIND /old.obj/", "Depth: 1", "404 old"}});
    }

    void zephalChecksConditions()
    {
        const auto [title, request, headers, expected] = currentRow<4>();
        const QString old = m_cloud->zephalDir() + "/old.obj";
        QVERIFY(QDir(m_cloud->zephalDir()).mkdir("folder"));
        writeFile(old, "old");
        writeFile(m_cloud->zephalDir() + "/part", "new");
        signIn(kDav);
        const QByteArray lines = headers.toLatin1().replace("TAG", m_client->get(kDav + "/old.obj").headers["ETag"]);
        const QByteArrayList words = request.toLatin1().split(' ');
        const int status = raw(words[0] + " cloud.zephal.example /dav", words[1], lines + "\r\n");
        QCOMPARE(QString::number(status) + ' ' + readFile(old), expected);
    }

    void plyxFileServersRedirectToEachOther()
    {
        signIn(kPlyx);
        const QString first = m_client->get(kChooseServer).json()["DOWNLOAD"].toString();
        const QString second = m_client->get(kChooseServer).json()["DOWNLOAD"].toString();
        QVERIFY(first != second);
        const QByteArray location = m_client->get("https://" + first + "/v1/Download?id=7_1").headers["Location"];
        QCOMPARE(QUrl(location).host(), second);
        QCOMPARE(m_client->get(location).status, 400); // a session must not reach the second server
        QCOMPARE(CloudClient(*m_cloud).get(location).body, QByteArray("cup"));
    }

    void plyxServesOnlyThumbnails()
    {
        QCOMPARE(m_client->get(kPlyx + "/thumbnails/cup.png").body, QByteArray("picture"));
        QCOMPARE(m_client->get(kPlyx + "/thumbnails/..%2Fcatalogue.json").status, 404);
    }

private:
    /// Signs the client in to the service at \p url. Appends \p fault to each secret.
    void signIn(const QString &url, const QString &fault = {})
    {
        const localcloud::PlyxSession session = m_cloud->issuePlyxSession();
        m_client->setHeader("X-AFC", "QK4ZT8");
        m_client->setHeader("X-Session", (session.id + fault).toLatin1());
        m_client->setHeader("X-Secure-Session", (session.secureId + fault).toLatin1());
        m_client->setHeader("Authorization", url.contains("dropbox")
                                                 ? "Bearer " + (m_cloud->issueDropboxToken() + fault).toLatin1()
                                                 : basic("demo", (m_cloud->issueZephalToken() + fault).toLatin1()));
    }

    /// Sends \p call ("METHOD HOST BASE") for \p path below the base, which stays as it is, with valid credentials and
    /// the body "new". Returns the status.
    int raw(const QByteArray &call, const QByteArray &path, const QByteArray &headers = {})
    {
        const QByteArrayList words = call.split(' ');
        const QByteArray authorization =
            words[1].contains("dropbox") ? "Bearer " + m_cloud->issueDropboxToken().toLatin1() : basic("demo", "demo");
        const QByteArray request = words[0] + ' ' + words[2] + path + " HTTP/1.1\r\nHost: x\r\nConnection: close\r\n" +
                                   "Content-Length: 3\r\nAuthorization: " + authorization + "\r\n" + headers;
        return rawExchange(*m_cloud, request + "\r\nnew", words[1]).mid(9, 3).toInt();
    }

    std::unique_ptr<QTemporaryDir> m_data;
    std::unique_ptr<LocalCloud> m_cloud;
    std::unique_ptr<CloudClient> m_client;
};

QTEST_GUILESS_MAIN(TestLocalCloudServices)
#include "tst_localcloudservices.moc"
