// Export: the command that the host is sent, the file that the portal is given, and what may happen between the two.

#include "TestPortal.h"

#include "support/RecordingHost.h"

#include <QComboBox>
#include <QDialog>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QTabWidget>
#include <QTemporaryDir>
#include <QTimer>
#include <QtTest>

namespace {

const QStringList kFailed{"Export Error"};
const QStringList kClosed{"Export Error", "The folder to export into is not open any more."};

KCommandResult texts(const QStringList &items)
{
    KStringArray array;
    for (const QString &item : items)
        array.append(KQtUtil::toKString(item));
    return KCommandResult(array);
}

} // namespace

class TestExport : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase()
    {
        connect(&m_answering, &QTimer::timeout, this, &TestExport::answer);
        m_answering.start(5);
    }

    void init()
    {
        m_agree = true;
        m_meanwhile = nullptr;
        m_service = TestService();
        m_service.exportFormats = QStringList{"fbx"};
        m_service.root() = {{"1", "scene.fbx"},
                            {"2", "Model.fbx"},
                            {"3", "cup.obj"},
                            {"4", "odd.xyz"},
                            {"5", "dir.fbx", TestItem::Kind::Folder}};
        m_host.setState(KGlobal::kInteractive);
        m_host.answer("internalVar -userAppDir", KCommandResult(KQtUtil::toKString(m_dir.path() + '/')));
        m_host.answer("file ", KCommandResult(KString("/elsewhere/Written.FBX")));
        m_host.answer("Tavrin_GetImportTranslatorFromFileExtension", KCommandResult(KString("known")));
        m_host.answer("Tavrin_GetExportTranslatorList", texts({"FBX", "OBJ", "O\"dd"}));
        m_host.answer("Tavrin_GetExportTranslatorExtensionList", texts({"fbx", "obj"}));
        m_stage = std::make_unique<TestStage>(m_service);
        m_field = m_stage->find<QLineEdit>("CloudExportFileName");
        m_filter = m_stage->find<QComboBox>("CloudExportFilter");
        forget();
    }

    void cleanup()
    {
        m_stage.reset();
        QCOMPARE(m_host.commands().filter("waitCursor -state on;").size(),
                 m_host.commands().filter("{ waitCursor -state off; }").size());
    }

    void names_data()
    {
        const QString longName(300, 'x');
        addRows({"typed", "filter", "sent"}, {{"extension is added", "a/b:c", "0", "FBX bc.fbx"},
                                              {"extension is kept", " Cup.FBX ", "0", "FBX cup.fbx"},
                                              {"the translator decides", "cup.fbx", "1", "OBJ cup.fbx.obj"},
                                              {"a translator without extension", "cup", "2", "O\\\"dd cup."},
                                              {"dots", "..", "0", "FBX ...fbx"},
                                              {"extension alone", ".fbx", "0", "FBX .fbx.fbx"},
                                              {"nothing left", "???", "0", "FBX .fbx"},
                                              {"very long", longName, "0", "FBX " + longName + ".fbx"}});
    }

    void names()
    {
        QFETCH(QString, typed);
        QFETCH(QString, filter);
        QFETCH(QString, sent);
        auto *all = m_stage->find<QPushButton>("CloudExportAllButton");
        auto *selection = m_stage->find<QPushButton>("CloudExportSelectionButton");
        QVERIFY(!all->isEnabled() && !selection->isEnabled());
        m_filter->setCurrentIndex(filter.toInt());
        for (const char *option : {"-ea", "-es"}) {
            forget();
            m_field->setText(typed);
            QVERIFY(all->isEnabled() && selection->isEnabled());
            (option[2] == 'a' ? all : selection)->click();
            QCOMPARE(m_host.commands().filter("file -"),
                     exportCommand(sent.section(' ', 0, 0), option, sent.section(' ', 1)));
            QCOMPARE(m_service.log, QStringList({"upload written.fbx to root over nothing", "list root"}));
            QCOMPARE(KQtUtil::toQString(m_service.uploadFolder), m_dir.path() + "/temp_cloud/Test/");
            QVERIFY(QFileInfo(m_dir.path() + "/temp_cloud/Test").isDir());
            QCOMPARE(m_host.messages(KHost::MessageKind::kInfo),
                     QStringList("Successful export: /elsewhere/Written.FBX"));
        }
    }

    void theHostSaysWhatItWrote_data()
    {
        addRows({"written", "uploaded"}, {{"spaces and quotes", "/x/A \"b\" C.FBX", "a b c.fbx"},
                                          {"another system's path", "C:\\x\\Cup.fbx", "cup.fbx"},
                                          {"nothing", "", ""},
                                          {"a folder", "/x/", ""},
                                          {"its parent", "/x/..", ""}});
    }

    void theHostSaysWhatItWrote()
    {
        QFETCH(QString, written);
        QFETCH(QString, uploaded);
        m_host.answer("file ", KCommandResult(KQtUtil::toKString(written)));
        exportAs("cup");
        if (uploaded.isEmpty()) {
            QCOMPARE(m_service.log, QStringList());
            QCOMPARE(m_host.errors(), kFailed);
        } else {
            QCOMPARE(m_service.log.first(), "upload " + uploaded + " to root over nothing");
            QCOMPARE(m_field->text(), uploaded);
        }
    }

    void overwriting_data()
    {
        addRows({"name", "state", "answer", "over"}, {{"agreed", "Scene", "0", "yes", "1"},
                                                      {"refused", "Scene", "0", "no", ""},
                                                      {"agreed in the basic interface", "Scene", "3", "yes", "1"},
                                                      {"batch", "Scene", "1", "", ""},
                                                      {"library", "Scene", "2", "", ""},
                                                      {"batch, new name", "new", "1", "", "nothing"},
                                                      {"another case", "model", "0", "", "nothing"},
                                                      {"a folder", "dir", "0", "", "nothing"}});
    }

    void overwriting()
    {
        QFETCH(QString, name);
        QFETCH(QString, state);
        QFETCH(QString, answer);
        QFETCH(QString, over);
        m_host.setState(static_cast<KGlobal::KeldaState>(state.toInt()));
        m_host.answer("file ", KCommandResult(KString("/x/written.fbx")));
        m_agree = answer == "yes";
        m_meanwhile = [this] {
            m_filter->setCurrentIndex(1);
            m_stage->page()->ExportSelectionClick();
            m_stage->page()->ShowExportOptions();
            m_stage->page()->ListViewItemDoubleClick(m_stage->row("cup.obj"));
            m_stage->controller()->LoginDoneCB(true);
        };
        exportAs(name);
        QCOMPARE(m_asked, answer.isEmpty() ? QStringList() : QStringList("Do you want to overwrite the file?"));
        if (over.isEmpty()) {
            QCOMPARE(m_host.commands().filter("file -") + m_service.log.filter("upload"), QStringList());
        } else {
            QCOMPARE(m_host.commands().filter("file -"), exportCommand("FBX", "-ea", name.toLower() + ".fbx"));
            QCOMPARE(m_service.log.filter("upload"), QStringList("upload written.fbx to root over " + over));
        }
        QCOMPARE(m_host.messages(KHost::MessageKind::kWarning) + m_host.errors(), QStringList());
    }

    void theDockMayCloseDuring_data()
    {
        QTest::addColumn<QStringList>("errors");
        QTest::newRow("question") << kClosed;
        QTest::newRow("export") << kClosed;
        QTest::newRow("upload") << QStringList();
    }

    void theDockMayCloseDuring()
    {
        const QString moment = QTest::currentDataTag();
        QFETCH(QStringList, errors);
        const auto close = [this] {
            QVERIFY(Portal_CloudBrowser::IsBusy());
            m_stage->page()->ExportAllClick();
            m_stage->page()->ClearSelection();
        };
        if (moment == "question")
            m_meanwhile = close;
        m_host.handle("file ", [&](const QString &, KCommandResult &result) {
            if (moment == "export")
                close();
            result = KCommandResult(KString("/x/scene.fbx"));
            return KStatus();
        });
        if (moment == "upload")
            m_service.duringUpload = close;
        exportAs("scene");
        QCOMPARE(m_host.errors(), errors);
        QCOMPARE(m_service.log, errors.isEmpty() ? QStringList("upload scene.fbx to root over 1") : QStringList());
        QCOMPARE(m_host.commands().filter("file -").size(), moment == "question" ? 0 : 1);
        QVERIFY(!Portal_CloudBrowser::IsBusy());
    }

    void failuresAreToldAndChangeNothing()
    {
        const QStringList shown = m_stage->names();
        m_service.succeeds = false;
        exportAs("cup");
        QCOMPARE(m_service.log, QStringList("upload written.fbx to root over nothing"));
        QCOMPARE(m_host.errors(), kFailed);
        m_host.fail("file ", "disk full");
        exportAs("cup");
        QCOMPARE(m_host.errors(), QStringList());
        for (const int index : {-1, 3, 99}) {
            m_filter->setCurrentIndex(0);
            m_stage->page()->ExportFilterFilesClick(index);
            exportAs("cup");
            checkTranslatorIsMissing();
        }
        QCOMPARE(m_stage->names(), shown);
        QCOMPARE(m_service.log, QStringList());
        QCOMPARE(m_host.messages(KHost::MessageKind::kInfo), QStringList());
    }

    void theFilterOffersEveryTranslator()
    {
        const auto refresh = [this](const QStringList &names, const QStringList &extensions) {
            m_host.answer("Tavrin_GetExportTranslatorList", texts(names));
            m_host.answer("Tavrin_GetExportTranslatorExtensionList", texts(extensions));
            m_stage->find<QTabWidget>("ImportExportTabs")->setCurrentIndex(0);
            m_stage->find<QTabWidget>("ImportExportTabs")->setCurrentIndex(1);
        };
        m_filter->setCurrentIndex(1);
        m_stage->page()->ExportFilterFilesClick(7);
        refresh({"A", "", "C"}, {"a", "obj", "c", "d"});
        QCOMPARE(m_filter->count(), 3);
        QCOMPARE(m_filter->itemText(0) + m_filter->itemText(1) + m_filter->itemText(2), QString("AC"));
        QCOMPARE(m_filter->currentIndex(), 1);
        exportAs("cup");
        checkTranslatorIsMissing();
        m_stage->page()->ListViewItemDoubleClick(m_stage->row("cup.obj"));
        QCOMPARE(m_host.commands().filter("file -"), QStringList());

        m_host.handle("Tavrin_GetExportTranslatorList", [&](const QString &, KCommandResult &result) {
            result = texts({"B"});
            m_host.answer("Tavrin_GetExportTranslatorList", result);
            m_stage->page()->RefreshExporterFilterList();
            return KStatus();
        });
        m_stage->page()->RefreshExporterFilterList();
        QCOMPARE(m_filter->count(), 1);
        m_host.fail("Tavrin_GetExportTranslatorList", "no such procedure");
        m_stage->page()->RefreshExporterFilterList();
        QCOMPARE(m_filter->count(), 0);
        exportAs("cup");
        checkTranslatorIsMissing();
    }

    void aDoubleClickExportsUnderThatName_data()
    {
        addRows({"type"}, {{"scene.fbx", "FBX"}, {"cup.obj", "OBJ"}, {"odd.xyz", ""}});
    }

    void aDoubleClickExportsUnderThatName()
    {
        const QString name = QTest::currentDataTag();
        QFETCH(QString, type);
        m_stage->find<QTabWidget>("ImportExportTabs")->setCurrentIndex(1);
        m_stage->page()->ListViewItemDoubleClick(m_stage->row(name));
        QCOMPARE(m_asked.size(), type.isEmpty() ? 0 : 1);
        QCOMPARE(m_host.commands().filter("file -"), type.isEmpty() ? QStringList() : exportCommand(type, "-ea", name));
    }

    void options()
    {
        const QString layout = "CloudPortalFileDialogOptionsGrpBoxLayout";
        m_filter->setCurrentIndex(2);
        for (const bool accepted : {false, true}) {
            forget();
            m_agree = accepted;
            m_meanwhile = [this] { m_stage->page()->ShowExportOptions(); };
            m_stage->find<QPushButton>("CloudExportOptionsButton")->click();
            settle();
            QCOMPARE(m_asked, QStringList("Export Options"));
            QCOMPARE(m_layout, layout);
            QVERIFY(!m_stage->dock()->findChild<QDialog *>("CloudPortalOptionsDialog"));
            QStringList expected{"initCurrentFileTypeOption ExportAll \"\" \"\"",
                                 "fileOperationsOptionsUISetup ExportAll " + layout,
                                 "fileOperationsOptionsUIInitValues ExportAll " + layout + " \"O\\\"dd\"",
                                 "setCurrentFileTypeOption ExportAll " + layout + " \"O\\\"dd\"",
                                 "fileOperationsSelectionChangedCallback ExportAll " + layout + " \".\""};
            if (accepted)
                expected << "fileOperationsOptionsUICallback ExportAll " + layout;
            QCOMPARE(m_host.commands(), expected);
        }
    }

