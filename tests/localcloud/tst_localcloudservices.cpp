// localcloud/tst_localcloudservices.cpp
//
// What the services refuse: requests without a sign-in, faulty sign-ins, paths outside of their folders, and conditions
// that are not met. The portals' tests cover what they serve.

#include "CloudClient.h"

#include <QtTest>

namespace {

const QString kAuthorize = QStringLiteral("https://www.dropbox.com/1/oauth2/authorize");
const QString kReturn = QStringLiteral("http://localhost:8080/crvn/kelda/oauth/dropbox/redirect");
const QString kListing = QStringLiteral("https://api.dropbox.com/1/metadata/dropbox");
const QString kFiles = QStringLiteral("https://api-content.dropbox.com/1/files/dropbox");
const QString kUpload = QStringLiteral("https://api-content.dropbox.com/1/files_put/dropbox");
const QString kPlyx = QStringLiteral("https://www.plyx.example");
const QString kPlyxFiles = QStringLiteral("https://files1.plyx.example/v1/");
const QString kChooseServer = QStringLiteral("http://www.plyx.example/API/v1/Server/Download");
const QString kDav = QStringLiteral("https://cloud.zephal.example/dav");
const QByteArray kCatalogue = R"json({"assets": [
    {"id":7,"gallery":27,"name":"Cup","published":"2014-05-03","fileTypes":[119],"thumbnail":"cup.png",
     "formats":[{"id":1,"name":"OBJ ( .obj )","file":"cup.obj"},{"id":2,"name":"STL","file":"missing.stl"}]}]})json";

