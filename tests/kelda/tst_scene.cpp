// Import, export and the commands on the scene, through the host's own language and without a window.

#include "kelda/SceneHost.h"
#include "kelda/Steps.h"

#include "scene/IsolatedReader.h"
#include "scene/ModelFolder.h"
#include "scene/Translators.h"

#include <assimp/Importer.hpp>

#include <sys/stat.h>

class TestScene : public QObject
{
    Q_OBJECT

private slots:
    void init() { m_host = std::make_unique<SceneHost>(KGlobal::kBatch); }
    void cleanup() { IsolatedReader::setPatience(IsolatedReader::defaultPatienceMs); }

    /// "file|flags|stored options"
    void imports();
    void everyListedExtensionIsReadable()
    {
        Assimp::Importer library;
        for (const Translator &translator : Translators::all()) {
            for (const QString &extension : translator.extensions) {
                QVERIFY2(library.IsExtensionSupported(extension.toStdString()), qPrintable(extension));
                QCOMPARE(Translators::forExtension(extension), &translator);
            }
        }
    }

    void roundTrip()
    {
        const std::pair<QString, QString> variants[] = {{"", " 0 0 0 1 2 3"}, {"scale=2;upAxis=Z", " 0 -6 0 2 0 4"}};
        for (int round = 0; round < 2 * static_cast<int>(Translators::all().size()); ++round) {
            const auto &variant = variants[round % 2];
            const Translator &translator = Translators::all()[static_cast<size_t>(round / 2)];
            if (!translator.writes())
                continue;
            const QString &type = translator.name;
            init();
            m_host->importBox();
            QVERIFY(QDir().mkpath(path("out")));
            const QString written = run("file -force -type \"" + type + "\" -options \"" + variant.first +
                                        "\" -pr -ea \"" + path("out/it") + '"');
            QVERIFY2(QFileInfo::exists(written), qPrintable(type + written));
            QCOMPARE(QDir(path("out")).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot).size(), 1);
            run("file -new");
            QCOMPARE(m_host->import(written), written);
            const QString measured = m_host->measured();
            QVERIFY2(measured.startsWith("12 12 ") && measured.endsWith(variant.second), qPrintable(type + measured));

            IsolatedReader::setPatience(3000);
            const qint64 whole = QFileInfo(written).size();
            for (const int percent : {90, 60, 30}) {
                run("file -new");
                QVERIFY(QFile::resize(written, whole * percent / 100));
                // A text file may hold something of use up to the cut.
                const QString answer = m_host->import(written);
                const bool refused =
                    answer.contains("cannot import \"" + written + "\": ") && !answer.contains("come to an end");
                QVERIFY2(answer == written || refused, qPrintable(answer));
                QCOMPARE(m_host->scene.objects().empty(), answer != written);
            }
        }
    }

    void textureTravelsInsideTheFileOrIsMissed()
    {
        ModelFiles::writePaint(m_host->dir.path());
        m_host->import(ModelFiles::writeTexturedSquare(m_host->dir.path(), "paint.png"));
        QVERIFY(QDir().mkpath(path("elsewhere")));
        for (const QString type : {"glTF", "glTF binary"}) {
            const QString written = run("file -force -type \"" + type + "\" -ea \"" + path("elsewhere/square") + '"');
            run("file -new");
            m_host->import(written);
            QCOMPARE(run("sceneInfo -q -textures"), QString("1"));
            const QImage texture = m_host->scene.objects().front().material->texture;
            QVERIFY(texture.pixelColor(1, 1) == QColor(Qt::red) && texture.pixelColor(6, 1) == QColor(Qt::blue));
        }
        QCOMPARE(m_host->warnings, QStringList());

        run("file -new");
        const QString file = ModelFiles::writeTexturedSquare(m_host->dir.path(), "gone.png");
        QCOMPARE(m_host->import(file), file);
        ModelFiles::write(path("gone.png"), "no image");
        QCOMPARE(m_host->import(file), file);
        QCOMPARE(m_host->warnings.filter("gone.png").size(), 2);
        QCOMPARE(run("sceneInfo -q -textures"), QString("0"));
    }

    void hostileFileIsOneError();
    void longReadingIsGivenUp()
    {
        QByteArray large("o fan\nv 0 0 0\nv 1 0 0\n");
        for (int at = 1; at < 40000; ++at)
            large += QStringLiteral("v 1 %1 0\nf 1 %2 %3\n").arg(at).arg(at + 1).arg(at + 2).toLatin1();
        const QString file = ModelFiles::write(path("fan.obj"), large);
        // One millisecond is left once the allowance for the file's size is taken off.
        IsolatedReader::setPatience(1 - static_cast<int>(large.size() >> 8));
        QVERIFY(m_host->import(file).contains("does not come to an end"));
        IsolatedReader::setPatience(IsolatedReader::defaultPatienceMs);
        QCOMPARE(m_host->import(file), file);
    }

    void referencesStayBesideTheModel()
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

    void commands();

