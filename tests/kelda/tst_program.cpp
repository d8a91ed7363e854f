// The kelda program itself: arguments in, lines on stdout and an exit status out.

#include "kelda/ModelFiles.h"

#include "ui/KeldaOptions.h"

#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>

#include <csignal>

namespace {

struct Outcome
{
    int status = -1;
    QStringList lines;
    QString errors;
};

} // namespace

class TestProgram : public QObject
{
    Q_OBJECT

private slots:
    void init();

    void commandsAnswerInOrder_data();
    void commandsAnswerInOrder();
    void failuresAreOneErrorLine_data();
    void failuresAreOneErrorLine();
    void argumentsAreChecked_data();
    void argumentsAreChecked();
    void importFromTheCommandLine();
    void pluginLoadsAndUnloads();
    void foldersComeFromTheOptions();
    void scriptsAndCommandsKeepTheirOrder();
    void noDisplayIsAnError();
    void windowModesStayUntilToldToLeave_data();
    void windowModesStayUntilToldToLeave();
    void locationIsFoundFromTheProgram_data();
    void locationIsFoundFromTheProgram();

private:
    /// Runs the program to its end.
    Outcome run(const QStringList &arguments);
    void start(QProcess &process, const QStringList &arguments);
    QString module(const char *name) const
    {
        return QCoreApplication::applicationDirPath() + "/../plug-ins/" + name + ".so";
    }
    QString path(const QString &name) const { return m_dir->filePath(name); }

    std::unique_ptr<QTemporaryDir> m_dir;
};

void TestProgram::init()
{
    m_dir = std::make_unique<QTemporaryDir>();
}

void TestProgram::start(QProcess &process, const QStringList &arguments)
{
    process.setWorkingDirectory(m_dir->path());
    process.start(QStringLiteral(KELDA_PROGRAM), QStringList{"--user-dir", path("user")} + arguments);
}

Outcome TestProgram::run(const QStringList &arguments)
{
    QProcess process;
    start(process, arguments);
    if (!process.waitForFinished(60000) || process.exitStatus() != QProcess::NormalExit) {
        process.kill();
        process.waitForFinished();
        return {-1, {QString::fromUtf8(process.readAllStandardOutput())}, "did not end by itself"};
    }
    QStringList lines = QString::fromUtf8(process.readAllStandardOutput()).split('\n');
    lines.removeLast();
    return {process.exitCode(), lines, QString::fromUtf8(process.readAllStandardError())};
}

void TestProgram::commandsAnswerInOrder_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QStringList>("lines");
    QTest::newRow("nothing to do") << QStringList{} << QStringList{};
    QTest::newRow("results") << QStringList{"--command", "1 + 2", "--command", "\"a text\"", "--command", "1.5"}
                             << QStringList{"result: 3", "result: a text", "result: 1.5"};
    QTest::newRow("kept between commands")
        << QStringList{"--command", "int $n = 4;", "--command", "$n * 2"} << QStringList{"result: 8"};
    QTest::newRow("messages") << QStringList{"--command", "print \"one\\ntwo\"; warning \"careful\"", "--command",
                                             "print \"end\""}
                              << QStringList{"info: one\\ntwo", "warning: careful", "info: end"};
    QTest::newRow("array") << QStringList{"--command", "string $a[] = {\"x\", \"y z\"}; $a"}
                           << QStringList{"result: x y z"};
    QTest::newRow("letters") << QStringList{"--command", QString::fromUtf8("print \"größer 茶\"")}
                             << QStringList{QString::fromUtf8("info: größer 茶")};
    QTest::newRow("dialog without a window") << QStringList{"--command", "confirmDialog -m \"Sure?\" -button \"Yes\""}
                                             << QStringList{"info: Sure?", "result: dismiss"};
    QTest::newRow("quit skips the rest") << QStringList{"--command", "quit", "--command", "print \"never\""}
                                         << QStringList{};
}

void TestProgram::commandsAnswerInOrder()
{
    QFETCH(QStringList, arguments);
    QFETCH(QStringList, lines);
    const Outcome outcome = run(QStringList{"--mode", "batch"} + arguments);
    QCOMPARE(outcome.lines, lines);
    QCOMPARE(outcome.status, 0);
    const Outcome library = run(QStringList{"--mode", "library"} + arguments);
    QCOMPARE(library.lines, lines);
}

