#include "host/MenuModel.h"
#include "kelda/TestHost.h"

#include <QtWidgets>

namespace {

/// With the two modules in its folder, and a command that shows the File menu.
struct PlugInHost : TestHost
{
    explicit PlugInHost(KGlobal::KeldaState state = KGlobal::kInteractive, const QString &language = "en")
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

    /// Loads the sample plug-in with \p script beside it, and returns the messages of that.
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
    void commandsAndScriptsAnswerInTheirKindOrFail()
    {
        qputenv("KELDA_TEST_VARIABLE", "värde");
        PlugInHost test;
        test.write("file.txt", "text");
        test.write("scripts/first.ksc", "\xEF\xBB\xBF$where = \"location ü\";");
        test.write("scripts/which.ksc", "$where = \"location\";");
        test.write("second/which.ksc", "$where = \"second\";");
        test.write("here/current.ksc", "5");
        test.write("scripts/broken.ksc", "proc f()\n{\n    frob;\n}\n");
        qputenv("KELDA_SCRIPT_PATH", QFile::encodeName(test.path("none") + "::" + test.path("second")));
        QDir::setCurrent(test.path("here"));
        test.play(R"(
eval "proc int p() { return 4; }"; p() + exists("p") + exists("eval") + `exists q` + 2147483642 => 2147483648
`getenv "KELDA_LOCATION"` + " " + `internalVar -userAppDir` + " " + `internalVar -userPrefDir` => FOLDER FOLDER/user/ FOLDER/user/prefs/
`about -uiLanguage` + `getenv "KELDA_TEST_VARIABLE"` => envärde
`sysFile -exists "FOLDER/user"` + `sysFile -exists "FOLDER/user/prefs"` + `sysFile -exists "FOLDER/x"` => 2
string $d = `getenv "KELDA_LOCATION"` + "/a b"; sysFile -makeDir ($d + "/c"); sysFile("-removeEmptyDir", $d) + `sysFile -removeEmptyDir ($d + "/c")` + `sysFile -exists $d` => 2
sysFile -copy "FOLDER/copy" "FOLDER/file.txt"; sysFile -rename "FOLDER/moved" "FOLDER/copy"; `getFileList -folder "FOLDER" -filespec "*.txt"` + `getFileList -folder "FOLDER" -filespec "mo*"` => file.txt moved
"" + `sysFile -delete "FOLDER/moved"` + `sysFile -exists "FOLDER/moved"` => 10
`menuItem -exists none` + `pluginInfo -q -loaded none` => 0
error -1 -.5 (-2) => failed: line 1: -1 -.5 -2
menuItem -frob x => failed: line 1: menuItem: unknown flag -frob
waitCursor -state => failed: line 1: waitCursor: flag -state lacks a value
print "a\n"; info b; warning c d => info: a / info: b / warning: c d
setStringResource T k x => failed: line 1: setStringResource: no text is registered as T.k
source "which.ksc"; $where => second
source "first.ksc"; $where => location ü
source current.ksc => 5
source "broken.ksc"; f => failed: FOLDER/scripts/broken.ksc:3: unknown command 'frob'
)");
        // A failure inside eval names the call, its line, and the line of the text.
        test.write("scripts/evals.ksc", "print before;\neval \"1;\\nfrob\";");
        test.play(R"(
source "evals.ksc" => info: before / failed: FOLDER/scripts/evals.ksc:2: eval: line 2: unknown command 'frob'
eval "source broken.ksc; f" => failed: line 1: eval: FOLDER/scripts/broken.ksc:3: unknown command 'frob'
)");
        qunsetenv("KELDA_SCRIPT_PATH");
        QDir::setCurrent("/");

        const auto kindOf = [](const QString &command) {
            KCommandResult result(1);
            KGlobal::executeCommand(KQtUtil::toKString(command), result);
            return QString("none int double string array").section(' ', result.kind(), result.kind());
        };
        // The third does not fit into an int.
        playSteps(kindOf, "7 => int\n7.0 => double\n2147483648 => double\n\"7\" => string\n"
                          "callbacks -listCallbacks -hook h => array\nerror x => none");
    }

