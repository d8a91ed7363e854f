#include "CloudClient.h"
#include <csignal>
#include <ctime>
#include <localcloud/ModelWriters.h>
#include <QDir>
#include <QImage>
#include <QJsonArray>
#include <QJsonDocument>
#include <QNetworkProxy>
#include <QProcess>
#include <QRegularExpression>
#include <QtEndian>
#include <QTest>

using namespace localcloud;

namespace {

QString programPath()
{
    return QCoreApplication::applicationDirPath() + "/../bin/localcloud";
}

QString uniqueSecret()
{
    return QStringLiteral("Bearer from the program test");
}

int linesWith(const QByteArray &text, const char *start)
{
    int count = 0;
    for (const QByteArray &line : text.split('\n'))
        count += line.startsWith(start) ? 1 : 0;
    return count;
}

quint32 numberAt(const QByteArray &bytes, int offset)
{
    return qFromLittleEndian<quint32>(bytes.constData() + offset);
}

} // namespace

class TestLocalCloudProgram : public QObject
{
    Q_OBJECT
private slots:
    void servesUntilItIsTold();
    void refusesWrongArguments_data();
    void refusesWrongArguments();
    void seedsOnceAndKeepsTheUsersFiles();
    void seededModelsAreWhole();
    void binaryModelCarriesItsTexture();
};

void TestLocalCloudProgram::servesUntilItIsTold()
{
    QTemporaryDir dir;
    QVERIFY(QDir(dir.path()).mkpath("data/.localcloud"));
    QVERIFY(writeFile(dir.filePath("data/.localcloud/seeded-dropbox"), "")); // the seed has a test of its own
    QByteArray authority;
    for (const int signal : {SIGTERM, SIGINT}) {
        QProcess program;
        program.start(programPath(), {"--data", dir.filePath("data"), "--ca-out", dir.filePath("ca.pem"), "--log",
                                      dir.filePath("log.jsonl"), "--rule", "api.dropbox.com /1/account/* status=503"});
        QVERIFY(program.waitForStarted());
        while (!program.canReadLine())
            QVERIFY(program.waitForReadyRead(10000));
        const QByteArray ready = program.readLine();
        QVERIFY2(QRegularExpression("^ready http://127\\.0\\.0\\.1:\\d+\n$").match(ready).hasMatch(), ready);
        const int port = ready.trimmed().mid(ready.lastIndexOf(':') + 1).toInt();
        QVERIFY(port != 8080);

        // The authority written out is the one that signs, and it outlives the first run.
        QCOMPARE(QSslCertificate::fromPath(dir.filePath("ca.pem")).size(), 1);
        QVERIFY(authority.isEmpty() || authority == readFile(dir.filePath("ca.pem")));
        authority = readFile(dir.filePath("ca.pem"));
        QSslSocket socket;
        socket.setProxy(QNetworkProxy(QNetworkProxy::HttpProxy, "127.0.0.1", static_cast<quint16>(port)));
        QSslConfiguration tls = socket.sslConfiguration();
        tls.setCaCertificates(QSslCertificate::fromPath(dir.filePath("ca.pem")));
        socket.setSslConfiguration(tls);
        socket.connectToHostEncrypted("api.dropbox.com", 443);
        QVERIFY2(socket.waitForEncrypted(10000), qPrintable(socket.errorString()));
        socket.write("GET /1/account/info/ HTTP/1.1\r\nHost: api.dropbox.com\r\nAuthorization: " +
                     uniqueSecret().toLatin1() + "\r\n\r\n");
        QVERIFY(socket.waitForReadyRead(10000));
        QVERIFY(socket.readAll().startsWith("HTTP/1.1 503"));

        QCOMPARE(::kill(static_cast<pid_t>(program.processId()), signal), 0);
        QVERIFY(program.waitForFinished(10000));
        QCOMPARE(program.exitStatus(), QProcess::NormalExit);
        QCOMPARE(program.exitCode(), 0);
    }
    QCOMPARE(linesWith(readFile(dir.filePath("log.jsonl")), "{"), 2);
    QVERIFY(readFile(dir.filePath("log.jsonl")).contains(uniqueSecret().toLatin1()));
    for (const QFileInfo &info : QDir(dir.filePath("data/.localcloud/certificates")).entryInfoList({"*.key"}))
        QVERIFY(!(info.permissions() & (QFile::ReadGroup | QFile::ReadOther)));
}

void TestLocalCloudProgram::refusesWrongArguments_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::newRow("port") << QStringList{"--port", "70000"};
    QTest::newRow("rule") << QStringList{"--rule", "host /path explode"};
    QTest::newRow("stray word") << QStringList{"serve"};
    QTest::newRow("option") << QStringList{"--verbose"};
    QTest::newRow("data folder") << QStringList{"--data", "/dev/null/data"};
    QTest::newRow("log file") << QStringList{"--data", "DATA", "--log", "/dev/null/log"};
}

void TestLocalCloudProgram::refusesWrongArguments()
{
    QFETCH(QStringList, arguments);
    QTemporaryDir dir;
    QVERIFY(writeFile(dir.filePath(".localcloud/seeded-dropbox"), ""));
    arguments.replaceInStrings("DATA", dir.path());
    QProcess program;
    program.start(programPath(), arguments);
    QVERIFY(program.waitForFinished(10000));
    QCOMPARE(program.exitCode(), 1);
    QCOMPARE(program.readAllStandardOutput(), QByteArray());
    QVERIFY(!program.readAllStandardError().isEmpty());
}

