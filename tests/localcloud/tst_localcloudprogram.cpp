// The program: its options, its log, and what it keeps on the disk.

#include "CloudClient.h"
#include "localcloud/DemoData.h"

#include <QtTest>

#include <csignal>

using namespace localcloud;

class TestLocalCloudProgram : public QObject
{
    Q_OBJECT
private slots:
    void init() { QDir(m_dir.path()).removeRecursively(); }

    void servesUntilASignal()
    {
        for (const char *name : {"dropbox", "plyx", "zephal"}) // no demo data
            writeFile(m_dir.filePath(QString(".localcloud/seeded-") + name), "");
        const QString ca = m_dir.filePath("ca.pem");
        QProcess program;
        program.start(m_program, {"--data", m_dir.path(), "--ca-out", ca, "--log", m_dir.filePath("log"), "--rule",
                                  "api.dropbox.com /1/account/* status=503"});
        while (!program.canReadLine())
            QVERIFY(program.waitForReadyRead(10000));
        const QString ready = program.readLine();
        const auto match = QRegularExpression("^ready http://127\\.0\\.0\\.1:(\\d+)\n$").match(ready);
        QVERIFY2(match.hasMatch(), qPrintable(ready));
        CloudClient client(match.captured(1).toUShort(), QSslCertificate(readFile(ca)));
        QCOMPARE(client.send("PUT", "https://api.dropbox.com/1/account/info/?a=b", "12345").status, 503);
        QCOMPARE(::kill(static_cast<pid_t>(program.processId()), SIGTERM), 0);
        QVERIFY(program.waitForFinished(10000));
        QCOMPARE(program.exitStatus(), QProcess::NormalExit);
        QCOMPARE(program.exitCode(), 0);

        QJsonObject logged = QJsonDocument::fromJson(readFile(m_dir.filePath("log"))).object();
        QVERIFY(logged.take("headers").isObject());
        QCOMPARE(QJsonDocument(logged).toJson(QJsonDocument::Compact),
                 QByteArray(R"({"bodyBytes":5,"host":"api.dropbox.com","method":"PUT","status":503,)"
                            R"("target":"/1/account/info/?a=b","tls":true})"));
        QVERIFY(isPrivate(m_dir.filePath("log")));
        QVERIFY(isPrivate(m_dir.filePath(".localcloud/certificates/ca.key")));
    }

    void wrongOptionEndsTheProgram()
    {
        QProcess program;
        program.start(m_program, {"--rule", "/path"});
        QVERIFY(program.waitForFinished(10000));
        QCOMPARE(program.exitCode(), 1);
        QCOMPARE(program.readAllStandardOutput(), QByteArray());
        QVERIFY(!program.readAllStandardError().isEmpty());
    }

    void authorityAndTokensOutliveTheProgram()
    {
        LocalCloudOptions options;
        options.dataDir = m_dir.path();
        options.ownAuthority = true;
        LocalCloud first(options);
        QVERIFY(first.start());
        const QByteArray token = first.issueZephalToken().toUtf8();
        LocalCloud second(options);
        QVERIFY(second.start());
        QCOMPARE(second.caCertificate(), first.caCertificate());
        CloudClient client(second);
        client.setHeader("Authorization", "Basic " + ("demo:" + token).toBase64());
        QCOMPARE(client.send("OPTIONS", "https://cloud.zephal.example/dav/").status, 200);
        second.revokeZephalTokens();
        QCOMPARE(client.send("OPTIONS", "https://cloud.zephal.example/dav/").status, 401);
        QVERIFY(isPrivate(m_dir.filePath(".localcloud/zephal-tokens.json")));
        QVERIFY(!readFile(m_dir.filePath(".localcloud/zephal-tokens.json")).contains(token));
    }

    void demoDataIsWrittenOnceAndReplacesNothing()
    {
        const QString file = m_dir.filePath("zephal/Read me.txt");
        const QString marker = m_dir.filePath("marker-zephal");
        writeFile(file, "mine");
        QCOMPARE(filled("zephal"), QString());
        QCOMPARE(readFile(file), QByteArray("mine"));
        QVERIFY(QFile::remove(file));
        QCOMPARE(filled("zephal"), QString());
        QVERIFY(!QFile::exists(file));

        QVERIFY(QFile::remove(marker));
        QVERIFY(QDir(m_dir.filePath("zephal")).removeRecursively());
        writeFile(m_dir.filePath("zephal"), "a file");
        QVERIFY(filled("zephal").contains(m_dir.filePath("zephal")));
        QVERIFY(!QFile::exists(marker));
    }

private:
    /// Fills the folder of a service with its demo data, unless it was filled before. Returns the error.
    QString filled(const QString &service) const
    {
        QString error;
        fillOnce(service, m_dir.filePath(service), m_dir.filePath("marker-" + service), &error);
        return error;
    }
    /// Returns whether the file exists and only its owner can read it.
    static bool isPrivate(const QString &path)
    {
        return QFile::exists(path) && !(QFile::permissions(path) & (QFile::ReadGroup | QFile::ReadOther));
    }

    const QTemporaryDir m_dir;
    const QString m_program = QCoreApplication::applicationDirPath() + "/../bin/localcloud";
};

QTEST_GUILESS_MAIN(TestLocalCloudProgram)
#include "tst_localcloudprogram.moc"
