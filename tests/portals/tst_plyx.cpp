// portals/tst_plyx.cpp
//
// Signing in to Plyx on its page, then search and download: over real sockets, against the local cloud.

#include "cloud/PortalCall.h"
#include "CloudFixture.h"
#include "portals/Portal_Plyx.h"
#include "portals/Portal_Plyx_CloudItem.h"
#include "shell/TestFiles.h"

using namespace ICloudPortalApi;

namespace {

const char member[] = "GET /API/v1/Member";
const char loginPage[] = "/TokenAPI/login.cfm?afc=QK4ZT8&secure=1&display=iframe";

const char catalogue[] = R"json({"assets":[
    {"id":512,"gallery":28,"name":"Red car","published":"2014-05-03","fileTypes":[119],
     "formats":[{"id":9,"name":"STL","file":"stl"},{"id":10,"name":"OBJ ( .obj )","file":"obj"}],
     "textures":[{"id":11,"name":"a/../skin.jpg","file":"skin"},{"id":12,"name":"..","file":"skin"},
                 {"id":13,"name":"C:\\coat.png","file":"coat"}]},
    {"id":513,"gallery":28,"name":"50% #1 R&D car","published":"2014-05-04","fileTypes":[119],
     "formats":[{"id":1,"name":"STL","file":"stl"}]},
    {"id":514,"gallery":28,"name":"Red house","published":"2014-05-05","fileTypes":[119]}]})json";

} // namespace

class TestPlyx : public QObject, private SignInWindow
{
    Q_OBJECT

private slots:
    void init()
    {
        m_folder = std::make_unique<QTemporaryDir>();
        writeFile(m_folder->filePath("plyx/catalogue.json"), catalogue);
        for (const char *file : {"obj", "skin", "coat"})
            writeFile(m_folder->filePath("plyx/files/") + file, QByteArray("the ") + file);
        LocalCloudOptions options;
        options.dataDir = m_folder->path();
        m_fixture = std::make_unique<CloudFixture>(options);
        store({});
        m_login = new Portal_Plyx_Login;
        m_portal = std::make_unique<Portal_Plyx>(m_login, new Portal_Plyx_IPortalBrowser);
        m_owner = RecordingOwner();
        m_owner.window = &m_window;
        m_portal->setOwnerCB(&m_owner);
    }

    void cleanup()
    {
        for (const QString &secret : stored().split('|', Qt::SkipEmptyParts))
            QVERIFY2(!m_fixture->everythingShown().contains(secret), qPrintable(m_fixture->everythingShown()));
        m_portal.reset();
        m_fixture.reset();
    }

    void pageSignsIn()
    {
        bool wasGuarded = false;
        m_owner.onDone = [&] {
            wasGuarded = PortalCall::isRunning() && m_login->IsLogin();
            QVERIFY(!m_login->LoginUIDoneCB(QUrl("https://www.plyx.example/?Session=second")));
        };
        QVERIFY(m_login->Login(&m_owner) && dialog());
        submit("wrong");
        QTRY_VERIFY(page()->toPlainText().contains("is wrong"));
        QVERIFY(m_owner.heard.isEmpty() && stored() == "|");
        submit("demo");
        QTRY_VERIFY(!dialog());
        QVERIFY(m_owner.heard == QList<bool>{true} && wasGuarded);

        const QString post = QString("POST ") + loginPage;
        QCOMPARE(m_fixture->requests().mid(0, 4), (QStringList{member, QString("GET ") + loginPage, post, post}));
        QVERIFY(m_fixture->cloud.plyxSessionCount() == 1 && stored().contains('+'));
        KString name;
        QVERIFY(m_login->GetUsername(name) && name == "Robin Example" && m_login->IsLogin());
        QCOMPARE(m_fixture->requests().count(member), 3); // the sign-in, the owner's question, the name
    }

    void addressesOfThePage()
    {
        for (const char *address : {"https://a.b/", "https://a.b/?SecureSession=d", "https://a.b/?session=a#Session=a"})
            QVERIFY2(!m_login->LoginUIDoneCB(QUrl::fromEncoded(address)) && stored() == "|", address);
        QVERIFY(m_login->LoginUIDoneCB(QUrl::fromEncoded("https://a.b/?x=1&Session=%2B%2F%3D+&SecureSession=d%26")));
        QVERIFY(stored() == "+/=+|d&" && m_login->GetSecureSessionID() == "d&");
        QVERIFY(m_login->LoginUIDoneCB(QUrl("https://a.b/?Session=abc")) && stored() == "abc|");

        const QByteArray address = QByteArray("https://www.plyx.example") + loginPage;
        QCOMPARE(m_login->CreateLoginRequest(nullptr, 0), address.size() + 1);
        for (const int cut : {address.size(), 8}) {
            QByteArray buffer(100, 'x');
            m_login->CreateLoginRequest(buffer.data(), static_cast<unsigned long>(cut) + 1);
            QCOMPARE(buffer, address.left(cut) + '\0' + QByteArray(99 - cut, 'x'));
        }
    }

