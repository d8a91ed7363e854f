// example-portal/tst_exampleportal.cpp
//
// The portal of docs/adding-a-portal.md, on its page in the dock and with a scripted service.

#include "cloud/Portal_CloudBrowser.h"
#include "Portal_Shelf.h"
#include "support/LocalServer.h"
#include "support/RecordingHost.h"
#include "support/TestFiles.h"

#include <QtTest>
#include <QtWidgets>

class TestExamplePortal : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        m_service.answer("/sign-in", Reply(302).location("/welcome?session=a%2Bb"));
        m_service.answer("/welcome", Reply().body("<p>Hello</p>"));
        m_service.answer("/user", Reply().body("{\"name\":\"Ada\"}"));
        m_service.answer("/list/", Reply().body(R"({"entries":[{"name":"cup.obj"},{"name":"Tea & Co","folder":true},
            {"name":".."},{"name":"../up"},{"name":7},{},"cup"]})"));
        m_service.answer("/list/Tea%20%26%20Co/", Reply().body(R"({"entries":[{"name":"50%.obj"}]})"));
        m_service.answer("/file/Tea%20%26%20Co/50%25.obj", Reply().body("a pot"));
        m_portal = std::make_unique<Portal_Shelf>(new Portal_Shelf_Login("127.0.0.1", m_service.serverPort()),
                                                  new Portal_Shelf_IPortalBrowser);
        QVERIFY(Portal_CloudBrowser::RegisterPortal(m_portal.get()));
        m_controller.reset(Portal_CloudBrowser::GetInstance(m_portal->GetPortalUID()));
        m_controller->AddPortalTabPage();
        m_page = m_controller->GetParentLoginWidget();
    }

    void cleanupTestCase()
    {
        Portal_CloudBrowser::PrepareUnload();
        Portal_CloudBrowser::UnRegisterPortal(m_portal.get());
        m_controller.reset();
        m_portal.reset();
        QApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }

    void userSignsInListsDownloadsAndSignsOut()
    {
        QCOMPARE(names(), QStringList());
        auto *button = m_page->findChild<QPushButton *>("CloudPortalLoginButton");
        button->click();
        QTRY_VERIFY(m_portal->GetLogin()->IsLogin());
        QTRY_COMPARE(names(), QStringList({"Tea & Co", "cup.obj"}));
        QCOMPARE(m_service.lastRequest("/list/").header("X-Session"), QByteArray("a+b"));
        QCOMPARE(Tavrin::Settings(Portal_Shelf_Login::kSettingsName).getSessionID(), KString("a+b"));
        KString user;
        m_controller->getUserName(user);
        QCOMPARE(user, KString("Ada"));

        emit list()->itemDoubleClicked(list()->item(0));
        QTRY_COMPARE(names(), QStringList("50%.obj"));
        ICloudPortalApi::ICloudItem *pot =
            static_cast<ICloudPortalApi::Portal_CloudBrowserListItem *>(list()->item(0))->GetItem();
        QCOMPARE(pot->GetImportPathFolder(), KString("/Tea & Co"));
        QCOMPARE(dynamic_cast<ICloudPortalApi::IThumbnailItem &>(*pot).thumbnail().httpsAddress(),
                 QUrl("https://pictures.shelf.example/picture/Tea%20%26%20Co/50%25.obj"));
        const QTemporaryDir dir;
        const KString folder = KQtUtil::toKString(dir.path() + '/');
        QVERIFY(m_portal->GetBrowser()->DownloadCloudItem(m_portal->GetLogin(), pot, folder, "pot.obj"));
        QCOMPARE(readFile(dir.filePath("pot.obj")), QByteArray("a pot"));

        button->click();
        QVERIFY(!m_portal->GetLogin()->IsLogin());
        QTRY_COMPARE(names(), QStringList());
    }

    void listingFailsWithoutSignInAndForAMissingFolder()
    {
        m_host.setState(KGlobal::kBatch); // no message boxes
        m_controller->logout();
        QVERIFY(!canListMissingFolder());
        QCOMPARE(missingFolderRequests(), 0);
        QVERIFY(!m_portal->GetLogin()->LoginUIDoneCB(QUrl("http://elsewhere.example/?session=x")));
        QVERIFY(!m_portal->GetLogin()->IsLogin());
        QVERIFY(m_portal->GetLogin()->LoginUIDoneCB(QUrl("http://127.0.0.1/?session=x")));
        QVERIFY(!canListMissingFolder());
        QCOMPARE(missingFolderRequests(), 1);
        QCOMPARE(m_host.errors().size(), 1);
    }

private:
    QListWidget *list() const { return m_page->findChild<QListWidget *>(); }
    QStringList names() const
    {
        QStringList names;
        for (int row = 0; row < list()->count(); ++row)
            names << list()->item(row)->text();
        return names;
    }

    int missingFolderRequests() const
    {
        const auto requests = m_service.requests();
        return static_cast<int>(std::count_if(requests.begin(), requests.end(),
                                              [](const auto &request) { return request.target == "/list/gone/"; }));
    }
    bool canListMissingFolder() const
    {
        HeaderMap criteria{{L"Folder", L"/gone/"}};
        ICloudPortalApi::ItemVector items;
        return m_portal->GetBrowser()->GetChildCloudItems(m_portal->GetLogin(), criteria, items) || !items.empty();
    }

    RecordingHost m_host;
    LocalServer m_service;
    std::unique_ptr<Portal_Shelf> m_portal;
    std::unique_ptr<Portal_CloudBrowser> m_controller;
    QPointer<QWidget> m_page;
};

QTEST_MAIN(TestExamplePortal)
#include "tst_exampleportal.moc"
