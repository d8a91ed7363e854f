// Import, export and the commands on the scene, through the host's own language and without a window.

#include "kelda/ModelFiles.h"

#include "host/KeldaHost.h"
#include "scene/FileOptions.h"
#include "scene/ModelFolder.h"
#include "scene/ModelReader.h"
#include "scene/Scene.h"
#include "scene/SceneCommands.h"
#include "scene/Translators.h"

#include <QElapsedTimer>
#include <QTemporaryDir>
#include <QtTest>

#include <assimp/Importer.hpp>

#include <sys/stat.h>

class TestScene : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void optionsDecideWhatIsImported_data();
    void optionsDecideWhatIsImported();
    void everyListedExtensionIsReadable();
    void roundTrip_data();
    void roundTrip();
    void exportWritesOneFileUnderTheRightName_data();
    void exportWritesOneFileUnderTheRightName();
    void textureTravelsInsideTheFile();
    void hostileFileIsOneError_data();
    void hostileFileIsOneError();
    void cutOffFileEndsQuickly_data();
    void cutOffFileEndsQuickly();
    void longReadingIsGivenUp();
    void referencesStayBesideTheModel_data();
    void referencesStayBesideTheModel();
    void missingTextureIsAWarning();
    void difficultPaths_data();
    void difficultPaths();
    void typeReplacesTheExtension();
    void equalNamesBecomeUnique();
    void selection_data();
    void selection();
    void deleteAndNew();
    void exportedSelectionOnly();
    void failures_data();
    void failures();

private:
    QString run(const QString &command);
    QString errorOf(const QString &command);
    QString path(const QString &name) const { return m_dir->filePath(name); }
    void importBox()
    {
        run(QStringLiteral("file -i \"%1\"").arg(ModelFiles::write(path("box.obj"), ModelFiles::box())));
    }

    std::unique_ptr<QTemporaryDir> m_dir;
    std::unique_ptr<KeldaHost> m_host;
    std::unique_ptr<Scene> m_scene;
    std::unique_ptr<OptionStore> m_options;
    QStringList m_warnings;
};

void TestScene::init()
{
    m_dir = std::make_unique<QTemporaryDir>();
    m_host = std::make_unique<KeldaHost>(KeldaHost::Setup{KGlobal::kBatch, QString(), path("user"), QString()});
    m_scene = std::make_unique<Scene>();
    m_options = std::make_unique<OptionStore>();
    m_warnings.clear();
    registerSceneCommands(*m_host, *m_scene, *m_options);
    connect(m_host.get(), &KeldaHost::messagePosted, this, [this](KHost::MessageKind kind, const QString &text) {
        if (kind == KHost::MessageKind::kWarning)
            m_warnings.append(text);
    });
}

void TestScene::cleanup()
{
    ModelReader::setPatience(ModelReader::defaultPatienceMs);
    m_host.reset();
}

/// The result's text, or the error's with "failed: " in front.
QString TestScene::run(const QString &command)
{
    try {
        return m_host->interpreter().evaluate(command).toString();
    } catch (const ScriptError &problem) {
        return "failed: " + problem.message();
    }
}

QString TestScene::errorOf(const QString &command)
{
    const QString answer = run(command);
    return answer.startsWith("failed: ") ? answer.mid(8) : QString();
}

void TestScene::optionsDecideWhatIsImported_data()
{
    QTest::addColumn<QString>("stored");
    QTest::addColumn<QString>("given");
    QTest::addColumn<int>("triangles");
    QTest::addColumn<int>("faces");
    QTest::addColumn<int>("vertices");
    QTest::addColumn<QString>("bounds");
    const QString plain = "0 0 0 1 2 3";
    QTest::newRow("as it comes") << ""
                                 << "" << 12 << 12 << 8 << plain;
    QTest::newRow("polygons") << "-set \"triangulate\" 0"
                              << "" << 0 << 6 << 8 << plain;
    QTest::newRow("separate points") << "-set \"joinVertices\" false"
                                     << "" << 12 << 12 << 24 << plain;
    QTest::newRow("scaled") << "-set \"scale\" 2.5"
                            << "" << 12 << 12 << 8 << "0 0 0 2.5 5 7.5";
    QTest::newRow("given once") << ""
                                << "scale=10;triangulate=off" << 0 << 6 << 8 << "0 0 0 10 20 30";
    QTest::newRow("given over stored") << "-set \"scale\" 4"
                                       << "scale=0.5" << 12 << 12 << 8 << "0 0 0 0.5 1 1.5";
}

