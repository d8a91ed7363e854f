// The kelda program: arguments in, lines on stdout and an exit status out.

#include "kelda/Steps.h"

#include <csignal>

class TestProgram : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        m_dir = std::make_unique<QTemporaryDir>();
        writeFile(path("empty.pem"), "no certificate\n");
        writeFile(path("bad.ksc"), "string $a = 1;\n\nfrobnicate $a;\n");
        writeFile(path("Sample.ksc"), "print \"its script\";");
        writeFile(path("place/scripts/there.ksc"), "print \"from the location\"");
        QFile::copy(QCoreApplication::applicationDirPath() + "/../plug-ins/kelda_sample.so", path("sample.so"));
    }

    void argumentsDecideOutputAndExitStatus();

    void windowStaysUntilASignal()
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

private:
    void start(QProcess &process, const QStringList &arguments)
    {
        process.setWorkingDirectory(m_dir->path());
        process.start(QStringLiteral(KELDA_PROGRAM), QStringList{"--user-dir", path("user")} + arguments);
    }

    /// Runs the program to its end. Returns the lines of stdout, its own lines of stderr, and its exit status.
    QString run(const QStringList &arguments)
    {
        QProcess process;
        start(process, arguments);
        if (!process.waitForFinished(60000) || process.exitStatus() != QProcess::NormalExit)
            return "killed or crashed: " + process.readAllStandardOutput();
        QStringList lines = QString::fromUtf8(process.readAllStandardOutput()).split('\n');
        lines.removeLast();
        const QStringList errors = QString::fromUtf8(process.readAllStandardError()).split('\n');
        lines += errors.filter("error: ");
        return lines.join('|') + (lines.isEmpty() ? "" : "|") + QString::number(process.exitCode());
    }

    QString path(const QString &name) const { return m_dir->filePath(name); }

    std::unique_ptr<QTemporaryDir> m_dir;
};

/// "|" separates arguments and lines; the last line is the exit status. "DIR" is the working directory.
void TestProgram::argumentsDecideOutputAndExitStatus()
{
    const auto outcome = [this](const QString &given) {
        const QStringList mode = given.contains("--mode") ? QStringList() : QStringList{"--mode", "batch"};
        return run(mode + given.split('|', Qt::SkipEmptyParts)).replace(m_dir->path(), "DIR");
    };
    playSteps(outcome, R"(
 => 0
--command|1 + 2|--command|"a text" => result: 3|result: a text|0
--command|quit -exitCode 3|--command|print "never" => 3
--script|place/scripts/there.ksc|--script|bad.ksc|--command|2 => info: from the location|error: DIR/bad.ksc:3: unknown command 'frobnicate'|result: 2|1
--location|place|--command|source "there.ksc"; `getenv "KELDA_LOCATION"` + " " + `internalVar -userAppDir` => info: from the location|result: DIR/place DIR/user/|0
--mode|turbo => kelda: error: unknown mode "turbo"; see kelda --help|1
--ca-file|empty.pem => kelda: error: the file "empty.pem" has no certificate|1
--mode|interactive|--plug-in|sample.so|--command|print "loaded"|--quit => info: its script|info: initialised: Hello |info: loaded|0
)");
}

QTEST_GUILESS_MAIN(TestProgram)
#include "tst_program.moc"
