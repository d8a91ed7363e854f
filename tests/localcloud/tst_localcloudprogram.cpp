// localcloud/tst_localcloudprogram.cpp
//
// The program, and what it keeps on the disk: logs, secrets and seeded models.

#include "CloudClient.h"

#include <QtTest>

#include <clocale>
#include <csignal>
#include <localcloud/dropbox/DropboxSeed.h>
#include <localcloud/ModelWriters.h>
#include <localcloud/zephal/ZephalSeed.h>

using namespace localcloud;

class TestLocalCloudProgram : public QObject
{
    Q_OBJECT
private slots:
    void servesUntilItIsTold()
    {
        QTemporaryDir dir;
        writeFile(dir.filePath("data/.localcloud/seeded-dropbox"), ""); // the seed has a test of its own
        const QString ca = dir.filePath("ca.pem");
        QByteArray authority;
        for (const int signal : {SIGTERM, SIGINT}) {
            QProcess program;
            program.start(m_program, {"--data", dir.filePath("data"), "--ca-out", ca, "--log",
                                      dir.filePath("log.jsonl"), "--rule", "api.dropbox.com /1/account/* status=503"});
            while (!program.canReadLine())
                QVERIFY(program.waitForReadyRead(10000));
            const QString ready = program.readLine();
            const auto match = QRegularExpression("^ready http://127\\.0\\.0\\.1:(\\d+)\n$").match(ready);
            QVERIFY2(match.hasMatch() && match.captured(1) != "8080", qPrintable(ready));

            // The authority written out is the one that signs, and it outlives the first run.
            QVERIFY(authority.isEmpty() || authority == readFile(ca));
            authority = readFile(ca);
            CloudClient client(match.captured(1).toUShort(), QSslCertificate(authority));
            client.setToken("program-test");
            QCOMPARE(client.send("PUT", "https://api.dropbox.com/1/account/info/?a=b", "12345").status, 503);
            QCOMPARE(client.get("http://api.dropbox.com/1/").status, 404);

            QCOMPARE(::kill(static_cast<pid_t>(program.processId()), signal), 0);
            QVERIFY(program.waitForFinished(10000));
            QVERIFY(program.exitStatus() == QProcess::NormalExit && program.exitCode() == 0);
        }
        const QByteArrayList log = readFile(dir.filePath("log.jsonl")).split('\n');
        QVERIFY(log.size() == 5 && log[4].isEmpty() && isPrivate(dir.filePath("log.jsonl")));
        QVERIFY2(log[3].contains(R"("target":"/1/","tls":false})"), log[3]);
        QJsonObject first = QJsonDocument::fromJson(log[0]).object();
        QCOMPARE(first.take("headers")["Authorization"].toString(), QString("Bearer program-test"));
        QCOMPARE(QJsonDocument(first).toJson(QJsonDocument::Compact),
                 QByteArray(R"({"bodyBytes":5,"host":"api.dropbox.com","method":"PUT","status":503,)"
                            R"("target":"/1/account/info/?a=b","tls":true})"));
        QVERIFY(isPrivate(dir.filePath("data/.localcloud/certificates/ca.key")));
    }

    void refusesToStart()
    {
        QTemporaryDir dir;
        writeFile(dir.filePath(".localcloud/seeded-dropbox"), "");
        writeFile(dir.filePath("damaged/.localcloud/seeded-dropbox"), "");
        writeFile(dir.filePath("damaged/plyx/catalogue.json"), "{\"assets\": 1}");
        for (const char *arguments : {"--port 70000", "--rule /path", "serve", "--verbose", "--data /dev/null/data",
                                      "--data DATA --log /dev/null/log", "--data DATA/damaged"}) {
            QProcess program;
            program.start(m_program, QString(arguments).replace("DATA", dir.path()).split(' '));
            QVERIFY2(program.waitForFinished(10000) && program.exitCode() == 1, arguments);
            QVERIFY2(program.readAllStandardOutput().isEmpty() && !program.readAllStandardError().isEmpty(), arguments);
        }
    }

    void whatWasGivenOutHoldsUntilRevoked()
    {
        QTemporaryDir dir;
        auto cloud = startCloud(dir.path());
        const QString dropbox = cloud->issueDropboxToken();
        const PlyxSession plyx = cloud->issuePlyxSession();
        const QString zephal = cloud->issueZephalToken();
        cloud = startCloud(dir.path());
        const auto statuses = [&] {
            CloudClient client(*cloud, dropbox);
            client.setHeader("X-AFC", "QK4ZT8");
            client.setHeader("X-Session", plyx.id.toLatin1());
            client.setHeader("X-Secure-Session", plyx.secureId.toLatin1());
            QList<int> found{client.get("https://api.dropbox.com/1/account/info/").status,
                             client.get("https://www.plyx.example/API/v1/Member").status};
            client.setHeader("Authorization", "Basic " + ("demo:" + zephal).toLatin1().toBase64());
            return found << client.send("OPTIONS", "https://cloud.zephal.example/dav/").status;
        };
        QCOMPARE(statuses(), (QList<int>{200, 200, 200}));
        cloud->revokeDropboxTokens();
        cloud->revokePlyxSessions();
        cloud->revokeZephalTokens();
        QCOMPARE(statuses(), (QList<int>{401, 401, 401}));
        const QMap<QString, QString> secrets{
            {"dropbox-tokens", dropbox}, {"plyx-sessions", plyx.secureId}, {"zephal-tokens", zephal}};
        for (const QString &name : secrets.keys()) {
            const QString file = dir.filePath(".localcloud/" + name + ".json");
            QVERIFY2(isPrivate(file) && !readFile(file).contains(secrets[name].toUtf8()), qPrintable(name));
        }
    }

