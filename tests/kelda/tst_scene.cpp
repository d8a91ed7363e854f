// Import, export and the commands on the scene, through the host's own language and without a window.

#include "kelda/SceneHost.h"
#include "kelda/Steps.h"

#include "scene/IsolatedReader.h"
#include "scene/ModelFolder.h"
#include "scene/Translators.h"

#include <assimp/Importer.hpp>

#include <csignal>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

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

    /// "translator|options|flag => extension, triangles, bounding box, names or objects, left and right of the texture,
    /// warnings"
    void exportsComeBack();
    /// "translator|options|text to count in the file"
    void optionsShowInTheFile();
    /// "path => reason"
    void failedExportLeavesNothing();
    void missingFilesAreNamed();
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
        for (const char *skin : {"skin.png", "C:\\art\\skin.png", "/art/skin.png", "../skin.png", "Skin.PNG"})
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

    /// Cut off anywhere, a file is still one clear error or something of use.
    QStringList faultsOfCut(const QString &file);

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

QStringList TestScene::faultsOfCut(const QString &file)
{
    QStringList faults;
    IsolatedReader::setPatience(3000);
    const qint64 whole = QFileInfo(file).size();
    for (const int percent : {90, 60, 30}) {
        run("file -new");
        const QString answer = QFile::resize(file, whole * percent / 100) ? m_host->import(file) : "cannot be cut";
        const bool refused = answer.contains("cannot import \"" + file + "\": ") && !answer.contains("come to an end");
        if ((answer != file && !refused) || m_host->scene.objects().empty() == (answer == file))
            faults.append(QString::number(percent) + " %: " + answer);
    }
    return faults;
}

void TestScene::exportsComeBack()
{
    const auto outcome = [this](const QString &step) {
        const QStringList parts = step.split('|');
        init();
        ModelFiles::writePaint(m_host->dir.path());
        m_host->import(ModelFiles::write(path("placed.gltf"), ModelFiles::placedTriangles()));
        m_host->import(ModelFiles::write(path("box.obj"), ModelFiles::box()), "-options \"triangulate=0\"");
        m_host->import(ModelFiles::writeTexturedSquare(m_host->dir.path(), "paint.png"));
        const QStringList names = m_host->scene.names();
        run("select \"square\" \"box\"");
        const QString target = path("out/it's \"5\" \\ 茶%1;$");
        QDir().mkpath(path("out"));

        const QString written = run("file -force -options \"" + parts[1] + "\" -type \"" + parts[0] + "\" -pr " +
                                    parts[2] + ' ' + SceneHost::quoted(target));
        if (!written.startsWith(target) || QDir(path("out")).entryList(QDir::AllEntries | QDir::NoDotAndDotDot) !=
                                               QStringList(QFileInfo(written).fileName()))
            return written;
        const QString warned = m_host->warnings.join('/').remove(QFileInfo(written).fileName() + ": ");
        run("file -new");
        const QString answer = m_host->import(written);
        if (answer != written)
            return answer;
        QStringList result{written.mid(target.size()), run("sceneInfo -q -triangles"),
                           run("sceneInfo -q -boundingBox")};
        const std::vector<SceneObject> &objects = m_host->scene.objects();
        result.append(m_host->scene.names() == names ? "all names" : QString::number(objects.size()));
        const QImage texture = objects.back().material->texture;
        if (!texture.isNull())
            result.append(texture.pixelColor(1, 1).name() + texture.pixelColor(6, 1).name());
        if (objects.front().material->diffuse != QColor(Qt::red))
            result.append("not red");
        if (!warned.isEmpty())
            result.append(warned);
        return (result << faultsOfCut(written)).join(", ");
    };
    playSteps(outcome, R"(
OBJ||-ea => .obj, 16, -1 -1 0 3 2 5, 4, not red, colours and textures are left out, they would need files beside it
FBX||-ea => .fbx, 16, -1 -1 0 3 2 5, 4, #ff0000#0000ff
glTF||-ea => .gltf, 16, -1 -1 0 3 2 5, all names, #ff0000#0000ff
glTF binary||-ea => .glb, 16, -1 -1 0 3 2 5, all names, #ff0000#0000ff
COLLADA||-ea => .dae, 16, -1 -1 0 3 2 5, all names, textures are left out, only their names are written: paint.png
STL||-ea => .stl, 16, -1 -1 0 3 2 5, 1, not red, colours and textures are left out, STL files hold shapes only
PLY||-ea => .ply, 16, -1 -1 0 3 2 5, 1, not red, colours and textures are left out, PLY files hold shapes only
OBJ|scale=2;upAxis=Z|-es => .obj, 14, -2 -6 -2 2 0 4, 2, not red, colours and textures are left out, they would need files beside it
)");
}

