// Import, export and the commands on the scene, through the host's own language and without a window.

#include "kelda/SceneHost.h"

#include "scene/ModelFolder.h"
#include "scene/ModelReader.h"
#include "scene/Translators.h"

#include <assimp/Importer.hpp>

#include <sys/stat.h>

class TestScene : public QObject
{
    Q_OBJECT

private slots:
    void init() { m_host = std::make_unique<SceneHost>(KGlobal::kBatch); }
    void cleanup() { ModelReader::setPatience(ModelReader::defaultPatienceMs); }

    void imports_data();
    void imports();
    void everyListedExtensionIsReadable();
    void roundTrip_data();
    void roundTrip();
    void textureTravelsInsideTheFile();
    void hostileFileIsOneError_data();
    void hostileFileIsOneError();
    void longReadingIsGivenUp();
    void referencesStayBesideTheModel();
    void missingTextureIsAWarning();
    void commands_data();
    void commands();

private:
    QString run(const QString &command) { return m_host->run(command); }
    QString path(const QString &name) const { return m_host->path(name); }

    std::unique_ptr<SceneHost> m_host;
};

void TestScene::imports_data()
{
    ModelFiles::addRows({"file", "flags", "stored", "measured"},
                        {
                            {"as it comes.obj", "", "", "12 12 8 0 0 0 1 2 3"},
                            {"polygons.obj", "", "-set \"triangulate\" 0", "0 6 8 0 0 0 1 2 3"},
                            {"separate points.obj", "", "-set \"joinVertices\" false", "12 12 24 0 0 0 1 2 3"},
                            {"stored.obj", "", "-set \"scale\" 2.5", "12 12 8 0 0 0 2.5 5 7.5"},
                            {"once.obj", "-options \"scale=10;triangulate=off\"", "", "0 6 8 0 0 0 10 20 30"},
                            {"over.obj", "-options \"scale=0.5\"", "-set \"scale\" 4", "12 12 8 0 0 0 0.5 1 1.5"},
                            {"Täßchen 茶  \"b' 100%1#.OBJ", "", "", "12 12 8 0 0 0 1 2 3"},
                            {"typed.txt", "-type \"OBJ\"", "", "12 12 8 0 0 0 1 2 3"},
                            {"first bytes decide", "", "", "12 12 8 0 0 0 1 2 3"},
                        });
}

void TestScene::imports()
{
    QFETCH(QString, file);
    QFETCH(QString, flags);
    QFETCH(QString, stored);
    ModelFiles::write(path(file), ModelFiles::box());
    if (!stored.isEmpty())
        QCOMPARE(run("fileOption \"Import\" \"OBJ\" " + stored), QString());

    QCOMPARE(m_host->import(path(file), flags), path(file));

    QTEST(m_host->measured(), "measured");
}

void TestScene::everyListedExtensionIsReadable()
{
    Assimp::Importer library;
    for (const Translator &translator : Translators::all()) {
        for (const QString &extension : translator.extensions) {
            QVERIFY2(library.IsExtensionSupported(extension.toStdString()), qPrintable(extension));
            QCOMPARE(Translators::forExtension(extension), &translator);
        }
    }
}

void TestScene::roundTrip_data()
{
    QTest::addColumn<QString>("type");
    QTest::addColumn<QString>("options");
    QTest::addColumn<QString>("bounds");
    for (const Translator &translator : Translators::all()) {
        if (!translator.writes())
            continue;
        QTest::addRow("%s", qPrintable(translator.name)) << translator.name << QString() << "0 0 0 1 2 3";
        QTest::addRow("%s, z up", qPrintable(translator.name)) << translator.name << "scale=2;upAxis=Z"
                                                               << "0 -6 0 2 0 4";
    }
}

void TestScene::roundTrip()
{
    QFETCH(QString, type);
    QFETCH(QString, options);
    QFETCH(QString, bounds);
    m_host->importBox();
    QVERIFY(QDir().mkpath(path("out")));
    const QString written = run(
        QStringLiteral("file -force -type \"%1\" -options \"%2\" -pr -ea \"%3\"").arg(type, options, path("out/it")));
    QVERIFY2(QFileInfo::exists(written), qPrintable(written));
    QCOMPARE(QDir(path("out")).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot).size(), 1);
    run("file -new");
    QCOMPARE(m_host->import(written), written);
    QVERIFY2(m_host->measured().startsWith("12 12 "), qPrintable(m_host->measured()));
    QVERIFY2(m_host->measured().endsWith(' ' + bounds), qPrintable(m_host->measured()));

    ModelReader::setPatience(3000);
    const qint64 whole = QFileInfo(written).size();
    for (const int percent : {90, 60, 30}) {
        run("file -new");
        QVERIFY(QFile::resize(written, whole * percent / 100));
        // A text file may hold something of use up to the cut.
        const QString answer = m_host->import(written);
        QVERIFY2(answer == written || answer.contains("cannot import \"" + written + "\": "), qPrintable(answer));
        QVERIFY2(!answer.contains("come to an end"), qPrintable(answer));
        QCOMPARE(m_host->scene.objects().empty(), answer != written);
    }
}