void TestScene::optionsDecideWhatIsImported()
{
    QFETCH(QString, stored);
    QFETCH(QString, given);
    QFETCH(int, triangles);
    QFETCH(int, faces);
    QFETCH(int, vertices);
    QFETCH(QString, bounds);
    const QString file = ModelFiles::write(path("box.obj"), ModelFiles::box());
    if (!stored.isEmpty())
        QCOMPARE(run("fileOption \"Import\" \"OBJ\" " + stored), QString());

    QCOMPARE(run(QStringLiteral("file -force -pr -i \"%1\" -options \"%2\"").arg(file, given)), file);

    QCOMPARE(run("sceneInfo -q -triangles").toInt(), triangles);
    QCOMPARE(run("sceneInfo -q -faces").toInt(), faces);
    QCOMPARE(run("sceneInfo -q -vertices").toInt(), vertices);
    QCOMPARE(run("sceneInfo -q -boundingBox"), bounds);
}

void TestScene::everyListedExtensionIsReadable()
{
    Assimp::Importer library;
    QStringList seen;
    for (const Translator &translator : Translators::all()) {
        for (const QString &extension : translator.extensions) {
            QVERIFY2(library.IsExtensionSupported(extension.toStdString()), qPrintable(extension));
            QVERIFY2(!seen.contains(extension), qPrintable(extension));
            seen.append(extension);
            QCOMPARE(extension, extension.toLower());
        }
    }
    QCOMPARE(run("fileTranslator -q -list").count("glTF binary"), 1);
    QCOMPARE(run("fileTranslator -q -extension \"COLLADA\""), QString("dae"));
    QCOMPARE(run("fileTranslator -q -writeSupport \"FBX\""), QString("1"));
    QCOMPARE(run("fileTranslator -q -writeSupport \"3DS\""), QString("0"));
}

void TestScene::roundTrip_data()
{
    QTest::addColumn<QString>("options");
    QTest::addColumn<QString>("bounds");
    for (const Translator &translator : Translators::all()) {
        if (!translator.writes())
            continue;
        const QByteArray name = translator.name.toLatin1();
        QTest::newRow(name.constData()) << ""
                                        << "0 0 0 1 2 3";
        QTest::newRow((name + " scaled, z up").constData()) << "scale=2;upAxis=Z"
                                                            << "0 -6 0 2 0 4";
    }
}

void TestScene::roundTrip()
{
    QFETCH(QString, options);
    QFETCH(QString, bounds);
    const QString name = QString(QTest::currentDataTag()).remove(" scaled, z up");
    importBox();

    const QString written =
        run(QStringLiteral("file -force -type \"%1\" -options \"%2\" -pr -ea \"%3\"").arg(name, options, path("out")));
    QVERIFY2(QFileInfo::exists(written), qPrintable(written));
    run("file -new");
    QCOMPARE(run("sceneInfo -q -objects"), QString("0"));
    QCOMPARE(run(QStringLiteral("file -i \"%1\"").arg(written)), written);

    QCOMPARE(run("sceneInfo -q -triangles"), QString("12"));
    QStringList rounded;
    for (const QString &part : run("sceneInfo -q -boundingBox").split(' '))
        rounded.append(QString::number(qRound(part.toDouble() * 1000) / 1000.0 + 0.0));
    QCOMPARE(rounded.join(' '), bounds);
}

void TestScene::exportWritesOneFileUnderTheRightName_data()
{
    QTest::addColumn<QString>("type");
    QTest::addColumn<QString>("asked");
    QTest::addColumn<QString>("written");
    QTest::newRow("appended") << "OBJ"
                              << "cup"
                              << "cup.obj";
    QTest::newRow("kept") << "COLLADA"
                          << "cup.dae"
                          << "cup.dae";
    QTest::newRow("kept in capitals") << "STL"
                                      << "cup.STL"
                                      << "cup.STL";
    QTest::newRow("another kind's") << "OBJ"
                                    << "cup.fbx"
                                    << "cup.fbx.obj";
    QTest::newRow("two files folded into one") << "glTF"
                                               << "cup"
                                               << "cup.gltf";
    QTest::newRow("blanks and letters") << "PLY" << QString::fromUtf8("große Tasse")
                                        << QString::fromUtf8("große Tasse.ply");
}

