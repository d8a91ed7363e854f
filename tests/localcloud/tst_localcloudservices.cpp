// localcloud/tst_localcloudservices.cpp
//
// What the services refuse: requests without a sign-in, faulty sign-ins, paths outside of their folders, and conditions
// that are not met. The portals' tests cover what they serve.

#include "CloudClient.h"

#include <QtTest>

namespace {

const QString kAuthorize = QStringLiteral("https://www.dropbox.com/1/oauth2/authorize?client_id=app&response_type=code"
                                          "&state=a%26b&redirect_uri=http://localhost:8080/back");
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

    void dropboxAsksBeforeItRedirects_data()
    {
        QTest::addColumn<QString>("replaced"); // in a correct request
        QTest::addColumn<QString>("by");
        QTest::addColumn<QString>("decision");
        QTest::addColumn<QString>("location"); // its beginning
        const auto row = [](const char *name, const char *replaced, const char *by, const char *decision = "allow",
                            const char *location = "") {
            QTest::newRow(name) << QString(replaced) << QString(by) << QString(decision) << QString(location);
        };
        row("allow", "", "", "allow", "http://localhost:8080/back?code=");
        row("deny", "", "", "deny", "http://localhost:8080/back?error=access_denied&");
        row("no decision", "", "", "", "http://localhost:8080/back?error=access_denied&");
        row("no client", "client_id=app", "");
        row("other response type", "type=code", "type=token");
        row("no address", "http://localhost:8080/back", "");
        row("other computer", "localhost:8080/back", "example.com/localhost%22%3E%3Cscript%3E");
        row("similar host", "localhost", "localhost.example.com");
        row("user in the address", "localhost:8080/", "localhost@example.com/");
        row("script", "http://localhost:8080/", "javascript://localhost/%250Aalert(1)");
    }

    void dropboxAsksBeforeItRedirects()
    {
        QFETCH(QString, replaced);
        QFETCH(QString, by);
        QFETCH(QString, decision);
        QFETCH(QString, location);
        const QString url = replaced.isEmpty() ? kAuthorize : QString(kAuthorize).replace(replaced, by);
        const CloudReply page = m_client->get(url);
        QCOMPARE(page.status, location.isEmpty() ? 400 : 200);
        QCOMPARE(page.body.contains("id=\"allow\""), !location.isEmpty());
        QVERIFY(!page.body.contains("<script"));
        const QByteArray form = QUrl(url).query(QUrl::FullyEncoded).toLatin1() + "&decision=" + decision.toLatin1();
        const CloudReply posted = m_client->send("POST", url, form);
        QCOMPARE(posted.status, location.isEmpty() ? 400 : 302);
        QCOMPARE(posted.headers["Location"].left(location.size()), location.toLatin1());
        QCOMPARE(posted.headers["Location"].endsWith("&state=a%26b"), !location.isEmpty());
    }

    void dropboxExchangesACodeOnceForItsOwner_data()
    {
        QTest::addColumn<QString>("replaced"); // in a correct request
        QTest::addColumn<QString>("by");
        QTest::addColumn<QString>("error");
        const auto row = [](const char *name, const char *replaced, const char *by, const char *error) {
            QTest::newRow(name) << QString(replaced) << QString(by) << QString(error);
        };
        row("correct", "&code", "&code", "");
        row("other client", "id=app", "id=other", "invalid_grant");
        row("other address", "/back", "/forth", "invalid_grant");
        row("other code", "code=", "code=x", "invalid_grant");
        row("no secret", "client_secret=s", "", "invalid_client");
        row("other grant type", "authorization_code", "password", "unsupported_grant_type");
    }

    void dropboxExchangesACodeOnceForItsOwner()
    {
        QFETCH(QString, replaced);
        QFETCH(QString, by);
        QFETCH(QString, error);
        QString url = "https://api.dropbox.com/1/oauth2/token?grant_type=authorization_code&client_id=app"
                      "&client_secret=s&redirect_uri=http://localhost/back&code=" +
                      m_cloud->issueDropboxCode("app", "http://localhost/back");
        const CloudReply reply = m_client->send("POST", url.replace(replaced, by));
        QCOMPARE(reply.json()["error"].toString(), error);
        QCOMPARE(reply.json().contains("access_token"), error.isEmpty());
        QCOMPARE(m_client->send("POST", url).status, 400);
    }

    void callRequiresASignIn_data()
    {
        QTest::addColumn<QString>("url");
        QTest::addColumn<int>("status"); // after the sign-in
        const auto row = [](const QString &url, int status) { QTest::newRow(qPrintable(url)) << url << status; };
        row("https://api.dropbox.com/1/account/info/", 200);
        row("https://api.dropbox.com/1/metadata/dropbox/", 200);
        row("https://api-content.dropbox.com/1/files/dropbox/none", 404);
        for (const char *path : {"Member", "Member/Assets", "Search", "Search?page_num=2147483647", "Asset/7"})
            row(kPlyx + "/API/v1/" + path, 200);
        for (const char *query :
             {"page_num=-1", "page_num=x", "page_size=0", "page_size=1e3", "media_type_id=9999999999"})
            row(kPlyx + "/API/v1/Search?" + query, 400);
        for (const char *id : {"x", "-1", "99999999999999999999"})
            row(kPlyx + "/API/v1/Asset/" + id, 404);
        row(kChooseServer, 200);
        row("https://files1.plyx.example/v1/Download?id=7_1", 302);
        for (const char *id : {"7", "7_2", "7_3", "8_1", "7_1_1"})
            row(QString("https://files1.plyx.example/v1/Download?id=") + id, 404);
        row(kDav + "/none", 404);
    }