void TestLocalCloudProgram::seedsOnceAndKeepsTheUsersFiles()
{
    QTemporaryDir dir;
    const QString root = dir.filePath("dropbox");
    const QString marker = dir.filePath("seeded");
    QString error;
    QVERIFY(writeFile(root + "/Mug.obj", "mine"));
    QVERIFY2(seedDropbox(root, marker, SeedAmount::Small, &error), qPrintable(error));
    QCOMPARE(readFile(root + "/Mug.obj"), QByteArray("mine"));
    QVERIFY(QFileInfo::exists(root + "/Notes.txt"));
    QVERIFY(!QFileInfo::exists(root + "/Ten Thousand"));

    QVERIFY(QFile::remove(root + "/Notes.txt"));
    QVERIFY(seedDropbox(root, marker, SeedAmount::Everything, &error));
    QVERIFY(!QFileInfo::exists(root + "/Notes.txt"));

    QVERIFY(QFile::remove(marker));
    QVERIFY(QDir(root + "/Models").removeRecursively() && writeFile(root + "/Models", "in the way"));
    QVERIFY(!seedDropbox(root, marker, SeedAmount::Small, &error));
    QVERIFY(error.contains("Models"));
    QVERIFY(!QFileInfo::exists(marker));
}

void TestLocalCloudProgram::seededModelsAreWhole()
{
    QTemporaryDir dir;
    const std::clock_t start = std::clock();
    QVERIFY(seedDropbox(dir.filePath("d"), dir.filePath("seeded"), SeedAmount::Everything, nullptr));
    QVERIFY((std::clock() - start) / CLOCKS_PER_SEC < 5);
    const auto seeded = [&](const char *name) { return readFile(dir.filePath("d/") + QString::fromUtf8(name)); };

    const QByteArray terrain = seeded("Large terrain.obj");
    QCOMPARE(linesWith(terrain, "f "), 200000);
    QCOMPARE(linesWith(terrain, "v "), 401 * 251);
    QVERIFY(!seeded("Grüße aus München.obj").isEmpty() && !seeded("Модель.obj").isEmpty());
    QCOMPARE(QDir(dir.filePath("d/Ten Thousand")).entryList(QDir::Files).size(), 10000);

    QVERIFY(seeded("Models/Textured/Barrel.obj").contains("mtllib Barrel.mtl\n"));
    QVERIFY(seeded("Models/Textured/Barrel.obj").contains("usemtl Barrel\n"));
    QVERIFY(seeded("Models/Textured/Barrel.mtl").contains("map_Kd Barrel.png\n"));
    QCOMPARE(QImage::fromData(seeded("Models/Textured/Barrel.png")).size(), QSize(256, 256));

    const QByteArray torus = seeded("Models/Shapes/Torus.stl");
    QCOMPARE(numberAt(torus, 80), 2U * 48 * 20);
    QCOMPARE(torus.size(), 84 + 50 * static_cast<int>(numberAt(torus, 80)));
    const QByteArray stool = seeded("Models/Furniture/Stools/Round stool.ply");
    QVERIFY(stool.contains("element face 336\n"));
    QCOMPARE(linesWith(stool, "3 "), 336);
}

void TestLocalCloudProgram::binaryModelCarriesItsTexture()
{
    const QByteArray png = crateTexture(64);
    const QByteArray glb = glbBytes(boxMesh({1, 2, 3}), "Crate", png);
    QVERIFY(glb.startsWith("glTF"));
    QCOMPARE(static_cast<int>(numberAt(glb, 8)), glb.size());
    const int jsonLength = static_cast<int>(numberAt(glb, 12));
    QCOMPARE((20 + jsonLength) % 4, 0);
    const QJsonObject document = QJsonDocument::fromJson(glb.mid(20, jsonLength)).object();
    const QByteArray data = glb.mid(28 + jsonLength);
    QCOMPARE(data.size(), document["buffers"][0]["byteLength"].toInt());

    const QJsonArray accessors = document["accessors"].toArray();
    const QMap<QString, int> components{{"SCALAR", 1}, {"VEC2", 2}, {"VEC3", 3}};
    for (const QJsonValue &accessor : accessors) {
        const QJsonValue view = document["bufferViews"].toArray()[accessor["bufferView"].toInt()];
        QCOMPARE(view["byteLength"].toInt(), 4 * components[accessor["type"].toString()] * accessor["count"].toInt());
        QCOMPARE(view["byteOffset"].toInt() % 4, 0);
        QVERIFY(view["byteOffset"].toInt() + view["byteLength"].toInt() <= data.size());
    }
    QCOMPARE(accessors[3]["count"].toInt(), 36);
    QCOMPARE(accessors[0]["max"].toArray(), (QJsonArray{0.5, 2, 1.5}));
    const QJsonValue image = document["bufferViews"].toArray()[document["images"][0]["bufferView"].toInt()];
    QCOMPARE(data.mid(image["byteOffset"].toInt(), image["byteLength"].toInt()), png);

    // Every side looks outwards: normals and the order of the corners agree with the direction from the middle.
    const SeedMesh box = boxMesh({2, 2, 2});
    const auto normals = box.normals();
    for (std::size_t i = 0; i < box.points.size(); ++i)
        QVERIFY(QVector3D::dotProduct(box.points[i] - QVector3D(0, 1, 0), normals[i]) > 0.9F);
}

QTEST_GUILESS_MAIN(TestLocalCloudProgram)
#include "tst_localcloudprogram.moc"