void TestProgram::failuresAreOneErrorLine_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("reason");
    QTest::newRow("unknown command") << QStringList{"--command", "frobnicate 1"} << "unknown command 'frobnicate'";
    QTest::newRow("syntax") << QStringList{"--command", "if (1 {"} << "line 1: ";
    QTest::newRow("script") << QStringList{"--script", "bad.ksc"} << "bad.ksc:3: unknown command";
    QTest::newRow("no such script") << QStringList{"--script", "gone.ksc"} << "gone.ksc";
    QTest::newRow("broken model") << QStringList{"--command", "file -i \"bad.ksc\""} << "cannot import \"bad.ksc\"";
    QTest::newRow("no such plug-in") << QStringList{"--plug-in", "gone.so"} << "gone.so";
    QTest::newRow("no plug-in at all") << QStringList{"--plug-in", "bad.ksc"} << "bad.ksc";
    QTest::newRow("no entry points") << QStringList{"--plug-in", module("kelda_no_entry")} << "no entry point";
}

void TestProgram::failuresAreOneErrorLine()
{
    QFETCH(QStringList, arguments);
    QFETCH(QString, reason);
    ModelFiles::write(path("bad.ksc"), "int $a = 1;\n\nfrobnicate $a;\n");
    const Outcome outcome = run(QStringList{"--mode", "batch"} + arguments);
    QCOMPARE(outcome.lines.size(), 1);
    QVERIFY2(outcome.lines.first().startsWith("error: "), qPrintable(outcome.lines.first()));
    QVERIFY2(outcome.lines.first().contains(reason), qPrintable(outcome.lines.first()));
    QCOMPARE(outcome.status, 1);
}

void TestProgram::argumentsAreChecked_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("reason");
    QTest::addColumn<bool>("withUsage");
    QTest::newRow("unknown") << QStringList{"--fast"} << "unknown option \"--fast\"" << true;
    QTest::newRow("plain word") << QStringList{"model.obj"} << "unknown option \"model.obj\"" << true;
    QTest::newRow("no value") << QStringList{"--command"} << "option --command needs a value" << true;
    QTest::newRow("mode") << QStringList{"--mode", "turbo"} << "unknown mode \"turbo\"" << true;
    QTest::newRow("authority missing") << QStringList{"--ca-file", "gone.pem"} << "gone.pem" << false;
    QTest::newRow("authority empty") << QStringList{"--ca-file", "empty.pem"} << "holds no certificate" << false;
}

void TestProgram::argumentsAreChecked()
{
    QFETCH(QStringList, arguments);
    QFETCH(QString, reason);
    QFETCH(bool, withUsage);
    ModelFiles::write(path("empty.pem"), "no certificate\n");
    const Outcome outcome = run(arguments);
    QCOMPARE(outcome.status, 1);
    QCOMPARE(outcome.lines, QStringList());
    QVERIFY2(outcome.errors.contains("error: ") && outcome.errors.contains(reason), qPrintable(outcome.errors));
    QCOMPARE(outcome.errors.contains("usage: kelda"), withUsage);
}

void TestProgram::importFromTheCommandLine()
{
    ModelFiles::write(path("a box.obj"), ModelFiles::box());
    const Outcome outcome = run({"--mode", "batch", "--command", "fileOption Import OBJ -set \"scale\" 2", "--command",
                                 "file -force -pr -i \"a box.obj\"", "--command", "sceneInfo -q -boundingBox",
                                 "--command", "file -force -options \"\" -type \"glTF binary\" -pr -ea \"out\"",
                                 "--command", "select \"ghost\"", "--command", "sceneInfo -q -triangles"});
    QCOMPARE(outcome.lines.mid(0, 3), QStringList({"result: a box.obj", "result: 0 0 0 2 4 6", "result: out.glb"}));
    QCOMPARE(outcome.lines.size(), 5);
    QVERIFY(outcome.lines[3].startsWith("error: "));
    QCOMPARE(outcome.lines[4], QString("result: 12"));
    QCOMPARE(outcome.status, 1);
    QVERIFY(QFileInfo(path("out.glb")).size() > 300);
}

void TestProgram::pluginLoadsAndUnloads()
{
    QVERIFY(QFile::copy(module("kelda_sample"), path("sample.so")));
    ModelFiles::write(path("Sample.ksc"), "print \"its script\";");
    for (const QString &mode : {QString("batch"), QString("interactive")}) {
        const Outcome outcome =
            run({"--mode", mode, "--plug-in", "sample.so", "--command", "print \"loaded\"", "--quit"});
        QVERIFY2(outcome.lines.contains("info: its script"), qPrintable(outcome.lines.join('|') + outcome.errors));
        QVERIFY(outcome.lines.contains("info: loaded"));
        QCOMPARE(outcome.lines.filter("error: "), QStringList());
        QCOMPARE(outcome.status, 0);
    }
}

