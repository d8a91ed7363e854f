#include "host/MenuModel.h"
#include "host/PluginManager.h"
#include "kelda/TestHost.h"

#include <QtWidgets>

namespace {

/// A host with the two test modules in its folder and a command that shows the File menu.
struct PluginHost : TestHost
{
    explicit PluginHost(KGlobal::KeldaState state = KGlobal::kInteractive, const QString &language = "en")
        : TestHost(state, language)
    {
        host.interpreter().addCommand("fileMenu", [this](const CommandCall &) {
            QStringList entries;
            for (const MenuModel::Entry &entry : host.menus().entries("FileMenu"))
                entries.append(entry.id + '|' + entry.label + '|' + entry.command);
            return Value(entries.join(", "));
        });
        for (const char *module : {"/kelda_sample.so", "/kelda_no_entry.so"})
            QFile::copy(QCoreApplication::applicationDirPath() + "/../plug-ins" + module, folder.path() + module);
    }

    /// Loads the sample plug-in with \p script beside it, and returns the messages.
    QString loadSample(const QByteArray &script = "")
    {
        write("Sample.ksc", script);
        QDir::setCurrent(folder.path());
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
        test.write("scripts/which.ksc", "$where = \"location\";");
        test.write("second/which.ksc", "$where = \"second\";");
        test.write("here/current.ksc", "5");
        test.write("scripts/broken.ksc", "proc f()\n{\n    frob;\n}\n");
        test.write("scripts/evals.ksc", "print before;\neval \"1;\\nfrob\";");
        qputenv("KELDA_SCRIPT_PATH", QFile::encodeName(test.path("none") + "::" + test.path("second")));
        QDir::setCurrent(test.path("here"));
        test.play(R"(
`getenv "KELDA_LOCATION"` + " " + `internalVar -userAppDir` + " " + `internalVar -userPrefDir` => FOLDER FOLDER/user/ FOLDER/user/prefs/
`about -uiLanguage` + `getenv "KELDA_TEST_VARIABLE"` => envärde
"" + `sysFile -exists "FOLDER/user/prefs"` + `sysFile -exists "FOLDER/x"` => 10
"" + `sysFile -delete "FOLDER/moved"` + `sysFile -exists "FOLDER/moved"` + `sysFile -delete "FOLDER/moved"` => 100
error -1 -.5 (-2) => failed: line 1: -1 -.5 -2
menuItem -frob x => failed: line 1: menuItem: unknown flag -frob
waitCursor -state => failed: line 1: waitCursor: flag -state needs a value
print "a\n"; print b => info: a / info: b
setStringResource T k x => failed: line 1: setStringResource: the text T.k is not registered
source "which.ksc"; $where => second
source "first.ksc"; $where => location ü
source current.ksc => 5
source "broken.ksc"; f => failed: FOLDER/scripts/broken.ksc:3: unknown command 'frob'
source "evals.ksc" => info: before / failed: FOLDER/scripts/evals.ksc:2: eval: line 2: unknown command 'frob'
eval "source broken.ksc; f" => failed: line 1: eval: FOLDER/scripts/broken.ksc:3: unknown command 'frob'
)");
        qunsetenv("KELDA_SCRIPT_PATH");
        QDir::setCurrent("/");
    }

