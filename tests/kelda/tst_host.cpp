#include "host/KeldaHost.h"
#include "host/MenuModel.h"
#include "host/PluginManager.h"

#include <QApplication>
#include <QDir>
#include <QFile>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QtTest>

namespace {

/// A host with a location and a user folder of its own, and the messages it posted as "error: text".
class TestHost
{
public:
    explicit TestHost(KGlobal::KeldaState state = KGlobal::kInteractive, const QString &language = "en")
        : host({state, folder.path(), folder.filePath("user"), language})
    {
        QObject::connect(&host, &KeldaHost::messagePosted, [this](KHost::MessageKind kind, const QString &text) {
            const char *labels[] = {"info: ", "warning: ", "error: "};
            messages.append(labels[static_cast<int>(kind)] + text);
        });
    }

    /// The result of \p command as text, "failed: " and the reason when it fails.
    QString run(const QString &command)
    {
        KStatus status;
        const KString result = KGlobal::executeCommandStringResult(KQtUtil::toKString(command), false, false, &status);
        return status ? KQtUtil::toQString(result) : "failed: " + KQtUtil::toQString(status.errorString());
    }
    QStringList takeMessages() { return std::exchange(messages, QStringList()); }
    QString write(const QString &name, const QByteArray &content)
    {
        const QString path = folder.filePath(name);
        QDir().mkpath(QFileInfo(path).path());
        QFile file(path);
        return file.open(QIODevice::WriteOnly) && file.write(content) == content.size() ? path : QString();
    }
    /// Puts a copy of a module that was built for the tests into \p subfolder; its path.
    QString install(const QString &module, const QString &subfolder = "plug-ins")
    {
        const QString path = folder.filePath(subfolder + '/' + module + ".so");
        QDir().mkpath(QFileInfo(path).path());
        QFile::copy(QCoreApplication::applicationDirPath() + "/../plug-ins/" + module + ".so", path);
        return path;
    }
    QStringList fileMenu()
    {
        QStringList entries;
        for (const MenuModel::Entry &entry : host.menus().entries("FileMenu"))
            entries.append(entry.id + '|' + entry.label + '|' + entry.command);
        return entries;
    }

    QTemporaryDir folder;
    QStringList messages;
    KeldaHost host;
};

QString tavrinScript()
{
    return QFINDTESTDATA("../../scripts/TavrinCreateUI.ksc");
}

/// Names, first extensions, all extensions, read and write support of some translators, as the scene answers them.
Value fakeTranslators(const CommandCall &call)
{
    struct Translator
    {
        QString name;
        QStringList extensions;
        bool reads;
        bool writes;
    };
    static const QVector<Translator> all = {{"WriteOnly", {"obj"}, false, true},
                                            {"Wave front", {"OBJ", "Objx"}, true, true},
                                            {"Second obj", {"obj"}, true, false},
                                            {"Gl", {"glb", "gltf"}, true, true}};
    if (call.arguments[1].toString() == "-list")
        return QStringList{"WriteOnly", "Wave front", "Second obj", "Gl"};
    for (const Translator &translator : all) {
        if (translator.name != call.arguments[2].toString())
            continue;
        const QString flag = call.arguments[1].toString();
        return flag == "-extension"     ? Value(translator.extensions.front())
               : flag == "-extensions"  ? Value(translator.extensions)
               : flag == "-readSupport" ? Value(translator.reads)
                                        : Value(translator.writes);
    }
    throw CommandError("no such translator");
}

} // namespace

