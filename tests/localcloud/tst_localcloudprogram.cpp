// localcloud/tst_localcloudprogram.cpp
//
// The program: its options, its log, and what it keeps on the disk.

#include "CloudClient.h"
#include "localcloud/DemoData.h"
#include "support/Table.h"

#include <csignal>

using namespace localcloud;

class TestLocalCloudProgram : public QObject
{
    Q_OBJECT
private slots:
    void init() { QDir(m_dir.path()).removeRecursively(); }

    void servesUntilASignal_data()
    {
        QTest::addColumn<int>("signal");
        QTest::newRow("SIGTERM") << SIGTERM;
        QTest::newRow("SIGINT") << SIGINT;
    }

    void servesUntilASignal()
    {
        QFETCH(int, signal);
        skipDemoData(m_dir.path());
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
        client.setHeader("Authorization", "Bearer program-test");
        QCOMPARE(client.send("PUT", "https://api.dropbox.com/1/account/info/?a=b", "12345").status, 503);
        QCOMPARE(client.get("http://api.dropbox.com/1/").status, 404);
        QCOMPARE(::kill(static_cast<pid_t>(program.processId()), signal), 0);
        QVERIFY(program.waitForFinished(10000));
        QCOMPARE(program.exitStatus(), QProcess::NormalExit);
        QCOMPARE(program.exitCode(), 0);

        const QByteArrayList log = readFile(m_dir.filePath("log")).split('\n');
        QCOMPARE(log.size(), 3); // the last one is empty
        QVERIFY2(log[1].contains(R"("target":"/1/","tls":false})"), log[1]);
        QJsonObject first = QJsonDocument::fromJson(log[0]).object();
        QCOMPARE(first.take("headers")["Authorization"].toString(), QString("Bearer program-test"));
        QCOMPARE(QJsonDocument(first).toJson(QJsonDocument::Compact),
                 QByteArray(R"({"bodyBytes":5,"host":"api.dropbox.com","method":"PUT","status":503,)"
                            R"("target":"/1/account/info/?a=b","tls":true})"));
        QVERIFY(isPrivate(m_dir.filePath("log")));
        QVERIFY(isPrivate(m_dir.filePath(".localcloud/certificates/ca.key")));
    }

    void wrongOptionsEndTheProgram_data()
    {
        addRows({{"port out of range", "--port 70000"},
                 {"malformed rule", "--rule /path"},
                 {"argument", "serve"},
                 {"impossible data folder", "--data /dev/null/data"},
                 {"impossible log", "--data DATA --log /dev/null/log"},
                 {"damaged catalogue", "--data DATA/damaged"}});
    }

    void wrongOptionsEndTheProgram()
    {
        QString options = currentRow<2>()[1];
        skipDemoData(m_dir.path());
        skipDemoData(m_dir.filePath("damaged"));
        writeFile(m_dir.filePath("damaged/plyx/catalogue.json"), "{\"assets\": 1}");
        QProcess program;
        program.start(m_program, options.replace("DATA", m_dir.path()).split(' '));
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

    void demoDataIsComplete()
    {
        QCOMPARE(filled("dropbox") + filled("zephal"), QString());
        QCOMPARE(readFile(m_dir.filePath("dropbox/Large terrain.obj")).count("\nf "), 200000);
        QCOMPARE(QDir(m_dir.filePath("dropbox/Ten Thousand")).entryList(QDir::Files).size(), 10000);
        QVERIFY(QFileInfo(m_dir.filePath("dropbox/Empty folder")).isDir());
        QVERIFY(readFile(m_dir.filePath("dropbox/Models/Textured/Barrel.obj")).startsWith("mtllib Barrel.mtl\n"));
        for (QDirIterator file(m_dir.path(), QDir::Files, QDirIterator::Subdirectories); file.hasNext();) {
            const QString path = file.next();
            QVERIFY2(file.fileInfo().size() > 0, qPrintable(path)); // a file that models/ does not contain
        }
    }

    void everyFileOfTheCatalogueExists()
    {
        QCOMPARE(filled("plyx"), QString());
        const QString folder = m_dir.filePath("plyx/");
        QSet<QString> names;
        const QJsonArray assets = QJsonDocument::fromJson(readFile(folder + "catalogue.json"))["assets"].toArray();
        for (const QJsonValue &asset : assets) {
            const QString name = asset["name"].toString();
            names.insert(QString::number(asset["gallery"].toInt()) + ' ' + name);
            for (const char *list : {"formats", "textures"}) {
                for (const QJsonValue &file : asset[list].toArray())
                    QVERIFY2(QFile::exists(folder + "files/" + file["file"].toString()), qPrintable(name));
            }
            const QImage picture(folder + "thumbnails/" + asset["thumbnail"].toString());
            QVERIFY2(picture.size() == QSize(128, 128), qPrintable(name));
        }
        QCOMPARE(assets.size(), 304);
        QCOMPARE(names.size(), assets.size()); // no name is twice in a gallery
    }

private:
    /// Fills the folder of a service with its demo data, unless it was filled before. Returns the error.
    QString filled(const QString &service) const
    {
        QString error;
        fillOnce(service, m_dir.filePath(service), m_dir.filePath("marker-" + service), &error);
        return error;
    }
    static void skipDemoData(const QString &dataDir)
    {
        for (const char *name : {"dropbox", "plyx", "zephal"})
            writeFile(dataDir + "/.localcloud/seeded-" + name, "");
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
