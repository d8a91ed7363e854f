// Import and export: the commands to the host, the files of the host and the portal, and events between the steps.

#include "PageFixture.h"
#include "support/MessageBoxes.h"
#include "TavrinStrings.h"

class TestTransfer : public PageFixture
{
    Q_OBJECT
private slots:
    void extensionIsTheTextAfterTheLastDotOfTheName()
    {
        const std::map<QString, QString> rows{
            {"a/Model.tar.GZ", "GZ"}, {"v1.2/model", "none"}, {"a/.obj", "none"}, {"模型.ply", "ply"}, {"..", ""}};
        for (const auto &[name, extension] : rows) {
            KString text = KQtUtil::toKString(name);
            KString found("none");
            getFileExtension(text, found);
            QCOMPARE(KQtUtil::toQString(found), extension);
        }
    }

    void silentCommandsRunWithoutTheHostsEcho()
    {
        clearRecords();
        executeCommandSilently("print x");
        m_host.answer("commandEcho -q", KCommandResult(1));
        executeCommandSilently("print y");
        QCOMPARE(m_host.commands(), QStringList({"commandEcho -q -state", "print x", "commandEcho -q -state",
                                                 "commandEcho -state false;", "print y", "commandEcho -state true;"}));
    }

    void importsStayInTheDownloadFolder()
    {
        const std::tuple<QString, QString, QString> rows[] = {{"a\"; quit.obj", "/Old", R"(Old/a\"; quit.obj)"},
                                                              {"x.obj", "/../../etc", "_/_/etc/x.obj"},
                                                              {"../x.obj", "", "_"}};
        for (const auto &[name, folder, expected] : rows) {
            m_portal.root() = {{"1", name}};
            page()->RefreshFolderData();
            auto *entry = static_cast<ICloudPortalApi::Portal_CloudBrowserListItem *>(row(name));
            entry->GetItem()->SetProperty("folder", KQtUtil::toKString(folder));
            list()->setCurrentItem(entry);
            clearRecords();
            page()->ImportClick();
            QCOMPARE(fileCommands(), QStringList("file -force -pr -i \"" + download(expected) + '"'));
            QCOMPARE(infos(), QStringList("Successful import: " + download(expected).remove('\\')));
        }
    }

    void failureEndsTheImportAndAClickDuringItIsIgnored()
    {
        m_portal.succeeds = false;
        m_portal.during["download"] = [this] { page()->ImportClick(); };
        doubleClick("cup.obj");
        QCOMPARE(fileCommands(), QStringList());
        QCOMPARE(m_portal.log, QStringList("download 3"));
        m_portal.succeeds = true;
        m_host.fail("file ", "not a model");
        page()->ImportClick();
        QCOMPARE(fileCommands().size(), 1);
        QCOMPARE(infos(), QStringList());
    }

    void exportCleansTheNameAndUploadsTheWrittenFile()
    {
        // The typed name, the index of the translator, the export command, the file that the host wrote, and the
        // uploaded name.
        const std::tuple<QString, int, QString, QString, QString> rows[] = {
            {" Ä |Cup.FBX ", 0, "FBX ä cup.fbx", "C:\\x\\ Ä| ", "ä"},
            {"cup.fbx", 1, "OBJ cup.fbx.obj", "/x/", ""},
            {"cup", 2, "O\\\"dd cup.", "/x/..", ""},
            {".fbx", 0, "FBX .fbx.fbx", "", ""},
            {"a/b:c", 0, "FBX bc.fbx", "/x/A \"b\" C.FBX", "a b c.fbx"}};
        for (const auto &[typed, index, sent, written, uploaded] : rows) {
            m_host.answer("file ", KCommandResult(KQtUtil::toKString(written)));
            filter()->setCurrentIndex(index);
            clearRecords();
            QPushButton *exportButton = button(index == 0 ? "CloudExportAllButton" : "CloudExportSelectionButton");
            field()->clear();
            QVERIFY(!exportButton->isEnabled());
            field()->setText(typed);
            exportButton->click();
            const char *option = index == 0 ? "-ea" : "-es";
            QCOMPARE(fileCommands(), exportCommand(sent.section(' ', 0, 0), option, sent.section(' ', 1)));
            QVERIFY(QFileInfo(download("")).isDir());
            if (uploaded.isEmpty()) {
                checkFailed({"Export Error"});
                continue;
            }
            QCOMPARE(m_portal.log, QStringList({upload(uploaded, "nothing"), "list root"}));
            QCOMPARE(field()->text(), uploaded);
            QCOMPARE(infos(), QStringList("Successful export: " + written));
        }
        m_portal.succeeds = false;
        exportAs("cup");
        QCOMPARE(m_portal.log.size(), 1);
        QCOMPARE(m_host.errors() + infos(), QStringList("Export Error"));
        m_host.fail("file ", "disk full");
        exportAs("cup");
        checkFailed({});
    }

