// The host without its window: its commands, its File menu and its plug-ins.

#include "host/MenuModel.h"
#include "kelda/TestHost.h"

#include <QtWidgets>

namespace {

/// A host with the sample plug-in in its folder and a command that returns the entries of the File menu.
struct PluginHost : TestHost
{
    explicit PluginHost(KGlobal::KeldaState state = KGlobal::kInteractive) : TestHost(state)
    {
        host.interpreter().addCommand("fileMenu", [this](const CommandCall &) {
            QStringList entries;
            for (const MenuModel::Entry &entry : host.menus().entries("FileMenu"))
                entries.append(entry.id + '|' + entry.label + '|' + entry.command);
            return Value(entries.join(", "));
        });
        QFile::copy(QCoreApplication::applicationDirPath() + "/../plug-ins/kelda_sample.so", path("kelda_sample.so"));
        QDir::setCurrent(folder.path());
    }

    /// Loads the sample plug-in with \p script beside it, and returns the messages.
    QString loadSample(const QByteArray &script = "")
    {
        write("Sample.ksc", script);
        return run("loadPlugin kelda_sample.so");
    }
};

} // namespace

class TestHostProgram : public QObject
{
    Q_OBJECT
private slots:
    void commandsReturnValuesOrFail()
    {
        qputenv("KELDA_TEST_VARIABLE", "värde");
        PluginHost test;
        test.write("moved", "text");
        test.write("scripts/first.ksc", "\xEF\xBB\xBF$where = \"location ü\";");
        test.write("scripts/broken.ksc", "proc f()\n{\n    frob;\n}\n");
        test.play(R"(
`getenv "KELDA_LOCATION"` + " " + `internalVar -userAppDir` + " " + `internalVar -userPrefDir` => FOLDER FOLDER/user/ FOLDER/user/prefs/
`about -uiLanguage` + `getenv "KELDA_TEST_VARIABLE"` + `sysFile -exists "FOLDER/user/prefs"` + `sysFile -exists "FOLDER/x"` => envärde10
"" + `sysFile -delete "FOLDER/moved"` + `sysFile -exists "FOLDER/moved"` + `sysFile -delete "FOLDER/moved"` => 100
menuItem -frob x => failed: line 1: menuItem: unknown flag -frob
waitCursor -state => failed: line 1: waitCursor: flag -state needs a value
print "a\n"; print b => info: a / info: b
setStringResource T k x => failed: line 1: setStringResource: the text T.k is not registered
source "first.ksc"; $where => location ü
source "broken.ksc"; f => failed: FOLDER/scripts/broken.ksc:3: unknown command 'frob'
eval "1;\nfrob" => failed: line 1: eval: line 2: unknown command 'frob'
waitCursor -state on; waitCursor -state (1); => nothing
if (`waitCursor -q -state`) { waitCursor -state off; } waitCursor -q -state => 1
waitCursor -state off; waitCursor -state off; waitCursor -q -state => 0
commandEcho -state true; => nothing
commandEcho -q -state => echo: commandEcho -q -state=1 / 1
commandEcho -state false; => echo: commandEcho -state false;=
3 + 3 => 6
)");
        test.run("waitCursor -state on");
        QVERIFY(QApplication::overrideCursor());
        test.run("waitCursor -state off");
        QVERIFY(!QApplication::overrideCursor());
    }

    void scriptContinuesAfterAFileThatCannotBeImported()
    {
        PluginHost test;
        test.write("many/a.obj", "not a model\n");
        QFile::copy(test.path("box.obj"), test.path("many/b.obj"));
        test.write("many/d.txt", "");
        test.write("many.ksc", "for ($file in `getFileList -folder \"many\" -filespec \"*.obj\"`) {\n"
                               "    if (catch(`file -i (\"many/\" + $file)`))\n"
                               "        $failed = $file;\n}\n$failed + `sceneInfo -q -triangles`;");
        QCOMPARE(test.run("source \"FOLDER/many.ksc\""),
                 QString("error: FOLDER/many.ksc:2: cannot import \"many/a.obj\": OBJ-file is too small. / a.obj12"));
    }

    void resultsHaveTheKindOfTheValue()
    {
        TestHost test;
        const auto kindOf = [](const QString &command) {
            KCommandResult result(1);
            KGlobal::executeCommand(KQtUtil::toKString(command), result);
            return QString("none int double string array").section(' ', result.kind(), result.kind());
        };
        // An integer that does not fit into an int is a double.
        playSteps(kindOf, "7 => int\n2147483648 => double\n\"7\" => string\nls => array\nerror x => none");
    }

    void callbacksFillTheFileMenu()
    {
        PluginHost test;
        KStringResource::registerString(KStringResourceId("Tavrin", "kCloudPortalMenu", "Tavrin..."));
        test.play(R"(
menuItem -parent FileMenu -label Own -command own own => own
proc fill() { menuItem -parent FileMenu -label Two -command "go" item; } => nothing
callbacks -addCallback "fill" -hook "addItemToFileMenu" -owner "o"; fileMenu => own|Own|own, item|Two|go
callbacks -addCallback broken -hook addItemToFileMenu -owner o => error: unknown command 'broken'
callbacks -removeCallback broken -hook addItemToFileMenu -owner o; fileMenu => own|Own|own, item|Two|go
callbacks -removeCallback  "fill" -hook "addItemToFileMenu" -owner "o"; fileMenu => own|Own|own
callbacks -removeCallback fill -hook addItemToFileMenu -owner o => failed: line 1: callbacks: 'o' has not added fill to the hook addItemToFileMenu
deleteUI own; fileMenu => nothing
deleteUI own => failed: line 1: deleteUI: the menu item 'own' does not exist
source "TAVRIN"; TavrinCreateUI; TavrinCreateUI; fileMenu => TavrinMenuItem|Tavrin...|Tavrin -showportal
TavrinDeleteUI; TavrinDeleteUI; fileMenu => nothing
)");
        QCOMPARE(PluginHost(KGlobal::kBatch)
                     .run("proc f() { print called; } callbacks -addCallback f -hook addItemToFileMenu -owner o;"),
                 QString());
    }