void TestScene::textureTravelsInsideTheFile()
{
    ModelFiles::writePaint(m_host->dir.path());
    m_host->import(ModelFiles::writeTexturedSquare(m_host->dir.path(), "paint.png"));
    QVERIFY(QDir().mkpath(path("elsewhere")));
    for (const QString &type : {QString("glTF"), QString("glTF binary")}) {
        const QString written =
            run(QStringLiteral("file -force -type \"%1\" -ea \"%2\"").arg(type, path("elsewhere/square")));
        run("file -new");
        m_host->import(written);
        QCOMPARE(run("sceneInfo -q -textures"), QString("1"));
        const QImage texture = m_host->scene.objects().front().material->texture;
        QCOMPARE(texture.pixelColor(1, 1), QColor(Qt::red));
        QCOMPARE(texture.pixelColor(6, 1), QColor(Qt::blue));
    }
    QCOMPARE(m_host->warnings, QStringList());
}

void TestScene::hostileFileIsOneError_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QByteArray>("content");
    const auto row = [](const char *tag, const char *name, const QByteArray &content) {
        QTest::newRow(tag) << name << content;
    };
    row("empty", "a.obj", "");
    row("index out of range", "a.obj", "v 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 999999\n");
    row("not a number", "a.obj", "v nan 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\n");
    row("infinite", "a.obj", "v inf 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\n");
    row("points only", "a.obj", "v 0 0 0\nv 1 0 0\nv 0 1 0\np 1\np 2\n");
    row("four thousand million points", "a.ply",
        "ply\nformat binary_little_endian 1.0\nelement vertex 4000000000\nproperty float x\nproperty float y\n"
        "property float z\nelement face 1\nproperty list uchar int vertex_indices\nend_header\n" +
            QByteArray(64, '\x7f'));
    row("four thousand million faces", "a.stl", QByteArray(80, ' ') + "\xff\xff\xff\xee" + QByteArray(50, '\0'));
    row("cut-off fbx", "a.fbx", QByteArray("Kaydara FBX Binary  \0\x1a\0\xe8\x1c\0\0\xff\xff\xff\x7f", 31));
    row("cut-off glb", "a.glb", QByteArray("glTF\x02\0\0\0\xff\xff\xff\x7f\xff\xff\xff\x7fJSON{", 21));
    row("loops", "a.gltf",
        R"({"asset":{"version":"2.0"},"scene":0,"scenes":[{"nodes":[0]}],"nodes":[{"children":[1]},{"children":[0]}]})");
    row("buffer outside its folder", "a.gltf",
        R"({"asset":{"version":"2.0"},"buffers":[{"uri":"../points.bin","byteLength":36}],"scene":0,)"
        R"("scenes":[{"nodes":[0]}],"nodes":[{"mesh":0}],"meshes":[{"primitives":[{"attributes":{"POSITION":0}}]}],)"
        R"("bufferViews":[{"buffer":0,"byteLength":36}],)"
        R"("accessors":[{"bufferView":0,"componentType":5126,"count":3,"type":"VEC3"}]})");
    row("xml without an end", "a.dae", "<?xml version=\"1.0\"?><COLLADA><library_geometries><geometry>");
    row("no kind at all", "a.bin", "\x01\x02\x03\x04\x05\x06\x07\x08\x09\x0a\x0b\x0c\x0d\x0e\x0f\x10\x11");
}

void TestScene::hostileFileIsOneError()
{
    QFETCH(QString, name);
    QFETCH(QByteArray, content);
    const QByteArray points("\0\0\x80?\0\0\0\0\0\0\0\0\0\0\0\0\0\0\x80?\0\0\0\0\0\0\0\0\0\0\0\0\0\0\x80?", 36);
    ModelFiles::write(path("points.bin"), points);
    const QString file = ModelFiles::write(path("model/" + name), content);

    const QString answer = m_host->import(file);

    QVERIFY2(answer.contains("cannot import \"" + file + "\": "), qPrintable(answer));
    QVERIFY2(!answer.contains('\n') && answer.size() < file.size() + 400, qPrintable(answer));
    QVERIFY2(!answer.contains("come to an end"), qPrintable(answer));
    QVERIFY(m_host->scene.objects().empty());
}

void TestScene::longReadingIsGivenUp()
{
    QByteArray large("o fan\nv 0 0 0\nv 1 0 0\n");
    for (int at = 1; at < 40000; ++at)
        large += QStringLiteral("v 1 %1 0\nf 1 %2 %3\n").arg(at).arg(at + 1).arg(at + 2).toLatin1();
    const QString file = ModelFiles::write(path("fan.obj"), large);
    // One millisecond is left once the allowance for the file's size is taken off.
    ModelReader::setPatience(1 - static_cast<int>(large.size() >> 8));
    QVERIFY(m_host->import(file).contains("does not come to an end"));
    ModelReader::setPatience(ModelReader::defaultPatienceMs);
    QCOMPARE(m_host->import(file), file);
}