    void overwritingNeedsConsent_data()
    {
        addRows({{"agreed", "Scene", "0", "yes", "1"},
                 {"refused", "Scene", "0", "no", ""},
                 {"batch", "Scene", "1", "", ""},
                 {"library", "Scene", "2", "", ""},
                 {"batch, new name", "new", "1", "", "nothing"},
                 {"another case", "model", "0", "", "nothing"},
                 {"a folder", "dir", "0", "", "nothing"}});
    }
    void overwritingNeedsConsent()
    {
        const auto [title, name, state, answer, over] = currentRow<5>();
        m_host.setState(static_cast<KGlobal::KeldaState>(state.toInt()));
        m_agree = answer == "yes";
        m_duringDialog = [this] {
            filter()->setCurrentIndex(1);
            page()->ExportSelectionClick();
            page()->ShowExportOptions();
            doubleClick("cup.obj");
            m_controller->LoginDoneCB(true);
        };
        exportAs(name);
        QCOMPARE(m_questions, answer.isEmpty() ? QStringList() : QStringList("Do you want to overwrite the file?"));
        const bool isExported = !over.isEmpty();
        QCOMPARE(fileCommands(), isExported ? exportCommand("FBX", "-ea", name.toLower() + ".fbx") : QStringList());
        QCOMPARE(m_portal.log.filter("upload").join(' '), isExported ? upload("written.fbx", over) : QString());
    }

    void dockMayCloseDuringQuestionExportAndUpload()
    {
        for (const QString moment : {"question", "export", "upload"}) {
            m_portal.during = {{moment, [this] {
                                    QVERIFY(Portal_CloudBrowser::IsBusy());
                                    page()->ExportAllClick();
                                    page()->ClearSelection();
                                }}};
            m_duringDialog = m_portal.during.value("question");
            m_host.handle("file ", [&](const QString &, KCommandResult &written) {
                m_portal.run("export");
                written = KCommandResult(KString("/x/written.fbx"));
                return KStatus();
            });
            m_controller->LoginDoneCB(true);
            exportAs("scene");
            QCOMPARE(fileCommands().size(), moment == "question" ? 0 : 1);
            if (moment == "upload")
                QCOMPARE(m_portal.log, QStringList(upload("written.fbx", "1")));
            else
                checkFailed({"Export Error", TavrinStrings::text(TavrinStrings::kCloudPortalExportFolderClosed)});
        }
    }

    void filterOffersEveryTranslator()
    {
        page()->ExportFilterFilesClick(3);
        checkTranslatorIsMissing();
        filter()->setCurrentIndex(1);
        m_host.answer("Tavrin_GetExportTranslatorList", result({"A", "", "C"}));
        m_host.answer("Tavrin_GetExportTranslatorExtensionList", result({"a", "obj", "c", "d"}));
        find<QTabWidget>("ImportExportTabs")->setCurrentIndex(1);
        QCOMPARE(filter()->count(), 3);
        QCOMPARE(filter()->currentIndex(), 1);
        checkTranslatorIsMissing();

        m_host.handle("Tavrin_GetExportTranslatorList", [&](const QString &, KCommandResult &names) {
            names = result({"B"});
            m_host.answer("Tavrin_GetExportTranslatorList", names);
            page()->RefreshExporterFilterList();
            return KStatus();
        });
        page()->RefreshExporterFilterList();
        QCOMPARE(filter()->count(), 1);
        m_host.fail("Tavrin_GetExportTranslatorList", "no such procedure");
        page()->RefreshExporterFilterList();
        QCOMPARE(filter()->count(), 0);
        checkTranslatorIsMissing();
    }

    void doubleClickExportsUnderThatName()
    {
        find<QTabWidget>("ImportExportTabs")->setCurrentIndex(1);
        doubleClick("odd.xyz");
        QCOMPARE(m_questions + fileCommands(), QStringList());
        doubleClick("cup.obj");
        QCOMPARE(m_questions.size(), 1);
        QCOMPARE(fileCommands(), exportCommand("OBJ", "-ea", "cup.obj"));
    }