    void scriptOverManyFilesGoesOnAfterABadOne()
    {
        PluginHost test;
        test.loadSample();
        test.write("many/a.obj", "not a model\n");
        QFile::copy(test.path("box.obj"), test.path("many/b.obj"));
        test.write("many/c.obj", "");
        test.write("many/d.txt", "");
        test.write("many.ksc", R"($failed = "";
for ($file in `getFileList -folder "many" -filespec "*.obj"`) {
    if (catch(`file -i ("many/" + $file)`))
        $failed = $failed + $file + " ";
}
if (catch(`eval "1;\nfrob"`))
    $failed = $failed + "eval ";
$failed + `sceneInfo -q -triangles` + `getFileList -folder "many"`;
)");
        test.play(R"(
source "FOLDER/many.ksc" => error: FOLDER/many.ksc:3: cannot import "many/a.obj": OBJ-file is too small. / error: FOLDER/many.ksc:3: cannot import "many/c.obj": it is empty / error: FOLDER/many.ksc:6: eval: line 2: unknown command 'frob' / a.obj c.obj eval 12a.obj b.obj c.obj d.txt
catch(`frob`); catch(`frob`); => error: line 1: unknown command 'frob' / error: line 1: unknown command 'frob' / 1
catch(`frob`); frob => error: line 1: unknown command 'frob' / failed: line 1: unknown command 'frob'
catch(`Sample execute "frob"`) => error: line 1: unknown command 'frob' / 1
)");
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

    void waitCursorCountsAndEchoFollowsItsState()
    {
        auto test = std::make_unique<PluginHost>();
        test->play(R"(
waitCursor -state on; waitCursor -state (1); => nothing
if (`waitCursor -q -state`) { waitCursor -state off; } waitCursor -q -state => 1
if (`waitCursor -q -state`) { waitCursor -state off; } waitCursor -state off; waitCursor -q -state => 0
waitCursor -state maybe => failed: line 1: waitCursor: 'maybe' is neither on nor off
waitCursor -state on; commandEcho -state true; => nothing
commandEcho -q -state => echo: commandEcho -q -state=1 / 1
commandEcho -state false; => echo: commandEcho -state false;=
3 + 3 => 6
)");
        QVERIFY(QApplication::overrideCursor());
        KGlobal::executeCommand("1 + 2", true);
        QCOMPARE(test->messages, QStringList("echo: 1 + 2=3"));
        test.reset();
        QVERIFY(!QApplication::overrideCursor());
    }

    void callbacksFillTheFileMenu()
    {
        PluginHost test;
        KStringResource::registerString(KStringResourceId("Tavrin", "kCloudPortalMenu", "Tavrin..."));
        test.play(R"(
menuItem -parent FileMenu -label Own -command own own => own
proc fill() { menuItem -parent FileMenu -label `getenv LABEL` -command "go" item; } => nothing
callbacks -addCallback "fill" -hook "addItemToFileMenu" -owner "o"; fileMenu => own|Own|own, item||go
callbacks -addCallback broken -hook addItemToFileMenu -owner o => error: unknown command 'broken'
callbacks -addCallback fill -hook addItemToFileMenu -owner o => error: unknown command 'broken'
)");
        qputenv("LABEL", "Two");
        test.play(R"(
callbacks -removeCallback broken -hook addItemToFileMenu -owner o; fileMenu => own|Own|own, item|Two|go
callbacks -removeCallback  "fill" -hook "addItemToFileMenu" -owner "o"; fileMenu => own|Own|own
callbacks -removeCallback fill -hook addItemToFileMenu -owner o => failed: line 1: callbacks: 'o' has not added fill to the hook addItemToFileMenu
deleteUI own; fileMenu => nothing
deleteUI own => failed: line 1: deleteUI: the menu item 'own' does not exist
source "TAVRIN"; TavrinCreateUI; TavrinCreateUI; fileMenu => TavrinMenuItem|Tavrin...|Tavrin -showportal
TavrinDeleteUI; TavrinDeleteUI; fileMenu => nothing
)");
    }

    void batchHostRunsNoMenuCallbacks()
    {
        QCOMPARE(PluginHost(KGlobal::kBatch)
                     .run("proc f() { print called; } callbacks -addCallback f -hook "
                          "addItemToFileMenu -owner o;"),
                 QString());
    }

    void failedLoadLeavesNothingBehind()
    {
        PluginHost test;
        test.write("text.so", "text");
        qputenv("SAMPLE_FAILS", "1");
        for (int round = 0; round < 2; ++round)
            test.play(R"(
loadPlugin "FOLDER/none.so" => failed: line 1: the plug-in file FOLDER/none.so does not exist
loadPlugin "FOLDER/text.so" => failed: line 1: FOLDER/text.so is not a plug-in: FOLDER/text.so: file too short
loadPlugin "FOLDER/kelda_no_entry.so" => failed: line 1: FOLDER/kelda_no_entry.so is not a plug-in: the entry point uninitializePlugin is missing
loadPlugin "FOLDER/kelda_sample.so" => failed: line 1: the initialisation of FOLDER/kelda_sample.so failed: no licence
Sample => failed: line 1: unknown command 'Sample'
pluginInfo -q -listPlugins => nothing
)");
        qunsetenv("SAMPLE_FAILS");
    }

    void unknownPluginObjectIsRefused()
    {
        TestHost test;
        KStatus status;
        int handle = 0;
        KFnPlugin unknown(KObject(&handle), "V", "1", "Any", &status);
        QVERIFY(!status);
        QVERIFY(!unknown.registerCommand("x", []() -> void * { return nullptr; }));
        QVERIFY(!test.host.interpreter().hasCommand("x"));
    }

    void pluginLoadsAgainAndPostsEachFailureOnce()
    {
        PluginHost test;
        test.write("Sample.ksc", "print sourced;");
        for (int round = 0; round < 2; ++round)
            test.play(R"(
loadPlugin "FOLDER/kelda_sample.so" => info: sourced / info: initialised: Hello
"" + `pluginInfo -q -listPlugins` + `pluginInfo -q -version kelda_sample` => kelda_sample1.2
Sample execute "print here; frob" => info: here / error: line 1: unknown command 'frob' / unposted: line 1: Sample: line 1: unknown command 'frob'
Sample ignore frob; frab => error: line 1: unknown command 'frob' / error: line 1: unknown command 'frob' / failed: line 1: unknown command 'frab'
frob => failed: line 1: unknown command 'frob'
print a;↵Sample fail; print b => info: a / failed: line 2: Sample: as asked
Sample throw => failed: line 1: Sample: thrown as asked
Sample "a b" c; SampleLeft => info: Hello 1 a b / info: Hello 1
loadPlugin "FOLDER/kelda_sample.so" => failed: line 1: cannot load FOLDER/kelda_sample.so: a plug-in kelda_sample is already loaded
unloadPlugin kelda_sample; pluginInfo -q -listPlugins => nothing
SampleLeft => failed: line 1: unknown command 'SampleLeft'
source Sample.ksc => failed: line 1: source: the script file 'Sample.ksc' does not exist
)");
    }

    void pluginStaysLoadedIfItCannotBeUnloaded()
    {
        auto test = std::make_unique<PluginHost>();
        test->loadSample();
        const QString whileRunning = test->run("Sample execute \"unloadPlugin kelda_sample\"");
        QVERIFY2(whileRunning.contains("cannot unload the plug-in kelda_sample: one of its commands is running"),
                 qPrintable(whileRunning));
        qputenv("SAMPLE_STAYS", "1");
        test->play("unloadPlugin kelda_sample => failed: line 1: cannot unload the plug-in kelda_sample: not now\n"
                   "Sample still => info: Hello 1 still\n");
        QSignalSpy posted(&test->host, &KeldaHost::messagePosted);
        test.reset();
        qunsetenv("SAMPLE_STAYS");
        QCOMPARE(posted.size(), 1);
        QCOMPARE(posted[0][1].toString(), QString("cannot unload the plug-in kelda_sample: not now"));
        QCOMPARE(KHost::instance(), nullptr);
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
            PluginHost test(KGlobal::kInteractive, language);
            KStringResource::registerString(KStringResourceId("Tavrin", "kOk", "Ok"));
            for (const char *table : {"de", "de_DE"})
                test.write(QString("scripts/strings/Tavrin_%1.ksc").arg(table),
                           QByteArray("setStringResource Tavrin kOk ") + table);
            return test.run("source \"TAVRIN\"; TavrinInitStrings; getStringResource Tavrin kOk");
        };
        playSteps(textOf, "fr_FR => Ok\nde_DE => de_DE\nde_AT.UTF-8 => de");
    }
};

QTEST_MAIN(TestHostProgram)
#include "tst_host.moc"
