// The kelda program itself: arguments in, lines on stdout and an exit status out.

#include "kelda/ModelFiles.h"

#include "ui/KeldaOptions.h"

#include <QProcess>
#include <QTemporaryDir>

#include <csignal>

class TestProgram : public QObject
{
    Q_OBJECT

private slots:
    void init();

    void argumentsInLinesOut_data();
    void argumentsInLinesOut();
    void pluginLoadsAndUnloads();
    void noDisplayIsAnError();
    void windowStaysUntilToldToLeave();
    void locationIsFoundFromTheProgram();

private:
    void start(QProcess &process, const QStringList &arguments);
    /// Runs the program to its end: its lines on stdout, those on stderr that are its own, and its exit status.
    QStringList run(const QStringList &arguments);
    QString path(const QString &name) const { return m_dir->filePath(name); }

    std::unique_ptr<QTemporaryDir> m_dir;
    QProcessEnvironment m_environment;
};

void TestProgram::init()
{
    const QString plugIns = QCoreApplication::applicationDirPath() + "/../plug-ins/";
    m_environment = QProcessEnvironment::systemEnvironment();
    m_dir = std::make_unique<QTemporaryDir>();
    ModelFiles::write(path("empty.pem"), "no certificate\n");
    ModelFiles::write(path("bad.ksc"), "int $a = 1;\n\nfrobnicate $a;\n");
    ModelFiles::write(path("greet.ksc"), "global proc string greet() { return \"hello\"; }\n");
    ModelFiles::write(path("Sample.ksc"), "print \"its script\";");
    ModelFiles::write(path("place/scripts/there.ksc"), "print \"from the location\"");
    ModelFiles::write(path("a box.obj"), ModelFiles::box());
    QVERIFY(QFile::copy(plugIns + "kelda_sample.so", path("sample.so")));
    QVERIFY(QFile::copy(plugIns + "kelda_no_entry.so", path("no_entry.so")));
}

void TestProgram::start(QProcess &process, const QStringList &arguments)
{
    process.setProcessEnvironment(m_environment);
    process.setWorkingDirectory(m_dir->path());
    process.start(QStringLiteral(KELDA_PROGRAM), QStringList{"--user-dir", path("user")} + arguments);
}

QStringList TestProgram::run(const QStringList &arguments)
{
    QProcess process;
    start(process, arguments);
    if (!process.waitForFinished(60000) || process.exitStatus() != QProcess::NormalExit)
        return {"did not end by itself", QString::fromUtf8(process.readAllStandardOutput())};
    QStringList lines = QString::fromUtf8(process.readAllStandardOutput()).split('\n');
    lines.removeLast();
    const QStringList errors = QString::fromUtf8(process.readAllStandardError()).split('\n');
    lines += errors.filter("error: ") + errors.filter("usage: ");
    return lines << QString::number(process.exitCode());
}

/// "|" parts arguments and lines; the last line is the exit status. "..." stands for anything.
void TestProgram::argumentsInLinesOut_data()
{
    ModelFiles::addRows(
        {"arguments", "lines"},
        {
            {"", "0"},
            {"--command|1 + 2|--command|\"a text\"|--command|1.5", "result: 3|result: a text|result: 1.5|0"},
            {"--command|int $n = 4;|--command|$n * 2", "result: 8|0"},
            {"--command|print \"one\\ntwo\"; warning \"größer 茶\"", "info: one\\ntwo|warning: größer 茶|0"},
            {"--command|string $a[] = {\"x\", \"y z\"}; $a", "result: x y z|0"},
            {"--command|confirmDialog -m \"Sure?\" -button \"Yes\"", "info: Sure?|result: dismiss|0"},
            {"--command|quit|--command|print \"never\"", "0"},
            {"--script|greet.ksc|--command|greet()|--script|greet.ksc|--command|1", "result: hello|result: 1|0"},
            {"--location|place|--command|source \"there.ksc\"; getenv \"KELDA_LOCATION\"",
             "info: from the location|result: DIR/place|0"},
            {"--command|internalVar -userAppDir", "result: DIR/user/|0"},
            {"--mode|library|--command|print \"x\"|--command|2", "info: x|result: 2|0"},
            {"--mode|base|--command|print \"x\"|--quit", "info: x|0"},
            {"--mode|interactive|--command|frobnicate|--command|2|--quit", "error: ...frobnicate'|result: 2|1"},
            {"--command|frobnicate 1", "error: line 1: unknown command 'frobnicate'|1"},
            {"--command|if (1 {", "error: line 1: ...|1"},
            {"--script|bad.ksc", "error: ...bad.ksc:3: unknown command 'frobnicate'|1"},
            {"--script|gone.ksc", "error: ...gone.ksc'|1"},
            {"--command|file -i \"bad.ksc\"", "error: line 1: cannot import \"bad.ksc\": ...|1"},
            {"--plug-in|gone.so", "error: there is no plug-in file gone.so|1"},
            {"--plug-in|bad.ksc", "error: ...bad.ksc...|1"},
            {"--plug-in|no_entry.so", "error: ...no entry point...|1"},
            {"--fast", "kelda: error: unknown option \"--fast\"|usage: kelda ...|1"},
            {"model.obj", "kelda: error: unknown option \"model.obj\"|usage: kelda ...|1"},
            {"--command", "kelda: error: option --command needs a value|usage: kelda ...|1"},
            {"--mode|turbo", "kelda: error: unknown mode \"turbo\"...|usage: kelda ...|1"},
            {"--ca-file|gone.pem", "kelda: error: cannot read the authority file \"gone.pem\"...|1"},
            {"--ca-file|empty.pem", "kelda: error: ...holds no certificate...|1"},
            {"--command|fileOption Import OBJ -set \"scale\" 2|--command|file -force -pr -i \"a box.obj\"|--command|"
             "sceneInfo -q -boundingBox|--command|file -type \"glTF binary\" -pr -ea \"out\"|--command|sceneInfo -q "
             "-faces",
             "result: a box.obj|result: 0 0 0 2 4 6|result: out.glb|result: 12|0"},
        });
}