void TestScene::exportWritesOneFileUnderTheRightName()
{
    QFETCH(QString, type);
    QFETCH(QString, asked);
    QFETCH(QString, written);
    importBox();
    QVERIFY(QDir().mkpath(path("out")));

    QCOMPARE(run(QStringLiteral("file -type \"%1\" -ea \"%2\"").arg(type, path("out/" + asked))),
             path("out/" + written));

    QCOMPARE(QDir(path("out")).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot), QStringList(written));
    QVERIFY(errorOf(QStringLiteral("file -type \"%1\" -ea \"%2\"").arg(type, path("out/" + asked))).contains("-force"));
}

void TestScene::textureTravelsInsideTheFile()
{
    ModelFiles::writeImage(path("paint.png"), Qt::red, Qt::blue);
    run(QStringLiteral("file -i \"%1\"").arg(ModelFiles::writeTexturedSquare(m_dir->path(), "paint.png")));
    QVERIFY(QDir().mkpath(path("elsewhere")));
    for (const QString &type : {QString("glTF"), QString("glTF binary")}) {
        const QString written =
            run(QStringLiteral("file -force -type \"%1\" -ea \"%2\"").arg(type, path("elsewhere/square")));
        run("file -new");
        run(QStringLiteral("file -i \"%1\"").arg(written));
        QCOMPARE(run("sceneInfo -q -textures"), QString("1"));
        QCOMPARE(m_scene->objects().front().material->texture.pixelColor(1, 1), QColor(Qt::red));
        QCOMPARE(m_scene->objects().front().material->texture.pixelColor(6, 1), QColor(Qt::blue));
    }
    QCOMPARE(m_warnings, QStringList());
}

void TestScene::hostileFileIsOneError_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QByteArray>("content");
    const QByteArray plyHead =
        "ply\nformat binary_little_endian 1.0\nelement vertex 3\nproperty float x\nproperty float y\n"
        "property float z\nelement face 1\nproperty list uchar int vertex_indices\nend_header\n";
    QTest::newRow("empty") << "a.obj" << QByteArray();
    QTest::newRow("text") << "a.obj" << QByteArray("These are not the points you are looking for.\n");
    QTest::newRow("index out of range") << "a.obj" << QByteArray("v 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 999999\n");
    QTest::newRow("not a number") << "a.obj" << QByteArray("v nan 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\n");
    QTest::newRow("infinite") << "a.obj" << QByteArray("v inf 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\n");
    QTest::newRow("points only") << "a.obj" << QByteArray("v 0 0 0\nv 1 0 0\nv 0 1 0\np 1\np 2\n");
    QTest::newRow("cut-off ply") << "a.ply" << plyHead + QByteArray(10, '\0');
    QTest::newRow("ply of four thousand million points")
        << "a.ply" << QByteArray(plyHead).replace("vertex 3", "vertex 4000000000") + QByteArray(64, '\x7f');
    QTest::newRow("stl of four thousand million faces")
        << "a.stl" << QByteArray(80, ' ') + "\xff\xff\xff\xee" + QByteArray(50, '\0');
    QTest::newRow("cut-off fbx") << "a.fbx"
                                 << QByteArray("Kaydara FBX Binary  \0\x1a\0\xe8\x1c\0\0\xff\xff\xff\x7f", 31);
    QTest::newRow("gltf of loops") << "a.gltf"
                                   << QByteArray(R"({"asset":{"version":"2.0"},"scene":0,"scenes":[{"nodes":[0]}],)"
                                                 R"("nodes":[{"children":[1]},{"children":[0]}]})");
    QTest::newRow("gltf without its buffer")
        << "a.gltf"
        << QByteArray(
               R"({"asset":{"version":"2.0"},"buffers":[{"uri":"../../etc/passwd","byteLength":36}],"scene":0,)"
               R"("scenes":[{"nodes":[0]}],"nodes":[{"mesh":0}],"meshes":[{"primitives":[{"attributes":{"POSITION":0}}]}],)"
               R"("bufferViews":[{"buffer":0,"byteLength":36}],)"
               R"("accessors":[{"bufferView":0,"componentType":5126,"count":3,"type":"VEC3"}]})");
    QTest::newRow("cut-off glb") << "a.glb" << QByteArray("glTF\x02\0\0\0\xff\xff\xff\x7f\xff\xff\xff\x7fJSON{", 21);
    QTest::newRow("xml without an end") << "a.dae"
                                        << QByteArray("<?xml version=\"1.0\"?><COLLADA><library_geometries><geometry>");
    QTest::newRow("no kind at all") << "a.bin"
                                    << QByteArray(
                                           "\x01\x02\x03\x04\x05\x06\x07\x08\x09\x0a\x0b\x0c\x0d\x0e\x0f\x10\x11");
}