private:
    QStringList exportCommand(const QString &type, const char *option, const QString &name) const
    {
        const QString command = "file -force -options \"\" -type \"%1\" -pr %2 \"%3/temp_cloud/Test/%4\"";
        return {command.arg(type, option, m_dir.path(), name)};
    }
    void forget()
    {
        m_host.clear();
        m_service.log.clear();
        m_asked.clear();
    }
    void exportAs(const QString &name)
    {
        forget();
        m_field->setText(name);
        m_stage->page()->ExportAllClick();
    }
    /// Answers a question or an options dialog. What m_meanwhile holds runs first, once.
    void answer()
    {
        auto *dialog = qobject_cast<QDialog *>(QApplication::activeModalWidget());
        if (!dialog)
            return;
        if (m_meanwhile) {
            QTimer::singleShot(0, this, std::exchange(m_meanwhile, nullptr));
            return;
        }
        const auto *box = qobject_cast<QMessageBox *>(dialog);
        m_asked << (box ? box->text() : dialog->windowTitle());
        m_layout = dialog->layout()->objectName();
        if (box)
            box->button(m_agree ? QMessageBox::Yes : QMessageBox::No)->click();
        else
            m_agree ? dialog->accept() : dialog->reject();
    }
    void checkTranslatorIsMissing()
    {
        const QString text = "Cannot find a valid exporter to export this file type.";
        QCOMPARE(m_host.messages(KHost::MessageKind::kWarning), QStringList(text));
        QCOMPARE(m_host.commands(), QStringList("confirmDialog -title \"Export Error\" -m \"" + text +
                                                "\"  -messageAlign \"left\" -button \"Ok\""));
    }

    RecordingHost m_host;
    QTemporaryDir m_dir;
    TestService m_service;
    std::unique_ptr<TestStage> m_stage;
    QLineEdit *m_field = nullptr;  // the page's
    QComboBox *m_filter = nullptr; // the page's
    QTimer m_answering;
    bool m_agree = true;
    std::function<void()> m_meanwhile;
    QStringList m_asked;
    QString m_layout; // the last dialog's
};

QTEST_MAIN(TestExport)
#include "tst_export.moc"
