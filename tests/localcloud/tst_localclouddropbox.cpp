#include "DropboxFixture.h"
#include <QDir>
#include <QJsonArray>
#include <QTest>

namespace {

const QString kApi = QStringLiteral("https://api.dropbox.com");
const QString kContent = QStringLiteral("https://api-content.dropbox.com");

QStringList namesIn(const QJsonObject &listing)
{
    QStringList paths;
    for (const QJsonValue &entry : listing.value("contents").toArray())
        paths.append(entry.toObject().value("path").toString());
    return paths;
}

} // namespace

class TestLocalCloudDropbox : public QObject, private DropboxFixture
{
    Q_OBJECT
private slots:
    void init() { setUp(); }
    void cleanup() { tearDown(); }

    void listsFolders();
    void revisionFollowsTheContent();
    void refusesListings_data();
    void refusesListings();
    void keepsInsideItsFolder_data();
    void keepsInsideItsFolder();

    void downloadsFilesAndRanges();
    void oneTimeAddressWorksOnce();
    void storesUploads_data();
    void storesUploads();
    void refusesUploads_data();
    void refusesUploads();
    void failedUploadLeavesNothingBehind();
};

void TestLocalCloudDropbox::listsFolders()
{
    QVERIFY(writeFile(file("b #?% ü/in.obj"), "x"));
    QVERIFY(writeFile(file("a.obj"), QByteArray(2048, 'x')));
    QFile stamped(file("a.obj"));
    QVERIFY(stamped.open(QIODevice::ReadWrite));
    QVERIFY(stamped.setFileTime(QDateTime({2024, 11, 20}, {12, 34, 56}, Qt::UTC), QFileDevice::FileModificationTime));
    stamped.close();

    const CloudReply root = m_client->get(kApi + "/1/metadata/dropbox/?file_limit=10000&list=true");
    QCOMPARE(root.status, 200);
    QCOMPARE(root.header("Content-Type"), QByteArray("application/json"));
    QCOMPARE(root.json().value("path").toString(), QString("/"));
    QVERIFY(root.json().value("is_dir").toBool());
    QCOMPARE(namesIn(root.json()), (QStringList{"/a.obj", "/b #?% ü"}));
    const QJsonObject entry = root.json().value("contents").toArray().first().toObject();
    QCOMPARE(entry.value("bytes").toInt(), 2048);
    QCOMPARE(entry.value("size").toString(), QString("2.0 KB"));
    QCOMPARE(entry.value("modified").toString(), QString("Wed, 20 Nov 2024 12:34:56 +0000"));
    QCOMPARE(entry.value("root").toString(), QString("dropbox"));
    QVERIFY(entry.value("is_dir").isBool() && !entry.value("is_dir").toBool());
    QVERIFY(entry.value("mime_type").isString() && entry.value("rev").isString() && entry.value("revision").isDouble());

    const QString folder = kApi + "/1/metadata/dropbox//b%20%23%3F%25%20%C3%BC";
    QCOMPARE(namesIn(m_client->get(folder).json()), QStringList{"/b #?% ü/in.obj"});
    QVERIFY(!m_client->get(folder + "?list=false").json().contains("contents"));
    QVERIFY(!m_client->get(folder + "//in.obj").json().contains("contents"));
    QCOMPARE(m_client->get(folder + "?hash=" + m_client->get(folder).json().value("hash").toString()).status, 304);
}

void TestLocalCloudDropbox::revisionFollowsTheContent()
{
    const auto revision = [&] {
        return m_client->get(kApi + "/1/metadata/dropbox/d/a.obj").json().value("rev").toString();
    };
    const auto folder = [&] { return m_client->get(kApi + "/1/metadata/dropbox/d").json(); };
    QVERIFY(writeFile(file("d/a.obj"), "one"));
    const QString before = revision();
    const QJsonObject folderBefore = folder();
    QCOMPARE(revision(), before);
    QVERIFY(writeFile(file("d/a.obj"), "other"));
    QVERIFY(revision() != before);
    QCOMPARE(folder().value("rev"), folderBefore.value("rev"));
    QVERIFY(folder().value("hash") != folderBefore.value("hash"));
}