void TestProgram::argumentsInLinesOut()
{
    QFETCH(QString, arguments);
    QFETCH(QString, lines);
    const QStringList given = arguments.split('|', Qt::SkipEmptyParts);
    const QStringList mode = given.contains("--mode") ? QStringList() : QStringList{"--mode", "batch"};
    const QString answer = run(mode + given).join('\n').replace(m_dir->path(), "DIR");
    const QString pattern = QRegularExpression::escape(lines.replace('|', '\n')).replace("\\.\\.\\.", ".*");
    QVERIFY2(QRegularExpression("^" + pattern + "\\z").match(answer).hasMatch(), qPrintable(answer));
}

void TestProgram::pluginLoadsAndUnloads()
{
    for (const char *mode : {"batch", "interactive"}) {
        const QStringList lines =
            run({"--mode", mode, "--plug-in", "sample.so", "--command", "print \"loaded\"", "--quit"});
        QVERIFY2(lines.contains("info: its script") && lines.contains("info: loaded"), qPrintable(lines.join('|')));
        QCOMPARE(lines.filter("error: "), QStringList());
        QCOMPARE(lines.last(), QString("0"));
    }
}

void TestProgram::noDisplayIsAnError()
{
    for (const char *name : {"QT_QPA_PLATFORM", "DISPLAY", "WAYLAND_DISPLAY"})
        m_environment.remove(name);
    const QStringList lines = run({"--command", "1 + 1", "--quit"});
    QVERIFY2(lines.first().contains("error: there is no display"), qPrintable(lines.join('|')));
    QCOMPARE(lines.last(), QString("1"));
    QCOMPARE(run({"--mode", "batch", "--command", "1 + 1"}), QStringList({"result: 2", "0"}));
}

void TestProgram::windowStaysUntilToldToLeave()
{
    QProcess process;
    start(process, {"--command", "print \"up\""});
    QVERIFY(process.waitForReadyRead(30000));
    QCOMPARE(process.readAllStandardOutput(), QByteArray("info: up\n"));
    QVERIFY(!process.waitForFinished(150));
    ::kill(static_cast<pid_t>(process.processId()), SIGTERM);
    QVERIFY(process.waitForFinished(30000));
    QCOMPARE(process.exitStatus(), QProcess::NormalExit);
    QCOMPARE(process.exitCode(), 0);
}

void TestProgram::locationIsFoundFromTheProgram()
{
    const QMap<QString, QString> places{
        {"src/build/dev/bin", "src"}, {"opt/kelda/bin", "opt/kelda"}, {"usr/bin", "usr/share/kelda"}};
    for (const QString &program : places.keys()) {
        const QString root = path(places[program]);
        QVERIFY(QDir().mkpath(path(program)));
        QVERIFY(QDir().mkpath(root + "/scripts"));
        QVERIFY(KeldaOptions::findLocation(path(program)) != root);
        QVERIFY(QDir().mkpath(root + "/icons"));
        QCOMPARE(KeldaOptions::findLocation(path(program)), root);
    }
}

QTEST_GUILESS_MAIN(TestProgram)
#include "tst_program.moc"
