// Import: the commands that the host is sent, and what happens when one of the steps fails.

#include "TestPortal.h"

#include "support/RecordingHost.h"

#include <QCheckBox>
#include <QDialog>
#include <QTemporaryDir>
#include <QTimer>
#include <QtTest>

class TestTransfer : public QObject
{
    Q_OBJECT
private slots:
    void init()
    {
        m_service = TestService();
        m_service.root() = {{"1", "Cup.OBJ"}, {"2", "a\"; quit.obj"}};
        m_host.answer("internalVar -userAppDir", KCommandResult(KQtUtil::toKString(m_dir.path() + '/')));
        m_host.answer("Tavrin_GetImportTranslatorFromFileExtension", KCommandResult(KString("OBJ")));
        m_stage = std::make_unique<TestStage>(m_service);
        m_host.clear();
    }

    void cleanup() { m_stage.reset(); }

    void importsStayInTheDownloadFolder_data()
    {
        addRows({"name", "folder", "expected"},
                {{"plain", "Cup.OBJ", "", "/temp_cloud/Test/Cup.OBJ"},
                 {"quotes are one argument", "a\"; quit.obj", "", R"(/temp_cloud/Test/a\"; quit.obj)"},
                 {"sub-folder", "x.obj", "/Models/Old", "/temp_cloud/Test/Models/Old/x.obj"},
                 {"parent folders", "x.obj", "/../../etc", "/temp_cloud/Test/_/_/etc/x.obj"},
                 {"separators in the name", "../x.obj", "", "/temp_cloud/Test/_"}});
    }

    void importsStayInTheDownloadFolder()
    {
        QFETCH(QString, name);
        QFETCH(QString, folder);
        QFETCH(QString, expected);
        m_service.root() = {{"1", name}};
        m_stage->page()->RefreshFolderData();
        choose(name);
        auto *entry = static_cast<ICloudPortalApi::Portal_CloudBrowserListItem *>(m_stage->row(name));
        static_cast<TestItem *>(entry->GetItem())->importFolder = KQtUtil::toKString(folder);
        m_host.clear();
        m_stage->page()->ImportClick();
        QCOMPARE(m_host.commands().filter("file "),
                 QStringList("file -force -pr -i \"" + m_dir.path() + expected + '"'));
        QCOMPARE(m_host.messages(KHost::MessageKind::kInfo),
                 QStringList("Successful import: " + m_dir.path() + expected.remove('\\')));
        checkCursorIsOff();
    }

    void failuresEndTheImportAndASecondClickMeanwhileDoesNothing()
    {
        choose("Cup.OBJ");
        m_service.succeeds = false;
        m_service.duringDownload = [this] { m_stage->page()->ImportClick(); };
        m_host.clear();
        m_stage->page()->ImportClick();
        QCOMPARE(m_host.commands().filter("file ").size(), 0);
        QCOMPARE(m_service.count("download"), 1);
        checkCursorIsOff();

        m_service.succeeds = true;
        m_service.duringDownload = nullptr;
        m_host.fail("file ", "not a model");
        m_stage->page()->ImportClick();
        QCOMPARE(m_host.messages(KHost::MessageKind::kInfo), QStringList());
        checkCursorIsOff();
    }

    void optionsAreShownBeforeTheImport()
    {
        const QString layout = " Import CloudPortalFileDialogOptionsGrpBoxLayout";
        const QString path = '"' + m_dir.path() + "/temp_cloud/Test/Cup.OBJ\"";
        const QStringList opening{"initCurrentFileTypeOption Import \"\" \"\"", "fileOperationsOptionsUISetup" + layout,
                                  "fileOperationsOptionsUIInitValues" + layout + " \"OBJ\"",
                                  "setCurrentFileTypeOption" + layout + " \"OBJ\"",
                                  "fileOperationsSelectionChangedCallback" + layout + ' ' + path};
        choose("Cup.OBJ");
        m_stage->find<QCheckBox>("CloudImportOptions")->setChecked(true);
        for (const QString &accepted : {QString(), "fileOperationsOptionsUICallback" + layout}) {
            m_host.clear();
            QString title;
            QTimer::singleShot(0, this, [&] {
                auto *dialog = m_stage->dock()->findChild<QDialog *>("CloudPortalOptionsDialog");
                title = dialog->windowTitle();
                accepted.isEmpty() ? dialog->reject() : dialog->accept();
            });
            m_stage->page()->ImportClick();
            settle();
            QCOMPARE(title, QString("Import Options"));
            QStringList expected = opening + QStringList{accepted, "file -force -pr -i " + path};
            expected.removeAll(QString());
            QCOMPARE(m_host.commands().filter(QRegularExpression("FileTypeOption|fileOperations|file -")), expected);
        }
    }

private:
    void choose(const QString &name) { m_stage->page()->ListViewItemClicked(itemOf(name), false); }
    ICloudPortalApi::ICloudItem *itemOf(const QString &name)
    {
        return static_cast<ICloudPortalApi::Portal_CloudBrowserListItem *>(m_stage->row(name))->GetItem();
    }
    void checkCursorIsOff()
    {
        QCOMPARE(m_host.commands().filter("waitCursor -state on;").size(),
                 m_host.commands().filter("{ waitCursor -state off; }").size());
    }

    RecordingHost m_host;
    QTemporaryDir m_dir;
    TestService m_service;
    std::unique_ptr<TestStage> m_stage;
};

QTEST_MAIN(TestTransfer)
#include "tst_transfer.moc"