void TestLocalCloudDropbox::refusesListings_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<int>("status");
    QTest::newRow("unknown") << "/1/metadata/dropbox/none" << 404;
    QTest::newRow("at the limit") << "/1/metadata/dropbox/?file_limit=3" << 200;
    QTest::newRow("too many entries") << "/1/metadata/dropbox/?file_limit=2" << 406;
    QTest::newRow("too many, not listed") << "/1/metadata/dropbox/?file_limit=2&list=false" << 200;
    QTest::newRow("limit zero") << "/1/metadata/dropbox/?file_limit=0" << 400;
    QTest::newRow("limit no number") << "/1/metadata/dropbox/?file_limit=x" << 400;
    QTest::newRow("limit too large") << "/1/metadata/dropbox/?file_limit=25001" << 400;
    QTest::newRow("other root") << "/1/metadata/sandbox/" << 404;
    QTest::newRow("content call") << "/1/files/dropbox/a" << 404;
    QTest::newRow("other method") << "/1/oauth2/token" << 405;
}

void TestLocalCloudDropbox::refusesListings()
{
    QFETCH(QString, path);
    for (const char *name : {"a", "b", "c"})
        QVERIFY(writeFile(file(name), "x"));
    const CloudReply reply = m_client->get(kApi + path);
    QTEST(reply.status, "status");
    QCOMPARE(reply.json().contains("error"), reply.status != 200);
    QCOMPARE(CloudClient(*m_cloud).get(kApi + path).status, path.contains("metadata/dropbox") ? 401 : reply.status);
}

void TestLocalCloudDropbox::keepsInsideItsFolder_data()
{
    QTest::addColumn<QByteArray>("path");
    QTest::newRow("up") << QByteArray("/../secret.txt");
    QTest::newRow("up from a folder") << QByteArray("/sub/../../secret.txt");
    QTest::newRow("escaped dots") << QByteArray("/%2e%2e/secret.txt");
    QTest::newRow("escaped slash") << QByteArray("/sub/..%2F..%2Fsecret.txt");
    QTest::newRow("link to a file") << QByteArray("/link.txt");
    QTest::newRow("through a linked folder") << QByteArray("/outside/secret.txt");
    QTest::newRow("new file in a linked folder") << QByteArray("/outside/new/file.txt");
}

void TestLocalCloudDropbox::keepsInsideItsFolder()
{
    QFETCH(QByteArray, path);
    QVERIFY(writeFile(m_data->filePath("secret.txt"), "secret"));
    QVERIFY(writeFile(file("sub/in.txt"), "in"));
    QVERIFY(QFile::link(m_data->path(), file("outside")));
    QVERIFY(QFile::link(m_data->filePath("secret.txt"), file("link.txt")));
    QVERIFY(QFile::link(file("sub"), file("inside")));

    const QByteArray token = m_cloud->issueDropboxToken().toLatin1();
    const auto exchange = [&](const QByteArray &start, const QByteArray &host, const QByteArray &rest) {
        return rawExchange(*m_cloud,
                           start + path + " HTTP/1.1\r\nHost: " + host +
                               "\r\nConnection: close\r\nAuthorization: Bearer " + token + "\r\n" + rest,
                           "}");
    };
    const QByteArray listed = exchange("GET /1/metadata/dropbox", "api.dropbox.com", "\r\n");
    QVERIFY2(listed.startsWith("HTTP/1.1 40"), listed);
    const QByteArray fetched = exchange("GET /1/files/dropbox", "api-content.dropbox.com", "\r\n");
    QVERIFY2(fetched.startsWith("HTTP/1.1 40"), fetched);
    exchange("PUT /1/files_put/dropbox", "api-content.dropbox.com", "Content-Length: 3\r\n\r\nbad");
    QCOMPARE(readFile(m_data->filePath("secret.txt")), QByteArray("secret"));
    QVERIFY(!QFileInfo::exists(m_data->filePath("new")));
    const QStringList names = namesIn(m_client->get(kApi + "/1/metadata/dropbox/").json());
    QVERIFY(names.contains("/inside") && !names.contains("/outside"));
}