    void caughtErrorsArePostedOnce()
    {
        PlugInHost test;
        test.loadSample();
        test.play(R"(
$done = ""; for ($f in {"none.obj", "box.obj", "none.stl"}) { if (!catch(`file -i ("FOLDER/" + $f)`)) $done += $f; } $done => error: line 1: cannot import "FOLDER/none.obj": there is no such file / error: line 1: cannot import "FOLDER/none.stl": there is no such file / box.obj
catch(`frob`); catch(`frob`); => error: line 1: unknown command 'frob' / error: line 1: unknown command 'frob' / 1
catch(`frob`); frob => error: line 1: unknown command 'frob' / failed: line 1: unknown command 'frob'
catch(`Sample execute "frob"`) => error: line 1: unknown command 'frob' / 1
catch(`eval "frob"`) => error: line 1: eval: line 1: unknown command 'frob' / 1
)");
    }

    void waitCursorCountsAndEchoFollowsItsState()
    {
        auto test = std::make_unique<PlugInHost>();
        test->play(R"(
waitCursor -state on; waitCursor -state (1); => nothing
if (`waitCursor -q -state`) { waitCursor -state off; } waitCursor -q -state => 1
if (`waitCursor -q -state`) { waitCursor -state off; } waitCursor -state off; waitCursor -q -state => 0
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
        const auto menu = "proc f() { menuItem -parent FileMenu -label L i; } callbacks -addCallback f -hook "
                          "addItemToFileMenu -owner o; `fileMenu` + `about -batch`";
        QCOMPARE(PlugInHost(KGlobal::kBatch).run(menu), QString("1"));
        PlugInHost test;
        QSignalSpy changes(&test.host.menus(), &MenuModel::changed);
        KStringResource::registerString(KStringResourceId("Tavrin", "kCloudPortalMenu", "Tavrin..."));
        test.play(R"(
$label = "One"; menuItem -parent FileMenu -label Own -command own own => own
proc fill() { global string $label; menuItem -parent FileMenu -label $label -command "go" item; } => nothing
callbacks -addCallback "fill" -hook "addItemToFileMenu" -owner "o"; fileMenu => own|Own|own, item|One|go
callbacks -addCallback broken -hook addItemToFileMenu -owner o => error: unknown command 'broken'
callbacks -addCallback fill -hook addItemToFileMenu -owner o => error: unknown command 'broken'
callbacks -listCallbacks -hook addItemToFileMenu => fill broken
$label = "Two"; callbacks -removeCallback broken -hook addItemToFileMenu -owner o; fileMenu => own|Own|own, item|Two|go
callbacks -removeCallback  "fill" -hook "addItemToFileMenu" -owner "o"; fileMenu => own|Own|own
deleteUI own; fileMenu => nothing
callbacks -addCallback fill -hook other -owner o; callbacks -executeCallbacks -hook other; fileMenu => item|Two|go
deleteUI item; source "TAVRIN"; TavrinCreateUI; TavrinCreateUI; fileMenu => TavrinMenuItem|Tavrin...|Tavrin -showportal
TavrinDeleteUI; TavrinDeleteUI; fileMenu => nothing
)");
        QCOMPARE(changes.size(), 12); // once for each command that changes something
    }

    void brokenModulesAndStrangersLeaveNothing()
    {
        PlugInHost test;
        test.write("text.so", "text");
        qputenv("SAMPLE_FAILS", "1");
        for (int round = 0; round < 2; ++round)
            test.play(R"(
loadPlugin "FOLDER/none.so" => failed: line 1: there is no plug-in file FOLDER/none.so
loadPlugin "FOLDER/text.so" => failed: line 1: FOLDER/text.so is no plug-in: FOLDER/text.so: file too short
loadPlugin "FOLDER/kelda_no_entry.so" => failed: line 1: FOLDER/kelda_no_entry.so is no plug-in: it has no entry point uninitializePlugin
loadPlugin "FOLDER/kelda_sample.so" => failed: line 1: FOLDER/kelda_sample.so could not be initialised: no licence
exists("Sample") + exists("SampleLeft") => 0
pluginInfo -q -listPlugins => nothing
)");

        qunsetenv("SAMPLE_FAILS");
        KStatus status;
        int handle = 0;
        KFnPlugin stranger(KObject(&handle), "V", "1", "Any", &status);
        QVERIFY(!status && !stranger.registerCommand("x", []() -> void * { return nullptr; }));
        QCOMPARE(test.run("exists x"), QString("0"));
    }

    void pluginLoadsAgainAndPostsEachFailureOnce()
    {
        PlugInHost test;
        test.write("Sample.ksc", "print sourced;");
        for (int round = 0; round < 2; ++round)
            test.play(R"(
loadPlugin "FOLDER/kelda_sample.so" => info: sourced / info: initialised: Hello
"" + `pluginInfo -q -listPlugins` + `pluginInfo -q -vendor kelda_sample` + `pluginInfo -q -version kelda_sample` => kelda_sampleTests1.2
Sample execute "print here; frob" => info: here / error: line 1: unknown command 'frob' / unposted: line 1: Sample: line 1: unknown command 'frob'
Sample ignore frob => error: line 1: unknown command 'frob' / error: line 1: unknown command 'frob'
Sample ignore frob; frab => error: line 1: unknown command 'frob' / error: line 1: unknown command 'frob' / failed: line 1: unknown command 'frab'
frob => failed: line 1: unknown command 'frob'
print a;↵Sample fail; print b => info: a / failed: line 2: Sample: as asked
Sample throw => failed: line 1: Sample: thrown as asked
Sample "a b" c; SampleLeft => info: Hello 1 a b / info: Hello 1
loadPlugin "FOLDER/kelda_sample.so" => failed: line 1: a plug-in kelda_sample is loaded already; FOLDER/kelda_sample.so is not loaded
unloadPlugin kelda_sample => nothing
`pluginInfo -q -loaded kelda_sample` + exists("Sample") + exists("SampleLeft") => 0
source Sample.ksc => failed: line 1: source: there is no script file 'Sample.ksc'
)");
    }

    void pluginStaysWhenItRefusesToGo()
    {
        auto test = std::make_unique<PlugInHost>();
        test->loadSample();
        QVERIFY(test->run("Sample execute \"unloadPlugin kelda_sample\"")
                    .contains("plug-in kelda_sample stays loaded: one of its commands is running"));
        qputenv("SAMPLE_STAYS", "1");
        test->play(R"(
unloadPlugin kelda_sample => failed: line 1: plug-in kelda_sample stays loaded: FOLDER/kelda_sample.so could not be uninitialised: not now
Sample still => info: Hello 1 still
)");
        QSignalSpy posted(&test->host, &KeldaHost::messagePosted);
        test.reset(); // as it unloads what is left
        qunsetenv("SAMPLE_STAYS");
        QVERIFY(posted.size() == 1 && posted[0][1].toString().endsWith("not now") && !KHost::instance());
    }

    void textsAreReplacedBeforeThePluginUsesThem()
    {
        PlugInHost test;
        QCOMPARE(test.loadSample(R"(
global proc SampleInitStrings() { setStringResource "Sample" "greeting" "Grüß dich "; }
global proc SampleMenu() { menuItem -parent FileMenu -label `getStringResource Sample greeting` s; }
callbacks -addCallback SampleMenu -hook addItemToFileMenu -owner Sample;)"),
                 QString("info: initialised: Grüß dich "));
        QCOMPARE(test.run("fileMenu"), QString("s|Grüß dich |"));
        // Registering again keeps the text; the procedure, which is known by now, runs at once.
        test.run("unloadPlugin kelda_sample; proc SampleInitStrings() { print `getStringResource Sample greeting`; }");
        QCOMPARE(test.loadSample(), QString("info: Grüß dich  / info: initialised: Grüß dich "));
    }

    void tavrinScriptReadsTheTableOfTheLanguage()
    {
        const auto textOf = [](const QString &language) {
            PlugInHost test(KGlobal::kInteractive, language);
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
