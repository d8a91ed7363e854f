#include "CloudClient.h"
#include <QImage>
#include <QJsonArray>
#include <QJsonDocument>
#include <QNetworkProxy>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QTest>
#include <QUrlQuery>
#include <QWebElement>
#include <QWebFrame>
#include <QWebView>

namespace {

const QString kLogin = QStringLiteral("https://www.plyx.example/TokenAPI/login.cfm?afc=QK4ZT8&secure=1&display=iframe");
const QString kApi = QStringLiteral("https://www.plyx.example/API/v1");
const QString kChoose = QStringLiteral("http://www.plyx.example/API/v1/Server/Download");
const QString kFiles = QStringLiteral("https://files1.plyx.example/v1/Download?id=");

/// A client that sends those of the three headers that are not empty.
std::unique_ptr<CloudClient> clientOf(const LocalCloud &cloud, const QString &code, const QString &id,
                                      const QString &secureId)
{
    auto client = std::make_unique<CloudClient>(cloud);
    const std::pair<const char *, QString> headers[] = {
        {"X-AFC", code}, {"X-Session", id}, {"X-Secure-Session", secureId}};
    for (const auto &[name, value] : headers) {
        if (!value.isEmpty())
            client->setHeader(name, value.toLatin1());
    }
    return client;
}

/// The files of an asset: name to id.
QMap<QString, int> filesOf(const QJsonValue &list, const char *idKey)
{
    QMap<QString, int> files;
    for (const QJsonValue &entry : list.toArray())
        files.insert(entry["NAME"].toString(), entry[idKey].toInt());
    return files;
}

} // namespace

