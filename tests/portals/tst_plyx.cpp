// portals/tst_plyx.cpp
//
// Signing in to Plyx on its page, then search and download: over real sockets, against the local cloud.

#include "cloud/PortalCall.h"
#include "CloudFixture.h"
#include "portals/Portal_Plyx.h"
#include "portals/Portal_Plyx_CloudItem.h"
#include "shell/TestFiles.h"

#include <QWebElement>
#include <QWebFrame>
#include <QWebView>

using namespace ICloudPortalApi;

namespace {

const char member[] = "GET /API/v1/Member";
const char form[] = "GET /TokenAPI/login.cfm?afc=QK4ZT8&secure=1&display=iframe";
const char server[] = "GET /API/v1/Server/Download";

const char catalogue[] = R"json({"assets":[
    {"id":512,"gallery":28,"name":"Red car","artist":"Robin","published":"2014-05-03","fileTypes":[119],
     "formats":[{"id":9,"name":"STL","file":"stl"},{"id":10,"name":"OBJ ( .obj )","file":"obj"}],
     "textures":[{"id":11,"name":"a/../skin.jpg","file":"skin"},{"id":12,"name":"..","file":"skin"},
                 {"id":13,"name":"C:\\coat.png","file":"coat"}]},
    {"id":513,"gallery":28,"name":"50% #1 R&D car","published":"2014-05-04","fileTypes":[119],
     "formats":[{"id":1,"name":"STL","file":"stl"}]},
    {"id":514,"gallery":28,"name":"Red house","published":"2014-05-05","fileTypes":[119]},
    {"id":515,"gallery":31,"name":"Red boat","published":"2014-05-06","fileTypes":[119]}]})json";

class Owner : public IPortalOwnerCB
{
public:
    void LoginDoneCB(bool success) override
    {
        heard << success;
        onDone();
    }
    void CloudItemClickCB(ICloudItem *item) override { clicked << item; }
    void CloudFolderArrowClickCB(ICloudItem *item) override { clicked << item; }
    QWidget *GetParentLoginWidget() override { return &window; }

    QList<bool> heard;
    std::function<void()> onDone = [] {};
    QList<ICloudItem *> clicked;
    QWidget window;
};

} // namespace