    void storedSessionNeedsNoPageUnlessStale()
    {
        signIn();
        QVERIFY(m_login->Login(&m_owner) && m_owner.heard == QList<bool>{true} && !dialog());
        QVERIFY(m_login->IsLogin() && m_login->IsLogin());
        QCOMPARE(m_fixture->requests(), (QStringList{member, member}));
        m_fixture->cloud.addRule("*", "*/Member", "status=503", 1);
        QVERIFY(m_login->Login(&m_owner) && m_owner.heard.size() == 2 && !dialog()); // valid at second sight
        QVERIFY(m_login->LoginUIDoneCB(QUrl("https://a.b/?Session=late")) && m_owner.heard.size() == 2);

        KString name;
        QVERIFY(m_login->Logout() && stored() == "|" && !m_login->IsLogin() && !m_login->GetUsername(name));
        store({"stale", "stale"});
        QVERIFY(m_login->Login(&m_owner) && dialog());
        const QPointer<QDialog> first = dialog();
        QVERIFY(m_login->Login(&m_owner) && dialog() && dialog() != first);
        dialog()->reject();
        QVERIFY(!dialog() && m_owner.heard.size() == 2 && !m_login->IsLogin());
        QVERIFY(m_login->Login(&m_owner) && dialog() && m_login->Logout() && !dialog());

        int requestsLeft = 1;
        connect(&m_fixture->cloud, &LocalCloud::requestServed, m_fixture.get(), [&](const RequestRecord &record) {
            if (record.target == "/API/v1/Member" && --requestsLeft == 0)
                m_login->Logout();
        });
        signIn();
        QVERIFY(!m_login->Login(&m_owner) && m_owner.heard.size() == 2 && !dialog() && stored() == "|");
        store({"stale", "stale"});
        requestsLeft = 2;
        QVERIFY(!m_login->Login(&m_owner) && m_owner.heard.size() == 2 && !dialog() && stored() == "|");
    }

    void galleryToFiles()
    {
        signIn();
        const QString path = "GET /API/v1/Search?file_type_ids=119&media_type_id=28&content=free&page_num=1&page_size=2"
                             "&sort_by=date&sort_order=desc";
        QCOMPARE(found(PlyxFolders::lumoMobile), QString("Red house, 50% #1 R&D car, 1 2 3"));
        QCOMPARE(m_fixture->requests(), (QStringList{member, path}));
        QCOMPARE(found(PlyxFolders::lumoMobile, L"% #1 &"), QString("50% #1 R&D car, 1 1 1"));
        QCOMPARE(m_fixture->requests().last(), path + "&keyword=%25%20%231%20%26&is_all_keywords=all");
        QCOMPARE(found(PlyxFolders::home), QString("1 0 0"));
        QCOMPARE(found(PlyxFolders::root), QString("failed -1 -1 -1"));
        QVERIFY(m_fixture->boxes.isEmpty());
        QCOMPARE(found("", L"@files1.plyx.example/"), QString("failed -1 -1 -1"));
        m_fixture->cloud.addRule("*", "/API/v1/Search", "status=401", 1);
        QCOMPARE(found(PlyxFolders::lumo), QString("failed -1 -1 -1"));
        QVERIFY(m_fixture->boxes.size() == 2 && m_fixture->requests().size() == 5);

        m_fixture->cloud.clearRequests();
        QVERIFY(download("512") && m_fixture->boxes.size() == 2);
        QCOMPARE(downloaded(), QString("coat.png: the coat, model: the obj, skin.jpg: the skin, "));
        QStringList went; // scheme, host, target, then which headers came along
        for (const RequestRecord &request : m_fixture->cloud.requests()) {
            QString text = (request.tls ? "s " : "p ") + request.host.section('.', 0, 0) + ' ' + request.target;
            for (const char *header : {"X-AFC", "X-Session", "X-Secure-Session", "Cache-Control"})
                text += request.header(header).isEmpty() ? '-' : '+';
            went << text.replace(QRegularExpression("Once/[^-+]*"), "Once ");
        }
        const QString ask = "p www /API/v1/Server/Download++-+";
        QCOMPARE(went, (QStringList{"s www /API/v1/Asset/512++++", ask, "s files1 /v1/Download?id=512_11++++",
                                    "s files2 /v1/Once ----", ask, "s files2 /v1/Download?id=512_13++++",
                                    "s files1 /v1/Once ----", ask, "s files1 /v1/Download?id=512_10++++",
                                    "s files2 /v1/Once ----"}));
        QVERIFY(download("513")); // is offered in another format only
        QCOMPARE(m_fixture->cloud.requests().size(), 11);
    }

