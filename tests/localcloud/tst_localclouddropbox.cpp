// localcloud/tst_localclouddropbox.cpp
//
// The Dropbox service: sign-in, listings, and files in both directions.

#include "CloudClient.h"

#include <QtTest>

namespace {

const QString kAuthorize = QStringLiteral("https://www.dropbox.com/1/oauth2/authorize");
const QString kReturn = QStringLiteral("http://localhost:8080/crvn/kelda/oauth/dropbox/redirect");
const QString kApi = QStringLiteral("https://api.dropbox.com/1");
/// Without the code.
const QString kExchange =
    kApi + "/oauth2/token?grant_type=authorization_code&client_id=app&client_secret=s&redirect_uri=" + kReturn +
    "&code=";
const QString kListing = kApi + "/metadata/dropbox";
const QString kFiles = QStringLiteral("https://api-content.dropbox.com/1/files/dropbox");
const QString kUpload = QStringLiteral("https://api-content.dropbox.com/1/files_put/dropbox");

QStringList pathsIn(const CloudReply &listing)
{
    QStringList paths;
    for (const QJsonValue &entry : listing.json["contents"].toArray())
        paths.append(entry["path"].toString());
    return paths;
}

} // namespace

class TestLocalCloudDropbox : public QObject
{
    Q_OBJECT
private slots:
    void init()
    {
        m_data = std::make_unique<QTemporaryDir>();
        m_cloud = startCloud(m_data->path());
        m_client = std::make_unique<CloudClient>(*m_cloud, m_cloud->issueDropboxToken());
    }

    void signsInThroughTheForm()
    {
        CloudClient client(*m_cloud);
        const QByteArray form = "client_id=app&response_type=code&redirect_uri=" + QUrl::toPercentEncoding(kReturn);
        client.setHeader("Content-Type", "application/x-www-form-urlencoded");
        for (const char *decision : {"deny", "", "Allow"}) {
            const QByteArray to = client.send("POST", kAuthorize, form + "&decision=" + decision).headers["Location"];
            QVERIFY2(to.startsWith(kReturn.toUtf8() + "?error=access_denied") && !to.contains("code="), to);
        }
        const CloudReply allowed = client.send("POST", kAuthorize, form + "&state=a%26b&decision=allow");
        const QUrl location(allowed.headers["Location"]);
        const QUrlQuery query(location);
        QCOMPARE(location.toString(QUrl::RemoveQuery), kReturn);
        QCOMPARE(query.queryItemValue("state", QUrl::FullyDecoded), QString("a&b"));
        const CloudReply token = client.send("POST", kExchange + query.queryItemValue("code"));
        QCOMPARE(token.json["token_type"].toString(), QString("bearer"));
    }

    void refusesFaultyAuthorizeRequests()
    {
        const QString good = "client_id=app&response_type=code&redirect_uri=";
        const QString script = "%22%3E%3Cscript%3E";
        const QByteArray page = m_client->get(kAuthorize + "?state=" + script + '&' + good + kReturn + script).body;
        QVERIFY2(page.contains("id=\"allow\"") && page.contains("id=\"deny\""), page);
        QVERIFY2(page.contains("&lt;script&gt;") && !page.contains("<script"), page);
        for (const QString &query :
             {"response_type=code&redirect_uri=" + kReturn, "client_id=app&response_type=token&redirect_uri=" + kReturn,
              good, good + "http://example.com/localhost" + script, good + "http://localhost.example.com/",
              good + "http://localhost@example.com/", good + "javascript://localhost/%250Aalert(1)"}) {
            const CloudReply refused = m_client->get(kAuthorize + '?' + query);
            QVERIFY2(refused.status == 400 && !refused.body.contains("id=\"allow\""), qPrintable(query));
            QVERIFY2(!refused.body.contains("<script"), refused.body);
            const CloudReply posted = m_client->send("POST", kAuthorize, query.toUtf8() + "&decision=allow");
            QVERIFY2(posted.status == 400 && !posted.headers.contains("Location"), qPrintable(query));
        }
    }

