// Import and export: the commands to the host, the files of the host and the portal, and events between the steps.

#include "PageFixture.h"
#include "TavrinStrings.h"

class TestTransfer : public PageFixture
{
    Q_OBJECT
private slots:
    void silentCommandsRunWithoutTheHostsEcho()
    {
        m_host.answer("commandEcho -q", KCommandResult(1));
        executeCommandSilently("print y");
        QCOMPARE(m_host.commands().join('|'),
                 QString("commandEcho -q -state|commandEcho -state false;|print y|commandEcho -state true;"));
    }

    void importsStayInTheDownloadFolder_data()
    {
        addRows({{"quotation mark", "a\"; quit.obj", "/Old", R"(Old/a\"; quit.obj)"},
                 {"folder above", "x.obj", "/../../etc", "_/_/etc/x.obj"},
                 {"name with a folder", "../x.obj", "", "_"}});
    }
    void importsStayInTheDownloadFolder()
    {
        const auto [title, name, folder, expected] = currentRow<4>();
        m_portal.root() = {{"1", name}};
        page()->RefreshFolderData();
        auto *entry = static_cast<ICloudPortalApi::Portal_CloudBrowserListItem *>(row(name));
        entry->GetItem()->SetProperty("folder", KQtUtil::toKString(folder));
        list()->setCurrentItem(entry);
        page()->ImportClick();
        QCOMPARE(fileCommands(), QStringList("file -force -pr -i \"" + download(expected) + '"'));
        QCOMPARE(infos(), QStringList("Successful import: " + download(expected).remove('\\')));
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

    void exportCleansTheNameAndUploadsTheWrittenFile_data()
    {
        // The typed name, the index of the translator, the exported type and file, the file that the host wrote, and
        // the uploaded name, which is empty if the written name is refused.
        addRows({{"other case and blanks", " Ä |Cup.FBX ", "0", "FBX ä cup.fbx", "C:\\x\\ Ä| ", "ä"},
                 {"other extension, folder written", "cup.fbx", "1", "OBJ cup.fbx.obj", "/x/", ""},
                 {"translator without extension, dots written", "cup", "2", "O\\\"\\\\d cup.", "/x/..", ""},
                 {"folder typed", "a/b:c", "0", "FBX bc.fbx", "/x/A \"b\" C.FBX", "a b c.fbx"}});
    }
    void exportCleansTheNameAndUploadsTheWrittenFile()
    {
        const auto [title, typed, index, sent, written, uploaded] = currentRow<6>();
        m_host.answer("file ", KCommandResult(KQtUtil::toKString(written)));
        filter()->setCurrentIndex(index.toInt());
        const bool exportsAll = index == "0";
        QPushButton *exportButton = button(exportsAll ? "CloudExportAllButton" : "CloudExportSelectionButton");
        QVERIFY(!exportButton->isEnabled());
        field()->setText(typed);
        exportButton->click();
        const QString file = sent.section(' ', 1);
        QCOMPARE(fileCommands(), exportCommand(sent.section(' ', 0, 0), exportsAll ? "-ea" : "-es", file));
        QVERIFY(QFileInfo(download("")).isDir());
        if (uploaded.isEmpty()) {
            QCOMPARE(outcome(), QStringList("Export Error"));
            return;
        }
        QCOMPARE(outcome(), QStringList({upload(uploaded, "nothing"), "list root", "Successful export: " + written}));
        QCOMPARE(field()->text(), uploaded);
    }

    void overwritingNeedsConsent_data()
    {
        addRows({{"agreed", "Scene", "0", "yes", "1"},
                 {"refused", "Scene", "0", "no", ""},
                 {"batch", "Scene", "1", "", ""},
                 {"batch, new name", "new", "1", "", "nothing"},
                 {"a folder", "dir", "0", "", "nothing"}});
    }
    void overwritingNeedsConsent()
    {
        const auto [title, name, state, answer, over] = currentRow<5>();
        m_host.setState(static_cast<KGlobal::KeldaState>(state.toInt()));
        m_agrees = answer == "yes";
        m_portal.during["dialog"] = [this] {
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

    void dockMayCloseDuring_data() { addRows({{"dialog"}, {"export"}, {"upload"}}); }
    void dockMayCloseDuring()
    {
        const QString moment = currentRow<1>()[0];
        m_portal.during[moment] = [this] {
            QVERIFY(Portal_CloudBrowser::IsBusy());
            page()->ExportAllClick();
            dock()->close();
        };
        m_host.handle("file ", [this](const QString &, KCommandResult &written) {
            m_portal.run("export");
            written = KCommandResult(KString("/x/written.fbx"));
            return KStatus();
        });
        exportAs("scene");
        QCOMPARE(fileCommands().size(), moment == "dialog" ? 0 : 1);
        const QString closed = TavrinStrings::text(TavrinStrings::kCloudPortalExportFolderClosed);
        QCOMPARE(outcome(), moment == "upload"
                                ? QStringList({upload("written.fbx", "1"), "Successful export: /x/written.fbx"})
                                : QStringList({"Export Error", closed}));
    }

    void filterOffersEveryTranslator()
    {
        filter()->setCurrentIndex(1);
        m_host.answer("Tavrin_GetExportTranslatorList", result({"A", "", "C"}));
        m_host.answer("Tavrin_GetExportTranslatorExtensionList", result({"a", "obj", "c", "d"}));
        find<QTabWidget>("ImportExportTabs")->setCurrentIndex(1);
        QCOMPARE(filter()->count(), 3);
        QCOMPARE(filter()->currentIndex(), 1);

        m_host.fail("Tavrin_GetExportTranslatorList", "no such procedure");
        page()->RefreshExporterFilterList();
        QCOMPARE(filter()->count(), 0);
        checkTranslatorIsMissing();
    }

    void doubleClickExportsUnderThatName()
    {
        find<QTabWidget>("ImportExportTabs")->setCurrentIndex(1);
        m_host.answer("Tavrin_GetImportTranslatorFromFileExtension(\"xyz\")", KCommandResult(KString("known")));
        doubleClick("odd.xyz");
        QCOMPARE(m_questions + fileCommands(), QStringList());
        doubleClick("cup.obj");
        QCOMPARE(m_questions.size(), 1);
        QCOMPARE(fileCommands(), exportCommand("OBJ", "-ea", "cup.obj"));
    }

    void optionsDialogRunsTheCommandsOfTheTranslator_data()
    {
        addRows({{"import", "Import", "Import Options", "known", download("cup.obj")},
                 {"export", "ExportAll", "Export Options", "O\\\"\\\\d", "."}});
    }
    void optionsDialogRunsTheCommandsOfTheTranslator()
    {
        const auto [title, action, dialogTitle, translator, path] = currentRow<5>();
        const QString layout = "CloudPortalFileDialogOptionsGrpBoxLayout";
        const bool isImport = action == "Import";
        list()->setCurrentRow(3);
        find<QCheckBox>("CloudImportOptions")->setChecked(true);
        filter()->setCurrentIndex(2);
        m_portal.during["dialog"] = [this] { page()->ShowExportOptions(); };
        button(isImport ? "CloudImportButton" : "CloudExportOptionsButton")->click();
        settle();
        QCOMPARE(m_questions, QStringList(dialogTitle + ' ' + layout));
        QVERIFY(!dock()->findChild<QDialog *>("CloudPortalOptionsDialog"));
        QString expected = "initCurrentFileTypeOption %1 \"\" \"\";fileOperationsOptionsUISetup %1 %2;"
                           "fileOperationsOptionsUIInitValues %1 %2 \"%3\";setCurrentFileTypeOption %1 %2 \"%3\";"
                           "fileOperationsSelectionChangedCallback %1 %2 \"%4\";fileOperationsOptionsUICallback %1 %2";
        expected += isImport ? ";file -force -pr -i \"%4\"" : "";
        const QStringList sent = m_host.commands().filter(QRegularExpression("FileTypeOption|fileOperations|file -"));
        QCOMPARE(sent.join(';'), expected.arg(action, layout, translator, path));
    }

private:
    void prepare() override
    {
        answerDialogs();
        m_portal.root() = {
            {"1", "scene.fbx"}, {"2", "Model.fbx"}, {"3", "cup.obj"}, {"4", "odd.xyz"}, {"5", "dir.fbx/"}};
        m_host.answer("Tavrin_GetExportTranslatorList", result({"FBX", "OBJ", "O\"\\d"}));
        m_host.answer("Tavrin_GetExportTranslatorExtensionList", result({"fbx", "obj"}));
        start();
        clearRecords();
    }
    QLineEdit *field() const { return find<QLineEdit>("CloudExportFileName"); }
    QComboBox *filter() const { return find<QComboBox>("CloudExportFilter"); }
    QString download(const QString &name) const { return m_dir.path() + "/temp_cloud/Test/" + name; }
    QStringList infos() const { return m_host.messages(KHost::MessageKind::kInfo); }
    /// The requests to the portal, then the messages.
    QStringList outcome() const { return m_portal.log + m_host.errors() + infos(); }
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
    void exportAs(const QString &name)
    {
        clearRecords();
        field()->setText(name);
        page()->ExportAllClick();
    }
    void checkTranslatorIsMissing()
    {
        const QString text = "Cannot find a valid exporter to export this file type.";
        exportAs("cup");
        QCOMPARE(m_host.messages(KHost::MessageKind::kWarning), QStringList(text));
        QCOMPARE(m_host.commands(), QStringList("confirmDialog -title \"Export Error\" -m \"" + text +
                                                "\"  -messageAlign \"left\" -button \"Ok\""));
    }
};

QTEST_MAIN(TestTransfer)
#include "tst_transfer.moc"
