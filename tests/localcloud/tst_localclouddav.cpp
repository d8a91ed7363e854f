// localcloud/tst_localclouddav.cpp
//
// The document cloud: its sign-in page, and WebDAV as clients meet it.

#include "CloudClient.h"

#include <QtTest>

#include <unistd.h>

namespace {

const QString kHost = QStringLiteral("https://cloud.zephal.example");
const QString kDav = kHost + "/dav";

QByteArray basic(const QString &user, const QString &secret)
{
    return "Basic " + (user + ':' + secret).toUtf8().toBase64();
}

/// The texts of all elements called \p name, in their order.
QList<QByteArray> textsOf(const QByteArray &xml, const char *name)
{
    QList<QByteArray> texts;
    QXmlStreamReader reader(xml);
    while (!reader.atEnd()) {
        if (reader.readNext() == QXmlStreamReader::StartElement && reader.namespaceUri() == QLatin1String("DAV:") &&
            reader.name() == QLatin1String(name))
            texts.append(reader.readElementText(QXmlStreamReader::SkipChildElements).toUtf8());
    }
    return reader.hasError() ? QList<QByteArray>() : texts;
}

} // namespace

class TestLocalCloudDav : public QObject
{
    Q_OBJECT
private slots:
    void init()
    {
        m_data = std::make_unique<QTemporaryDir>();
        m_cloud = startCloud(m_data->path());
        m_client = std::make_unique<CloudClient>(*m_cloud);
        m_client->setHeader("Authorization", basic("demo", "demo"));
        m_client->setHeader("Depth", "1");
        QVERIFY(QDir().mkpath(local("/Work")));
    }

    void passesLitmus()
    {
        QProcess litmus;
        litmus.setWorkingDirectory(m_data->path());
        litmus.setProcessChannelMode(QProcess::MergedChannels);
        // One request of its own goes to the proxy's machine at the port of the address, so that both have one port.
        litmus.start("env", {"TESTS=basic http copymove", "litmus", "--proxy=" + m_cloud->proxyUrl().toString(),
                             QString("http://cloud.zephal.example:%1/dav/").arg(m_cloud->port()), "demo", "demo"});
        QTRY_COMPARE_WITH_TIMEOUT(litmus.state(), QProcess::NotRunning, 60000);
        QByteArray output = litmus.readAll();
        output.replace("WARNING: server does not claim Class 2", ""); // locks
        const QRegularExpression passed(": of (\\d+) tests run: \\1 passed, 0 failed");
        QVERIFY2(QString(output).count(passed) == 3 && litmus.exitCode() == 0, output);
        QVERIFY2(!output.contains("WARNING") && !output.contains("FAIL") && !output.contains("SKIPPED"), output);
    }

    void wantsCredentials()
    {
        const QString token = m_cloud->issueZephalToken();
        const QByteArrayList right{basic("demo", token), basic("demo", "demo")};
        const QByteArrayList wrong{basic("demo", token + 'x'), basic("demo", ""),         basic("Demo", token),
                                   basic("", token),           "Basic " + token.toUtf8(), "Basic",
                                   "Bearer " + token.toUtf8(), "Basic ZGVtbzpkZW1v, x",   ""};
        for (const QByteArray &header : right + wrong) {
            CloudClient client(*m_cloud);
            client.setHeader("Authorization", header);
            for (const char *method : {"OPTIONS", "PROPFIND", "GET", "PUT", "DELETE", "MKCOL", "MOVE"}) {
                const CloudReply reply = client.send(method, kDav + "/none/none");
                QVERIFY2((reply.status == 401) == wrong.contains(header), method + header);
                QCOMPARE(reply.headers["WWW-Authenticate"].startsWith("Basic realm="), reply.status == 401);
            }
        }
    }

    void signsInThroughThePage()
    {
        CloudClient client(*m_cloud);
        client.setHeader("Content-Type", "application/x-www-form-urlencoded");
        for (const char *form : {"user=demo&password=Demo", "user=Demo&password=demo", "", "user=demo"}) {
            const CloudReply refused = client.send("POST", kHost + "/signin", form);
            QVERIFY2(refused.status == 200 && refused.body.contains("id=\"error\""), form);
        }
        QVERIFY(!client.get(kHost + "/signin").body.contains("id=\"error\""));
        QCOMPARE(m_cloud->zephalTokenCount(), 0);
        const CloudReply right = client.send("POST", kHost + "/signin", "user=demo&password=demo");
        const QByteArray location = right.headers["Location"];
        QVERIFY2(right.status == 302 && location.startsWith((kHost + "/signin/done?user=demo&token=%2B%2F").toUtf8()) &&
                     location.endsWith("&first=Robin&last=Example"),
                 location);
        const QString token = QUrlQuery(QUrl(location)).queryItemValue("token", QUrl::FullyDecoded);
        m_client->setHeader("Authorization", basic("demo", token));
        QVERIFY(find("/").status == 207 && client.get(location).status == 200);
        QCOMPARE(client.get("http://cloud.zephal.example/signin").status, 403);
    }

