// The program pelago-setup against a real server, and one that refuses the sign-in.

#include "pelago/DavServers.h"
#include "support/LocalServer.h"

#include <QtTest>

class TestPelagoSetup : public QObject
{
    Q_OBJECT
private slots:
    void testedServerIsWrittenToTheFile()
    {
        DavServer server("proxied");
        const QString config = m_home.filePath("new/pelago.ini");
        writeFile(config, "# mine\n[staging]\nstorage=https://a/\n[production]\nstorage=x\n[development]\nkind=web\n");
        QCOMPARE(run({server.storage, "--ca-file", server.certificateFile}, config), 0);
        QVERIFY2(m_output.contains("Certificate  trusted, of dav.example"), qPrintable(m_output));
        QVERIFY2(m_output.contains("New files    stored under a temporary name, then renamed"), qPrintable(m_output));
        QCOMPARE(m_errors, QByteArray());
        QCOMPARE(
            readFile(config),
            "# mine\n[staging]\nstorage=https://a/\n[development]\nkind=web\n\n[production]\nkind=password\nstorage=" +
                server.storage.toUtf8() + '\n');
        QCOMPARE(QFile::permissions(config) & 0x0077, QFile::Permissions());
        QCOMPARE(server.entries(""), QStringList()); // the test file is deleted
    }

    void refusedSignInPrintsTheReasonAndWritesNoFile()
    {
        LocalServer server;
        server.answerOthers([](const Request &) { return Reply(401).header("WWW-Authenticate", "Basic realm=x"); });
        const QString config = m_home.filePath("none.ini");
        QCOMPARE(run({"http://" + server.authority()}, config), 1);
        QVERIFY2(m_errors.contains("refused the user name or the password (status 401)"), m_errors);
        QVERIFY2(!m_errors.contains("demo"), m_errors);
        QVERIFY(!QFile::exists(config));
    }

private:
    /// Runs the program as the user "demo" and returns its exit status; spins the event loop. Prints the errors.
    int run(const QStringList &arguments, const QString &config)
    {
        qputenv("PELAGO_USER", "demo");
        qputenv("PELAGO_PASSWORD", "demo");
        qputenv("PELAGO_CONFIG", QFile::encodeName(config));
        QProcess program;
        program.start(PELAGO_SETUP_PROGRAM, arguments);
        if (!QTest::qWaitFor([&] { return program.state() == QProcess::NotRunning; }, 60000))
            return -1;
        m_output = QString::fromUtf8(program.readAllStandardOutput());
        m_errors = program.readAllStandardError();
        qInfo("%s", m_errors.constData());
        return program.exitStatus() == QProcess::NormalExit ? program.exitCode() : -1;
    }

    QTemporaryDir m_home;
    QString m_output;
    QByteArray m_errors;
};

QTEST_GUILESS_MAIN(TestPelagoSetup)
#include "tst_pelagosetup.moc"