class TestHostProgram : public QObject
{
    Q_OBJECT
private slots:
    void resultsKeepTheirKind();
    void commandsAnswer_data();
    void commandsAnswer();
    void commandsFail_data();
    void commandsFail();
    void everyFailureIsPostedOnce();
    void scriptsAreFoundInOrder();
    void userFoldersAreMade();
    void waitCursorCounts();
    void echoFollowsItsState();
    void callbacksFillTheFileMenu();
    void menuStaysEmptyWithoutInterface();
    void brokenModulesGiveOneError_data();
    void brokenModulesGiveOneError();
    void pluginLoadsUnloadsAndLoadsAgain();
    void pluginStaysWhenItRefusesToGo();
    void pluginCommandsReportFailures();
    void textsAreReplacedBeforeThePluginUsesThem();
    void hostUnloadsWhatIsLeft();
    void strangersRegisterNothing();
    void tavrinScriptMakesOneMenuEntry();
    void tavrinScriptReadsTextTables_data();
    void tavrinScriptReadsTextTables();
    void tavrinScriptKnowsTranslators();
};

void TestHostProgram::resultsKeepTheirKind()
{
    TestHost test;
    const auto kindOf = [](const char *command) {
        KCommandResult result(1);
        KGlobal::executeCommand(command, result);
        return result.kind();
    };
    QCOMPARE(kindOf("7"), KCommandResult::kInt);
    QCOMPARE(kindOf("7.0"), KCommandResult::kDouble);
    QCOMPARE(kindOf("2147483648"), KCommandResult::kDouble); // does not fit into an int
    QCOMPARE(kindOf("\"7\""), KCommandResult::kString);
    QCOMPARE(kindOf("callbacks -listCallbacks -hook h"), KCommandResult::kStringArray);
    QCOMPARE(kindOf("print x"), KCommandResult::kNone);
    QCOMPARE(kindOf("1; error x"), KCommandResult::kNone);
    QCOMPARE(test.run("2147483648"), QString("2147483648"));
    QCOMPARE(test.run("tokenize(\"a b\", \" \")"), QString("a b"));
}

void TestHostProgram::commandsAnswer_data()
{
    QTest::addColumn<QString>("command");
    QTest::addColumn<QString>("result");
    const auto row = [](const char *command, const char *result) { QTest::newRow(command) << command << result; };
    row("eval ( \"1 + 2\" );", "3");
    row("eval \"proc int p() { return 4; }\"; p() + exists(\"p\") + exists(\"eval\") + `exists q`", "6");
    row("about -uiLanguage", "en");
    row("about -batch", "0");
    row("getenv \"KELDA_LOCATION\";", "FOLDER");
    row("getenv \"KELDA_TEST_VARIABLE\"", "värde");
    row("getenv NO_SUCH_VARIABLE", "");
    row("internalVar -userAppDir", "FOLDER/user/");
    row("internalVar -userPrefDir", "FOLDER/user/prefs/");
    row("string $d = `getenv \"KELDA_LOCATION\"` + \"/a b\"; sysFile -makeDir ($d + \"/c\"); sysFile -exists $d", "1");
    row("sysFile -removeEmptyDir \"FOLDER/none\"", "0");
    row("sysFile -copy \"FOLDER/copy\" \"FOLDER/file.txt\"; sysFile -rename \"FOLDER/moved\" \"FOLDER/copy\"; "
        "string[] $f = `getFileList -folder \"FOLDER\" -filespec \"*o*e*\"`; sysFile -delete \"FOLDER/moved\"; $f",
        "moved");
    row("confirmDialog -title \"x\" -message \"y\"  -messageAlign \"left\" -button \"Yes\" -button \"No\"", "Yes");
    row("confirmDialog -message y -button Yes -button No -defaultButton No", "No");
    row("confirmDialog -m y -button Ok", "Ok");
    row("menuItem -exists none", "0");
    row("pluginInfo -q -loaded none", "0");
}

void TestHostProgram::commandsAnswer()
{
    QFETCH(QString, command);
    QFETCH(QString, result);
    qputenv("KELDA_TEST_VARIABLE", "värde");
    TestHost test;
    test.write("file.txt", "text");
    QCOMPARE(test.run(command.replace("FOLDER", test.folder.path())), result.replace("FOLDER", test.folder.path()));
    QCOMPARE(test.takeMessages(), QStringList());
}

