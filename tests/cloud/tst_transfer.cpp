// Import and export: the commands that the host is sent, the file that host or portal is given, and what may happen
// between the steps.

#include "TestPortal.h"

namespace {

KCommandResult texts(const QStringList &items)
{
    KStringArray array;
    for (const QString &item : items)
        array.append(KQtUtil::toKString(item));
    return KCommandResult(array);
}

} // namespace

class TestTransfer : public StageTest
{
    Q_OBJECT
private slots:
    void initTestCase()
    {
        connect(&m_answering, &QTimer::timeout, this, &TestTransfer::answer);
        m_answering.start(5);
    }

    void init()
    {
        m_agree = true;
        m_meanwhile = nullptr;
        m_service = TestService();
        m_service.exportFormats = {"fbx"};
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
        start();
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

    void importsStayInTheDownloadFolder()
    {
        const std::tuple<QString, QString, QString> rows[] = {{"a\"; quit.obj", "/Old", R"(Old/a\"; quit.obj)"},
                                                              {"x.obj", "/../../etc", "_/_/etc/x.obj"},
                                                              {"../x.obj", "", "_"}};
        for (const auto &[name, folder, expected] : rows) {
            m_service.root() = {{"1", name}};
            m_stage->page()->RefreshFolderData();
            auto *entry = static_cast<ICloudPortalApi::Portal_CloudBrowserListItem *>(m_stage->row(name));
            static_cast<TestItem *>(entry->GetItem())->importFolder = KQtUtil::toKString(folder);
            m_stage->list()->setCurrentItem(entry);
            forget();
            m_stage->page()->ImportClick();
            QCOMPARE(fileCommands(), QStringList("file -force -pr -i \"" + download(expected) + '"'));
            QCOMPARE(infos(), QStringList("Successful import: " + download(expected).remove('\\')));
        }
    }

    void failuresEndTheImportAndASecondClickMeanwhileDoesNothing()
    {
        m_service.succeeds = false;
        m_service.during["download"] = [this] { m_stage->page()->ImportClick(); };
        m_stage->doubleClick("cup.obj");
        QCOMPARE(fileCommands(), QStringList());
        QCOMPARE(m_service.log, QStringList("download 3"));
        m_service.succeeds = true;
        m_host.fail("file ", "not a model");
        m_stage->page()->ImportClick();
        QCOMPARE(fileCommands().size(), 1);
        QCOMPARE(infos(), QStringList());
    }

    void exportedNames()
    {
        // What is typed, the translator's index, what is sent, what the host says that it wrote, and what is uploaded.
        const std::tuple<QString, int, QString, QString, QString> rows[] = {
            {"a/b:c", 0, "FBX bc.fbx", "/x/A \"b\" C.FBX", "a b c.fbx"},
            {" Ä |Cup.FBX ", 0, "FBX ä cup.fbx", "C:\\x\\ Ä| ", "ä"},
            {"cup.fbx", 1, "OBJ cup.fbx.obj", "/x/", ""},
            {"cup", 2, "O\\\"dd cup.", "/x/..", ""},
            {".fbx", 0, "FBX .fbx.fbx", "", ""}};
        for (const auto &[typed, filter, sent, written, uploaded] : rows) {
            for (const char *option : {"-ea", "-es"}) {
                m_host.answer("file ", KCommandResult(KQtUtil::toKString(written)));
                m_filter->setCurrentIndex(filter);
                forget();
                auto *button =
                    m_stage->button(option[2] == 'a' ? "CloudExportAllButton" : "CloudExportSelectionButton");
                m_field->clear();
                QVERIFY(!button->isEnabled());
                m_field->setText(typed);
                button->click();
                QCOMPARE(fileCommands(), exportCommand(sent.section(' ', 0, 0), option, sent.section(' ', 1)));
                QVERIFY(QFileInfo(download("")).isDir());
                if (uploaded.isEmpty()) {
                    checkFailed({"Export Error"});
                    continue;
                }
                QCOMPARE(m_service.log, QStringList({upload(uploaded, "nothing"), "list root"}));
                QCOMPARE(m_field->text(), uploaded);
                QCOMPARE(infos(), QStringList("Successful export: " + written));
            }
        }
    }

    void overwriting_data()
    {
        addRows({"name", "state", "answer", "over"}, {{"agreed", "Scene", "0", "yes", "1"},
                                                      {"refused", "Scene", "0", "no", ""},
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
        m_agree = answer == "yes";
        m_meanwhile = [this] {
            m_filter->setCurrentIndex(1);
            m_stage->page()->ExportSelectionClick();
            m_stage->page()->ShowExportOptions();
            m_stage->doubleClick("cup.obj");
            m_stage->controller()->LoginDoneCB(true);
        };
        exportAs(name);
        QCOMPARE(m_asked, answer.isEmpty() ? QStringList() : QStringList("Do you want to overwrite the file?"));
        const bool goesOn = !over.isEmpty();
        QCOMPARE(fileCommands(), goesOn ? exportCommand("FBX", "-ea", name.toLower() + ".fbx") : QStringList());
        QCOMPARE(m_service.log.filter("upload").join(' '), goesOn ? upload("written.fbx", over) : QString());
    }

    void theDockMayCloseDuringQuestionExportAndUpload()
    {
        for (const QString moment : {"question", "export", "upload"}) {
            m_service.during = {{moment, [this] {
                                     QVERIFY(Portal_CloudBrowser::IsBusy());
                                     m_stage->page()->ExportAllClick();
                                     m_stage->page()->ClearSelection();
                                 }}};
            m_meanwhile = m_service.during.value("question");
            m_host.handle("file ", [&](const QString &, KCommandResult &result) {
                m_service.run("export");
                result = KCommandResult(KString("/x/written.fbx"));
                return KStatus();
            });
            m_stage->controller()->LoginDoneCB(true);
            exportAs("scene");
            QCOMPARE(fileCommands().size(), moment == "question" ? 0 : 1);
            if (moment == "upload")
                QCOMPARE(m_service.log, QStringList(upload("written.fbx", "1")));
            else
                checkFailed({"Export Error", "The folder to export into is not open any more."});
        }
        QVERIFY(!Portal_CloudBrowser::IsBusy());
    }

    void failuresAreTold()
    {
        m_service.succeeds = false;
        exportAs("cup");
        QCOMPARE(m_service.log.size(), 1);
        m_service.log.clear();
        checkFailed({"Export Error"});
        m_host.fail("file ", "disk full");
        exportAs("cup");
        checkFailed({});
        m_stage->page()->ExportFilterFilesClick(3);
        checkTranslatorIsMissing();
    }

    void theFilterOffersEveryTranslator()
    {
        m_filter->setCurrentIndex(1);
        m_host.answer("Tavrin_GetExportTranslatorList", texts({"A", "", "C"}));
        m_host.answer("Tavrin_GetExportTranslatorExtensionList", texts({"a", "obj", "c", "d"}));
        m_stage->find<QTabWidget>("ImportExportTabs")->setCurrentIndex(1);
        QCOMPARE(m_filter->count(), 3);
        QCOMPARE(m_filter->currentIndex(), 1);
        checkTranslatorIsMissing();

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
        checkTranslatorIsMissing();
    }

    void aDoubleClickExportsUnderThatName()
    {
        m_stage->find<QTabWidget>("ImportExportTabs")->setCurrentIndex(1);
        m_stage->doubleClick("odd.xyz");
        QVERIFY(m_asked.isEmpty() && fileCommands().isEmpty());
        m_stage->doubleClick("cup.obj");
        QCOMPARE(m_asked.size(), 1);
        QCOMPARE(fileCommands(), exportCommand("OBJ", "-ea", "cup.obj"));
    }

    void options_data()
    {
        addRows({"title", "translator", "path"}, {{"Import", "Import Options", "known", download("cup.obj")},
                                                  {"ExportAll", "Export Options", "O\\\"dd", "."}});
    }
    void options()
    {
        const QString action = QTest::currentDataTag();
        QFETCH(QString, title);
        QFETCH(QString, translator);
        QFETCH(QString, path);
        const QString layout = "CloudPortalFileDialogOptionsGrpBoxLayout";
        const bool isImport = action == "Import";
        m_stage->list()->setCurrentItem(m_stage->row("cup.obj"));
        m_stage->find<QCheckBox>("CloudImportOptions")->setChecked(true);
        m_filter->setCurrentIndex(2);
        for (const bool accepted : {false, true}) {
            forget();
            m_agree = accepted;
            m_meanwhile = [this] { m_stage->page()->ShowExportOptions(); };
            m_stage->button(isImport ? "CloudImportButton" : "CloudExportOptionsButton")->click();
            settle();
            QCOMPARE(m_asked, QStringList(title + ' ' + layout));
            QVERIFY(!m_stage->dock()->findChild<QDialog *>("CloudPortalOptionsDialog"));
            const QString procedures = "initCurrentFileTypeOption %1 \"\" \"\";fileOperationsOptionsUISetup %1 %2;"
                                       "fileOperationsOptionsUIInitValues %1 %2 \"%3\";"
                                       "setCurrentFileTypeOption %1 %2 \"%3\";"
                                       "fileOperationsSelectionChangedCallback %1 %2 \"%4\"";
            QStringList expected = procedures.arg(action, layout, translator, path).split(';');
            if (accepted)
                expected << "fileOperationsOptionsUICallback " + action + ' ' + layout;
            if (isImport)
                expected << "file -force -pr -i \"" + path + '"';
            QCOMPARE(m_host.commands().filter(QRegularExpression("FileTypeOption|fileOperations|file -")), expected);
        }
    }

private:
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
        auto *box = qobject_cast<QMessageBox *>(dialog);
        m_asked << (box ? box->text() : dialog->windowTitle() + ' ' + dialog->layout()->objectName());
        if (box)
            box->button(m_agree ? QMessageBox::Yes : QMessageBox::No)->click();
        else
            m_agree ? dialog->accept() : dialog->reject();
    }
    void checkFailed(const QStringList &errors)
    {
        QCOMPARE(m_host.errors(), errors);
        QCOMPARE(m_service.log + infos(), QStringList());
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
    QLineEdit *m_field = nullptr;  // the page's
    QComboBox *m_filter = nullptr; // the page's
    QTimer m_answering;
    bool m_agree = true;
    std::function<void()> m_meanwhile;
    QStringList m_asked;
};

QTEST_MAIN(TestTransfer)
#include "tst_transfer.moc"
