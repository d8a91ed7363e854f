#include "CloudClient.h"
#include <QImage>
#include <QJsonArray>
#include <QJsonDocument>
#include <QRegularExpression>
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
        m_cloud = startCloud(m_data.path(), localcloud::SeedAmount::Small);
        signIn();
    }
    void init() { m_cloud->clearRules(); }

    void signsInThroughThePage()
    {
        CloudClient browser(*m_cloud); // one that keeps cookies
        browser.setHeader("Content-Type", "application/x-www-form-urlencoded");
        QWebView view;
        view.resize(343, 368);
        view.setHtml(browser.get(kLogin).body);
        const QSize size = view.page()->mainFrame()->contentsSize();
        QVERIFY2(QRect(400, 400, 201, 201).contains(size.width(), size.height()),
                 qPrintable(QString("%1 x %2").arg(size.width()).arg(size.height())));
        QVERIFY(view.page()->mainFrame()->findFirstElement("#error").isNull());

        const int before = m_cloud->plyxSessionCount();
        const QString hostile = "\"><b>demo</b>&amp;";
        for (const auto &[user, password] : {std::pair(hostile, "demo"), {"demo", "Secret"}, {"", ""}}) {
            const QByteArray form = "stay=yes&user=" + QUrl::toPercentEncoding(user) + "&password=" + password;
            const CloudReply refused = browser.send("POST", kLogin, form);
            QVERIFY2(refused.status == 200 && refused.body.contains("id=\"error\""), refused.body);
            QVERIFY2(refused.body.contains("value=\"" + user.toHtmlEscaped().toUtf8() + '"'), refused.body);
            QVERIFY2(refused.body.contains("value=\"yes\" checked>"), refused.body);
            QVERIFY2(!refused.body.contains("Secret"), refused.body);
        }
        QVERIFY(m_cloud->plyxSessionCount() == before && browser.get(kLogin).status == 200);

        // The second time the browser is known. Both sessions hold, and neither goes with the other's secure half.
        const QByteArray signedIn =
            browser.send("POST", kLogin, "stay=yes&user=demo&password=demo").headers["Location"];
        QVERIFY2(signedIn.contains("?Session=%2B%2F") && signedIn.contains("&SecureSession=%2B%2F"), signedIn);
        const QUrlQuery first((QUrl(signedIn)));
        const QUrlQuery second(QUrl(browser.get(kLogin).headers["Location"]));
        QCOMPARE(m_cloud->plyxSessionCount(), before + 2);
        for (const auto &[one, other, name] :
             {std::tuple(first, first, "Robin Example"), {second, second, "Robin Example"}, {first, second, ""}}) {
            const QString id = one.queryItemValue("Session", QUrl::FullyDecoded);
            const QString secureId = other.queryItemValue("SecureSession", QUrl::FullyDecoded);
            const CloudReply member = clientOf(*m_cloud, "QK4ZT8", id, secureId)->get(kApi + "/Member");
            QVERIFY(member.json["MEMBERNAME"].toString() == name && member.json.contains("MEMBERID") == (*name != 0));
        }
        m_cloud->revokePlyxSessions();
        QCOMPARE(browser.get(kLogin).status, 200);
        QCOMPARE(m_client->get(QString(kLogin).replace("QK4ZT8", "QK4ZT9")).status, 400);
        signIn();
    }

    void wantsItsHeaders()
    {
        const QMap<int, QStringList> calls{
            // the headers that are needed: 1 the code, 2 the session, 4 its secure half
            {0, {kLogin, "https://www.plyx.example/thumbnails/crate-painted.png"}},
            {3, {kChoose}},
            {7,
             {kApi + "/Member", kApi + "/Member/Assets", kApi + "/Search", kApi + "/Asset/101", kFiles + "101_1012"}},
        };
        for (int sent = 0; sent < 8; ++sent) {
            const auto part = [sent](int bit, const QString &value) { return sent & bit ? value : QString(); };
            const auto client =
                clientOf(*m_cloud, part(1, "QK4ZT8"), part(2, m_session.id), part(4, m_session.secureId));
            for (const int wanted : calls.keys()) {
                const int status = (sent & wanted) == wanted ? 200 : 401;
                for (const QString &url : calls[wanted]) {
                    const int answer = client->get(url).status;
                    QVERIFY2(answer == status || (answer == 302 && status == 200), qPrintable(url));
                }
            }
        }
        const auto nobody = clientOf(*m_cloud, "QK4ZT8", {}, {});
        nobody->setHeader("X-Session", "");
        nobody->setHeader("X-Secure-Session", "");
        for (const QString &url : calls[7] + calls[3]) {
            QCOMPARE(clientOf(*m_cloud, "QK4ZT9", m_session.id, m_session.secureId)->get(url).status, 401);
            const CloudReply reply = nobody->get(url);
            QCOMPARE(reply.status, url.endsWith("/Member") ? 200 : 401);
            QCOMPARE(reply.json["ERROR"].toString(), QString(reply.status == 200 ? "Nobody is signed in." : ""));
            QCOMPARE(m_client->send("DELETE", url).status, 405);
            const QString other = url.startsWith("https") ? "http" + url.mid(5) : "https" + url.mid(4);
            QCOMPARE(m_client->get(other).status, 403);
        }
    }

    void listsPages()
    {
        const QString usual = "/Search?file_type_ids=119&content=free&sort_by=date&sort_order=desc&media_type_id=";
        const QString pages = usual + "27&page_size=64&page_num=";
        const QString words = "&is_all_keywords=all&keyword=";
        const QString own = "/Member/Assets?file_type_ids=119";
        const QVector<QPair<QString, QString>> lists{
            // results, pages, the current one, its entries and the first of their numbers
            {pages + '1', "220 4 1 64 101"},
            {pages + '0', "220 4 1 64 101"},
            {pages + '3', "220 4 3 64 1127"},
            {pages + '4', "220 4 4 28 1191"},
            {pages + '5', "220 4 5 0 0"},
            {pages + "2147483647", "220 4 2147483647 0 0"},
            {usual + "28", "40 2 1 20 103"},
            {usual + "31&page_size=64", "24 1 1 24 104"},
            {"/Search?media_type_id=31&file_type_ids=119&page_size=1", "25 25 1 1 104"}, // one is for sale
            {"/Search?file_type_ids=7,8", "1 1 1 1 117"},
            {"/Search?content=free&sort_by=date&sort_order=asc&media_type_id=35&page_size=5", "12 3 1 5 4010"},
            {usual + "30", "0 0 1 0 0"},
            {own + "&page_num=1&page_size=64", "6 1 1 6 201"},
            {own + words + "MY stool", "1 1 1 1 202"},
            {usual + "31" + words + "bolts%20NUTS", "1 1 1 1 111"},
            {usual + "27" + words + "red barrel", "1 1 1 1 1132"},
            {usual + "28&keyword=red barrel", "6 1 1 6 2002"},
            {usual + "27&keyword=brick", "16 1 1 16 1004"},
            {usual + "35" + words + "%C3%B6berg+ring", "1 1 1 1 4010"},
            {usual + "31" + words + "%26 %22bolts%22 %3Cb%3E", "1 1 1 1 111"},
            {usual + "31" + words + "%25 %231", "1 1 1 1 114"},
            {usual + "27" + words + "arrel", "0 0 1 0 0"}, // not inside words
        };
        for (const auto &[call, expected] : lists) {
            const QJsonObject reply = m_client->get(kApi + call).json;
            QVERIFY2(reply["ASSETS"]["ASSET"].isArray(), qPrintable(call));
            const QJsonArray assets = reply["ASSETS"]["ASSET"].toArray();
            QStringList numbers;
            for (const char *key : {"TOTAL_RESULT_COUNT", "TOTAL_PAGE_COUNT", "CURRENT_PAGE"})
                numbers.append(QString::number(reply[key].toInt(-1)));
            QSet<int> ids;
            for (const QJsonValue &asset : assets) {
                ids.insert(asset["ASSET_ID"].toInt());
                QVERIFY(!asset["ASSET_NAME"].toString().isEmpty() && !asset["ARTIST_NAME"].toString().isEmpty());
                QVERIFY(QDateTime::fromString(asset["DATE_PUBLISHED"].toString(), "yyyy-MM-dd HH:mm:ss").isValid());
                QVERIFY(asset["THUMBNAIL_FILE"].toString().startsWith("https://www.plyx.example/thumbnails/"));
            }
            numbers << QString::number(ids.size()) << QString::number(assets[0]["ASSET_ID"].toInt());
            QVERIFY2(numbers.join(' ') == expected, qPrintable(call + ": " + numbers.join(' ')));
        }
        for (const char *bad :
             {"page_num=-1", "page_num=x", "page_num=99999999999999999999", "page_size=0", "page_size=1e3",
              "media_type_id=NaN", "media_type_id=99999999999", "file_type_ids=119,x"})
            QVERIFY2(m_client->get(kApi + "/Search?" + bad).status == 400, bad);
    }

    void texturedModelsAreWhole()
    {
        QSet<QByteArray> pictures;
        const QStringList ids{"101", "102", "103", "104", "105", "201"};
        for (const QString &id : ids) {
            const QJsonValue asset = m_client->get(kApi + "/Asset/" + id).json.value("ASSET");
            const auto formats = filesOf(asset["FILEFORMATS"]["FILEFORMAT"], "FILEID");
            const auto textures = filesOf(asset["TEXTURESFILES"]["TEXTURESFILE"], "ID");
            const QByteArray obj = fetched(id, formats["OBJ ( .obj )"]);
            QVERIFY(formats.size() > 1 && obj.contains("\nf "));
            const auto named = [](const char *pattern, const QByteArray &text) {
                return QRegularExpression(pattern, QRegularExpression::MultilineOption).match(text).captured(1);
            };
            const QByteArray mtl = fetched(id, textures[named("^mtllib (.*)$", obj)]);
            QCOMPARE(named("^newmtl (.*)$", mtl), named("^usemtl (.*)$", obj));
            const int image = textures[named("^map_Kd (.*)$", mtl)];
            QCOMPARE(QImage::fromData(fetched(id, image)).size(), QSize(256, 256));
            const QByteArray picture = m_client->get(asset["THUMBNAIL_FILE"].toString()).body;
            QCOMPARE(QImage::fromData(picture).size(), QSize(96, 96));
            pictures.insert(picture);
        }
        QCOMPARE(pictures.size(), ids.size()); // none looks like another
    }

    void noGalleryShowsANameTwice()
    {
        QSet<QString> names;
        const QJsonDocument catalogue = QJsonDocument::fromJson(readFile(m_cloud->plyxDir() + "/catalogue.json"));
        for (const QJsonValue &asset : catalogue["assets"].toArray())
            names.insert(QString::number(asset["gallery"].toInt()) + ' ' + asset["name"].toString());
        QCOMPARE(names.size(), catalogue["assets"].toArray().size());
        QVERIFY(names.contains("27 Wooden barrel") && names.contains("31 Brick tower"));
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
        const QString page = "https://www.plyx.example/";
        const QMap<int, QStringList> urls{
            {400,
             {kApi + "/Asset/x", kApi + "/Asset/99999999999999999999", kFiles + "101", kFiles + "101_1012_3",
              kFiles + "101_x"}},
            {404,
             {kApi + "/Asset/-1", kFiles + "101_1022", kFiles + "100_1012", "https://files1.plyx.example/API/v1/Member",
              page + "thumbnails/..%2Fcatalogue.json", page + "thumbnails/crate-none.png"}},
        };
        for (const int status : urls.keys()) {
            for (const QString &url : urls[status])
                QVERIFY2(m_client->get(url).status == status, qPrintable(url));
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
            m_cloud->addRule(target.host(), "/v1/Once/*", "status=503", 1);
            QCOMPARE(CloudClient(*m_cloud).get(to).status, 503);
            QCOMPARE(clientOf(*m_cloud, "QK4ZT8", m_session.id, {})->get(to).status, 400);
            QCOMPARE(clientOf(*m_cloud, {}, {}, m_session.secureId)->get(to).status, 400);
            QCOMPARE(CloudClient(*m_cloud).get(to).body, readFile(m_cloud->plyxDir() + "/files/barrel.obj"));
            QCOMPARE(CloudClient(*m_cloud).get(to).status, 403);
        }
    }

private:
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
};

QTEST_MAIN(TestLocalCloudPlyx)
#include "tst_localcloudplyx.moc"