QByteArray basic(const QString &user, const QString &secret)
{
    return "Basic " + (user + ':' + secret).toUtf8().toBase64();
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

    void dropboxRefusesFaultyAuthorizeRequests_data()
    {
        QTest::addColumn<QString>("query");
        const QString good = "client_id=app&response_type=code&redirect_uri=";
        QTest::newRow("no client") << "response_type=code&redirect_uri=" + kReturn;
        QTest::newRow("other response type") << "client_id=app&response_type=token&redirect_uri=" + kReturn;
        QTest::newRow("no address") << good;
        QTest::newRow("other computer") << good + "http://example.com/localhost%22%3E%3Cscript%3E";
        QTest::newRow("similar host") << good + "http://localhost.example.com/";
        QTest::newRow("user in the address") << good + "http://localhost@example.com/";
        QTest::newRow("script") << good + "javascript://localhost/%250Aalert(1)";
    }

    void dropboxRefusesFaultyAuthorizeRequests()
    {
        QFETCH(QString, query);
        const CloudReply page = m_client->get(kAuthorize + '?' + query);
        QCOMPARE(page.status, 400);
        QVERIFY(!page.body.contains("id=\"allow\""));
        QVERIFY(!page.body.contains("<script"));
        const CloudReply posted = m_client->send("POST", kAuthorize, query.toUtf8() + "&decision=allow");
        QCOMPARE(posted.status, 400);
        QVERIFY(!posted.headers.contains("Location"));
    }

    void dropboxSignsInOnlyAfterAllow_data()
    {
        QTest::addColumn<QString>("decision");
        QTest::addColumn<QString>("parameter");
        QTest::newRow("allow") << "allow"
                               << "code=";
        QTest::newRow("deny") << "deny"
                              << "error=access_denied&";
        QTest::newRow("none") << ""
                              << "error=access_denied&";
    }

    void dropboxSignsInOnlyAfterAllow()
    {
        QFETCH(QString, decision);
        QFETCH(QString, parameter);
        const QByteArray form = "client_id=app&response_type=code&state=a%26b&redirect_uri=" + kReturn.toUtf8();
        const QByteArray location =
            m_client->send("POST", kAuthorize, form + "&decision=" + decision.toUtf8()).headers["Location"];
        QVERIFY2(location.startsWith((kReturn + '?' + parameter).toUtf8()), location);
        QVERIFY2(location.endsWith("&state=a%26b"), location);
    }

    void dropboxExchangesACodeOnceForItsOwner_data()
    {
        QTest::addColumn<QString>("replaced"); // in a correct request
        QTest::addColumn<QString>("by");
        QTest::addColumn<QString>("error");
        QTest::newRow("correct") << ""
                                 << ""
                                 << "";
        QTest::newRow("other client") << "id=app"
                                      << "id=other"
                                      << "invalid_grant";
        QTest::newRow("other address") << kReturn << kReturn + "/x"
                                       << "invalid_grant";
        QTest::newRow("other code") << "code="
                                    << "code=x"
                                    << "invalid_grant";
        QTest::newRow("no secret") << "client_secret=s"
                                   << ""
                                   << "invalid_client";
        QTest::newRow("other grant type") << "authorization_code"
                                          << "password"
                                          << "unsupported_grant_type";
    }

    void dropboxExchangesACodeOnceForItsOwner()
    {
        QFETCH(QString, replaced);
        QFETCH(QString, by);
        QFETCH(QString, error);
        QString url = "https://api.dropbox.com/1/oauth2/token?grant_type=authorization_code&client_id=app"
                      "&client_secret=s&redirect_uri=" +
                      kReturn + "&code=" + m_cloud->issueDropboxCode("app", kReturn);
        if (!replaced.isEmpty())
            url.replace(replaced, by);
        const CloudReply reply = m_client->send("POST", url);
        QCOMPARE(reply.json()["error"].toString(), error);
        QCOMPARE(reply.json().contains("access_token"), error.isEmpty());
        QCOMPARE(m_client->send("POST", url).status, 400);
    }

    void signInIsRequired_data()
    {
        QTest::addColumn<QString>("url");
        QTest::addColumn<int>("status"); // after the sign-in
        QTest::newRow("Dropbox account") << "https://api.dropbox.com/1/account/info/" << 200;
        QTest::newRow("Dropbox listing") << kListing + '/' << 200;
        QTest::newRow("Dropbox file") << kFiles + "/none" << 404;
        QTest::newRow("Plyx member") << kPlyx + "/API/v1/Member" << 200;
        QTest::newRow("Plyx own models") << kPlyx + "/API/v1/Member/Assets" << 200;
        QTest::newRow("Plyx search") << kPlyx + "/API/v1/Search" << 200;
        QTest::newRow("Plyx model") << kPlyx + "/API/v1/Asset/7" << 200;
        QTest::newRow("Plyx download server") << kChooseServer << 200;
        QTest::newRow("Plyx download") << kPlyxFiles + "Download?id=7_1" << 302;
        QTest::newRow("Zephal file") << kDav + "/none" << 404;
    }

    void signInIsRequired()
    {
        QFETCH(QString, url);
        QFETCH(int, status);
        QCOMPARE(m_client->get(url).status, 401);
        setCredentials(url, "x");
        QCOMPARE(m_client->get(url).status, 401);
        setCredentials(url);
        QCOMPARE(m_client->get(url).status, status);
        const QString other = url.startsWith("https") ? "http" + url.mid(5) : "https" + url.mid(4);
        QCOMPARE(m_client->get(other).status, 403);
    }

    void zephalRefusesMalformedCredentials()
    {
        const QByteArray token = m_cloud->issueZephalToken().toUtf8();
        for (const QByteArray &header : {basic("demo", ""), basic("Demo", "demo"), basic("", token), "Basic " + token,
                                         QByteArray("Basic"), "Bearer " + token, QByteArray("Basic ZGVtbzpkZW1v, x")}) {
            m_client->setHeader("Authorization", header);
            const CloudReply reply = m_client->get(kDav + "/none");
            QVERIFY2(reply.status == 401, header);
            QVERIFY2(reply.headers["WWW-Authenticate"].startsWith("Basic realm="), header);
        }
    }

    void pageRefusesWrongPasswords_data()
    {
        QTest::addColumn<QString>("page");
        QTest::addColumn<QString>("user");
        QTest::addColumn<QString>("password");
        for (const QString &page :
             {kPlyx + "/TokenAPI/login.cfm?afc=QK4ZT8", QString("https://cloud.zephal.example/signin")}) {
            const QString name = QUrl(page).host() + ": ";
            QTest::newRow(qPrintable(name + "password")) << page << "demo"
                                                         << "Secret";
            QTest::newRow(qPrintable(name + "user")) << page << "\"><b>demo</b>&amp;"
                                                     << "demo";
            QTest::newRow(qPrintable(name + "nothing")) << page << ""
                                                        << "";
        }
    }

    void pageRefusesWrongPasswords()
    {
        QFETCH(QString, page);
        QFETCH(QString, user);
        QFETCH(QString, password);
        QVERIFY(!m_client->get(page).body.contains("id=\"error\""));
        const QByteArray form = "user=" + QUrl::toPercentEncoding(user) + "&password=" + password.toUtf8();
        const CloudReply refused = m_client->send("POST", page, form);
        QCOMPARE(refused.status, 200);
        QVERIFY2(refused.body.contains("id=\"error\""), refused.body);
        QVERIFY2(refused.body.contains("value=\"" + user.toHtmlEscaped().toUtf8() + '"'), refused.body);
        QVERIFY2(!refused.body.contains("Secret"), refused.body);
    }

    void pathOutsideIsNeitherReadNorWritten_data()
    {
        QTest::addColumn<QByteArray>("path");
        for (const char *path : {"/../secret", "/sub/../../secret", "/%2e%2E/secret", "/sub/..%2F..%2Fsecret",
                                 "/sub/%2E", "/a%00b", "/%FF", "/link", "/outside/secret", "/outside/new/file"})
            QTest::newRow(path) << QByteArray(path);
        QTest::newRow("long name") << '/' + QByteArray(256, 'x');
    }

    void pathOutsideIsNeitherReadNorWritten()
    {
        QFETCH(QByteArray, path);
        writeFile(m_data->filePath("secret"), "secret");
        for (const QString &folder : {m_cloud->dropboxDir(), m_cloud->zephalDir()}) {
            writeFile(folder + "/sub/cup.obj", "cup");
            QVERIFY(QFile::link(m_data->path(), folder + "/outside"));
            QVERIFY(QFile::link(m_data->filePath("secret"), folder + "/link"));
        }
        const QStringList before = filesOnDisk();
        const bool isLink = path == "/link"; // a file may take its place
        for (const char *request : {"GET api.dropbox.com /1/metadata/dropbox",
                                    "GET api-content.dropbox.com /1/files/dropbox", "GET cloud.zephal.example /dav",
                                    "PROPFIND cloud.zephal.example /dav", "DELETE cloud.zephal.example /dav"}) {
            const int status = raw(request, path);
            QVERIFY2(status == 400 || status == 404, request);
        }
        raw("PUT api-content.dropbox.com /1/files_put/dropbox", path);
        raw("PUT cloud.zephal.example /dav", path);
        const int moved = raw("MOVE cloud.zephal.example /dav", "/sub/cup.obj", "Destination: /dav" + path + "\r\n");
        QVERIFY2(isLink || moved == 409 || moved == 502, QByteArray::number(moved));
        QCOMPARE(readFile(m_data->filePath("secret")), QByteArray("secret"));
        if (!isLink)
            QCOMPARE(filesOnDisk(), before);
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
        row("folder does not exist", "PUT /none/new.obj", "", 409);
        row("folder at the path", "PUT /folder", "", 405);
        row("listing of everything", "PROPFIND /folder/", "Depth: infinity", 403);
        row("file as a folder", "PROPFIND /old.obj/", "Depth: 1", 404);
        row("deleted", "DELETE /part", "", 204);
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
        setCredentials(kDav);
        headers.replace("TAG", m_client->get(kDav + "/old.obj").headers["ETag"]);
        if (!headers.isEmpty())
            headers += "\r\n";
        const QByteArrayList words = request.split(' ');
        QCOMPARE(raw(words[0] + " cloud.zephal.example /dav", words[1], headers), status);
        QCOMPARE(readFile(m_cloud->zephalDir() + "/old.obj"), content);
    }

    void plyxFileServersRedirectToEachOther()
    {
        setCredentials(kPlyx);
        const QByteArray first = m_client->get(kChooseServer).json()["DOWNLOAD"].toString().toUtf8();
        const QByteArray second = m_client->get(kChooseServer).json()["DOWNLOAD"].toString().toUtf8();
        QVERIFY(first != second);
        const QByteArray location = m_client->get("https://" + first + "/v1/Download?id=7_1").headers["Location"];
        QCOMPARE(QUrl(location).host(), QString(second));
        QCOMPARE(m_client->get(location).status, 400); // a session must not reach the second server
        QCOMPARE(CloudClient(*m_cloud).get(location).body, QByteArray("cup"));
    }

    void plyxRefusesUnknownIdsAndNumbers_data()
    {
        QTest::addColumn<QString>("url");
        QTest::addColumn<int>("status");
        for (const char *id : {"x", "-1", "99999999999999999999"})
            QTest::newRow(id) << kPlyx + "/API/v1/Asset/" + id << 404;
        for (const char *id : {"7", "7_2", "7_3", "8_1", "7_1_1"})
            QTest::newRow(id) << kPlyxFiles + "Download?id=" + id << 404;
        for (const char *query :
             {"page_num=-1", "page_num=x", "page_size=0", "page_size=1e3", "media_type_id=99999999999"})
            QTest::newRow(query) << kPlyx + "/API/v1/Search?" + query << 400;
        QTest::newRow("page beyond the end") << kPlyx + "/API/v1/Search?page_num=2147483647" << 200;
        QTest::newRow("picture") << kPlyx + "/thumbnails/cup.png" << 200;
        QTest::newRow("other file") << kPlyx + "/thumbnails/..%2Fcatalogue.json" << 404;
    }

    void plyxRefusesUnknownIdsAndNumbers()
    {
        QFETCH(QString, url);
        QFETCH(int, status);
        setCredentials(kPlyx);
        QCOMPARE(m_client->get(url).status, status);
    }

private:
    /// Signs the client in to the service at \p url. Appends \p fault to each secret.
    void setCredentials(const QString &url, const QString &fault = {})
    {
        const localcloud::PlyxSession session = m_cloud->issuePlyxSession();
        m_client->setHeader("X-AFC", "QK4ZT8");
        m_client->setHeader("X-Session", (session.id + fault).toLatin1());
        m_client->setHeader("X-Secure-Session", (session.secureId + fault).toLatin1());
        m_client->setHeader("Authorization", url.contains("dropbox")
                                                 ? "Bearer " + (m_cloud->issueDropboxToken() + fault).toLatin1()
                                                 : basic("demo", m_cloud->issueZephalToken() + fault));
    }

    /// Sends "METHOD HOST BASE" for the path \p path of the base, which stays as it is, with valid credentials and a
    /// body of "new". Returns the status.
    int raw(const QByteArray &request, const QByteArray &path, const QByteArray &headers = {})
    {
        const QByteArrayList words = request.split(' ');
        const QByteArray authorization =
            words[1].contains("dropbox") ? "Bearer " + m_cloud->issueDropboxToken().toLatin1() : basic("demo", "demo");
        return rawExchange(*m_cloud,
                           words[0] + ' ' + words[2] + path + " HTTP/1.1\r\nHost: x\r\nConnection: close\r\n" +
                               "Content-Length: 3\r\nAuthorization: " + authorization + "\r\n" + headers + "\r\nnew",
                           words[1])
            .mid(9, 3)
            .toInt();
    }

    /// The files below the data folder without those of the local cloud itself, and their sizes.
    QStringList filesOnDisk() const
    {
        QStringList files;
        const auto filter = QDir::AllEntries | QDir::System | QDir::Hidden | QDir::NoDotAndDotDot;
        for (QDirIterator entry(m_data->path(), filter, QDirIterator::Subdirectories); entry.hasNext();) {
            const QString path = entry.next();
            if (!path.contains("/.localcloud"))
                files << path + ' ' + QString::number(entry.fileInfo().isFile() ? entry.fileInfo().size() : 0);
        }
        files.sort();
        return files;
    }

    std::unique_ptr<QTemporaryDir> m_data;
    std::unique_ptr<LocalCloud> m_cloud;
    std::unique_ptr<CloudClient> m_client;
};

QTEST_GUILESS_MAIN(TestLocalCloudServices)
#include "tst_localcloudservices.moc"