void TestHostProgram::commandsFail_data()
{
    QTest::addColumn<QString>("command");
    QTest::addColumn<QString>("reason");
    const auto row = [](const char *command, const char *reason) {
        QTest::newRow(qPrintable(QString(command).simplified())) << command << reason;
    };
    row("1;\nnoSuchCommand", "line 2: unknown command 'noSuchCommand'");
    row("error \"because\" 7", "line 1: because 7");
    row("source \"none.ksc\"", "line 1: source: there is no script file 'none.ksc'");
    row("waitCursor -state maybe", "line 1: waitCursor: 'maybe' is neither on nor off");
    row("waitCursor", "line 1: waitCursor: flag -state is missing");
    row("deleteUI none", "line 1: deleteUI: there is no 'none'");
    row("menuItem -label x y", "line 1: menuItem: flag -parent is missing");
    row("callbacks -removeCallback p -hook h -owner o", "line 1: callbacks: p is not hooked to h by 'o'");
    row("setStringResource \"Tavrin\" \"kNone\" \"x\"",
        "line 1: setStringResource: no text is registered as Tavrin.kNone");
    row("getStringResource Tavrin kNone", "line 1: getStringResource: no text is registered as Tavrin.kNone");
    row("unloadPlugin none", "line 1: no plug-in none is loaded");
    row("internalVar", "line 1: internalVar: a flag is missing");
    row("getenv", "line 1: getenv: 1 arguments are wanted, not 0");
}

void TestHostProgram::commandsFail()
{
    QFETCH(QString, command);
    QFETCH(QString, reason);
    TestHost test;
    QCOMPARE(test.run(command), "failed: " + reason);
    QCOMPARE(test.takeMessages(), QStringList("error: " + reason));
}

void TestHostProgram::everyFailureIsPostedOnce()
{
    TestHost test;
    QVERIFY(test.host.plugins().load(test.install("kelda_sample")));
    test.takeMessages();

    QVERIFY(test.run("Sample execute \"print here; frob\"").startsWith("failed: "));
    QCOMPARE(test.takeMessages(), QStringList({"info: here", "error: line 1: unknown command 'frob'"}));
    QCOMPARE(test.run("Sample ignore frob"), QString());
    const QString once = "error: line 1: unknown command 'frob'";
    QCOMPARE(test.takeMessages(), QStringList({once, once})); // two failures that the plug-in did not hand on
    test.run("Sample ignore frob; frab");
    QCOMPARE(test.takeMessages(), QStringList({once, once, "error: line 1: unknown command 'frab'"}));
    test.run("frob");
    test.run("frob");
    QCOMPARE(test.takeMessages(), QStringList({once, once}));
    test.run("print \"a\\n\"; info b; warning c d");
    QCOMPARE(test.takeMessages(), QStringList({"info: a", "info: b", "warning: c d"}));
}

void TestHostProgram::scriptsAreFoundInOrder()
{
    TestHost test;
    test.write("scripts/which.ksc", "\xEF\xBB\xBF$where = \"location ü\";");
    QCOMPARE(test.run("source \"which.ksc\"; $where"), QString("location ü"));
    test.write("second/which.ksc", "$where = \"second\";");
    qputenv("KELDA_SCRIPT_PATH",
            QFile::encodeName(test.folder.filePath("none") + "::" + test.folder.filePath("second")));
    QCOMPARE(test.run("source which.ksc; $where"), QString("second"));
    qunsetenv("KELDA_SCRIPT_PATH");

    const QString broken = test.write("scripts/broken.ksc", "proc f()\n{\n    frob;\n}\n");
    QCOMPARE(test.run("source \"broken.ksc\"; f"), "failed: " + broken + ":3: unknown command 'frob'");
    const QString loop = test.write("scripts/loop.ksc", "\nsource loop.ksc;");
    QCOMPARE(test.run("source loop.ksc").section(": ", 0, 1), "failed: " + loop + ":2");

    const QString here = QDir::currentPath();
    QDir::setCurrent(test.folder.filePath("second"));
    test.write("second/current.ksc", "5");
    QCOMPARE(test.run("source current.ksc"), QString("5"));
    QDir::setCurrent(here);
}