void TestScene::hostileFileIsOneError()
{
    QFETCH(QString, name);
    QFETCH(QByteArray, content);
    const QString file = ModelFiles::write(path(name), content);

    const QString error = errorOf(QStringLiteral("file -force -pr -i \"%1\"").arg(file));

    QVERIFY2(error.contains("cannot import \"" + file + "\": "), qPrintable(error));
    QVERIFY2(!error.contains('\n') && error.size() < file.size() + 400, qPrintable(error));
    QVERIFY2(!error.contains("come to an end"), qPrintable(error));
    QVERIFY(m_scene->objects().empty());
}

void TestScene::cutOffFileEndsQuickly_data()
{
    QTest::addColumn<int>("percent");
    for (const Translator &translator : Translators::all()) {
        if (!translator.writes())
            continue;
        for (const int percent : {30, 60, 90})
            QTest::addRow("%s|%d", qPrintable(translator.name), percent) << percent;
    }
}

void TestScene::cutOffFileEndsQuickly()
{
    QFETCH(int, percent);
    const QString type = QString(QTest::currentDataTag()).section('|', 0, 0);
    importBox();
    const QString whole = run(QStringLiteral("file -type \"%1\" -ea \"%2\"").arg(type, path("whole")));
    QVERIFY(QFile::resize(whole, QFileInfo(whole).size() * percent / 100));
    run("file -new");
    ModelReader::setPatience(3000);

    // A text file may hold something of use up to the cut.
    const QString answer = run(QStringLiteral("file -i \"%1\"").arg(whole));
    QVERIFY2(answer == whole || answer.contains("cannot import \"" + whole + "\": "), qPrintable(answer));
    QVERIFY2(!answer.contains("come to an end"), qPrintable(answer));
    QCOMPARE(m_scene->objects().empty(), answer != whole);
}

void TestScene::longReadingIsGivenUp()
{
    QByteArray large("o fan\nv 0 0 0\n");
    for (int at = 0; at < 40000; ++at)
        large += "v 1 " + QByteArray::number(at) + " 0\n";
    for (int at = 2; at < 40000; ++at)
        large += "f 1 " + QByteArray::number(at) + ' ' + QByteArray::number(at + 1) + '\n';
    const QString file = ModelFiles::write(path("fan.obj"), large);
    // One millisecond is left once the allowance for the file's size is taken off.
    ModelReader::setPatience(1 - static_cast<int>(large.size() >> 8));

    QVERIFY(errorOf(QStringLiteral("file -i \"%1\"").arg(file)).contains("does not come to an end"));
    ModelReader::setPatience(ModelReader::defaultPatienceMs);
    QCOMPARE(run(QStringLiteral("file -i \"%1\"").arg(file)), file);
}

void TestScene::referencesStayBesideTheModel_data()
{
    QTest::addColumn<QString>("reference");
    QTest::addColumn<QString>("expected");
    QTest::newRow("beside") << "skin.png"
                            << "model/skin.png";
    QTest::newRow("below") << "maps/wood.png"
                           << "model/maps/wood.png";
    QTest::newRow("backslashes") << "maps\\wood.png"
                                 << "model/maps/wood.png";
    QTest::newRow("someone's disk") << "C:\\art\\skin.png"
                                    << "model/skin.png";
    QTest::newRow("absolute") << "/art/skin.png"
                              << "model/skin.png";
    QTest::newRow("climbing out, but known beside") << "../skin.png"
                                                    << "model/skin.png";
    QTest::newRow("climbing out") << "../secret.png"
                                  << "";
    QTest::newRow("climbing out and in") << "maps/../../secret.png"
                                         << "";
    QTest::newRow("folder") << "maps"
                            << "";
    QTest::newRow("pipe") << "pipe"
                          << "";
    QTest::newRow("nothing") << ""
                             << "";
    QTest::newRow("up") << ".."
                        << "";
}

