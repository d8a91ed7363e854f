// portals/tst_plyx.cpp
//
// Signing in to Plyx on its page, then search and download: over real sockets, against the local cloud.

#include "cloud/RunningCall.h"
#include "portals/Portal_Plyx.h"
#include "portals/Portal_Plyx_CloudItem.h"
#include "PortalTest.h"

using namespace ICloudPortalApi;

namespace {

const char kMember[] = "GET /API/v1/Member";

const char kCatalogue[] = R"json({"assets":[
    {"id":512,"gallery":28,"name":"Red car","published":"2014-05-03","fileTypes":[119],
     "formats":[{"id":9,"name":"STL","file":"stl"},{"id":10,"name":"OBJ ( .obj )","file":"obj"}],
     "textures":[{"id":11,"name":"a/../skin.jpg","file":"skin"},{"id":13,"name":"C:\\coat.png","file":"coat"}]},
    {"id":513,"gallery":28,"name":"50% #1 R&D car","published":"2014-05-04","fileTypes":[119],
     "formats":[{"id":1,"name":"STL","file":"stl"}]},
    {"id":514,"gallery":28,"name":"Red house","published":"2014-05-05","fileTypes":[119]}]})json";

} // namespace

class TestPlyx : public PortalTest
{
    Q_OBJECT

private slots:
    void init()
    {
        const QString folder = m_folder.filePath("cloud/plyx/");
        writeFile(folder + "catalogue.json", kCatalogue);
        for (const char *file : {"obj", "skin", "coat"})
            writeFile(folder + "files/" + file, QByteArray("the ") + file);
        start();
        m_login = makePortal<Portal_Plyx, Portal_Plyx_Login, Portal_Plyx_IPortalBrowser>();
    }

    void cleanup() { finish(); }

    void sessionIsTakenFromTheAddressOfThePage()
    {
        QVERIFY(m_login->Login(&m_owner));
        QVERIFY(dialog());
        for (const char *address :
             {"https://a.b/", "https://a.b/?SecureSession=d", "https://a.b/?session=a#Session=a"}) {
            QVERIFY2(!m_login->LoginUIDoneCB(QUrl::fromEncoded(address)), address);
            QCOMPARE(stored(), QString("|"));
        }
        m_owner.onDone = [&] {
            QVERIFY(RunningCall::isAny());
            QVERIFY(!m_login->LoginUIDoneCB(QUrl("https://a.b/?Session=second")));
        };
        QVERIFY(m_login->LoginUIDoneCB(QUrl::fromEncoded("https://a.b/?x=1&Session=%2B%2F%3D+&SecureSession=d%26")));
        QCOMPARE(stored(), QString("+/=+|d&"));
        QCOMPARE(m_login->GetSecureSessionID().utf8(), "d&");
        QVERIFY(m_login->LoginUIDoneCB(QUrl("https://a.b/?Session=abc")));
        QCOMPARE(stored(), QString("abc|"));
        QCOMPARE(m_owner.results, QList<bool>{true});
    }

    void storedSessionNeedsNoPageUnlessStale()
    {
        signIn();
        QVERIFY(m_login->Login(&m_owner));
        QCOMPARE(state(), QString("1 results, no dialog, session"));
        QVERIFY(m_login->IsLogin());
        QVERIFY(m_login->IsLogin());
        QCOMPARE(m_fixture->requests(), (QStringList{kMember, kMember}));
        m_fixture->cloud.addRule("*", "*/Member", "status=503", 1);
        QVERIFY(m_login->Login(&m_owner)); // the second request confirms the session
        QCOMPARE(state(), QString("2 results, no dialog, session"));
        QVERIFY(m_login->LoginUIDoneCB(QUrl("https://a.b/?Session=late")));
        QCOMPARE(m_owner.results.size(), 2);

        KString name;
        QVERIFY(m_login->Logout());
        QCOMPARE(state(), QString("2 results, no dialog, no session"));
        QVERIFY(!m_login->IsLogin());
        QVERIFY(!m_login->GetUsername(name));
        store({"stale", "stale"});
        QVERIFY(m_login->Login(&m_owner));
        const QPointer<QDialog> first = dialog();
        QVERIFY(first);
        QVERIFY(m_login->Login(&m_owner));
        QVERIFY(dialog());
        QVERIFY(dialog() != first);
        QVERIFY(m_login->Logout());
        QCOMPARE(state(), QString("2 results, no dialog, no session"));
    }