    void staysInItsFolder()
    {
        const QString secret = m_data->filePath("secret");
        writeFile(secret, "secret");
        writeFile(local("/Work/cup.obj"), "cup");
        for (const auto &[to, name] :
             {std::pair("..", "/out"), {"../secret", "/link"}, {"Work", "/in"}, {"../..", "/Work/out"}})
            QCOMPARE(symlink(to, QFile::encodeName(local(name)).constData()), 0);
        const QByteArrayList malformed{"/../secret",     "/Work/../../secret",
                                       "/%2e%2E/secret", "/Work/..%2fsecret",
                                       "/Work/%2E",      "/Work%2f..",
                                       "/a%00b",         "/a%FFb",
                                       "/Work/#x",       '/' + QByteArray(256, 'x')};
        const QByteArrayList hidden{"/out/secret", "/out/new", "/link", "/in/cup.obj", "/Work/out"};
        const QByteArray patch = "<a:propertyupdate xmlns:a='DAV:'><a:set><a:prop><b/></a:prop></a:set>"
                                 "</a:propertyupdate>";
        for (const QByteArray &path : malformed + hidden) {
            const auto isRefused = [&](int status) {
                return malformed.contains(path) ? status == 400 : QSet<int>{403, 404, 405, 409}.contains(status);
            };
            for (const char *method : {"GET", "PROPFIND", "PUT", "DELETE", "MKCOL", "COPY", "MOVE"})
                QVERIFY2(isRefused(raw(method, path, {}, "Destination: /dav/Work/gone\r\n")), method + path);
            QVERIFY2(isRefused(raw("PROPPATCH", path, patch)), path);
            for (const char *method : {"COPY", "MOVE"})
                QVERIFY2(isRefused(raw(method, "/Work/cup.obj", {}, "Destination: /dav" + path + "\r\n")),
                         method + path);
        }
        QCOMPARE(textsOf(find("/").body, "href") + textsOf(find("/Work/").body, "href"),
                 QByteArrayList({"/dav/", "/dav/Work/", "/dav/Work/", "/dav/Work/cup.obj"}));
        QVERIFY(readFile(secret) == "secret" && QFileInfo(local("/link")).isSymLink());
        QCOMPARE(QDir(m_data->path()).entryList(QDir::Files | QDir::Dirs | QDir::NoDotAndDotDot),
                 QStringList({"dropbox", "plyx", "secret", "zephal"}));
    }

    void heedsConditions()
    {
        const QByteArray past = "Sun, 06 Nov 1994 08:49:37 GMT";
        // "|" ends a header, TAG stands for the file's entity tag, DATE for its time.
        const QMap<QPair<int, int>, QByteArrayList> conditions{
            {{200, 204},
             {"If-Match: \"x,y\", TAG", "If-Match: *", "If-None-Match: \"x\"", "If-Modified-Since: " + past,
              "If-Modified-Since: DATE|If-None-Match: \"x\"", "If-Unmodified-Since: DATE",
              "If-Unmodified-Since: " + past + "|If-Match: TAG", "If-Unmodified-Since: yesterday", "If: ([TAG])",
              "If: (Not [\"x\"] [TAG])", "If: (<urn:uuid:1>) (Not <DAV:no-lock>)", "If: </dav/Work/cup.obj> ([TAG])",
              "If: <http://cloud.zephal.example/dav/Work/%63up.obj> ([TAG])"}},
            {{304, 204}, {"If-Modified-Since: DATE"}},
            {{304, 412}, {"If-None-Match: \"x\", TAG", "If-None-Match: W/TAG", "If-None-Match: *"}},
            {{412, 412},
             {"If-Match: W/TAG", "If-Match: \"x\"", "If-Unmodified-Since: " + past, "If: ([\"x\"])", "If: ([W/TAG])",
              "If: (<urn:uuid:1> [TAG])", "If: </dav/Work/> ([TAG])",
              "If: <http://x.example/dav/Work/cup.obj> ([TAG])"}},
            {{400, 400},
             {"If: ([TAG]", "If: ()", "If: ([TAG])x", "If: <x", "If: </dav/>", "If: ([TAG)", "If: (TAG)", "If: (Not)"}},
        };
        for (const auto &[get, put] : conditions.keys()) {
            for (QByteArray headers : conditions[{get, put}]) {
                writeFile(local("/Work/cup.obj"), "old");
                const CloudReply plain = m_client->get(kDav + "/Work/cup.obj");
                headers.replace("TAG", plain.headers["ETag"]).replace("DATE", plain.headers["Last-Modified"]);
                headers = headers.replace("|", "\r\n") + "\r\n";
                QVERIFY2(raw("GET", "/Work/cup.obj", {}, headers) == get, headers);
                QVERIFY2(raw("PUT", "/Work/cup.obj", "new", headers) == put, headers);
                QCOMPARE(readFile(local("/Work/cup.obj")), QByteArray(put == 204 ? "new" : "old"));
            }
        }
    }