void TestHostProgram::userFoldersAreMade()
{
    TestHost test;
    QVERIFY(QFileInfo(test.run("internalVar -userAppDir")).isDir());
    QVERIFY(QFileInfo(test.run("internalVar -userPrefDir")).isDir());
}

void TestHostProgram::waitCursorCounts()
{
    TestHost test;
    QSignalSpy changes(&test.host, &KeldaHost::waitCursorChanged);
    const QString off = "if (`waitCursor -q -state`) { waitCursor -state off; }";
    test.run("waitCursor -state on; waitCursor -state on;");
    QVERIFY(QApplication::overrideCursor());
    test.run(off);
    QCOMPARE(test.run("waitCursor -q -state"), QString("1"));
    test.run(off);
    test.run(off);
    test.run("waitCursor -state off");
    QCOMPARE(test.run("waitCursor -q -state"), QString("0"));
    QVERIFY(!QApplication::overrideCursor());
    QCOMPARE(changes.size(), 2);
}

void TestHostProgram::echoFollowsItsState()
{
    TestHost test;
    QSignalSpy echoed(&test.host, &KeldaHost::commandEchoed);
    test.run("1 + 1");
    KGlobal::executeCommand("1 + 2", true);
    test.run("commandEcho -state true;");
    test.run("2 + 2");
    QCOMPARE(test.run("commandEcho -q -state"), QString("1"));
    test.run("commandEcho -state false;");
    test.run("3 + 3");
    QStringList lines;
    for (const QList<QVariant> &arguments : echoed)
        lines.append(arguments[0].toString() + '=' + arguments[1].toString());
    QCOMPARE(lines, QStringList({"1 + 2=3", "2 + 2=4", "commandEcho -q -state=1", "commandEcho -state false;="}));
}

void TestHostProgram::callbacksFillTheFileMenu()
{
    TestHost test;
    QSignalSpy changes(&test.host.menus(), &MenuModel::changed);
    test.run("$label = \"One\"; proc fill() { global string $label; "
             "menuItem -parent FileMenu -label $label -command \"go\" item; }");
    test.run("menuItem -parent FileMenu -label Own -command own own");
    test.run("callbacks -addCallback \"fill\" -hook \"addItemToFileMenu\" -owner \"o\";");
    QCOMPARE(test.fileMenu(), QStringList({"own|Own|own", "item|One|go"}));
    QCOMPARE(changes.size(), 2);

    test.run("callbacks -addCallback broken -hook addItemToFileMenu -owner o; "
             "callbacks -addCallback fill -hook addItemToFileMenu -owner o");
    QCOMPARE(test.run("callbacks -listCallbacks -hook addItemToFileMenu"), QString("fill broken"));
    const QString missing = "error: unknown command 'broken'";
    QCOMPARE(test.takeMessages(), QStringList({missing, missing})); // once for each time the menu was built
    test.run("callbacks -removeCallback broken -hook addItemToFileMenu -owner o");

    test.run("$label = \"Two\"");
    test.host.menus().rebuild();
    QCOMPARE(test.fileMenu(), QStringList({"own|Own|own", "item|Two|go"}));
    test.run("callbacks -removeCallback  \"fill\" -hook \"addItemToFileMenu\" -owner \"o\";");
    QCOMPARE(test.fileMenu(), QStringList("own|Own|own"));
    test.run("deleteUI own");
    QCOMPARE(test.fileMenu(), QStringList());
    QCOMPARE(test.takeMessages(), QStringList());

    test.run("callbacks -addCallback fill -hook other -owner o; callbacks -executeCallbacks -hook other");
    QCOMPARE(test.fileMenu().size(), 1);
}