void TestLocalCloudDropbox::downloadsFilesAndRanges()
{
    QByteArray content;
    for (int i = 0; i < 500000; ++i)
        content += QByteArray::number(i);
    QVERIFY(writeFile(file("Maß 100%.obj"), content));
    QVERIFY(writeFile(file("empty.obj"), ""));
    const QString url = kContent + "/1/files/dropbox/Ma%C3%9F%20100%25.obj";

    const CloudReply whole = m_client->get(url);
    QCOMPARE(whole.status, 200);
    QVERIFY(whole.body == content);
    QCOMPARE(whole.header("Content-Length").toInt(), content.size());
    QCOMPARE(whole.header("ETag"), QByteArray());
    const CloudReply head = m_client->send("HEAD", url);
    QCOMPARE(head.header("Content-Length").toInt(), content.size());
    QCOMPARE(head.error, QNetworkReply::NoError);
    QCOMPARE(m_client->get(kContent + "/1/files/dropbox/empty.obj").header("Content-Length"), QByteArray("0"));
    QCOMPARE(m_client->get(kContent + "/1/files/dropbox/").status, 404);

    m_client->setHeader("Range", "bytes=1000-1999999");
    const CloudReply part = m_client->get(url);
    QCOMPARE(part.status, 206);
    QVERIFY(part.body == content.mid(1000, 1999000));
    m_client->setHeader("Range", "bytes=99999999-");
    QCOMPARE(m_client->get(url).status, 416);
    QCOMPARE(CloudClient(*m_cloud).get(url).status, 401);
}

void TestLocalCloudDropbox::oneTimeAddressWorksOnce()
{
    QVERIFY(writeFile(file("d/a #1.obj"), "the model"));
    m_cloud->addRule("api-content.dropbox.com", "/1/files/*", "signed-redirect");
    const CloudReply first = m_client->get(kContent + "/1/files/dropbox/d/a%20%231.obj");
    QCOMPARE(first.status, 302);
    const QString location = QString::fromLatin1(first.header("Location"));
    QCOMPARE(QUrl(location).host(), QString("dl.dropboxusercontent.com"));
    QVERIFY(location.endsWith("/a%20%231.obj"));

    CloudClient anyone(*m_cloud);
    const CloudReply target = anyone.get(location);
    QCOMPARE(target.status, 200);
    QCOMPARE(target.body, QByteArray("the model"));
    QCOMPARE(anyone.get(location).status, 403);
    QCOMPARE(m_client->get(location).status, 403);
    QVERIFY(m_client->get(kContent + "/1/files/dropbox/d/a%20%231.obj").header("Location") != location.toLatin1());
    QCOMPARE(m_client->get(kContent + "/1/files/dropbox/none").status, 404);
    QCOMPARE(anyone.get(kContent + "/1/files/dropbox/d/a%20%231.obj").status, 401);
}

void TestLocalCloudDropbox::storesUploads_data()
{
    QTest::addColumn<QByteArray>("method");
    QTest::addColumn<QString>("target");
    QTest::addColumn<QString>("stored");
    QTest::addColumn<int>("size");
    QTest::newRow("new") << QByteArray("PUT") << "/new.obj?overwrite=true"
                         << "new.obj" << 10;
    QTest::newRow("replaced") << QByteArray("POST") << "/old.obj?overwrite=true"
                              << "old.obj" << 100;
    QTest::newRow("replaced without being told") << QByteArray("PUT") << "/old.obj"
                                                 << "old.obj" << 100;
    QTest::newRow("kept") << QByteArray("PUT") << "/old.obj?overwrite=false"
                          << "old (1).obj" << 10;
    QTest::newRow("kept, no extension") << QByteArray("PUT") << "/d.x/old?overwrite=false"
                                        << "d.x/old (1)" << 10;
    QTest::newRow("folders are made") << QByteArray("POST") << "//p/q/%C3%BC%20%23%3F%25.fbx"
                                      << "p/q/ü #?%.fbx" << 10;
    QTest::newRow("large") << QByteArray("POST") << "/big.fbx"
                           << "big.fbx" << 3000000;
    QTest::newRow("empty") << QByteArray("PUT") << "/empty.fbx"
                           << "empty.fbx" << 0;
}

