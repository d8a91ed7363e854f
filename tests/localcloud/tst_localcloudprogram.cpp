// localcloud/tst_localcloudprogram.cpp
//
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
    void servesUntilASignal_data()
    {
        QTest::addColumn<int>("signal");
        QTest::newRow("SIGTERM") << SIGTERM;
        QTest::newRow("SIGINT") << SIGINT;
    }

    void servesUntilASignal()
    {
        QFETCH(int, signal);
        QTemporaryDir dir;
        skipDemoData(dir.path());
        const QString ca = dir.filePath("ca.pem");
        QProcess program;
        program.start(m_program, {"--data", dir.path(), "--ca-out", ca, "--log", dir.filePath("log"), "--rule",
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

        const QByteArrayList log = readFile(dir.filePath("log")).split('\n');
        QCOMPARE(log.size(), 3); // the last one is empty
        QVERIFY2(log[1].contains(R"("target":"/1/","tls":false})"), log[1]);
        QJsonObject first = QJsonDocument::fromJson(log[0]).object();
        QCOMPARE(first.take("headers")["Authorization"].toString(), QString("Bearer program-test"));
        QCOMPARE(QJsonDocument(first).toJson(QJsonDocument::Compact),
                 QByteArray(R"({"bodyBytes":5,"host":"api.dropbox.com","method":"PUT","status":503,)"
                            R"("target":"/1/account/info/?a=b","tls":true})"));
        QVERIFY(isPrivate(dir.filePath("log")));
        QVERIFY(isPrivate(dir.filePath(".localcloud/certificates/ca.key")));
    }

    void wrongOptionsEndTheProgram_data()
    {
        QTest::addColumn<QString>("options");
        QTest::newRow("port out of range") << "--port 70000";
        QTest::newRow("malformed rule") << "--rule /path";
        QTest::newRow("argument") << "serve";
        QTest::newRow("unknown option") << "--verbose";
        QTest::newRow("impossible data folder") << "--data /dev/null/data";
        QTest::newRow("impossible log") << "--data DATA --log /dev/null/log";
        QTest::newRow("damaged catalogue") << "--data DATA/damaged";
    }

    void wrongOptionsEndTheProgram()
    {
        QFETCH(QString, options);
        QTemporaryDir dir;
        skipDemoData(dir.path());
        skipDemoData(dir.filePath("damaged"));
        writeFile(dir.filePath("damaged/plyx/catalogue.json"), "{\"assets\": 1}");
        QProcess program;
        program.start(m_program, options.replace("DATA", dir.path()).split(' '));
        QVERIFY(program.waitForFinished(10000));
        QCOMPARE(program.exitCode(), 1);
        QCOMPARE(program.readAllStandardOutput(), QByteArray());
        QVERIFY(!program.readAllStandardError().isEmpty());
    }

    void authorityAndTokensOutliveTheProgram()
    {
        QTemporaryDir dir;
        LocalCloudOptions options;
        options.dataDir = dir.path();
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
        QVERIFY(isPrivate(dir.filePath(".localcloud/zephal-tokens.json")));
        QVERIFY(!readFile(dir.filePath(".localcloud/zephal-tokens.json")).contains(token));
    }

    void demoDataIsWrittenOnceAndReplacesNothing()
    {
        QTemporaryDir dir;
        const QString marker = dir.filePath("marker");
        QString error;
        writeFile(dir.filePath("zephal/Read me.txt"), "mine");
        QVERIFY2(fillOnce("zephal", dir.filePath("zephal"), marker, &error), qPrintable(error));
        QCOMPARE(readFile(dir.filePath("zephal/Read me.txt")), QByteArray("mine"));
        QVERIFY(QFile::remove(dir.filePath("zephal/Read me.txt")));
        QVERIFY(fillOnce("zephal", dir.filePath("zephal"), marker, &error));
        QVERIFY(!QFile::exists(dir.filePath("zephal/Read me.txt")));

        QVERIFY(QFile::remove(marker));
        writeFile(dir.filePath("blocked"), "a file");
        QVERIFY(!fillOnce("zephal", dir.filePath("blocked"), marker, &error));
        QVERIFY2(error.contains(dir.filePath("blocked")), qPrintable(error));
        QVERIFY(!QFile::exists(marker));
    }

    void demoDataIsComplete()
    {
        QTemporaryDir dir;
        QString error;
        for (const QString name : {"dropbox", "zephal"})
            QVERIFY2(fillOnce(name, dir.filePath(name), dir.filePath("marker-" + name), &error), qPrintable(error));
        QCOMPARE(readFile(dir.filePath("dropbox/Large terrain.obj")).count("\nf "), 200000);
        QCOMPARE(readFile(dir.filePath("zephal/Projects/Landscape/Hills.obj")).count("\nf "), 200000);
        QCOMPARE(QDir(dir.filePath("dropbox/Ten Thousand")).entryList(QDir::Files).size(), 10000);
        QVERIFY(QFileInfo(dir.filePath("dropbox/Empty folder")).isDir());
        QVERIFY(readFile(dir.filePath("dropbox/Models/Textured/Barrel.obj")).startsWith("mtllib Barrel.mtl\n"));
        int models = 0;
        for (QDirIterator file(dir.path(), QDir::Files | QDir::Hidden, QDirIterator::Subdirectories); file.hasNext();) {
            const QString path = file.next();
            QVERIFY2(file.fileInfo().size() > 0, qPrintable(path)); // a file that models/ does not contain
            models += path.contains("Ten Thousand") ? 0 : 1;
        }
        QCOMPARE(models, 21 + 20 + 2); // Dropbox, Zephal, markers
    }

    void everyFileOfTheCatalogueExists()
    {
        QTemporaryDir dir;
        QString error;
        QVERIFY2(fillOnce("plyx", dir.path(), dir.filePath("marker"), &error), qPrintable(error));
        QSet<QString> names;
        const QJsonArray assets = QJsonDocument::fromJson(readFile(dir.filePath("catalogue.json")))["assets"].toArray();
        for (const QJsonValue &asset : assets) {
            const QString name = asset["name"].toString();
            names.insert(QString::number(asset["gallery"].toInt()) + ' ' + name);
            for (const char *list : {"formats", "textures"}) {
                for (const QJsonValue &file : asset[list].toArray())
                    QVERIFY2(QFile::exists(dir.filePath("files/" + file["file"].toString())), qPrintable(name));
            }
            const QByteArray picture = readFile(dir.filePath("thumbnails/" + asset["thumbnail"].toString()));
            QVERIFY2(QImage::fromData(picture).size() == QSize(128, 128), qPrintable(name));
        }
        QCOMPARE(assets.size(), 304);
        QCOMPARE(names.size(), assets.size()); // no name is twice in a gallery
    }

private:
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

    const QString m_program = QCoreApplication::applicationDirPath() + "/../bin/localcloud";
};

QTEST_GUILESS_MAIN(TestLocalCloudProgram)
#include "tst_localcloudprogram.moc"