    void everyContentHasATagOfItsOwn()
    {
        QSet<QByteArray> tags;
        localcloud::DavFolder folder(m_cloud->zephalDir(), m_data->filePath(".localcloud/uploads"));
        const QByteArray content(100000, 'x'); // goes to a file before it is stored
        for (int i = 0; i < 200; ++i) {
            localcloud::RequestBody body(m_data->filePath(".localcloud/uploads"));
            QVERIFY(body.append(content));
            if (i == 0)
                QTest::qSleep(20);
            const QDateTime before = QDateTime::currentDateTime();
            QVERIFY(folder.store("/Work/cup.obj", body));
            QVERIFY(QFileInfo(local("/Work/cup.obj")).lastModified() >= before);
            tags.insert(folder.find("/Work/cup.obj").etag);
        }
        const QByteArray tag = m_client->send("PUT", kDav + "/Work/cup.obj", "same size").headers["ETag"];
        QVERIFY(tags.size() == 200 && !tags.contains(tag) && tag.startsWith('"'));
        QCOMPARE(textsOf(find("/Work/cup.obj").body, "getetag"), QList<QByteArray>{tag});
        for (const auto &[validator, status] : {std::pair(tag, 206), {"\"x\"", 200}}) {
            const QByteArray range = "Range: bytes=5-\r\nIf-Range: " + validator + "\r\n";
            QCOMPARE(raw("GET", "/Work/cup.obj", {}, range), status);
        }
    }

    void answersRequests()
    {
        writeFile(local("/Work/cup.obj"), "cup");
        const QByteArray dtd = "<!DOCTYPE a [<!ENTITY b 'c'>]><propfind xmlns='DAV:'><allprop/></propfind>";
        const QByteArray set = "<propertyupdate xmlns='DAV:'><set><prop><a/></prop></set></propertyupdate>";
        const QMap<int, QByteArrayList> requests{
            // method|path|headers|body
            {207, {"PROPFIND|/Work/cup.obj", "PROPPATCH|/Work/|a: b|" + set}},
            {400,
             {"PROPFIND|/|Depth: 2", "PROPFIND|/|Depth: 0|<a", "PROPFIND|/|Depth: 0|<propfind xmlns='DAV:'/>",
              "PROPFIND|/|Depth: 0|<propfind><allprop/></propfind>", "PROPFIND|/|Depth: 0|" + dtd,
              "PROPPATCH|/Work/|a: b|<propertyupdate xmlns='DAV:'/>", "DELETE|/Work|Depth: 0", "COPY|/Work",
              "PUT|/Work/cup.obj|Content-Range: bytes 1-1/3|x", "COPY|/Work|Destination: /dav/a%2fb",
              "COPY|/Work|Destination: ftp://cloud.zephal.example/dav/a", "MOVE|/Work|Destination: /dav/a\r\nDepth: 0",
              "COPY|/Work|Destination: /dav/a\r\nDepth: 1", "COPY|/Work|Destination: /dav/a\r\nOverwrite: X"}},
            {403,
             {"PROPFIND|/|Depth: infinity", "PROPFIND|/", "DELETE|/", "COPY|/Work|Destination: /dav/Work/a",
              "COPY|/Work|Destination: /dav/Work/", "MOVE|/|Destination: /dav/a", "MOVE|/Work|Destination: /dav/",
              "COPY|/Work/cup.obj|Destination: /dav/Work"}},
            {404, {"PROPFIND|/Work/cup.obj/|Depth: 0", "COPY|/None|Destination: /dav/a"}},
            {405, {"GET|/Work/", "LOCK|/Work/", "PUT|/|a: b|x", "PUT|/Work|a: b|x", "MKCOL|/"}},
            {409, {"PUT|/Work/new.obj/|a: b|x", "PUT|/None/new.obj|a: b|x", "PUT|/Work/cup.obj/new.obj|a: b|x"}},
            {412,
             {"PUT|/Work/new.obj|If-Match: *|x", "DELETE|/Work|If: ([\"x\"])", "MKCOL|/a|If: ([\"x\"])",
              "PROPFIND|/Work/cup.obj|If: ([\"x\"])", "COPY|/Work|Destination: /dav/a\r\nIf: ([\"x\"])"}},
            {413, {"PROPFIND|/|Depth: 0|" + QByteArray(70000, ' ')}},
            {502,
             {"COPY|/Work|Destination: http://x.example/dav/a", "COPY|/Work|Destination: /davenport",
              "COPY|/Work|Destination: https://cloud.zephal.example/a"}},
        };
        for (const int status : requests.keys()) {
            for (const QByteArray &request : requests[status]) {
                const QByteArrayList parts = request.split('|');
                const int answer = raw(parts[0], parts[1], parts.value(3), parts.value(2, "a: b") + "\r\n");
                QVERIFY2(answer == status, request.left(200));
            }
        }
        QCOMPARE(readFile(local("/Work/cup.obj")), QByteArray("cup"));
        QCOMPARE(QDir(m_cloud->zephalDir()).entryList(QDir::NoDotAndDotDot | QDir::AllEntries), QStringList{"Work"});
        QVERIFY(QDir(m_data->filePath(".localcloud/uploads")).isEmpty());
    }