    void failedLoadLeavesNothingBehind()
    {
        PluginHost test;
        test.write("text.so", "text");
        QFile::link(QLibraryInfo::location(QLibraryInfo::LibrariesPath) + "/libQt5Core.so.5", test.path("qt.so"));
        qputenv("SAMPLE_FAILS", "1");
        test.play(R"(
loadPlugin "none.so" => failed: line 1: the plug-in file none.so does not exist
loadPlugin "text.so" => failed: line 1: text.so is not a plug-in: FOLDER/text.so: file too short
loadPlugin "qt.so" => failed: line 1: qt.so is not a plug-in: the entry point initializePlugin is missing
loadPlugin "kelda_sample.so" => failed: line 1: the initialisation of FOLDER/kelda_sample.so failed: no licence
Sample => failed: line 1: unknown command 'Sample'
pluginInfo -q -listPlugins => nothing
)");
        qunsetenv("SAMPLE_FAILS");
        QCOMPARE(test.loadSample(), QString("info: initialised: Hello "));
    }

    void pluginLoadsAgainAndPostsEachFailureOnce()
    {
        PluginHost test;
        test.write("Sample.ksc", "print sourced;");
        for (int round = 0; round < 2; ++round)
            test.play(R"(
loadPlugin kelda_sample.so => info: sourced / info: initialised: Hello
"" + `pluginInfo -q -listPlugins` + `pluginInfo -q -version kelda_sample` => kelda_sample1.2
Sample execute "print here; frob" => info: here / error: line 1: unknown command 'frob' / unposted: line 1: Sample: line 1: unknown command 'frob'
Sample ignore frob; frab => error: line 1: unknown command 'frob' / error: line 1: unknown command 'frob' / failed: line 1: unknown command 'frab'
print a;↵Sample fail; print b => info: a / failed: line 2: Sample: as asked
Sample throw => failed: line 1: Sample: thrown as asked
Sample "a b" c; SampleLeft => info: Hello 1 a b / info: Hello 1
loadPlugin kelda_sample.so => failed: line 1: cannot load kelda_sample.so: a plug-in kelda_sample is already loaded
Sample execute "unloadPlugin kelda_sample" => error: line 1: cannot unload the plug-in kelda_sample: one of its commands is running / unposted: line 1: Sample: line 1: cannot unload the plug-in kelda_sample: one of its commands is running
unloadPlugin kelda_sample; pluginInfo -q -listPlugins => nothing
SampleLeft => failed: line 1: unknown command 'SampleLeft'
)");
    }

    void pluginMayRefuseToBeUnloaded()
    {
        auto test = std::make_unique<PluginHost>();
        test->loadSample();
        qputenv("SAMPLE_STAYS", "1");
        test->play("unloadPlugin kelda_sample => failed: line 1: cannot unload the plug-in kelda_sample: not now\n"
                   "Sample still => info: Hello 1 still\n");
        QSignalSpy posted(&test->host, &KeldaHost::messagePosted);
        test.reset();
        qunsetenv("SAMPLE_STAYS");
        QCOMPARE(posted.value(0).value(1).toString(), QString("cannot unload the plug-in kelda_sample: not now"));
    }

    void textsAreReplacedBeforeThePluginUsesThem()
    {
        PluginHost test;
        QCOMPARE(test.loadSample(R"(
global proc SampleInitStrings() { setStringResource "Sample" "greeting" "Grüß dich "; }
global proc SampleMenu() { menuItem -parent FileMenu -label `getStringResource Sample greeting` s; }
callbacks -addCallback SampleMenu -hook addItemToFileMenu -owner Sample;)"),
                 QString("info: initialised: Grüß dich "));
        QCOMPARE(test.run("fileMenu"), QString("s|Grüß dich |"));
        // The procedure is already defined at the second load, so it runs at once. The text is kept.
        test.run("unloadPlugin kelda_sample; proc SampleInitStrings() { print `getStringResource Sample greeting`; }");
        QCOMPARE(test.loadSample(), QString("info: Grüß dich  / info: initialised: Grüß dich "));
    }

    void tavrinScriptReadsTheTableOfTheLanguage()
    {
        const auto textOf = [](const QString &language) {
            TestHost test(KGlobal::kInteractive, language);
            KStringResource::registerString(KStringResourceId("Tavrin", "kOk", "Ok"));
            test.write("scripts/strings/Tavrin_de.ksc", "setStringResource Tavrin kOk de");
            test.write("scripts/strings/Tavrin_de_DE.ksc", "setStringResource Tavrin kOk de_DE");
            return test.run("source \"TAVRIN\"; TavrinInitStrings; getStringResource Tavrin kOk");
        };
        playSteps(textOf, "fr_FR => Ok\nde_DE => de_DE\nde_AT.UTF-8 => de");
    }
};

QTEST_MAIN(TestHostProgram)
#include "tst_host.moc"