void TestProgram::foldersComeFromTheOptions()
{
    ModelFiles::write(path("place/scripts/hello.ksc"), "print \"from the location\"");
    const Outcome outcome = run({"--mode", "batch", "--location", "place", "--command", "getenv \"KELDA_LOCATION\"",
                                 "--command", "internalVar -userAppDir", "--command", "source \"hello.ksc\""});
    QCOMPARE(outcome.lines.value(0), "result: " + path("place"));
    QCOMPARE(outcome.lines.value(1), "result: " + path("user") + "/");
    QVERIFY(outcome.lines.contains("info: from the location"));
    QVERIFY(QFileInfo(path("user")).isDir());
}

void TestProgram::scriptsAndCommandsKeepTheirOrder()
{
    ModelFiles::write(path("one.ksc"), "global proc string greet() { return \"hello\"; }\n");
    const Outcome outcome = run({"--mode", "batch", "--script", "one.ksc", "--command", "greet()", "--command",
                                 "print \"then\"", "--script", "one.ksc"});
    QCOMPARE(outcome.lines, QStringList({"result: hello", "info: then"}));
    QCOMPARE(outcome.status, 0);
}

void TestProgram::noDisplayIsAnError()
{
    QProcess process;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    for (const char *name : {"QT_QPA_PLATFORM", "DISPLAY", "WAYLAND_DISPLAY"})
        environment.remove(name);
    process.setProcessEnvironment(environment);
    start(process, {"--command", "1 + 1", "--quit"});
    QVERIFY(process.waitForFinished(60000));
    QCOMPARE(process.exitStatus(), QProcess::NormalExit);
    QCOMPARE(process.exitCode(), 1);
    QVERIFY(process.readAllStandardError().contains("error: there is no display"));

    start(process, {"--mode", "batch", "--command", "1 + 1"});
    QVERIFY(process.waitForFinished(60000));
    QCOMPARE(process.readAllStandardOutput(), QByteArray("result: 2\n"));
}

void TestProgram::windowModesStayUntilToldToLeave_data()
{
    QTest::addColumn<QString>("mode");
    QTest::newRow("interactive") << "interactive";
    QTest::newRow("base") << "base";
}

void TestProgram::windowModesStayUntilToldToLeave()
{
    QFETCH(QString, mode);
    QCOMPARE(run({"--mode", mode, "--command", "print \"x\"", "--quit"}).lines, QStringList("info: x"));
    QCOMPARE(run({"--mode", mode, "--command", "frobnicate", "--quit"}).status, 1);

    QProcess process;
    start(process, {"--mode", mode, "--command", "print \"up\""});
    QVERIFY(process.waitForReadyRead(30000));
    QCOMPARE(process.readAllStandardOutput(), QByteArray("info: up\n"));
    QVERIFY(!process.waitForFinished(150));
    ::kill(static_cast<pid_t>(process.processId()), SIGTERM);
    QVERIFY(process.waitForFinished(30000));
    QCOMPARE(process.exitStatus(), QProcess::NormalExit);
    QCOMPARE(process.exitCode(), 0);
}

void TestProgram::locationIsFoundFromTheProgram_data()
{
    QTest::addColumn<QString>("program");
    QTest::addColumn<QString>("root");
    QTest::newRow("build folder in the source folder") << "src/build/dev/bin"
                                                       << "src";
    QTest::newRow("installed flat") << "opt/kelda/bin"
                                    << "opt/kelda";
    QTest::newRow("installed with a share folder") << "usr/bin"
                                                   << "usr/share/kelda";
}

void TestProgram::locationIsFoundFromTheProgram()
{
    QFETCH(QString, program);
    QFETCH(QString, root);
    QVERIFY(QDir().mkpath(path(program)));
    QVERIFY(QDir().mkpath(path(root + "/scripts")));
    QVERIFY(KeldaOptions::findLocation(path(program)) != path(root));
    QVERIFY(QDir().mkpath(path(root + "/icons")));
    QCOMPARE(KeldaOptions::findLocation(path(program)), path(root));
}

QTEST_GUILESS_MAIN(TestProgram)
#include "tst_program.moc"
