// The program pelago-setup against real servers and wrong addresses.

#include "pelago/DavServers.h"
#include "support/LocalServer.h"

#include <QProcess>
#include <QtTest>

class TestPelagoSetup : public QObject
{
    Q_OBJECT
private slots:
    void testedServerIsWrittenToTheFile_data()
    {
        QTest::addColumn<QStringList>("lines"); // some of the printed ones
        const QString renamed = "New files    stored under a temporary name, then renamed (MOVE)";
        QTest::newRow("apache") << QStringList{"Sign-in      Basic", "WebDAV       class 1,2", renamed};
        QTest::newRow("digest") << QStringList{"Sign-in      Digest", renamed};
        QTest::newRow("rclone") << QStringList{"Sign-in      Basic", renamed};
        QTest::newRow("proxied") << QStringList{"Certificate  trusted, of dav.example", renamed};
    }
    void testedServerIsWrittenToTheFile()
    {
        QFETCH(QStringList, lines);
        const std::unique_ptr<DavServer> server = DavServer::start(QTest::currentDataTag());
        const QString config = m_home.filePath("new/pelago.ini");
        QDir(m_home.filePath("new")).removeRecursively();
        QStringList words{server->storage};
        if (!server->certificateFile.isEmpty())
            words << "--ca-file" << server->certificateFile;
        QCOMPARE(run(words, config), 0);
        for (const QString &line : lines)
            QVERIFY2(m_output.contains(line), qPrintable(m_output));
        QVERIFY2(m_errors.isEmpty(), m_errors);
        QCOMPARE(readFile(config), "[production]\nkind=password\nstorage=" + server->storage.toUtf8() + '\n');
        QCOMPARE(QFile::permissions(config) & 0x0077, QFile::Permissions());
        QCOMPARE(server->entries(""), QStringList()); // the test file is deleted
    }

    void otherSectionsOfTheFileStay()
    {
        const std::unique_ptr<DavServer> server = DavServer::start("apache");
        const QString config = m_home.filePath("pelago.ini");
        writeFile(config,
                  "# mine\n[production]\nstorage=https://a/\n\n[staging]\nstorage=x\n[development]\nkind=web\n");
        QCOMPARE(run({server->storage, "--section", "staging"}, config), 0);
        QCOMPARE(readFile(config), "# mine\n[production]\nstorage=https://a/\n\n[development]\nkind=web\n\n"
                                   "[staging]\nkind=password\nstorage=" +
                                       server->storage.toUtf8() + '\n');
    }

    void failurePrintsOneLineAndWritesNoFile_data()
    {
        QTest::addColumn<QString>("address"); // SERVER and TLS are replaced
        QTest::addColumn<int>("status");      // of every reply
        QTest::addColumn<QByteArray>("expected");
        const auto row = [](const char *name, const char *address, int status, const char *expected) {
            QTest::newRow(name) << address << status << QByteArray(expected);
        };
        row("wrong password", "http://SERVER/", 401, "the server refused the user name or the password (status 401)");
        row("redirect", "http://SERVER/", 301, "the server redirects to https://new.example/dav/ (status 301). Write");
        row("not found", "http://SERVER/", 404, "the server does not have it (status 404)");
        row("not WebDAV", "http://SERVER/", 200, "the reply is not one of a WebDAV server");
        row("certificate", "TLS", 200, "is not trusted (The certificate is self-signed, and untrusted). Start");
        row("server down", "http://127.0.0.1:1", 200, "no server answers at http://127.0.0.1:1");
        row("unknown name", "https://nowhere.invalid/", 200, "the host name nowhere.invalid is unknown");
        row("plain http", "http://files.example/", 200, "pelago.ini cannot be used (production/storage)");
    }
    void failurePrintsOneLineAndWritesNoFile()
    {
        QFETCH(QString, address);
        QFETCH(int, status);
        QFETCH(QByteArray, expected);
        LocalServer tls(LocalServer::Transport::Tls);
        LocalServer server;
        server.answerOthers([status](const Request &request) {
            return Reply(request.hasHeader("Authorization") ? status : 401)
                .location("https://new.example/dav/")
                .header("WWW-Authenticate", "Basic realm=x");
        });
        const QString config = m_home.filePath("none.ini");
        QCOMPARE(run({address.replace("SERVER", server.authority()).replace("TLS", tls.authority())}, config), 1);
        QVERIFY2(m_errors.contains(expected), m_errors);
        QCOMPARE(m_errors.count('\n'), 1);
        QVERIFY2(!m_errors.contains("demo"), m_errors);
        QVERIFY(!QFile::exists(config));
    }

    void wrongCommandLinePrintsTheUsage()
    {
        for (const QStringList &line : {QStringList(), {"https://a/", "--section", "x"}, {"--what"}, {"a", "b"}}) {
            QCOMPARE(run(line, m_home.filePath("none.ini")), 2);
            QVERIFY2(m_errors.startsWith("Usage: pelago-setup ADDRESS"), m_errors);
        }
    }

private:
    /// Runs the program as the user "demo" and returns its exit status; spins the event loop. Prints the errors.
    int run(const QStringList &arguments, const QString &config)
    {
        QProcess program;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert("PELAGO_USER", "demo");
        environment.insert("PELAGO_PASSWORD", "demo");
        environment.insert("PELAGO_CONFIG", config);
        program.setProcessEnvironment(environment);
        program.start(PELAGO_SETUP_PROGRAM, arguments);
        QSignalSpy finished(&program, QOverload<int, QProcess::ExitStatus>::of(&QProcess::finished));
        if (finished.isEmpty() && !finished.wait(60000))
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