    void exchangesACodeOnlyForItsOwner()
    {
        for (const QStringList &row : {
                 // replaced in a good request, by what, the error
                 QStringList{kReturn, QUrl::toPercentEncoding(kReturn), ""},
                 {"id=app", "id=other", "invalid_grant"},
                 {kReturn, kReturn + "/x", "invalid_grant"},
                 {"code=", "code=x", "invalid_grant"},
                 {"client_secret=s", "", "invalid_client"},
                 {"authorization_code", "password", "unsupported_grant_type"},
             }) {
            QString url = kExchange + m_cloud->issueDropboxCode("app", kReturn);
            const CloudReply reply = m_client->send("POST", url.replace(row[0], row[1]));
            QCOMPARE(reply.json["error"].toString(), row[2]);
            QVERIFY(row[2].isEmpty() ? reply.json.contains("access_token") : reply.status == 400);
            QCOMPARE(m_client->send("POST", url).status, 400);
        }
    }

    void listsFolders()
    {
        writeFile(file("b #?% ü/in.obj"), "x");
        writeFile(file("a.obj"), QByteArray(2048, 'x'));
        const CloudReply root = m_client->get(kListing + "/?file_limit=10000&list=true");
        QCOMPARE(root.headers["Content-Type"], QByteArray("application/json"));
        QVERIFY(root.json["path"] == "/" && root.json["is_dir"].toBool());
        QCOMPARE(pathsIn(root), (QStringList{"/a.obj", "/b #?% ü"}));
        const QJsonObject entry = root.json["contents"][0].toObject();
        QVERIFY(entry["bytes"] == 2048 && entry["size"] == "2.0 KB" && entry["is_dir"] == false);
        QVERIFY(entry["root"] == "dropbox" && entry["mime_type"].isString() && entry["revision"].isDouble());
        const QString modified = entry["modified"].toString();
        QVERIFY(QDateTime::fromString(modified, Qt::RFC2822Date).isValid() && modified.endsWith(" +0000"));

        const QString folder = kListing + "//b%20%23%3F%25%20%C3%BC";
        const CloudReply listing = m_client->get(folder);
        QCOMPARE(pathsIn(listing), QStringList{"/b #?% ü/in.obj"});
        for (const char *unlisted : {"?list=false", "//in.obj"})
            QVERIFY(!m_client->get(folder + unlisted).json.contains("contents"));
        const QString ifChanged = folder + "?hash=" + listing.json["hash"].toString();
        QCOMPARE(m_client->get(ifChanged).status, 304);
        writeFile(file("b #?% ü/in.obj"), "other");
        const CloudReply changed = m_client->get(ifChanged);
        QVERIFY(changed.json["contents"][0]["rev"] != listing.json["contents"][0]["rev"]);
    }

    void refusesRequests()
    {
        for (const char *name : {"a", "b", "folder/in"})
            writeFile(file(name), "x");
        const QMap<int, QStringList> urls{
            {200, {kListing + "/?file_limit=3"}},
            {400, {kListing + "/?file_limit=0", kListing + "/?file_limit=25001", kUpload + '/'}},
            {403, {kUpload + "/folder", kUpload + "/a/in"}},
            {404, {kListing + "/none", kApi + "/metadata/sandbox/", kFiles + '/', kFiles + "/none"}},
            {405, {kApi + "/oauth2/token"}},
            {406, {kListing + "/?file_limit=2"}},
        };
        for (const int status : urls.keys()) {
            for (const QString &url : urls[status]) {
                const QByteArray method = url.startsWith(kUpload) ? "PUT" : "GET";
                const CloudReply reply = m_client->send(method, url, "x");
                QVERIFY2(reply.status == status && reply.json.contains("error") == (status != 200), qPrintable(url));
                const int stranger = CloudClient(*m_cloud).send(method, url, "x").status;
                QCOMPARE(stranger, url.contains("/dropbox/") ? 401 : status);
            }
        }
        QVERIFY(raw("PUT", kUpload + "/a").startsWith("HTTP/1.1 411"));
        m_cloud->addRule("api-content.dropbox.com", "*", "status=507");
        QCOMPARE(m_client->send("PUT", kUpload + "/new", QByteArray(200000, 'x')).status, 507);
        QVERIFY(QDir(m_data->filePath(".localcloud/uploads")).isEmpty());
        QCOMPARE(pathsIn(m_client->get(kListing)), QStringList({"/a", "/b", "/folder"}));
    }