    void failuresLeaveTheRest()
    {
        httpClient::setDefaultTimeouts(150, 150);
        signIn();
        const QString rest = "coat.png: the coat, model: the obj, ";
        const std::tuple<const char *, QString, bool, int, QString> faults[] = {
            {"/API/v1/Asset/512", "status=503", false, 1, ""},
            {"/v1/Once/*", "hang", true, 1, rest + "skin.jpg: , "},
            {"/v1/Download*", "cut=1", true, 1, rest + "skin.jpg: T, "},
            {"/API/v1/Server/Download", "status=500", true, 1, rest},
            {"/API/v1/Server/Download", "body=" + m_folder->filePath("plyx/files/obj"), true, 0, rest}, // no JSON
        };
        for (const auto &[path, action, result, boxes, files] : faults) {
            QDir(local()).removeRecursively();
            m_fixture->boxes.clear();
            m_fixture->cloud.addRule("*", path, action, 1);
            QCOMPARE(download("512"), result);
            QCOMPARE(downloaded(), files);
            QCOMPARE(m_fixture->boxes.size(), boxes);
        }
        m_fixture->cloud.addRule("*", "/v1/Download", "status=404");
        QVERIFY(!download("512"));
    }

private:
    static void store(const localcloud::PlyxSession &session)
    {
        Tavrin::Settings settings(Portal_Plyx_Login::settingsName);
        settings.setSessionID(KQtUtil::toKString(session.id));
        settings.setSecureSessionID(KQtUtil::toKString(session.secureId));
    }
    /// Both identifiers as "session|secure".
    static QString stored()
    {
        const Tavrin::Settings settings(Portal_Plyx_Login::settingsName);
        return KQtUtil::toQString(settings.getSessionID() + "|" + settings.getSecureSessionID());
    }
    void signIn() { store(m_fixture->cloud.issuePlyxSession()); }

    static std::unique_ptr<ICloudItem> makeItem(const char *id)
    {
        auto item = std::make_unique<Portal_Plyx_ICloudItem>(nullptr);
        item->SetProperty("UniqueID", id);
        return item;
    }
    /// What the first page of two shows: names, then page, pages and results.
    QString found(const char *folder, const wchar_t *keywords = nullptr)
    {
        HeaderMap criteria;
        m_portal->FillSearchCriteria(makeItem(folder).get(), criteria);
        if (keywords)
            criteria[L"SearchString"] = keywords;
        ItemVector items;
        int n[] = {-1, -1, -1};
        IPortalBrowser *browser = m_portal->GetBrowser();
        QString text(browser->SearchCloudItems(m_login, criteria, 1, 2, items, n[0], n[1], n[2]) ? "" : "failed ");
        for (ICloudItem *item : items) {
            text += KQtUtil::toQString(item->GetDisplayName()) + ", ";
            item->FolderClick();
            text += m_owner.clicked == item ? "" : "(not heard) ";
            delete item;
        }
        return text + QString("%1 %2 %3").arg(n[0]).arg(n[1]).arg(n[2]);
    }
    /// The item goes as soon as the first request has been served.
    bool download(const char *id)
    {
        auto item = makeItem(id);
        const auto gone = connect(&m_fixture->cloud, &LocalCloud::requestServed, this, [&] { item.reset(); });
        const auto stop = qScopeGuard([&] { disconnect(gone); });
        return m_portal->GetBrowser()->DownloadCloudItem(m_login, item.get(), KQtUtil::toKString(local()), "model");
    }
    QString local() const { return m_folder->filePath("local/"); }
    QString downloaded() const
    {
        QString files;
        for (const QString &name : QDir(local()).entryList(QDir::Files, QDir::Name))
            files += name + ": " + readFile(local() + name) + ", ";
        return files;
    }

    std::unique_ptr<QTemporaryDir> m_folder;
    std::unique_ptr<CloudFixture> m_fixture;
    std::unique_ptr<Portal_Plyx> m_portal;
    Portal_Plyx_Login *m_login = nullptr; // the portal's
    RecordingOwner m_owner;
};

QTEST_MAIN(TestPlyx)
#include "tst_plyx.moc"