    void tellsPropertiesByName()
    {
        writeFile(local("/Work/a&b #%.obj"), "cup");
        const QByteArray body = "<d:propfind xmlns:d='DAV:' xmlns='urn:a&amp;b'><d:prop><getetag/><d:getcontentlength/>"
                                "<d:resourcetype/></d:prop></d:propfind>";
        const QByteArray xml = m_client->send("PROPFIND", kDav + "/Work/", body).body;
        QCOMPARE(textsOf(xml, "href"), QByteArrayList({"/dav/Work/", "/dav/Work/a%26b%20%23%25.obj"}));
        const QList<QByteArray> statuses{"HTTP/1.1 200 OK", "HTTP/1.1 404 Not Found"};
        QCOMPARE(textsOf(xml, "status"), statuses + statuses);
        QVERIFY2(xml.contains("<x:getetag xmlns:x=\"urn:a&amp;b\"/><D:getcontentlength/>"), xml); // the folder's
        QVERIFY2(xml.contains("<D:getcontentlength>3<") && textsOf(xml, "collection").size() == 1, xml);
        QVERIFY2(textsOf(xml, "getetag").isEmpty() && textsOf(xml, "getlastmodified").isEmpty(), xml);
    }

    void listsTenThousandEntriesAsAStream()
    {
        const QByteArray part = QFile::encodeName(local("/Many/Part "));
        writeFile(local("/Many/Part 10000"), "x");
        for (int i = 0; i < 9999; ++i)
            QCOMPARE(link(part + "10000", part + QByteArray::number(i).rightJustified(5, '0')), 0);
        const CloudReply listing = find("/Many/");
        const QList<QByteArray> found = textsOf(listing.body, "href");
        QVERIFY(found.size() == 10001 && found.first() == "/dav/Many/" && found.last() == "/dav/Many/Part%2010000");
        QVERIFY(!listing.headers.contains("Content-Length"));
        m_cloud->addRule("cloud.zephal.example", "/dav/Many/", "cut=100000", 1);
        const CloudReply cut = find("/Many/");
        QVERIFY(cut.error != QNetworkReply::NoError && cut.body.size() <= 100000);
        // An old client hears the end of the listing by the end of the connection.
        const QByteArray old = "PROPFIND /dav/Work/ HTTP/1.0\r\nDepth: 1\r\nAuthorization: Basic ZGVtbzpkZW1v\r\n\r\n";
        const QByteArray answer = rawExchange(*m_cloud, old, "</D:multistatus>\n");
        QVERIFY(answer.endsWith("\r\n\r\n" + find("/Work/").body) && !answer.contains("chunked"));
    }

private:
    QString local(const char *path) const { return m_cloud->zephalDir() + path; }
    CloudReply find(const QString &path) { return m_client->send("PROPFIND", kDav + path); }

    /// The status of a request over plain http, whose path and headers nothing tidies up.
    int raw(const QByteArray &method, const QByteArray &path, const QByteArray &body, const QByteArray &headers = {})
    {
        const QByteArray head = method + " http://cloud.zephal.example/dav" + path + " HTTP/1.1\r\nHost: x\r\n" +
                                "Authorization: Basic ZGVtbzpkZW1v\r\nConnection: close\r\n" + headers +
                                "Content-Length: " + QByteArray::number(body.size()) + "\r\n\r\n";
        return rawExchange(*m_cloud, head + body).mid(9, 3).toInt();
    }

    std::unique_ptr<QTemporaryDir> m_data;
    std::unique_ptr<LocalCloud> m_cloud;
    std::unique_ptr<CloudClient> m_client; // signed in
};

QTEST_GUILESS_MAIN(TestLocalCloudDav)
#include "tst_localclouddav.moc"