private:
    QString run(const QString &command) { return m_host->run(command); }
    QString path(const QString &name) const { return m_host->path(name); }

    std::unique_ptr<SceneHost> m_host;
};

void TestScene::imports()
{
    const auto imported = [this](const QString &step) {
        const QStringList parts = step.split('|');
        init();
        ModelFiles::write(path(parts[0]), ModelFiles::box());
        const QString refused = parts[2].isEmpty() ? "" : run("fileOption \"Import\" \"OBJ\" -set " + parts[2]);
        const QString answer = m_host->import(path(parts[0]), parts[1]);
        return answer == path(parts[0]) ? refused + m_host->measured() : answer;
    };
    playSteps(imported, R"(
polygons.obj||"triangulate" 0 => 0 6 8 0 0 0 1 2 3
separate points.obj||"joinVertices" false => 12 12 24 0 0 0 1 2 3
stored.obj||"scale" 2.5 => 12 12 8 0 0 0 2.5 5 7.5
once.obj|-options "scale=10;triangulate=off"| => 0 6 8 0 0 0 10 20 30
over.obj|-options "scale=0.5"|"scale" 4 => 12 12 8 0 0 0 0.5 1 1.5
Täßchen 茶  "b' 100%1#".OBJ|| => 12 12 8 0 0 0 1 2 3
typed.txt|-type "OBJ"| => 12 12 8 0 0 0 1 2 3
first bytes decide|| => 12 12 8 0 0 0 1 2 3
)");
}

void TestScene::commands()
{
    const auto answer = [this](QString command) {
        init();
        for (int at = 0; at < 3; ++at)
            m_host->importBox();
        run("source \"" + QFINDTESTDATA("../../scripts/TavrinCreateUI.ksc") + "\"; select \"box\"");
        return run(command.replace("DIR", m_host->dir.path())).replace(m_host->dir.path(), "DIR");
    };
    playSteps(answer, R"(
select "box1"; select -q => box1
string $n[] = {"box1", "box2"}; select $n; ls -selection => box1 box2
select -add "box2"; $added = `select -q`; select -toggle "box" "box1"; "" + $added + ", " + `select -q` => box box2, box1 box2
select -all; select -q => box box1 box2
delete; $left = `ls`; delete "box1"; "" + $left + ", " + `ls` => box1 box2, box2
file -force -new; sceneInfo -q -boundingBox => nothing
"" + `fileTranslator -q -extension "COLLADA"` + `fileTranslator -q -writeSupport "FBX"` + `fileTranslator -q -writeSupport "3DS"` => dae10
fileTranslator -q -extension "Clay" => failed: unknown file translator "Clay"
Tavrin_GetImportTranslatorFromFileExtension("ZAE") + Tavrin_GetImportTranslatorFromFileExtension("") => COLLADA
stringArrayToString(Tavrin_GetExportTranslatorList(), "|") => OBJ|FBX|glTF|glTF binary|COLLADA|STL|PLY
stringArrayToString(Tavrin_GetExportTranslatorExtensionList(), "|") => obj|fbx|gltf|glb|dae|stl|ply
file -i "/nowhere/x.obj" => failed: cannot import "/nowhere/x.obj": there is no such file
file -i "/tmp" => failed: cannot import "/tmp": it is not a file
file -i "a" -ea "b" => failed: file needs one of -i PATH, -ea PATH, -es PATH and -new
file -type "3DS" -ea "x" => failed: 3DS files are not written
file -new; file -type "OBJ" -ea "x" => failed: cannot export "x.obj": the scene is empty
file -es "DIR/1.ply"; file -new; file -i "DIR/1.ply"; sceneInfo -q -faces => 12
file -type "PLY" -ea "DIR/große Tasse" => DIR/große Tasse.ply
file -type "STL" -ea "DIR/cup.STL" => DIR/cup.STL
file -type "OBJ" -ea "DIR/cup.fbx" => DIR/cup.fbx.obj
file -type "OBJ" -ea "DIR/box" => failed: cannot export "DIR/box.obj": the file exists and -force is not given
select -clear; file -es "x.obj" => failed: cannot export "x.obj": nothing is selected
file -options "gloss=1" -i "x.obj" => failed: OBJ has no option "gloss"
file -options "scale" -i "x.obj" => failed: options are written key=value, not "scale"
fileOption Import OBJ -set "scale" 0 => failed: option "scale" is a number from 1e-06 to 1e+06, not "0"
fileOption ExportAll OBJ -set "upAxis" "W" => failed: option "upAxis" is one of Y, Z, not "W"
select "ghost" => failed: there is no object named "ghost"
)");
}