    void keepsInsideItsFolder()
    {
        const QString secret = m_data->filePath("secret.txt");
        writeFile(secret, "secret");
        writeFile(file("sub/in.txt"), "in");
        QVERIFY(QFile::link(m_data->path(), file("outside")) && QFile::link(secret, file("link.txt")));
        QVERIFY(QFile::link(file("sub"), file("inside")));
        for (const char *path :
             {"/../secret.txt", "/sub/../../secret.txt", "/%2e%2e/secret.txt", "/sub/..%2F..%2Fsecret.txt", "/link.txt",
              "/./a", "/a%00b", "/%FF", "/%C3", "/outside/secret.txt", "/outside/new/file.txt"}) {
            QVERIFY2(raw("GET", kListing + path).startsWith("HTTP/1.1 40"), path);
            QVERIFY2(raw("GET", kFiles + path).startsWith("HTTP/1.1 40"), path);
            raw("PUT", kUpload + path, "Content-Length: 3\r\n\r\nbad");
            QVERIFY2(readFile(secret) == "secret" && !QFile::exists(m_data->filePath("new")), path);
        }
        const QStringList paths = pathsIn(m_client->get(kListing + "/"));
        QVERIFY(paths.contains("/inside") && !paths.contains("/outside"));
    }

    void downloadsFiles()
    {
        const QByteArray content = QByteArray("0123456789a").repeated(250000);
        writeFile(file("Maß 100%.obj"), content);
        const QString url = kFiles + "/Ma%C3%9F%20100%25.obj";
        QVERIFY(m_client->get(url).body == content);
        QCOMPARE(m_client->send("HEAD", url).headers["Content-Length"].toInt(), content.size());

        m_cloud->addRule("api-content.dropbox.com", "/1/files/*", "signed-redirect");
        const QString location = m_client->get(url).headers["Location"];
        QVERIFY(QUrl(location).host() == "dl.dropboxusercontent.com" && location.endsWith("/Ma%C3%9F%20100%25.obj"));
        CloudClient anyone(*m_cloud);
        QCOMPARE(anyone.get(url).status, 401);
        anyone.setHeader("Range", "bytes=1000-1999999");
        const CloudReply part = anyone.get(location);
        QVERIFY(part.status == 206 && part.body == content.mid(1000, 1999000));
        QCOMPARE(anyone.get(location).status, 403);
    }

    void storesUploads()
    {
        const QMap<QString, QString> names{
            {"/old.obj?overwrite=true", "old.obj"},
            {"/old.obj", "old.obj"},
            {"/old.obj?overwrite=false", "old (1).obj"},
            {"/d.x/old?overwrite=false", "d.x/old (1)"},
            {"//p/q/%C3%BC%20%23%3F%25.fbx", "p/q/ü #?%.fbx"},
        };
        for (const QString &target : names.keys()) {
            const QByteArray content(target.startsWith("/old") ? 3000000 : 0, 'x');
            writeFile(file("old.obj"), "old");
            writeFile(file("d.x/old"), "old");
            const CloudReply reply = m_client->send(content.isEmpty() ? "POST" : "PUT", kUpload + target, content);
            QCOMPARE(reply.json["path"].toString(), "/" + names[target]);
            QCOMPARE(reply.json["bytes"].toInt(-1), content.size());
            QVERIFY2(readFile(file(names[target])) == content, qPrintable(target));
            QVERIFY(names[target] == "old.obj" || readFile(file("old.obj")) == "old");
        }
    }

private:
    /// The local path of a stored file.
    QString file(const QString &name) const { return m_cloud->dropboxDir() + '/' + name; }

    /// Sends \p method with the host and path of \p url as they are, a valid token, and \p rest.
    QByteArray raw(const QByteArray &method, const QString &url, const QByteArray &rest = "\r\n") const
    {
        const QByteArray path = " /" + url.section('/', 3).toUtf8() + " HTTP/1.1\r\nConnection: close\r\nHost: ";
        const QByteArray token = "\r\nAuthorization: Bearer " + m_cloud->issueDropboxToken().toUtf8() + "\r\n";
        return rawExchange(*m_cloud, method + path + url.section('/', 2, 2).toUtf8() + token + rest, "}");
    }

    std::unique_ptr<QTemporaryDir> m_data;
    std::unique_ptr<LocalCloud> m_cloud;
    std::unique_ptr<CloudClient> m_client; // signed in
};

QTEST_GUILESS_MAIN(TestLocalCloudDropbox)
#include "tst_localclouddropbox.moc"