void TestHostProgram::menuStaysEmptyWithoutInterface()
{
    TestHost test(KGlobal::kBatch);
    test.run("proc fill() { menuItem -parent FileMenu -label L item; } "
             "callbacks -addCallback fill -hook addItemToFileMenu -owner o");
    QCOMPARE(test.fileMenu(), QStringList());
    QCOMPARE(test.run("about -batch"), QString("1"));
}

void TestHostProgram::brokenModulesGiveOneError_data()
{
    QTest::addColumn<QString>("module");
    QTest::addColumn<QString>("reason");
    QTest::newRow("missing") << "none.so"
                             << "there is no plug-in file FILE";
    QTest::newRow("folder") << ""
                            << "there is no plug-in file FILE";
    QTest::newRow("text") << "text.so"
                          << "FILE is no plug-in: FILE: file too short";
    QTest::newRow("entry point missing") << "kelda_no_entry.so"
                                         << "FILE is no plug-in: it has no entry point uninitializePlugin";
    QTest::newRow("failing") << "kelda_failing.so"
                             << "FILE could not be initialised: no licence";
}

void TestHostProgram::brokenModulesGiveOneError()
{
    QFETCH(QString, module);
    QFETCH(QString, reason);
    TestHost test;
    test.write("plug-ins/text.so", "text");
    test.install("kelda_no_entry");
    test.install("kelda_failing");
    const QString file = test.folder.filePath("plug-ins/" + module);
    reason = "line 1: " + reason.replace("FILE", file);
    for (int round = 0; round < 2; ++round) {
        QCOMPARE(test.run("loadPlugin \"" + file + "\""), "failed: " + reason);
        QCOMPARE(test.takeMessages(), QStringList("error: " + reason));
        QCOMPARE(test.run("pluginInfo -q -listPlugins"), QString());
        QVERIFY(!test.host.interpreter().hasCommand("FailingLeft"));
    }
}

void TestHostProgram::pluginLoadsUnloadsAndLoadsAgain()
{
    TestHost test;
    const QString file = test.install("kelda_sample");
    test.write("plug-ins/Sample.ksc", "print sourced;");
    QDir::setCurrent(test.folder.path());
    for (int round = 0; round < 3; ++round) {
        QCOMPARE(test.run(round == 1 ? "loadPlugin \"plug-ins/kelda_sample.so\"" : "loadPlugin \"" + file + "\""),
                 QString());
        QCOMPARE(test.takeMessages(), QStringList({"info: sourced", "info: initialised: Hello "}));
        QCOMPARE(test.run("pluginInfo -q -listPlugins"), QString("kelda_sample"));
        QCOMPARE(test.run("pluginInfo -q -vendor kelda_sample") + test.run("pluginInfo -q -version kelda_sample"),
                 QString("Tests1.2"));
        test.run("Sample \"a b\" c; SampleLeft");
        QCOMPARE(test.takeMessages(), QStringList({"info: Hello 1 a b", "info: Hello 1 "})); // one object at a time

        QCOMPARE(test.run("loadPlugin \"" + file + "\""),
                 "failed: line 1: a plug-in kelda_sample is loaded already; " + file + " is not loaded");
        QCOMPARE(test.run("unloadPlugin kelda_sample"), QString());
        QCOMPARE(test.run("pluginInfo -q -loaded kelda_sample"), QString("0"));
        QVERIFY(!test.host.interpreter().hasCommand("Sample") && !test.host.interpreter().hasCommand("SampleLeft"));
        test.takeMessages();
    }
    QCOMPARE(test.run("source Sample.ksc"), QString("failed: line 1: source: there is no script file 'Sample.ksc'"));
    QDir::setCurrent("/");
}