    void callRequiresASignIn()
    {
        QFETCH(QString, url);
        QFETCH(int, status);
        QCOMPARE(m_client->get(url).status, 401);
        signIn(url, "x");
        QCOMPARE(m_client->get(url).status, 401);
        signIn(url);
        QCOMPARE(m_client->get(url).status, status);
        const QString otherTransport = url.startsWith("https") ? "http" + url.mid(5) : "https" + url.mid(4);
        QCOMPARE(m_client->get(otherTransport).status, 403);
    }

    void zephalRefusesMalformedCredentials()
    {
        for (const QByteArray &header :
             {basic("demo", ""), basic("Demo", "demo"), basic("", "demo"), QByteArray("Basic"),
              QByteArray("Bearer ZGVtbzpkZW1v"), QByteArray("Basic ZGVtbzpkZW1v, x")}) {
            m_client->setHeader("Authorization", header);
            QVERIFY2(m_client->get(kDav + "/none").status == 401, header);
        }
    }

    void pageEscapesTheUserAndHidesThePassword()
    {
        for (const QString &page : {kPlyx + "/TokenAPI/login.cfm?afc=QK4ZT8", QString(kDav).replace("dav", "signin")}) {
            QVERIFY(!m_client->get(page).body.contains("id=\"error\""));
            const CloudReply refused = m_client->send("POST", page, "password=Secret&user=\"><b>%26amp;");
            QVERIFY2(refused.body.contains("id=\"error\""), refused.body);
            QVERIFY2(refused.body.contains("value=\"&quot;&gt;&lt;b&gt;&amp;amp;\""), refused.body);
            QVERIFY2(!refused.body.contains("Secret"), refused.body);
        }
    }

    void pathOutsideIsNeitherReadNorWritten_data()
    {
        QTest::addColumn<QByteArray>("path");
        for (const QByteArray path : {"/../secret", "/sub/../../secret", "/%2e%2E/secret", "/sub/..%2F..%2Fsecret",
                                      "/sub/%2E", "/a%00b", "/%FF", "/link", "/outside/secret", "/outside/new/file"})
            QTest::newRow(path) << path;
        QTest::newRow("long name") << '/' + QByteArray(256, 'x');
    }

    void pathOutsideIsNeitherReadNorWritten()
    {
        QFETCH(QByteArray, path);
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
        QCOMPARE(QDir(outside.path()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot), QStringList("secret"));
        QCOMPARE(QDir(m_data->path()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot),
                 QStringList({"dropbox", "plyx", "secret", "zephal"}));
    }

    void zephalChecksConditions_data()
    {
        QTest::addColumn<QByteArray>("request");
        QTest::addColumn<QByteArray>("headers"); // TAG is the entity tag of /old.obj
        QTest::addColumn<int>("status");
        QTest::addColumn<QByteArray>("content"); // of /old.obj afterwards
        const auto row = [](const char *name, const char *request, const char *headers, int status,
                            const char *content = "old") {
            QTest::newRow(name) << QByteArray(request) << QByteArray(headers) << status << QByteArray(content);
        };
        row("new file", "PUT /new.obj", "If-None-Match: *", 201);
        row("name taken", "PUT /old.obj", "If-None-Match: *", 412);
        row("known state", "PUT /old.obj", "If-Match: TAG", 204, "new");
        row("changed meanwhile", "PUT /old.obj", "If-Match: \"x\"", 412);
        row("moved to a new name", "MOVE /part", "Overwrite: F\r\nDestination: /dav/new.obj", 201);
        row("moved to a taken name", "MOVE /part", "Overwrite: F\r\nDestination: /dav/old.obj", 412);
        row("moved over a known state", "MOVE /part", "Destination: /dav/old.obj\r\nIf: </dav/old.obj> ([TAG])", 204,
            "new");
        row("moved over a changed file", "MOVE /part", "Destination: /dav/old.obj\r\nIf: </dav/old.obj> ([\"x\"])",
            412);
        row("moved by an address", "MOVE /part", "Destination: https://cloud.zephal.example/dav/new.obj", 201);
        row("moved to another server", "MOVE /part", "Destination: https://x.example/dav/new.obj", 502);
        row("moved over a folder", "MOVE /part", "Destination: /dav/folder", 409);
        row("folder does not exist", "PUT /none/new.obj", "A: b", 409);
        row("folder at the path", "PUT /folder", "A: b", 405);
        row("listing of everything", "PROPFIND /folder/", "Depth: infinity", 403);
        row("file as a folder", "PROPFIND /old.obj/", "Depth: 1", 404);
        row("deleted", "DELETE /part", "A: b", 204);
    }

    void zephalChecksConditions()
    {
        QFETCH(QByteArray, request);
        QFETCH(QByteArray, headers);
        QFETCH(int, status);
        QFETCH(QByteArray, content);
        QVERIFY(QDir(m_cloud->zephalDir()).mkdir("folder"));
        writeFile(m_cloud->zephalDir() + "/old.obj", "old");
        writeFile(m_cloud->zephalDir() + "/part", "new");
        signIn(kDav);
        headers.replace("TAG", m_client->get(kDav + "/old.obj").headers["ETag"]);
        const QByteArrayList words = request.split(' ');
        QCOMPARE(raw(words[0] + " cloud.zephal.example /dav", words[1], headers + "\r\n"), status);
        QCOMPARE(readFile(m_cloud->zephalDir() + "/old.obj"), content);
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

    void plyxShowsOnlyThumbnails()
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
