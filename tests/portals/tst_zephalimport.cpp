// portals/tst_zephalimport.cpp
//
// Downloads from the Zephal portal on its page, and the import that follows a successful one.

#include "cloud/Portal_CloudBrowser.h"
#include "portals/Portal_Zephal.h"
#include "PortalTest.h"

class TestZephalImport : public PortalTest
{
    Q_OBJECT

private slots:
    void init()
    {
        start();
        writeFile(m_fixture->cloud.zephalDir() + "/cup.obj", "the model");
        writeFile(m_folder.filePath("pelago.ini"), "[production]\nkind=password\n"
                                                   "storage=https://cloud.zephal.example/dav\n");
        qputenv("PELAGO_CONFIG", QFile::encodeName(m_folder.filePath("pelago.ini")));
        m_fixture->host.answer("internalVar -userAppDir", KCommandResult(KQtUtil::toKString(local())));
        m_fixture->host.answer("Tavrin_GetImportTranslatorFromFileExtension", KCommandResult(KString("OBJ")));
        signIn(makePortal<Portal_Zephal, Portal_Zephal_Login, Portal_Zephal_IPortalBrowser>());
        QVERIFY(Portal_CloudBrowser::RegisterPortal(m_portal.get()));
        m_controller.reset(Portal_CloudBrowser::GetInstance(m_portal->GetPortalUID()));
        m_controller->AddPortalTabPage();
        QCOMPARE(page()->findChild<QListWidget *>()->count(), 1);
    }

    void cleanup()
    {
        Portal_CloudBrowser::PrepareUnload();
        Portal_CloudBrowser::UnRegisterPortal(m_portal.get());
        QApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        m_controller.reset();
        finish();
    }

    void failedDownloadIsNotImported_data()
    {
        // The rule of the cloud, without one a folder has the name of the local file; and the start of the reason.
        addRows({{"missing file", "status=404", "the server does not have it (status 404)."},
                 {"forbidden", "status=403", "the server does not allow it (status 403)."},
                 {"credentials refused for one file", "status=401", "the server does not allow it"},
                 {"conflict", "status=409", "the name is taken"},
                 {"no space", "status=507", "the server has no space left"},
                 {"server error", "status=503", "the server failed"},
                 {"redirect", "redirect=https://new.example/", "the server redirects to"},
                 {"connection closed at once", "cut=0", "the connection broke off"},
                 {"connection closed half-way", "cut=4", "the connection broke off"},
                 {"local file", "", "the local file cannot be read or written"}});
    }

    void failedDownloadIsNotImported()
    {
        const auto [title, rule, reason] = currentRow<3>();
        const QString target = local("temp_cloud/Zephal/My cloud documents/cup.obj");
        if (rule.isEmpty())
            QVERIFY(QDir().mkpath(target));
        else
            m_fixture->cloud.addRule("*", "/dav/cup.obj", rule);
        importModel();
        QCOMPARE(importCommands(), QString());
        const QString start = "Download of \"cup.obj\" failed: " + reason;
        QCOMPARE(m_fixture->warnings().join('|').left(start.size()), start);
        QVERIFY(!QFileInfo(target).isFile());
        QCOMPARE(boxes(), QStringList());

        m_fixture->cloud.clearRules();
        QDir().rmdir(target);
        importModel(); // in the same session
        QCOMPARE(importCommands(), "file -force -pr -i \"" + target + '"');
        QCOMPARE(readFile(target), QByteArray("the model"));
    }

private:
    void signIn(Portal_Zephal_Login *login)
    {
        QVERIFY(login->Login(&m_owner));
        for (const char *field : {"user", "password"})
            dialog()->findChild<QLineEdit *>(field)->setText("demo");
        QTest::keyClick(dialog(), Qt::Key_Return);
        QTRY_VERIFY(login->IsLogin());
    }
    QWidget *page() const { return m_controller->GetParentLoginWidget(); }
    void importModel()
    {
        page()->findChild<QListWidget *>()->setCurrentRow(0);
        for (auto *button : page()->findChildren<QPushButton *>()) {
            if (button->accessibleName() == "CloudImportButton")
                button->click();
        }
    }
    QString importCommands() const { return m_fixture->host.commands().filter("file -force").join('|'); }

    std::unique_ptr<Portal_CloudBrowser> m_controller;
};

QTEST_MAIN(TestZephalImport)
#include "tst_zephalimport.moc"