void TestHostProgram::pluginStaysWhenItRefusesToGo()
{
    TestHost test;
    QVERIFY(test.host.plugins().load(test.install("kelda_sample")));
    qputenv("SAMPLE_STAYS", "1");
    const KStatus status = test.host.plugins().unload("kelda_sample");
    qunsetenv("SAMPLE_STAYS");
    QVERIFY(!status && KQtUtil::toQString(status.errorString()).endsWith("could not be uninitialised: not now"));
    QVERIFY(test.host.plugins().isLoaded("kelda_sample"));

    test.takeMessages();
    QVERIFY(test.run("Sample execute \"unloadPlugin kelda_sample\"").startsWith("failed: "));
    QCOMPARE(test.takeMessages(),
             QStringList("error: line 1: plug-in kelda_sample stays loaded: one of its commands is running"));
    QCOMPARE(test.run("Sample still"), QString());
    QVERIFY(test.host.plugins().unload("kelda_sample"));
}

void TestHostProgram::pluginCommandsReportFailures()
{
    TestHost test;
    QVERIFY(test.host.plugins().load(test.install("kelda_sample")));
    test.takeMessages();
    QCOMPARE(test.run("print a;\nSample fail; print b"), QString("failed: line 2: Sample: as asked"));
    QCOMPARE(test.run("Sample throw"), QString("failed: line 1: Sample: thrown as asked"));
    QCOMPARE(test.takeMessages(),
             QStringList({"info: a", "error: line 2: Sample: as asked", "error: line 1: Sample: thrown as asked"}));
    test.run("Sample x");
    QCOMPARE(test.takeMessages(), QStringList("info: Hello 1 x")); // those that failed are gone
}

void TestHostProgram::textsAreReplacedBeforeThePluginUsesThem()
{
    TestHost test;
    const QString file = test.install("kelda_sample");
    test.write("plug-ins/Sample.ksc",
               "global proc SampleInitStrings() { setStringResource \"Sample\" \"greeting\" \"Grüß dich \"; }"
               "global proc SampleMenu() { menuItem -parent FileMenu -label `getStringResource Sample greeting` s; }"
               "callbacks -addCallback SampleMenu -hook addItemToFileMenu -owner Sample;");
    QVERIFY(test.host.plugins().load(file));
    QCOMPARE(test.takeMessages(), QStringList("info: initialised: Grüß dich "));
    QCOMPARE(test.fileMenu(), QStringList("s|Grüß dich |"));
    QVERIFY(test.host.plugins().unload("kelda_sample"));

    // Registering again keeps the text; the procedure, which is known by now, runs at once.
    test.run("global proc SampleInitStrings() { print `getStringResource Sample greeting`; }");
    test.write("plug-ins/Sample.ksc", "");
    QVERIFY(test.host.plugins().load(file));
    QCOMPARE(test.takeMessages(), QStringList({"info: Grüß dich ", "info: initialised: Grüß dich "}));
}

void TestHostProgram::hostUnloadsWhatIsLeft()
{
    QStringList posted;
    {
        TestHost test;
        QVERIFY(test.host.plugins().load(test.install("kelda_sample")));
        QObject::connect(&test.host, &KeldaHost::messagePosted,
                         [&posted](KHost::MessageKind, const QString &text) { posted.append(text); });
        test.run("waitCursor -state on;");
        qputenv("SAMPLE_STAYS", "1");
    }
    qunsetenv("SAMPLE_STAYS");
    QCOMPARE(posted.size(), 1);
    QVERIFY(posted.front().contains("not now"));
    QVERIFY(!KHost::instance());
    QVERIFY(!QApplication::overrideCursor());
}

void TestHostProgram::strangersRegisterNothing()
{
    TestHost test;
    KStatus status;
    KFnPlugin null(KObject(), "V", "1", "Any", &status);
    QVERIFY(!status && !null.registerUIStrings(nullptr, "p"));
    int handle = 0;
    KFnPlugin stranger(KObject(&handle), "V", "1", "Any", &status);
    QVERIFY(!status && !stranger.registerCommand("x", []() -> void * { return nullptr; }));
    QVERIFY(!test.host.interpreter().hasCommand("x"));
}