void TestScene::optionsShowInTheFile()
{
    m_host->import(ModelFiles::write(path("box.obj"), ModelFiles::box()), "-options \"triangulate=0\"");
    ModelFiles::writePaint(m_host->dir.path());
    m_host->import(ModelFiles::writeTexturedSquare(m_host->dir.path(), "paint.png"));
    const auto counted = [this](const QString &step) {
        const QStringList parts = step.split('|');
        const QString written =
            run("file -force -type \"" + parts[0] + "\" -options \"" + parts[1] + "\" -ea \"" + path("options") + '"');
        QFile file(written);
        return file.open(QIODevice::ReadOnly) ? QString::number(file.readAll().count(parts[2].toUtf8())) : written;
    };
    playSteps(counted, R"(
OBJ||↵f  => 8
OBJ|triangulate=1|↵f  => 14
COLLADA||NORMAL => 1
COLLADA|normals=0|NORMAL => 0
OBJ||mtllib => 0
OBJ|materials=1|mtllib options.mtl => 1
FBX||Content: => 1
FBX|textures=0|Content: => 0
glTF||"uri": "data: => 2
glTF|textures=0|"uri": => 1
glTF binary||"uri": => 0
glTF binary||PNG => 1
glTF binary|textures=off|PNG => 0
STL||facet normal => 0
STL|format=text|facet normal => 14
PLY|format=text|format ascii => 1
PLY|format=text;triangulate=on;scale=4|↵3  => 14
COLLADA|textures=0|x => failed: COLLADA has no option "textures"
)");
    QCOMPARE(m_host->warnings.filter("options.mtl"),
             QStringList("options.obj: materials are in \"options.mtl\" beside it, which an upload of the one file "
                         "leaves behind"));
    QCOMPARE(QDir(m_host->dir.path()).entryList({"options*"}, QDir::Files | QDir::Hidden).size(), 8);
    run("file -new");
    m_host->import(path("options.obj"));
    QCOMPARE(run("sceneInfo -q -textures"), QString("1"));
}

void TestScene::failedExportLeavesNothing()
{
    m_host->importBox();
    ModelFiles::write(path("taken.obj/x"), "");
    QVERIFY(mkfifo(QFile::encodeName(path("pipe.obj")).constData(), 0600) == 0);
    ModelFiles::write(path("old.obj"), "as it was");
    const auto everything = [this] {
        return QDir(m_host->dir.path()).entryList(QDir::AllEntries | QDir::Hidden | QDir::System);
    };
    const QStringList before = everything();
    const auto outcome = [this](QString target) {
        target.replace("LONG", QString(300, 'n'));
        const QString answer =
            run("file -force -options \"\" -type \"OBJ\" -pr -ea " + SceneHost::quoted(path(target)));
        return answer.contains("cannot export \"" + path(target)) ? answer.section("\": ", -1) : answer;
    };
    playSteps(outcome, R"(
none/box => there is no such folder
taken => a folder of that name is in the way
pipe => something that is no file is in the way
.. => this names no file
none/ => this names no file
LONG => File name too long
)");

    // A disk that is full, as far as this process is concerned.
    rlimit limit{};
    getrlimit(RLIMIT_FSIZE, &limit);
    const rlimit small{100, limit.rlim_max};
    std::signal(SIGXFSZ, SIG_IGN);
    setrlimit(RLIMIT_FSIZE, &small);
    const QString full = outcome("old");
    setrlimit(RLIMIT_FSIZE, &limit);
    QCOMPARE(full, QString("File too large"));

    // Nobody is refused what root is not; the tests' own folder is closed to nobody.
    const QTemporaryDir sealed(QStringLiteral("/tmp/kelda_sealed_XXXXXX"));
    ModelFiles::write(sealed.filePath("old.obj"), "as it was");
    const QByteArray folder = QFile::encodeName(sealed.path());
    const bool isRoot = geteuid() == 0;
    QVERIFY(chmod(folder.constData(), 0555) == 0 && (!isRoot || seteuid(65534) == 0));
    const QString refused = run("file -force -ea \"" + sealed.filePath("old.obj") + "\"");
    QVERIFY((!isRoot || seteuid(0) == 0) && chmod(folder.constData(), 0700) == 0);
    QCOMPARE(refused, "failed: cannot export \"" + sealed.filePath("old.obj") + "\": Permission denied");

    QCOMPARE(everything(), before);
    for (const QString &name : {path("old.obj"), sealed.filePath("old.obj")}) {
        QFile old(name);
        QVERIFY(old.open(QIODevice::ReadOnly) && old.readAll() == "as it was");
    }
}

void TestScene::missingFilesAreNamed()
{
    const QString file = ModelFiles::writeTexturedSquare(m_host->dir.path(), "paint.png");
    const auto warned = [&] {
        m_host->warnings.clear();
        run("file -new");
        const QString answer = m_host->import(file);
        return (answer == file ? m_host->warnings.join('/') : answer) + ' ' + run("sceneInfo -q -textures");
    };
    QCOMPARE(warned(), QString("square.obj: texture \"paint.png\" was not found beside the model 0"));
    ModelFiles::write(path("paint.png"), "no image");
    QCOMPARE(warned(), QString("square.obj: texture \"paint.png\" cannot be read as an image 0"));
    ModelFiles::writePaint(m_host->dir.path());
    QCOMPARE(warned(), QString(" 1"));
    // The model's own name is the second place where materials are looked for.
    QVERIFY(QFile::rename(path("square.mtl"), path("other.mtl")));
    QCOMPARE(warned(), QString("square.obj: material file \"square.mtl\" was not found beside the model 0"));
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
file -type "STL" -ea "DIR/cup.STL" => DIR/cup.STL
file -type "OBJ" -ea "DIR/cup.fbx" => DIR/cup.fbx.obj
file -ea "DIR/cup.zae" => DIR/cup.zae.dae
file -force -type "FBX" -ea "DIR/.fbx"; file -new; file -i "DIR/.fbx"; sceneInfo -q -triangles => 36
file -force -type "PLY" -ea "DIR/...ply"; file -new; file -i "DIR/...ply"; sceneInfo -q -triangles => 36
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