    void seedsOnceAndKeepsTheUsersFiles()
    {
        QTemporaryDir dir;
        const QString root = dir.filePath("dropbox");
        const QString marker = dir.filePath("seeded");
        QString error;
        writeFile(root + "/Mug.obj", "mine");
        QVERIFY2(seedDropbox(root, marker, SeedAmount::Small, &error), qPrintable(error));
        QCOMPARE(readFile(root + "/Mug.obj"), QByteArray("mine"));
        QVERIFY(QFile::remove(root + "/Notes.txt") && !QFile::exists(root + "/Ten Thousand"));
        QVERIFY(seedDropbox(root, marker, SeedAmount::Everything, &error) && !QFile::exists(root + "/Notes.txt"));

        QVERIFY(QFile::remove(marker) && QDir(root).removeRecursively());
        writeFile(root, "in the way");
        QVERIFY(!seedDropbox(root, marker, SeedAmount::Small, &error));
        QVERIFY(error.contains(root) && !QFile::exists(marker));
    }

    void seededModelsAreWhole()
    {
        QTemporaryDir dir;
        QVERIFY(seedDropbox(dir.path(), dir.filePath("seeded"), SeedAmount::Everything, nullptr));
        const auto seeded = [&](const char *name) { return readFile(dir.filePath(QString::fromUtf8(name))); };
        QCOMPARE(seeded("Large terrain.obj").count("\nf "), 200000);
        QVERIFY(seeded("Grüße aus München.obj").contains("\nf ") && seeded("Модель.obj").contains("\nf "));
        QCOMPARE(QDir(dir.filePath("Ten Thousand")).entryList(QDir::Files).size(), 10000);
        QVERIFY(seeded("Models/Textured/Barrel.obj").contains("mtllib Barrel.mtl\n"));
        QVERIFY(seeded("Models/Textured/Barrel.mtl").contains("map_Kd Barrel.png\n"));
        const QByteArray torus = seeded("Models/Shapes/Torus.stl");
        QCOMPARE(torus.size(), 84 + 50 * qFromLittleEndian<int>(torus.constData() + 80));

        // The documents share the large model with the folder above, or have one made.
        for (const QString &large : {dir.filePath("Large terrain.obj"), dir.filePath("none")}) {
            QTemporaryDir documents(dir.filePath("documents"));
            QVERIFY(seedZephal(documents.path(), documents.filePath("seeded"), SeedAmount::Everything, large, nullptr));
            QCOMPARE(readFile(documents.filePath("Projects/Landscape/Hills.obj")).count("\nf "), 200000);
            QVERIFY(QFileInfo(documents.filePath("Work")).isDir());
        }
    }

    void modelsHaveDecimalPointsInEveryLocale()
    {
        const QTemporaryDir locales;
        QVERIFY(useDecimalComma(locales.path()) && std::setlocale(LC_NUMERIC, ""));
        const bool comma = *std::localeconv()->decimal_point == ',';
        const QByteArray obj = objBytes(boxMesh({1, 2, 3}), "Crate");
        std::setlocale(LC_NUMERIC, "C");
        QVERIFY(comma);
        QVERIFY2(obj.contains(".5") && !obj.contains(','), obj);
    }

    void binaryModelCarriesItsTexture()
    {
        const QByteArray png = crateTexture(64);
        const QByteArray glb = glbBytes(boxMesh({1, 2, 3}), "Crate", png);
        QVERIFY(glb.startsWith("glTF") && qFromLittleEndian<int>(glb.constData() + 8) == glb.size());
        const int length = qFromLittleEndian<int>(glb.constData() + 12);
        const QJsonObject document = QJsonDocument::fromJson(glb.mid(20, length)).object();
        const QByteArray data = glb.mid(28 + length);
        QCOMPARE(document["buffers"][0]["byteLength"].toInt(), data.size());
        const QJsonValue image = document["bufferViews"][document["images"][0]["bufferView"].toInt()];
        QCOMPARE(data.mid(image["byteOffset"].toInt(), image["byteLength"].toInt()), png);
    }

private:
    const QString m_program = QCoreApplication::applicationDirPath() + "/../bin/localcloud";
};

QTEST_GUILESS_MAIN(TestLocalCloudProgram)
#include "tst_localcloudprogram.moc"