void TestHostProgram::tavrinScriptMakesOneMenuEntry()
{
    TestHost test;
    KStringResource::registerString(KStringResourceId("Tavrin", "kCloudPortalMenu", "Tavrin..."));
    test.run("source \"" + tavrinScript() + "\"; TavrinCreateUI; TavrinCreateUI;");
    QCOMPARE(test.fileMenu(), QStringList("TavrinMenuItem|Tavrin...|Tavrin -showportal"));
    test.run("TavrinDeleteUI; TavrinDeleteUI");
    QCOMPARE(test.fileMenu(), QStringList());
    QCOMPARE(test.takeMessages(), QStringList());
}

void TestHostProgram::tavrinScriptReadsTextTables_data()
{
    QTest::addColumn<QString>("language");
    QTest::addColumn<QStringList>("tables");
    QTest::addColumn<QString>("text");
    QTest::newRow("none") << "de_DE" << QStringList("fr") << "Ok";
    QTest::newRow("language") << "de_DE" << QStringList({"de", "fr"}) << "de";
    QTest::newRow("land first") << "de_DE" << QStringList({"de", "de_DE"}) << "de_DE";
    QTest::newRow("no land") << "de" << QStringList({"de", "de_DE"}) << "de";
    QTest::newRow("other land") << "de_AT.UTF-8" << QStringList({"de_DE", "de"}) << "de";
}

void TestHostProgram::tavrinScriptReadsTextTables()
{
    QFETCH(QString, language);
    QFETCH(QStringList, tables);
    QFETCH(QString, text);
    TestHost test(KGlobal::kInteractive, language);
    KStringResource::registerString(KStringResourceId("Tavrin", "kOk", "Ok"));
    for (const QString &table : tables)
        test.write("scripts/strings/Tavrin_" + table + ".ksc",
                   "setStringResource \"Tavrin\" \"kOk\" \"" + table.toUtf8() + "\";\n");
    test.run("source \"" + tavrinScript() + "\"; TavrinInitStrings");
    QCOMPARE(test.run("getStringResource Tavrin kOk"), text);
    QCOMPARE(test.takeMessages(), QStringList());
}

void TestHostProgram::tavrinScriptKnowsTranslators()
{
    TestHost test;
    test.host.interpreter().addCommand("fileTranslator", fakeTranslators);
    test.run("source \"" + tavrinScript() + "\"");
    QCOMPARE(test.run("Tavrin_GetImportTranslatorFromFileExtension(\"obj\");"), QString("Wave front"));
    QCOMPARE(test.run("Tavrin_GetImportTranslatorFromFileExtension(\"OBJX\");"), QString("Wave front"));
    QCOMPARE(test.run("Tavrin_GetImportTranslatorFromFileExtension(\"gltf\");"), QString("Gl"));
    QCOMPARE(test.run("Tavrin_GetImportTranslatorFromFileExtension(\"\");"), QString());
    QCOMPARE(test.run("Tavrin_GetImportTranslatorFromFileExtension(\"a\\\"; print \\\"x\");"), QString());

    KCommandResult names;
    KCommandResult extensions;
    QVERIFY(KGlobal::executeCommand("Tavrin_GetExportTranslatorList();", names));
    QVERIFY(KGlobal::executeCommand("Tavrin_GetExportTranslatorExtensionList();", extensions));
    QCOMPARE(names.kind(), KCommandResult::kStringArray);
    QCOMPARE(extensions.kind(), KCommandResult::kStringArray);
    QCOMPARE(test.run("stringArrayToString(Tavrin_GetExportTranslatorList(), \"|\")"),
             QString("WriteOnly|Wave front|Gl"));
    QCOMPARE(test.run("stringArrayToString(Tavrin_GetExportTranslatorExtensionList(), \"|\")"), QString("obj|obj|glb"));
    QCOMPARE(test.takeMessages(), QStringList());
}

QTEST_MAIN(TestHostProgram)
#include "tst_host.moc"