void TestScene::hostileFileIsOneError()
{
    const QByteArray triangle(" 0 0\nv 1 0 0\nv 0 1 0\n");
    const std::pair<const char *, QByteArray> files[] = {
        {"empty.obj", ""},
        {"index out of range.obj", "v 0" + triangle + "f 1 2 999999\n"},
        {"not a number.obj", "v nan" + triangle + "f 1 2 3\n"},
        {"points only.obj", "v 0" + triangle + "p 1\np 2\n"},
        {"four thousand million points.ply",
         "ply\nformat binary_little_endian 1.0\nelement vertex 4000000000\nproperty float x\nproperty float "
         "y\nproperty float z\nelement face 1\nproperty list uchar int vertex_indices\nend_header\n" +
             QByteArray(64, '\x7f')},
        {"four thousand million faces.stl", QByteArray(80, ' ') + "\xff\xff\xff\xee" + QByteArray(50, '\0')},
        {"cut off.fbx", QByteArray("Kaydara FBX Binary  \0\x1a\0\xe8\x1c\0\0\xff\xff\xff\x7f", 31)},
        {"cut off.glb", QByteArray("glTF\x02\0\0\0\xff\xff\xff\x7f\xff\xff\xff\x7fJSON{", 21)},
        {"loops.gltf",
         R"({"asset":{"version":"2.0"},"scene":0,"scenes":[{"nodes":[0]}],"nodes":[{"children":[1]},{"children":[0]}]})"},
        {"buffer outside its folder.gltf",
         R"({"asset":{"version":"2.0"},"buffers":[{"uri":"../points.bin","byteLength":36}],"scene":0,"scenes":[{"nodes":[0]}],
"nodes":[{"mesh":0}],"meshes":[{"primitives":[{"attributes":{"POSITION":0}}]}],"bufferViews":[{"buffer":0,"byteLength":36}],
"accessors":[{"bufferView":0,"componentType":5126,"count":3,"type":"VEC3"}]})"},
        {"xml without an end.dae", "<?xml version=\"1.0\"?><COLLADA><library_geometries><geometry>"},
        {"no kind at all.bin", "\x01\x02\x03\x04\x05\x06\x07\x08\x09\x0a\x0b\x0c\x0d\x0e\x0f\x10\x11"}};
    const QByteArray points("\0\0\x80?\0\0\0\0\0\0\0\0\0\0\0\0\0\0\x80?\0\0\0\0\0\0\0\0\0\0\0\0\0\0\x80?", 36);
    ModelFiles::write(path("points.bin"), points);
    for (const auto &[name, content] : files) {
        const QString file = ModelFiles::write(path(QStringLiteral("model/") + name), content);
        const QString answer = m_host->import(file);
        QVERIFY2(answer.contains("cannot import \"" + file + "\": "), qPrintable(answer));
        const bool brief = !answer.contains('\n') && answer.size() < file.size() + 400;
        QVERIFY2(brief && !answer.contains("come to an end"), qPrintable(answer));
        QVERIFY2(m_host->scene.objects().empty(), name);
    }
}

QTEST_GUILESS_MAIN(TestScene)
#include "tst_scene.moc"