    void optionsDialogRunsTheCommandsOfTheTranslator_data()
    {
        addRows({{"Import", "Import Options", "known", download("cup.obj")},
                 {"ExportAll", "Export Options", "O\\\"dd", "."}});
    }
    void optionsDialogRunsTheCommandsOfTheTranslator()
    {
        const auto row = currentRow<4>();
        const QString layout = "CloudPortalFileDialogOptionsGrpBoxLayout";
        const bool isImport = row[0] == "Import";
        list()->setCurrentRow(3);
        find<QCheckBox>("CloudImportOptions")->setChecked(true);
        filter()->setCurrentIndex(2);
        m_duringDialog = [this] { page()->ShowExportOptions(); };
        for (const bool accepted : {false, true}) {
            clearRecords();
            m_agree = accepted;
            button(isImport ? "CloudImportButton" : "CloudExportOptionsButton")->click();
            settle();
            QCOMPARE(m_questions, QStringList(row[1] + ' ' + layout));
            QVERIFY(!dock()->findChild<QDialog *>("CloudPortalOptionsDialog"));
            QString expected = "initCurrentFileTypeOption %1 \"\" \"\";fileOperationsOptionsUISetup %1 %2;"
                               "fileOperationsOptionsUIInitValues %1 %2 \"%3\";setCurrentFileTypeOption %1 %2 \"%3\";"
                               "fileOperationsSelectionChangedCallback %1 %2 \"%4\"";
            expected += accepted ? ";fileOperationsOptionsUICallback %1 %2" : "";
            expected += isImport ? ";file -force -pr -i \"%4\"" : "";
            const QStringList sent =
                m_host.commands().filter(QRegularExpression("FileTypeOption|fileOperations|file -"));
            QCOMPARE(sent.join(';'), expected.arg(row[0], layout, row[2], row[3]));
        }
    }

private:
    void prepare() override
    {
        m_answering.start(5, this);
        m_agree = true;
        m_duringDialog = nullptr;
        m_portal.root() = {
            {"1", "scene.fbx"}, {"2", "Model.fbx"}, {"3", "cup.obj"}, {"4", "odd.xyz"}, {"5", "dir.fbx/"}};
        m_host.setState(KGlobal::kInteractive);
        m_host.answer("internalVar -userAppDir", KCommandResult(KQtUtil::toKString(m_dir.path() + '/')));
        m_host.answer("file ", KCommandResult(KString("/elsewhere/Written.FBX")));
        m_host.answer("Tavrin_GetImportTranslatorFromFileExtension", KCommandResult(KString("known")));
        m_host.answer("Tavrin_GetExportTranslatorList", result({"FBX", "OBJ", "O\"dd"}));
        m_host.answer("Tavrin_GetExportTranslatorExtensionList", result({"fbx", "obj"}));
        start();
        clearRecords();
    }
    QLineEdit *field() const { return find<QLineEdit>("CloudExportFileName"); }
    QComboBox *filter() const { return find<QComboBox>("CloudExportFilter"); }
    QString download(const QString &name) const { return m_dir.path() + "/temp_cloud/Test/" + name; }
    QStringList infos() const { return m_host.messages(KHost::MessageKind::kInfo); }
    QString upload(const QString &name, const QString &over) const
    {
        return "upload " + download(name) + " to root over " + over;
    }
    QStringList fileCommands() const { return m_host.commands().filter("file -"); }
    QStringList exportCommand(const QString &type, const char *option, const QString &name) const
    {
        const QString command = "file -force -options \"\" -type \"%1\" -pr %2 \"%3\"";
        return {command.arg(type, option, download(name))};
    }
    void clearRecords()
    {
        m_host.clear();
        m_portal.log.clear();
        m_questions.clear();
    }
    void exportAs(const QString &name)
    {
        clearRecords();
        field()->setText(name);
        page()->ExportAllClick();
    }
    /// Answers a question or an options dialog, after it has run m_duringDialog once.
    void timerEvent(QTimerEvent *) override
    {
        auto *dialog = qobject_cast<QDialog *>(QApplication::activeModalWidget());
        if (!dialog)
            return;
        if (m_duringDialog) {
            QTimer::singleShot(0, this, std::exchange(m_duringDialog, nullptr));
            return;
        }
        auto *box = qobject_cast<QMessageBox *>(dialog);
        m_questions << (box ? shownText(*box) : dialog->windowTitle() + ' ' + dialog->layout()->objectName());
        if (box)
            box->button(m_agree ? QMessageBox::Yes : QMessageBox::No)->click();
        else
            m_agree ? dialog->accept() : dialog->reject();
    }
    void checkFailed(const QStringList &errors)
    {
        QCOMPARE(m_host.errors(), errors);
        QCOMPARE(m_portal.log + infos(), QStringList());
    }
    void checkTranslatorIsMissing()
    {
        const QString text = "Cannot find a valid exporter to export this file type.";
        exportAs("cup");
        QCOMPARE(m_host.messages(KHost::MessageKind::kWarning), QStringList(text));
        QCOMPARE(m_host.commands(), QStringList("confirmDialog -title \"Export Error\" -m \"" + text +
                                                "\"  -messageAlign \"left\" -button \"Ok\""));
    }

    QTemporaryDir m_dir;
    QBasicTimer m_answering;
    bool m_agree = true;
    std::function<void()> m_duringDialog;
    QStringList m_questions;
};

QTEST_MAIN(TestTransfer)
#include "tst_transfer.moc"