void TestLocalCloudDropbox::storesUploads()
{
    QFETCH(QByteArray, method);
    QFETCH(QString, target);
    QFETCH(QString, stored);
    QFETCH(int, size);
    QVERIFY(writeFile(file("old.obj"), "old"));
    QVERIFY(writeFile(file("d.x/old"), "old"));
    QByteArray content(size, 'x');
    for (int i = 0; i < size; ++i)
        content[i] = static_cast<char>(i * 31 + i / 256);

    const CloudReply reply = m_client->send(method, kContent + "/1/files_put/dropbox" + target, content);
    QCOMPARE(reply.status, 200);
    QCOMPARE(reply.json().value("bytes").toInt(-1), size);
    QCOMPARE(reply.json().value("path").toString(), "/" + stored);
    QVERIFY(readFile(file(stored)) == content);
    if (stored != "old.obj")
        QCOMPARE(readFile(file("old.obj")), QByteArray("old"));
    QCOMPARE(m_cloud->requests().last().bodyBytes, qint64(size));
}

void TestLocalCloudDropbox::refusesUploads_data()
{
    QTest::addColumn<QByteArray>("lines"); // TOKEN stands for a valid token
    QTest::addColumn<QByteArray>("status");
    const QByteArray put = "PUT /1/files_put/dropbox";
    const QByteArray rest = " HTTP/1.1\r\nHost: api-content.dropbox.com\r\nConnection: close\r\nAuthorization: Bearer ";
    QTest::newRow("no length") << put + "/a.obj" + rest + "TOKEN\r\n\r\n" << QByteArray("411");
    QTest::newRow("no token") << put + "/a.obj" + rest + "x\r\nContent-Length: 1\r\n\r\nx" << QByteArray("401");
    QTest::newRow("no name") << put + "/" + rest + "TOKEN\r\nContent-Length: 1\r\n\r\nx" << QByteArray("400");
    QTest::newRow("a folder's name") << put + "/folder" + rest + "TOKEN\r\nContent-Length: 1\r\n\r\nx"
                                     << QByteArray("403");
    QTest::newRow("below a file") << put + "/old.obj/a" + rest + "TOKEN\r\nContent-Length: 1\r\n\r\nx"
                                  << QByteArray("403");
}

void TestLocalCloudDropbox::refusesUploads()
{
    QFETCH(QByteArray, lines);
    QFETCH(QByteArray, status);
    QVERIFY(writeFile(file("old.obj"), "old"));
    QVERIFY(writeFile(file("folder/in.obj"), "in"));
    const QByteArray reply =
        rawExchange(*m_cloud, lines.replace("TOKEN", m_cloud->issueDropboxToken().toLatin1()), "}");
    QVERIFY2(reply.startsWith("HTTP/1.1 " + status), reply);
    QCOMPARE(QDir(m_cloud->dropboxDir()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot),
             (QStringList{"folder", "old.obj"}));
    QCOMPARE(readFile(file("old.obj")), QByteArray("old"));
}

void TestLocalCloudDropbox::failedUploadLeavesNothingBehind()
{
    QVERIFY(writeFile(file("old.obj"), "old"));
    const QString spool = m_data->filePath(".localcloud/uploads");
    const auto spooled = [&] { return QDir(spool).entryList(QDir::Files).size(); };
    QTcpSocket socket;
    socket.connectToHost(QHostAddress::LocalHost, m_cloud->port());
    socket.write(
        "PUT /1/files_put/dropbox/old.obj HTTP/1.1\r\nHost: api-content.dropbox.com\r\nAuthorization: Bearer " +
        m_cloud->issueDropboxToken().toLatin1() + "\r\nContent-Length: 300000\r\n\r\n" + QByteArray(200000, 'x'));
    QTRY_COMPARE(socket.bytesToWrite(), 0);
    socket.abort();
    QTRY_COMPARE(spooled(), 0);
    m_cloud->addRule("api-content.dropbox.com", "*", "status=507");
    QCOMPARE(m_client->send("PUT", kContent + "/1/files_put/dropbox/old.obj", QByteArray(200000, 'x')).status, 507);
    QTRY_COMPARE(spooled(), 0);
    QCOMPARE(readFile(file("old.obj")), QByteArray("old"));
}

QTEST_GUILESS_MAIN(TestLocalCloudDropbox)
#include "tst_localclouddropbox.moc"