void TestScene::referencesStayBesideTheModel()
{
    QFETCH(QString, reference);
    QFETCH(QString, expected);
    for (const char *name : {"model/skin.png", "model/maps/wood.png", "secret.png"})
        ModelFiles::write(path(name), "x");
    QCOMPARE(mkfifo(QFile::encodeName(path("model/pipe")).constData(), 0600), 0);
    const ModelFolder folder(path("model/cup.obj"), path("model/cup.obj"));

    QCOMPARE(folder.resolve(reference), expected.isEmpty() ? QString() : path(expected));
}

void TestScene::missingTextureIsAWarning()
{
    run(QStringLiteral("file -i \"%1\"").arg(ModelFiles::writeTexturedSquare(m_dir->path(), "gone.png")));
    QCOMPARE(run("sceneInfo -q -objects"), QString("1"));
    QCOMPARE(m_warnings.size(), 1);
    QVERIFY(m_warnings.first().contains("gone.png"));

    ModelFiles::write(path("gone.png"), "no image");
    run(QStringLiteral("file -i \"%1\"").arg(path("square.obj")));
    QCOMPARE(m_warnings.size(), 2);
    QCOMPARE(run("sceneInfo -q -textures"), QString("0"));
}

void TestScene::difficultPaths_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("escaped");
    QTest::newRow("blanks") << "a  cup.obj"
                            << "a  cup.obj";
    QTest::newRow("letters") << QString::fromUtf8("Täßchen 茶.obj") << QString::fromUtf8("Täßchen 茶.obj");
    QTest::newRow("quotes") << "a\"b'.obj"
                            << "a\\\"b'.obj";
    QTest::newRow("per cent and number sign") << "100%1#.obj"
                                              << "100%1#.obj";
    QTest::newRow("capitals") << "CUP.OBJ"
                              << "CUP.OBJ";
}

void TestScene::difficultPaths()
{
    QFETCH(QString, name);
    QFETCH(QString, escaped);
    ModelFiles::write(path(name), ModelFiles::box());
    QCOMPARE(run(QString("file -i \"") + m_dir->path() + "/" + escaped + "\""), path(name));
    QCOMPARE(run("sceneInfo -q -triangles"), QString("12"));
}

void TestScene::typeReplacesTheExtension()
{
    const QString file = ModelFiles::write(path("box.txt"), ModelFiles::box());
    QCOMPARE(run(QStringLiteral("file -type \"OBJ\" -i \"%1\"").arg(file)), file);
    // Without any hint the first bytes decide.
    const QString nameless = ModelFiles::write(path("box"), ModelFiles::box());
    QCOMPARE(run(QStringLiteral("file -i \"%1\"").arg(nameless)), nameless);
    QCOMPARE(run("sceneInfo -q -triangles"), QString("24"));
}

void TestScene::equalNamesBecomeUnique()
{
    for (int at = 0; at < 3; ++at)
        importBox();
    QCOMPARE(run("ls"), QString("box box1 box2"));
    run("delete \"box1\"");
    importBox();
    QCOMPARE(run("ls"), QString("box box2 box1"));
}

void TestScene::selection_data()
{
    QTest::addColumn<QString>("command");
    QTest::addColumn<QString>("selected");
    QTest::newRow("replaces") << "select \"box1\""
                              << "box1";
    QTest::newRow("array") << "string $n[] = {\"box1\", \"box2\"}; select $n"
                           << "box1 box2";
    QTest::newRow("adds") << "select -add \"box2\""
                          << "box box2";
    QTest::newRow("toggles") << "select -toggle \"box\" \"box1\""
                             << "box1";
    QTest::newRow("all") << "select -all"
                         << "box box1 box2";
    QTest::newRow("none") << "select -clear"
                          << "";
}

