// localcloud/tst_localcloudplyx.cpp
//
// The Plyx service: its sign-in page, searches, and the models of the seeded catalogue.

#include "CloudClient.h"

#include <QtTest>
#include <QtWebKitWidgets>

namespace {

const QString kLogin = QStringLiteral("https://www.plyx.example/TokenAPI/login.cfm?afc=QK4ZT8&secure=1&display=iframe");
const QString kApi = QStringLiteral("https://www.plyx.example/API/v1");
const QString kChoose = QStringLiteral("http://www.plyx.example/API/v1/Server/Download");
const QString kFiles = QStringLiteral("https://files1.plyx.example/v1/Download?id=");

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

    void signsInThroughThePage()
    {
        CloudClient browser(*m_cloud); // one that keeps cookies
        browser.setHeader("Content-Type", "application/x-www-form-urlencoded");
        QWebView view;
        view.resize(343, 368);
        view.setHtml(browser.get(kLogin).body);
        const QSize size = view.page()->mainFrame()->contentsSize();
        QVERIFY(QRect(400, 400, 201, 201).contains(size.width(), size.height()));
        QVERIFY(view.page()->mainFrame()->findFirstElement("#error").isNull());

        const QString hostile = "\"><b>demo</b>&amp;";
        for (const auto &[user, password] : {std::pair(hostile, "demo"), {"demo", "Secret"}, {"", ""}}) {
            const QByteArray form = "stay=yes&user=" + QUrl::toPercentEncoding(user) + "&password=" + password;
            const CloudReply refused = browser.send("POST", kLogin, form);
            QVERIFY2(refused.status == 200 && refused.body.contains("id=\"error\""), refused.body);
            QVERIFY2(refused.body.contains("value=\"" + user.toHtmlEscaped().toUtf8() + '"'), refused.body);
            QVERIFY2(refused.body.contains("value=\"yes\" checked>"), refused.body);
            QVERIFY2(!refused.body.contains("Secret"), refused.body);
        }
        QVERIFY(m_cloud->plyxSessionCount() == 1 && browser.get(kLogin).status == 200);

        // The second time the browser is known. Both sessions hold, and neither goes with the other's secure half.
        const QByteArray signedIn =
            browser.send("POST", kLogin, "stay=yes&user=demo&password=demo").headers["Location"];
        QVERIFY2(signedIn.contains("?Session=%2B%2F") && signedIn.contains("&SecureSession=%2B%2F"), signedIn);
        const QUrlQuery first((QUrl(signedIn)));
        const QUrlQuery second(QUrl(browser.get(kLogin).headers["Location"]));
        QCOMPARE(m_cloud->plyxSessionCount(), 3);
        const auto statusOf = [&](const QUrlQuery &one, const QUrlQuery &other) {
            m_session = {one.queryItemValue("Session", QUrl::FullyDecoded),
                         other.queryItemValue("SecureSession", QUrl::FullyDecoded)};
            return clientWith(7)->get(kApi + "/Member").status;
        };
        QVERIFY(statusOf(first, first) == 200 && statusOf(second, second) == 200 && statusOf(first, second) == 401);
        m_cloud->revokePlyxSessions();
        QCOMPARE(browser.get(kLogin).status, 200);
        QCOMPARE(m_client->get(QString(kLogin).replace("QK4ZT8", "QK4ZT9")).status, 400);
        signIn();
    }