void TestScene::referencesStayBesideTheModel()
{
    for (const char *name : {"model/skin.png", "model/maps/wood.png", "secret.png"})
        ModelFiles::write(path(name), "x");
    QCOMPARE(mkfifo(QFile::encodeName(path("model/pipe")).constData(), 0600), 0);
    const ModelFolder folder(path("model/cup.obj"), path("model/cup.obj"));
    for (const char *skin : {"skin.png", "C:\\art\\skin.png", "/art/skin.png", "../skin.png"})
        QCOMPARE(folder.resolve(skin), path("model/skin.png"));
    for (const char *wood : {"maps/wood.png", "maps\\wood.png"})
        QCOMPARE(folder.resolve(wood), path("model/maps/wood.png"));
    for (const char *refused : {"../secret.png", "maps/../../secret.png", "maps", "pipe", ""})
        QCOMPARE(folder.resolve(refused), QString());
}

void TestScene::missingTextureIsAWarning()
{
    const QString file = ModelFiles::writeTexturedSquare(m_host->dir.path(), "gone.png");
    QCOMPARE(m_host->import(file), file);
    QCOMPARE(m_host->warnings.size(), 1);
    QVERIFY(m_host->warnings.first().contains("gone.png"));

    ModelFiles::write(path("gone.png"), "no image");
    QCOMPARE(m_host->import(file), file);
    QCOMPARE(m_host->warnings.size(), 2);
    QCOMPARE(run("sceneInfo -q -textures"), QString("0"));
}

void TestScene::commands_data()
{
    ModelFiles::addRows(
        {"command", "answer"},
        {
            {"ls", "box box1 box2"},
            {"select \"box1\"; select -q", "box1"},
            {"string $n[] = {\"box1\", \"box2\"}; select $n; ls -selection", "box1 box2"},
            {"select -add \"box2\"; select -q", "box box2"},
            {"select -toggle \"box\" \"box1\"; select -q", "box1"},
            {"select -all; select -q", "box box1 box2"},
            {"select -clear; select -q", ""},
            {"delete; ls", "box1 box2"},
            {"delete \"box1\"; ls", "box box2"},
            {"file -force -new; sceneInfo -q -boundingBox", ""},
            {"fileTranslator -q -extension \"COLLADA\"", "dae"},
            {"fileTranslator -q -writeSupport \"FBX\"", "1"},
            {"fileTranslator -q -writeSupport \"3DS\"", "0"},
            {"fileTranslator -q -extension \"Clay\"", "failed: unknown file translator \"Clay\""},
            {"file -i \"/nowhere/x.obj\"", "failed: cannot import \"/nowhere/x.obj\": there is no such file"},
            {"file -i \"/tmp\"", "failed: cannot import \"/tmp\": it is not a file"},
            {"file -i \"a\" -ea \"b\"", "failed: file needs one of -i PATH, -ea PATH, -es PATH and -new"},
            {"file -type \"3DS\" -ea \"x\"", "failed: 3DS files are not written"},
            {"file -new; file -type \"OBJ\" -ea \"x\"", "failed: cannot export \"x.obj\": the scene is empty"},
            {"file -es \"DIR/1.ply\"; file -new; file -i \"DIR/1.ply\"; sceneInfo -q -faces", "12"},
            {"file -type \"PLY\" -ea \"DIR/große Tasse\"", "DIR/große Tasse.ply"},
            {"file -type \"STL\" -ea \"DIR/cup.STL\"", "DIR/cup.STL"},
            {"file -type \"OBJ\" -ea \"DIR/cup.fbx\"", "DIR/cup.fbx.obj"},
            {"file -type \"OBJ\" -ea \"DIR/box\"",
             "failed: cannot export \"DIR/box.obj\": the file exists and -force is not given"},
            {"select -clear; file -es \"x.obj\"", "failed: cannot export \"x.obj\": nothing is selected"},
            {"file -options \"gloss=1\" -i \"x.obj\"", "failed: OBJ has no option \"gloss\""},
            {"file -options \"scale\" -i \"x.obj\"", "failed: options are written key=value, not \"scale\""},
            {"fileOption Import OBJ -set \"scale\" 0",
             "failed: option \"scale\" is a number from 1e-06 to 1e+06, not \"0\""},
            {"fileOption ExportAll OBJ -set \"upAxis\" \"W\"", "failed: option \"upAxis\" is one of Y, Z, not \"W\""},
            {"fileOption Print OBJ -q \"scale\"", "failed: unknown file action \"Print\""},
            {"select \"ghost\"", "failed: there is no object named \"ghost\""},
            {"delete \"ghost\"", "failed: there is no object named \"ghost\""},
        });
}

void TestScene::commands()
{
    QFETCH(QString, command);
    for (int at = 0; at < 3; ++at)
        m_host->importBox();
    run("select \"box\"");
    QTEST(run(command.replace("DIR", m_host->dir.path())).replace(m_host->dir.path(), "DIR"), "answer");
}

QTEST_GUILESS_MAIN(TestScene)
#include "tst_scene.moc"