class TestPlyx : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        m_folder = std::make_unique<QTemporaryDir>();
        writeFile(m_folder->filePath("plyx/catalogue.json"), catalogue);
        for (const char *file : {"obj", "skin", "coat"})
            writeFile(m_folder->filePath(QString("plyx/files/") + file), QByteArray("the ") + file);
        LocalCloudOptions options;
        options.dataDir = m_folder->path();
        m_fixture = std::make_unique<CloudFixture>(options);
        store("", "");
        m_login = new Portal_Plyx_Login;
        m_portal = std::make_unique<Portal_Plyx>(m_login, new Portal_Plyx_IPortalBrowser);
        m_owner = std::make_unique<Owner>();
        m_portal->setOwnerCB(m_owner.get());
    }

    void cleanup()
    {
        m_portal.reset();
        m_owner.reset();
        m_fixture.reset();
    }

    void pageSignsIn()
    {
        bool wasGuarded = false;
        m_owner->onDone = [&] {
            wasGuarded = PortalCall::isRunning() && m_login->IsLogin();
            QVERIFY(!m_login->LoginUIDoneCB(QUrl("https://www.plyx.example/?Session=second")));
        };
        QVERIFY(m_login->Login(m_owner.get()) && dialog());
        submit("wrong");
        QTRY_VERIFY(page()->toPlainText().contains("is wrong"));
        QVERIFY(m_owner->heard.isEmpty() && stored() == "|");
        submit("demo");
        QTRY_VERIFY(!dialog());
        QVERIFY(m_owner->heard == QList<bool>{true} && wasGuarded);

        const QString post = QString(form).replace("GET", "POST");
        const QStringList requests = m_fixture->requests();
        QCOMPARE(requests.mid(0, 4), (QStringList{member, form, post, post}));
        QVERIFY(requests.contains(member) && m_fixture->cloud.requests().at(0).header("X-Session").isEmpty());
        const QStringList session = stored().split('|');
        QVERIFY(m_fixture->cloud.plyxSessionCount() == 1 && session.at(0).contains(QRegularExpression("[+/]")));
        KString name;
        QVERIFY(m_login->GetUsername(name) && name == "Robin Example");
        QVERIFY(m_login->IsLogin() &&
                m_fixture->requests().count(member) == 3); // Login, the owner's question, the name
        for (const QString &secret : session)
            QVERIFY2(!m_fixture->everythingShown().contains(secret), qPrintable(m_fixture->everythingShown()));
        QVERIFY(m_login->Logout() && stored() == "|" && !m_login->IsLogin() && !m_login->GetUsername(name));
    }

    void addressesOfThePage()
    {
        for (const char *address : {"https://a.b/", "https://a.b/?SecureSession=d", "https://a.b/?session=a#Session=a"})
            QVERIFY2(!m_login->LoginUIDoneCB(QUrl::fromEncoded(address)) && stored() == "|", address);
        QVERIFY(m_login->LoginUIDoneCB(QUrl::fromEncoded("https://a.b/?x=1&Session=%2B%2F%3D+&SecureSession=d%26")));
        QVERIFY(stored() == "+/=+|d&" && m_login->GetSecureSessionID() == "d&");
        QVERIFY(m_login->LoginUIDoneCB(QUrl("https://a.b/?Session=abc")) && stored() == "abc|");

        const QByteArray address = "https://www.plyx.example/TokenAPI/login.cfm?afc=QK4ZT8&secure=1&display=iframe";
        const long size = m_login->CreateLoginRequest(nullptr, 0);
        QCOMPARE(size, address.size() + 1);
        QByteArray buffer(100, 'x');
        m_login->CreateLoginRequest(buffer.data(), static_cast<unsigned long>(size));
        QCOMPARE(buffer, address + QByteArray("\0", 1) + QByteArray(99 - address.size(), 'x'));
        m_login->CreateLoginRequest(buffer.data(), 9);
        QCOMPARE(buffer.constData(), "https://");
    }

    void storedSessionNeedsNoPageUnlessStale()
    {
        signIn();
        QVERIFY(m_login->Login(m_owner.get()) && m_owner->heard == QList<bool>{true} && !dialog());
        QVERIFY(m_login->IsLogin() && m_login->IsLogin());
        QCOMPARE(m_fixture->requests(), (QStringList{member, member}));

        m_fixture->cloud.addRule("*", "*/Member", "status=503", 1);
        QVERIFY(m_login->Login(m_owner.get()) && m_owner->heard.size() == 2 && !dialog()); // valid at second sight
        m_login->Logout();
        store("stale", "stale");
        QVERIFY(m_login->Login(m_owner.get()) && dialog());
        QPointer<QDialog> first = dialog();
        QVERIFY(m_login->Login(m_owner.get()) && dialog() && dialog() != first);
        dialog()->reject();
        QVERIFY(!dialog() && m_owner->heard.size() == 2 && !m_login->IsLogin());
        QVERIFY(m_login->Login(m_owner.get()) && m_login->Logout() && !dialog());
    }

    void logoutEndsTheConfirmation()
    {
        signIn();
        connect(&m_fixture->cloud, &LocalCloud::requestServed, m_fixture.get(), [this] { m_login->Logout(); });
        QVERIFY(!m_login->Login(m_owner.get()) && m_owner->heard.isEmpty() && !dialog() && stored() == "|");
    }

    void galleryToFiles()
    {
        signIn();
        const QString path = "GET /API/v1/Search?file_type_ids=119&media_type_id=28&content=free&page_num=1&page_size=2"
                             "&sort_by=date&sort_order=desc";
        QVERIFY(search(PlyxFolders::lumoMobile) && m_names == "Red house, 50% #1 R&D car" && m_numbers == "1 2 3");
        QCOMPARE(m_fixture->requests(), (QStringList{member, path}));
        QVERIFY(search(PlyxFolders::lumoMobile, L"% #1 &") && m_names == "50% #1 R&D car");
        QVERIFY(m_fixture->requests().last().endsWith("desc&keyword=%25%20%231%20%26&is_all_keywords=all"));
        QVERIFY(search(PlyxFolders::home) && m_names.isEmpty() && m_numbers == "1 0 0");
        QVERIFY(!search(PlyxFolders::root) && m_fixture->requests().size() == 4 && m_fixture->boxes.isEmpty());
        QVERIFY(!search("", L"@evil.example/") && m_fixture->requests().size() == 4 && m_fixture->boxes.size() == 1);

        QVERIFY(search(PlyxFolders::lumoMobile, L"car RED") && m_names == "Red car");
        m_items.at(0)->FolderClick();
        QCOMPARE(m_owner->clicked, QList<ICloudItem *>{m_items.at(0).get()});
        m_fixture->cloud.clearRequests();
        QVERIFY(download(m_items.at(0).get()));
        QCOMPARE(downloaded(), QStringList({"coat.png: the coat", "model: the obj", "skin.jpg: the skin"}));
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
        QVERIFY(download(makeItem("513").get())); // is offered in another format only
        QCOMPARE(m_fixture->cloud.requests().size(), 11);
    }

    void failuresLeaveTheRest_data()
    {
        QTest::addColumn<QString>("path");
        QTest::addColumn<bool>("result");
        QTest::addColumn<int>("boxes");
        QTest::addColumn<QStringList>("files");
        const QString coat = "coat.png: the coat";
        const QString model = "model: the obj";
        const QString skin = "skin.jpg: the skin";
        QTest::newRow("status=503") << "/API/v1/Asset/512" << false << 1 << QStringList{};
        QTest::newRow("hang") << "/v1/Once/*" << true << 1 << QStringList{coat, model, "skin.jpg: "};
        QTest::newRow("cut=1") << "/v1/Download*" << true << 1 << QStringList{coat, model, "skin.jpg: T"};
        QTest::newRow("status=500") << "/API/v1/Server/Download" << true << 1 << QStringList{coat, model};
        QTest::newRow("body=obj") << "/API/v1/Server/Download" << true << 0 << QStringList{coat, model}; // no JSON
    }

    void failuresLeaveTheRest()
    {
        QFETCH(QString, path);
        QFETCH(bool, result);
        QFETCH(QStringList, files);
        httpClient::setDefaultTimeouts(150, 150);
        signIn();
        const QString action = QString(QTest::currentDataTag()).replace("obj", m_folder->filePath("plyx/files/obj"));
        QVERIFY(m_login->IsLogin() && m_fixture->cloud.addRule("*", path, action, 1));
        QCOMPARE(download(makeItem("512").get()), result);
        QCOMPARE(downloaded(), files);
        QTEST(m_fixture->boxes.size(), "boxes");

        m_fixture->cloud.addRule("*", "/API/v1/Search", "status=401", 1);
        QVERIFY(!search(PlyxFolders::lumo) && m_numbers == "-1 -1 -1");
        m_fixture->cloud.addRule("*", "/v1/Download", "status=404");
        QVERIFY(!download(makeItem("512").get()));
        for (const QString &secret : stored().split('|'))
            QVERIFY2(!m_fixture->everythingShown().contains(secret), qPrintable(m_fixture->everythingShown()));
    }

    void itemMayGoDuringTheCall()
    {
        signIn();
        auto item = makeItem("512");
        connect(&m_fixture->cloud, &LocalCloud::requestServed, m_fixture.get(), [&] { item.reset(); });
        QVERIFY(download(item.get()) && !item && downloaded().size() == 3);
    }