    void wantsItsHeaders()
    {
        const QMap<int, QStringList> calls{
            // the headers that are needed, as clientWith() counts them
            {0, {kLogin, "https://www.plyx.example/thumbnails/crate-painted.png"}},
            {3, {kChoose}},
            {7,
             {kApi + "/Member", kApi + "/Member/Assets", kApi + "/Search", kApi + "/Asset/101", kFiles + "101_1012"}},
        };
        for (int sent = 0; sent < 8; ++sent) {
            const auto client = clientWith(sent);
            for (const int wanted : calls.keys()) {
                for (const QString &url : calls[wanted])
                    QVERIFY2((client->get(url).status == 401) == ((sent & wanted) != wanted), qPrintable(url));
            }
        }
        const auto other = clientWith(7);
        other->setHeader("X-AFC", "QK4ZT9");
        const auto nobody = clientWith(1);
        nobody->setHeader("X-Session", "");
        nobody->setHeader("X-Secure-Session", "");
        QVERIFY(nobody->get(kApi + "/Member").json.contains("ERROR"));
        for (const QString &url : calls[7] + calls[3]) {
            QCOMPARE(other->get(url).status, 401);
            QCOMPARE(nobody->get(url).status, url.endsWith("/Member") ? 200 : 401);
            QCOMPARE(m_client->send("DELETE", url).status, 405);
            const QString wrong = url.startsWith("https") ? "http" + url.mid(5) : "https" + url.mid(4);
            QCOMPARE(m_client->get(wrong).status, 403);
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
            const auto named = [](const char *pattern, const QByteArray &text) {
                return QRegularExpression(pattern, QRegularExpression::MultilineOption).match(text).captured(1);
            };
            const QByteArray obj = fetched(id, "OBJ ( .obj )");
            const QByteArray mtl = fetched(id, named("^mtllib (.*)$", obj));
            QVERIFY(obj.contains("\nf ") && !fetched(id, "STL ( .stl )").isEmpty());
            QCOMPARE(named("^newmtl (.*)$", mtl), named("^usemtl (.*)$", obj));
            QCOMPARE(QImage::fromData(fetched(id, named("^map_Kd (.*)$", mtl))).size(), QSize(256, 256));
            const QByteArray picture = m_client->get(asset(id)["THUMBNAIL_FILE"].toString()).body;
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
        QVERIFY(fetched("115", "OBJ ( .obj )").isEmpty() && !fetched("115", "OBJ (.obj)").isEmpty());
        QVERIFY(asset("106")["TEXTURESFILES"].isUndefined());
        const QByteArray bare = fetched("106", "OBJ ( .obj )");
        QVERIFY(bare.contains("\nf ") && !bare.contains("mtllib"));
        QCOMPARE(asset("112")["ASSET_NAME"].toString(), QString::fromUtf8("Grüße aus München – Модель"));
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
            QCOMPARE(clientWith(3)->get(to).status, 400);
            QCOMPARE(clientWith(4)->get(to).status, 400);
            QCOMPARE(CloudClient(*m_cloud).get(to).body, readFile(m_cloud->plyxDir() + "/files/barrel.obj"));
            QCOMPARE(CloudClient(*m_cloud).get(to).status, 403);
        }
    }

private:
    void signIn()
    {
        m_session = m_cloud->issuePlyxSession();
        m_client = clientWith(7);
    }

    /// A client that sends some of the three headers: 1 the code, 2 the session, 4 its secure half.
    std::unique_ptr<CloudClient> clientWith(int headers) const
    {
        auto client = std::make_unique<CloudClient>(*m_cloud);
        if (headers & 1)
            client->setHeader("X-AFC", "QK4ZT8");
        if (headers & 2)
            client->setHeader("X-Session", m_session.id.toLatin1());
        if (headers & 4)
            client->setHeader("X-Secure-Session", m_session.secureId.toLatin1());
        return client;
    }

    QJsonValue asset(const QString &id) { return m_client->get(kApi + "/Asset/" + id).json.value("ASSET"); }

    /// The content of a format or texture; empty when the asset has none of that name.
    QByteArray fetched(const QString &id, const QString &name)
    {
        const QJsonValue found = asset(id);
        for (const auto &[list, key] : {std::pair(found["FILEFORMATS"]["FILEFORMAT"], "FILEID"),
                                        {found["TEXTURESFILES"]["TEXTURESFILE"], "ID"}}) {
            for (const QJsonValue &file : list.toArray()) {
                const QString url = kFiles + id + '_' + QString::number(file[key].toInt());
                if (file["NAME"] == name)
                    return CloudClient(*m_cloud).get(m_client->get(url).headers["Location"]).body;
            }
        }
        return {};
    }

    QTemporaryDir m_data;
    std::unique_ptr<LocalCloud> m_cloud;
    localcloud::PlyxSession m_session;
    std::unique_ptr<CloudClient> m_client; // signed in
};

QTEST_MAIN(TestLocalCloudPlyx)
#include "tst_localcloudplyx.moc"