void TestScene::selection()
{
    QFETCH(QString, command);
    QFETCH(QString, selected);
    for (int at = 0; at < 3; ++at)
        importBox();
    run("select \"box\"");
    QSignalSpy changes(m_scene.get(), &Scene::selectionChanged);

    QCOMPARE(run(command), QString());

    QCOMPARE(run("select -q"), selected);
    QCOMPARE(run("ls -selection"), selected);
    QCOMPARE(changes.size(), 1);
}

void TestScene::deleteAndNew()
{
    for (int at = 0; at < 3; ++at)
        importBox();
    QSignalSpy changes(m_scene.get(), &Scene::changed);
    run("select \"box1\"; delete");
    QCOMPARE(run("ls"), QString("box box2"));
    run("delete \"box\"");
    QCOMPARE(run("ls"), QString("box2"));
    run("file -force -new");
    QCOMPARE(run("sceneInfo -q -objects"), QString("0"));
    QCOMPARE(run("sceneInfo -q -boundingBox"), QString());
    QCOMPARE(changes.size(), 3);
}

void TestScene::exportedSelectionOnly()
{
    importBox();
    importBox();
    run("select \"box1\"");
    QVERIFY(errorOf(QStringLiteral("select -clear; file -es \"%1\"").arg(path("none.obj")))
                .contains("nothing is selected"));
    run("select \"box1\"");
    const QString one = run(QStringLiteral("file -force -type \"PLY\" -es \"%1\"").arg(path("one")));
    run("file -new");
    run(QStringLiteral("file -i \"%1\"").arg(one));
    QCOMPARE(run("sceneInfo -q -triangles"), QString("12"));
}

void TestScene::failures_data()
{
    QTest::addColumn<QString>("command");
    QTest::addColumn<QString>("reason");
    QTest::newRow("no such file") << "file -i \"/nowhere/x.obj\""
                                  << "there is no such file";
    QTest::newRow("folder") << "file -i \"/tmp\""
                            << "not a file";
    QTest::newRow("no task") << "file -force"
                             << "file needs one of";
    QTest::newRow("two tasks") << "file -i \"a\" -ea \"b\""
                               << "file needs one of";
    QTest::newRow("unknown type") << "file -type \"Clay\" -i \"x.obj\""
                                  << "unknown file translator \"Clay\"";
    QTest::newRow("not written") << "file -type \"3DS\" -ea \"x\""
                                 << "3DS files are not written";
    QTest::newRow("empty scene") << "file -type \"OBJ\" -ea \"x\""
                                 << "the scene is empty";
    QTest::newRow("unknown option") << "file -options \"gloss=1\" -i \"x.obj\""
                                    << "no option \"gloss\"";
    QTest::newRow("odd option") << "file -options \"scale\" -i \"x.obj\""
                                << "key=value";
    QTest::newRow("scale of zero") << "fileOption Import OBJ -set \"scale\" 0"
                                   << "\"scale\" is a number";
    QTest::newRow("scale of words") << "fileOption Import OBJ -set \"scale\" \"big\""
                                    << "\"scale\" is a number";
    QTest::newRow("unknown action") << "fileOption Print OBJ -q \"scale\""
                                    << "unknown file action";
    QTest::newRow("unknown key") << "fileOption Import OBJ -q \"gloss\""
                                 << "no option \"gloss\"";
    QTest::newRow("axis") << "fileOption ExportAll OBJ -set \"upAxis\" \"W\""
                          << "one of Y, Z";
    QTest::newRow("select unknown") << "select \"ghost\""
                                    << "no object named \"ghost\"";
    QTest::newRow("delete unknown") << "delete \"ghost\""
                                    << "no object named \"ghost\"";
    QTest::newRow("nothing asked") << "sceneInfo -q"
                                   << "sceneInfo needs";
    QTest::newRow("translator unknown") << "fileTranslator -q -extension \"Clay\""
                                        << "unknown file translator";
}

void TestScene::failures()
{
    QFETCH(QString, command);
    QFETCH(QString, reason);
    const QString error = errorOf(command);
    QVERIFY2(error.contains(reason), qPrintable(error));
}

QTEST_GUILESS_MAIN(TestScene)
#include "tst_scene.moc"