    void logoutDuringTheConfirmationEndsTheSignIn()
    {
        int requests = 0;
        connect(&m_fixture->cloud, &LocalCloud::requestServed, m_fixture.get(), [&] {
            if (++requests != 2) // the third one confirms the stale session again
                m_login->Logout();
        });
        for (const auto &session : {m_fixture->cloud.issuePlyxSession(), localcloud::PlyxSession{"stale", "stale"}}) {
            store(session);
            QVERIFY(!m_login->Login(&m_owner));
            QCOMPARE(state(), QString("0 results, no dialog, no session"));
        }
        QCOMPARE(m_fixture->requests(), (QStringList{kMember, kMember, kMember}));
    }

    void listedModelsAreDownloadedWithTheirTextures()
    {
        signIn();
        QCOMPARE(found(PlyxFolders::kLumoMobile), QString("-Red house, -50% #1 R&D car, 1 2 3"));
        QCOMPARE(found(PlyxFolders::kLumoMobile, L"% #1 &"), QString("-50% #1 R&D car, 1 1 1"));
        QCOMPARE(found(PlyxFolders::kHome), QString("1 0 0"));
        QCOMPARE(found(PlyxFolders::kRoot), QString("failed -1 -1 -1"));
        QCOMPARE(found("", L"@files1.plyx.example/"), QString("failed -1 -1 -1"));
        m_fixture->cloud.addRule("*", "/API/v1/Search", "status=401", 1);
        QCOMPARE(found(PlyxFolders::kLumo), QString("failed -1 -1 -1"));
        QCOMPARE(boxes().size(), 2);
        QCOMPARE(m_fixture->requests().size(), 5);

        QVERIFY(download("512"));
        QCOMPARE(boxes().size(), 2);
        QCOMPARE(downloaded(), QString("coat.png: the coat, model: the obj, skin.jpg: the skin, "));
        for (const RequestRecord &request : m_fixture->cloud.requests())
            QVERIFY(request.tls || request.header("X-Secure-Session").isEmpty());
        m_fixture->cloud.clearRequests();
        QVERIFY(download("513")); // offered in another format only
        QCOMPARE(m_fixture->requests(), QStringList("GET /API/v1/Asset/513"));
    }

    void failedPartLeavesTheOtherFilesOfAModel()
    {
        signIn();
        const QString rest = "coat.png: the coat, model: the obj, ";
        const auto outcome = [this](const char *path, const QString &action) {
            QDir(local()).removeRecursively();
            m_fixture->boxes.texts.clear();
            m_fixture->cloud.addRule("*", path, action, 1);
            const bool done = download("512");
            return QString("%1 %2 ").arg(done).arg(boxes().size()) + downloaded();
        };
        const char *const server = "/API/v1/Server/Download";
        QCOMPARE(outcome("/API/v1/Asset/512", "status=503"), QString("0 1 "));
        QCOMPARE(outcome("/v1/Download*", "cut=1"), "1 1 " + rest + "skin.jpg: T, ");
        QCOMPARE(outcome(server, "status=500"), "1 1 " + rest);
        QCOMPARE(outcome(server, "body=" + m_fixture->cloud.plyxDir() + "/files/obj"), "1 0 " + rest); // no JSON
        m_fixture->cloud.addRule("*", "/v1/Download", "status=404");
        QVERIFY(!download("512"));
    }

private:
    void signIn() { store(m_fixture->cloud.issuePlyxSession()); }

    /// The number of results that the owner received, and what the sign-in leaves.
    QString state() const
    {
        return QString("%1 results, %2, %3")
            .arg(m_owner.results.size())
            .arg(dialog() ? "dialog" : "no dialog", stored() == "|" ? "no session" : "session");
    }

    Item makeItem(const QString &id) { return PortalTest::makeItem<Portal_Plyx_ICloudItem>({{"UniqueID", id}}); }
    /// What the first page of two shows: names, then page, pages and results.
    QString found(const char *folder, const wchar_t *keywords = nullptr)
    {
        HeaderMap criteria;
        m_portal->FillSearchCriteria(makeItem(folder).get(), criteria);
        if (keywords)
            criteria[L"SearchString"] = keywords;
        ItemVector items;
        int n[] = {-1, -1, -1};
        QString text(browser()->SearchCloudItems(m_login, criteria, 1, 2, items, n[0], n[1], n[2]) ? "" : "failed ");
        return text + (namesOf(items) << QString("%1 %2 %3").arg(n[0]).arg(n[1]).arg(n[2])).join(", ");
    }
    bool download(const QString &id) { return PortalTest::download(makeItem(id), "model"); }
    QString downloaded() const
    {
        QString files;
        for (const QString &name : QDir(local()).entryList(QDir::Files, QDir::Name))
            files += name + ": " + readFile(local() + name) + ", ";
        return files;
    }

    Portal_Plyx_Login *m_login = nullptr; // the portal's
};

QTEST_MAIN(TestPlyx)
#include "tst_plyx.moc"