private:
    static void store(const char *session, const char *secure)
    {
        Tavrin::Settings settings(Portal_Plyx_Login::settingsName);
        settings.setSessionID(session);
        settings.setSecureSessionID(secure);
    }
    /// Both identifiers as "session|secure".
    static QString stored()
    {
        const Tavrin::Settings settings(Portal_Plyx_Login::settingsName);
        return KQtUtil::toQString(settings.getSessionID() + "|" + settings.getSecureSessionID());
    }
    void signIn()
    {
        const localcloud::PlyxSession session = m_fixture->cloud.issuePlyxSession();
        store(session.id.toLatin1(), session.secureId.toLatin1());
    }

    /// The visible sign-in dialog, and its page once it has loaded.
    QDialog *dialog() const
    {
        for (auto *dialog : m_owner->window.findChildren<QDialog *>())
            if (dialog->isVisible())
                return dialog;
        return nullptr;
    }
    QWebFrame *page() const { return dialog()->findChild<QWebView *>()->page()->mainFrame(); }
    void submit(const QString &password)
    {
        QTRY_COMPARE(dialog()->windowTitle(), QString("Sign in to Plyx"));
        page()->findFirstElement("#user").setAttribute("value", "demo");
        page()->findFirstElement("#password").setAttribute("value", password);
        page()->findFirstElement("#sign-in").evaluateJavaScript("this.click()");
    }

    /// The results come into m_items, their names into m_names, page, pages and results into m_numbers.
    bool search(const char *folder, const wchar_t *keywords = nullptr)
    {
        HeaderMap criteria;
        m_portal->FillSearchCriteria(makeItem(folder).get(), criteria);
        if (keywords)
            criteria[L"SearchString"] = keywords;
        ItemVector items;
        int numbers[] = {-1, -1, -1};
        const bool found = m_portal->GetBrowser()->SearchCloudItems(m_login, criteria, 1, 2, items, numbers[0],
                                                                    numbers[1], numbers[2]);
        m_items.clear();
        QStringList names;
        for (ICloudItem *result : items) {
            m_items.emplace_back(result);
            names << KQtUtil::toQString(result->GetDisplayName());
        }
        m_names = names.join(", ");
        m_numbers = QString("%1 %2 %3").arg(numbers[0]).arg(numbers[1]).arg(numbers[2]);
        return found;
    }
    static std::unique_ptr<ICloudItem> makeItem(const char *id)
    {
        auto item = std::make_unique<Portal_Plyx_ICloudItem>(nullptr);
        item->SetProperty("UniqueID", id);
        return item;
    }
    bool download(ICloudItem *item)
    {
        return m_portal->GetBrowser()->DownloadCloudItem(m_login, item, KQtUtil::toKString(local()), "model");
    }
    QString local() const { return m_folder->filePath("local/"); }
    QStringList downloaded() const
    {
        QStringList files;
        for (const QString &name : QDir(local()).entryList(QDir::Files, QDir::Name))
            files << name + ": " + readFile(local() + name);
        return files;
    }

    std::unique_ptr<QTemporaryDir> m_folder;
    std::unique_ptr<CloudFixture> m_fixture;
    std::unique_ptr<Portal_Plyx> m_portal;
    Portal_Plyx_Login *m_login = nullptr; // the portal's
    std::unique_ptr<Owner> m_owner;
    std::vector<std::unique_ptr<ICloudItem>> m_items;
    QString m_names;
    QString m_numbers;
};

QTEST_MAIN(TestPlyx)
#include "tst_plyx.moc"