class TestLocalCloudPlyx : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase()
    {
        QVERIFY(m_data.isValid());
        start();
    }
    void init() { m_cloud->clearRules(); }

    void signsInThroughThePage()
    {
        QWebView view;
        auto *frame = view.page()->mainFrame();
        view.page()->networkAccessManager()->setProxy(
            QNetworkProxy(QNetworkProxy::HttpProxy, "127.0.0.1", m_cloud->port()));
        auto trusting = QSslConfiguration::defaultConfiguration();
        trusting.setCaCertificates({m_cloud->caCertificate()});
        QSslConfiguration::setDefaultConfiguration(trusting);
        QSignalSpy loaded(&view, &QWebView::loadFinished);
        const auto load = [&](const std::function<void()> &cause) {
            loaded.clear();
            cause();
            return loaded.wait(10000) && loaded[0][0].toBool();
        };
        const auto element = [&](const char *id) { return frame->findFirstElement(QLatin1String("#") + id); };
        const auto submit = [&](const QString &user, const QString &password) {
            element("user").setAttribute("value", user);
            element("password").setAttribute("value", password);
            return load([&] { element("sign-in").evaluateJavaScript("this.click()"); });
        };
        view.resize(343, 368);
        view.show();
        QVERIFY(load([&] { view.load(kLogin); }));
        const QSize size = frame->contentsSize();
        QVERIFY2(size.width() >= 400 && size.width() <= 600 && size.height() >= 400 && size.height() <= 600,
                 qPrintable(QString("%1 x %2").arg(size.width()).arg(size.height())));
        QVERIFY(element("error").isNull());

        const int before = m_cloud->plyxSessionCount();
        const QString hostile = "\"><b>demo</b>&amp;";
        for (const auto &[user, password] : {std::pair(hostile, QString("demo")), {"demo", "Demo"}, {"", ""}}) {
            element("stay").evaluateJavaScript("this.checked = true");
            QVERIFY(submit(user, password));
            QVERIFY(!element("error").toPlainText().isEmpty() && !view.url().query().contains("Session"));
            QCOMPARE(element("user").evaluateJavaScript("this.value").toString(), user);
            QCOMPARE(element("password").evaluateJavaScript("this.value").toString(), QString());
            QVERIFY(element("stay").evaluateJavaScript("this.checked").toBool());
        }
        QCOMPARE(m_cloud->plyxSessionCount(), before);

        // The second time the browser is known. Both sessions hold, and neither goes with the other's secure half.
        QVERIFY(submit("demo", "demo"));
        const QUrlQuery first(view.url());
        QVERIFY(load([&] { view.load(kLogin); }));
        const QUrlQuery second(view.url());
        QCOMPARE(m_cloud->plyxSessionCount(), before + 2);
        for (const auto &[one, other, status] :
             {std::tuple(first, first, 200), {second, second, 200}, {first, second, 401}}) {
            const QString id = one.queryItemValue("Session", QUrl::FullyDecoded);
            const QString secureId = other.queryItemValue("SecureSession", QUrl::FullyDecoded);
            QVERIFY(id.startsWith("+/") && one.queryItemValue("Session", QUrl::FullyEncoded).startsWith("%2B%2F"));
            const CloudReply member = clientOf(*m_cloud, "QK4ZT8", id, secureId)->get(kApi + "/Member");
            QCOMPARE(member.status, status);
            QCOMPARE(member.json["MEMBERID"].isDouble(), status == 200);
            QCOMPARE(member.json["MEMBERNAME"].toString(), QString(status == 200 ? "Robin Example" : ""));
        }
        m_cloud->revokePlyxSessions();
        QVERIFY(load([&] { view.load(kLogin); }) && !element("sign-in").isNull());
        QCOMPARE(m_client->get(QString(kLogin).replace("QK4ZT8", "QK4ZT9")).status, 400);
        signIn();
    }

    void wantsItsHeaders_data()
    {
        QTest::addColumn<QString>("url");
        QTest::addColumn<int>("wanted"); // 1 the code, 2 the session, 4 its secure half
        QTest::addColumn<int>("status");
        QTest::newRow("member") << kApi + "/Member" << 7 << 200;
        QTest::newRow("own assets") << kApi + "/Member/Assets?page_num=1" << 7 << 200;
        QTest::newRow("search") << kApi + "/Search?media_type_id=27" << 7 << 200;
        QTest::newRow("asset") << kApi + "/Asset/101" << 7 << 200;
        QTest::newRow("no asset") << kApi + "/Asset/100" << 7 << 404;
        QTest::newRow("server") << kChoose << 3 << 200;
        QTest::newRow("download") << kFiles + "101_1012" << 7 << 302;
        QTest::newRow("page") << kLogin << 0 << 200;
        QTest::newRow("picture") << "https://www.plyx.example/thumbnails/crate-painted.png" << 0 << 200;
    }

    void wantsItsHeaders()
    {
        QFETCH(QString, url);
        QFETCH(int, wanted);
        QFETCH(int, status);
        for (int sent = 0; sent < 8; ++sent) {
            const auto part = [&](int bit, const QString &value) { return sent & bit ? value : QString(); };
            const auto client =
                clientOf(*m_cloud, part(1, "QK4ZT8"), part(2, m_session.id), part(4, m_session.secureId));
            const int expected = (sent & wanted) == wanted ? status : 401;
            QVERIFY2(client->get(url).status == expected, qPrintable(QString("headers %1").arg(sent)));
        }
        if (wanted == 0)
            return;
        QCOMPARE(clientOf(*m_cloud, "QK4ZT9", m_session.id, m_session.secureId)->get(url).status, 401);
        const auto nobody = clientOf(*m_cloud, "QK4ZT8", {}, {});
        nobody->setHeader("X-Session", "");
        nobody->setHeader("X-Secure-Session", "");
        const CloudReply reply = nobody->get(url);
        QCOMPARE(reply.status, url.endsWith("/Member") ? 200 : 401);
        QCOMPARE(reply.json["ERROR"].toString(), QString(reply.status == 200 ? "Nobody is signed in." : ""));
        QCOMPARE(m_client->send("DELETE", url).status, 405);
        const QString other = url.startsWith("https") ? "http" + url.mid(5) : "https" + url.mid(4);
        QCOMPARE(m_client->get(other).status, 403);
    }

    void listsPages_data()
    {
        QTest::addColumn<QString>("call");
        QTest::addColumn<int>("results");
        QTest::addColumn<int>("pages");
        QTest::addColumn<int>("current");
        QTest::addColumn<int>("entries");
        QTest::addColumn<int>("firstId");
        const QString usual = "/Search?file_type_ids=119&content=free&sort_by=date&sort_order=desc&media_type_id=";
        const QString all = "&is_all_keywords=all";
        const QString own = "/Member/Assets?file_type_ids=119";
        QTest::newRow("first page") << usual + "27&page_num=1&page_size=64" << 220 << 4 << 1 << 64 << 101;
        QTest::newRow("page 0") << usual + "27&page_num=0&page_size=64" << 220 << 4 << 1 << 64 << 101;
        QTest::newRow("page 3") << usual + "27&page_num=3&page_size=64" << 220 << 4 << 3 << 64 << 1127;
        QTest::newRow("last page") << usual + "27&page_num=4&page_size=64" << 220 << 4 << 4 << 28 << 1191;
        QTest::newRow("beyond") << usual + "27&page_num=5&page_size=64" << 220 << 4 << 5 << 0 << 0;
        QTest::newRow("far beyond") << usual + "27&page_num=2147483647&page_size=64" << 220 << 4 << 2147483647 << 0
                                    << 0;
        QTest::newRow("defaults") << usual + "28" << 40 << 2 << 1 << 20 << 103;
        QTest::newRow("not all free") << usual + "31&page_size=64" << 24 << 1 << 1 << 24 << 104;
        QTest::newRow("for sale, too") << "/Search?media_type_id=31&file_type_ids=119&page_size=1" << 25 << 25 << 1 << 1
                                       << 104;
        QTest::newRow("pictures") << "/Search?file_type_ids=7,8" << 1 << 1 << 1 << 1 << 117;
        QTest::newRow("oldest first") << usual.chopped(29) + "asc&media_type_id=35&page_size=5" << 12 << 3 << 1 << 5
                                      << 4010;
        QTest::newRow("other gallery") << usual + "30" << 0 << 0 << 1 << 0 << 0;
        QTest::newRow("own") << own + "&page_num=1&page_size=64" << 6 << 1 << 1 << 6 << 201;
        QTest::newRow("own, searched") << own + "&keyword=MY stool" + all << 1 << 1 << 1 << 1 << 202;
        QTest::newRow("any order, any case") << usual + "31&keyword=bolts%20NUTS" + all << 1 << 1 << 1 << 1 << 111;
        QTest::newRow("all words") << usual + "27&keyword=red barrel" + all << 1 << 1 << 1 << 1 << 1132;
        QTest::newRow("one word") << usual + "28&keyword=red barrel" << 6 << 1 << 1 << 6 << 2002;
        QTest::newRow("artist") << usual + "35&keyword=%C3%B6berg+ring" + all << 1 << 1 << 1 << 1 << 4010;
        QTest::newRow("escaped") << usual + "31&keyword=%26 %22bolts%22 %3Cb%3E" + all << 1 << 1 << 1 << 1 << 111;
        QTest::newRow("hash, percent") << usual + "31&keyword=%25 %231" + all << 1 << 1 << 1 << 1 << 114;
        QTest::newRow("not inside words") << usual + "27&keyword=arrel" + all << 0 << 0 << 1 << 0 << 0;
        for (const char *bad :
             {"page_num=-1", "page_num=x", "page_num=99999999999999999999", "page_size=0", "page_size=1e3",
              "media_type_id=NaN", "media_type_id=99999999999", "file_type_ids=119,x"})
            QTest::newRow(bad) << QString("/Search?") + bad << -1 << 0 << 0 << 0 << 0;
    }

    void listsPages()
    {
        QFETCH(QString, call);
        QFETCH(int, results);
        const CloudReply reply = m_client->get(kApi + call);
        QCOMPARE(reply.status, results < 0 ? 400 : 200);
        if (results < 0)
            return;
        QCOMPARE(reply.json["TOTAL_RESULT_COUNT"].toInt(-1), results);
        QTEST(reply.json["TOTAL_PAGE_COUNT"].toInt(-1), "pages");
        QTEST(reply.json["CURRENT_PAGE"].toInt(-1), "current");
        QVERIFY(reply.json["ASSETS"]["ASSET"].isArray());
        const QJsonArray assets = reply.json["ASSETS"]["ASSET"].toArray();
        QTEST(assets.size(), "entries");
        QTEST(assets[0]["ASSET_ID"].toInt(), "firstId");
        QSet<int> ids;
        for (const QJsonValue &asset : assets) {
            ids.insert(asset["ASSET_ID"].toInt());
            QVERIFY(!asset["ASSET_NAME"].toString().isEmpty() && !asset["ARTIST_NAME"].toString().isEmpty());
            QVERIFY(QDateTime::fromString(asset["DATE_PUBLISHED"].toString(), "yyyy-MM-dd HH:mm:ss").isValid());
            QVERIFY(asset["THUMBNAIL_FILE"].toString().startsWith("https://www.plyx.example/thumbnails/"));
        }
        QCOMPARE(ids.size(), assets.size());
    }

    void texturedModelsAreWhole_data()
    {
        QTest::addColumn<int>("triangles");
        QTest::newRow("101") << 12;
        QTest::newRow("102") << 384;
        QTest::newRow("103") << 1024;
        QTest::newRow("104") << 216;
        QTest::newRow("105") << 480;
        QTest::newRow("201") << 12;
    }

    void texturedModelsAreWhole()
    {
        const QString id = QTest::currentDataTag();
        const QJsonValue asset = m_client->get(kApi + "/Asset/" + id).json.value("ASSET");
        const auto formats = filesOf(asset["FILEFORMATS"]["FILEFORMAT"], "FILEID");
        const auto textures = filesOf(asset["TEXTURESFILES"]["TEXTURESFILE"], "ID");
        QVERIFY(formats.size() > 1 && formats.contains("OBJ ( .obj )"));
        const QByteArray obj = fetched(id, formats["OBJ ( .obj )"]);
        QFETCH(int, triangles);
        QCOMPARE(obj.count("\nf "), triangles);
        const auto named = [](const char *pattern, const QByteArray &text) {
            return QRegularExpression(pattern, QRegularExpression::MultilineOption).match(text).captured(1);
        };
        const QByteArray mtl = fetched(id, textures[named("^mtllib (.*)$", obj)]);
        QCOMPARE(named("^newmtl (.*)$", mtl), named("^usemtl (.*)$", obj));
        const int image = textures[named("^map_Kd (.*)$", mtl)];
        QCOMPARE(QImage::fromData(fetched(id, image)).size(), QSize(256, 256));
        m_cloud->addRule("files*.plyx.example", "/v1/Once/*.png", "status=503");
        QVERIFY(fetched(id, image).contains("rule") && fetched(id, formats["OBJ ( .obj )"]) == obj);
        const QByteArray picture = m_client->get(asset["THUMBNAIL_FILE"].toString()).body;
        QCOMPARE(QImage::fromData(picture).size(), QSize(96, 96));
        QVERIFY(!m_pictures.contains(picture)); // none looks like another
        m_pictures.insert(picture);
    }

    void noGalleryShowsANameTwice()
    {
        QSet<QString> names;
        const QJsonDocument catalogue = QJsonDocument::fromJson(readFile(m_cloud->plyxDir() + "/catalogue.json"));
        for (const QJsonValue &asset : catalogue["assets"].toArray()) {
            const QString name = QString::number(asset["gallery"].toInt()) + ' ' + asset["name"].toString();
            QVERIFY2(!names.contains(name), qPrintable(name));
            names.insert(name);
        }
        QVERIFY(names.contains("27 Wooden barrel") && names.contains("31 Brick tower"));
        QVERIFY(m_client->get(kApi + "/Search?media_type_id=27&keyword=brick").json["TOTAL_RESULT_COUNT"].toInt() > 2);
    }

    void oddAssetsAreServedAsTheyAre()
    {
        const auto formats = [&](const char *id) {
            return m_client->get(kApi + "/Asset/" + id).json.value("ASSET")["FILEFORMATS"]["FILEFORMAT"];
        };
        QVERIFY(!filesOf(formats("115"), "FILEID").contains("OBJ ( .obj )"));
        QVERIFY(!m_client->get(kApi + "/Asset/106").json["ASSET"].toObject().contains("TEXTURESFILES"));
        const QByteArray bare = fetched("106", filesOf(formats("106"), "FILEID").value("OBJ ( .obj )"));
        QVERIFY(bare.contains("\nf ") && !bare.contains("mtllib"));
        const QString odd = m_client->get(kApi + "/Asset/112").json.value("ASSET")["ASSET_NAME"].toString();
        QCOMPARE(odd, QString::fromUtf8("Grüße aus München – Модель"));
        const QMap<QString, int> statuses{
            {kApi + "/Asset/x", 400},
            {kApi + "/Asset/99999999999999999999", 400},
            {kApi + "/Asset/-1", 404},
            {kFiles + "101", 400},
            {kFiles + "101_1012_3", 400},
            {kFiles + "101_x", 400},
            {kFiles + "101_1022", 404},
            {kFiles + "100_1012", 404},
            {"https://files1.plyx.example/v1/Once/none", 403},
            {"https://files1.plyx.example/API/v1/Member", 404},
            {"https://www.plyx.example/thumbnails/..%2Fcatalogue.json", 404},
            {"https://www.plyx.example/thumbnails/crate-none.png", 404},
        };
        for (auto it = statuses.begin(); it != statuses.end(); ++it) {
            CloudClient plain(*m_cloud);
            CloudClient &client = it.key().contains("/Once/") ? plain : *m_client;
            QVERIFY2(client.get(it.key()).status == it.value(), qPrintable(it.key()));
        }
    }

    void aKeyWorksOnceAndWithoutASession()
    {
        QStringList chosen;
        for (int i = 0; i < 3; ++i)
            chosen.append(m_client->get(kChoose).json["DOWNLOAD"].toString());
        QVERIFY(chosen[0] == chosen[2] && chosen[0] != chosen[1] && chosen[0].endsWith(".plyx.example"));
        for (const QString &host : chosen.mid(0, 2)) {
            const QByteArray to = m_client->get("https://" + host + "/v1/Download?id=102_1022").headers["Location"];
            const QUrl target(to);
            QVERIFY2(target.scheme() == "https" && target.host() != host && chosen.contains(target.host()), to);
            CloudClient plain(*m_cloud);
            QCOMPARE(clientOf(*m_cloud, "QK4ZT8", m_session.id, {})->get(to).status, 400);
            QCOMPARE(clientOf(*m_cloud, {}, {}, m_session.secureId)->get(to).status, 400);
            m_cloud->addRule(target.host(), "/v1/Once/*", "status=503", 1);
            QCOMPARE(plain.get(to).status, 503);
            QCOMPARE(plain.get(to).body, readFile(m_cloud->plyxDir() + "/files/barrel.obj"));
            QCOMPARE(plain.get(to).status, 403);
        }
    }

    void sessionsOutliveTheProcessUntilRevoked()
    {
        const QString stored = m_data.filePath(".localcloud/plyx-sessions.json");
        const localcloud::PlyxSession before = m_session;
        start();
        const auto client = clientOf(*m_cloud, "QK4ZT8", before.id, before.secureId);
        QCOMPARE(client->get(kApi + "/Member").status, 200);
        QVERIFY(isPrivate(stored) && readFile(stored).contains(before.secureId.toUtf8()));
        m_cloud->revokePlyxSessions();
        QVERIFY(m_cloud->plyxSessionCount() == 0 && !readFile(stored).contains(before.secureId.toUtf8()));
        QCOMPARE(client->get(kApi + "/Member").status, 401);
        signIn();
    }

    void refusesADamagedCatalogue()
    {
        for (const char *text : {"", "{", "[]", "{\"assets\": 1}"}) {
            QTemporaryDir dir;
            QVERIFY(writeFile(dir.filePath("plyx/catalogue.json"), text));
            LocalCloudOptions options;
            options.dataDir = dir.path();
            QString error;
            QVERIFY2(!LocalCloud(options).start(&error) && error.contains("catalogue.json"), text);
        }
    }

private:
    void start()
    {
        LocalCloudOptions options;
        options.dataDir = m_data.path();
        options.seed = localcloud::SeedAmount::Small;
        m_cloud = std::make_unique<LocalCloud>(options);
        QString error;
        QVERIFY2(m_cloud->start(&error), qPrintable(error));
        signIn();
    }

    void signIn()
    {
        m_session = m_cloud->issuePlyxSession();
        m_client = clientOf(*m_cloud, "QK4ZT8", m_session.id, m_session.secureId);
    }

    /// Downloads a file by way of the redirect.
    QByteArray fetched(const QString &asset, int file)
    {
        const CloudReply first = m_client->get(kFiles + asset + '_' + QString::number(file));
        return CloudClient(*m_cloud).get(first.headers["Location"]).body;
    }

    QTemporaryDir m_data;
    std::unique_ptr<LocalCloud> m_cloud;
    localcloud::PlyxSession m_session;
    std::unique_ptr<CloudClient> m_client; // signed in
    QSet<QByteArray> m_pictures;
};

QTEST_MAIN(TestLocalCloudPlyx)
#include "tst_localcloudplyx.moc"
