// Import, export and the commands on the scene, through the host's own language and without a window.

#include "kelda/TestHost.h"
#include "scene/IsolatedReader.h"
#include "scene/ModelFolder.h"
#include "scene/Translators.h"

#include <assimp/Importer.hpp>

#include <clocale>
#include <csignal>
#include <sys/resource.h>
#include <sys/stat.h>

class TestScene : public QObject
{
    Q_OBJECT

private slots:
    void init() { m_host = std::make_unique<TestHost>(KGlobal::kBatch); }
    void cleanup() { IsolatedReader::setPatience(IsolatedReader::defaultPatienceMs); }

    /// "file|flags|stored option"
    void imports();

    void everyListedExtensionIsReadable()
    {
        Assimp::Importer library;
        for (const Translator &translator : Translators::all()) {
            for (const QString &extension : translator.extensions) {
                const bool supported = library.IsExtensionSupported(extension.toStdString());
                QVERIFY2(supported && Translators::forExtension(extension) == &translator, qPrintable(extension));
            }
        }
    }

    /// "translator|options|flag => extension, triangles, bounding box, names or objects, left and right of the texture,
    /// warnings", and the answers to the file cut off anywhere that are neither clear nor of use.
    void exportsComeBack()
    {
        const auto outcome = [this](const QString &step) {
            const QStringList parts = step.split('|');
            init();
            m_host->import("placed.gltf");
            m_host->import("box.obj", "-options \"triangulate=0\"");
            m_host->import("square.obj");
            const QStringList names = m_host->scene.names();
            run("select \"square\" \"box\"");
            QDir().mkpath(path("out"));
            QStringList said = run("file -force -options \"" + parts[1] + "\" -type \"" + parts[0] + "\" -pr " +
                                   parts[2] + ' ' + TestHost::quoted(path("out/it's \"5\" \\ 茶%1;$")))
                                   .split(" / ");
            const QString written = said.takeLast();
            const QString file = "out/" + QFileInfo(written).fileName();
            if (QDir(path("out")).entryList(QDir::AllEntries | QDir::NoDotAndDotDot) != QStringList(file.mid(4)))
                return written;
            run("file -new");
            if (!m_host->import(file).endsWith(written))
                return "not read: " + written;
            QStringList result{QFileInfo(file).suffix(), run("sceneInfo -q -triangles"),
                               run("sceneInfo -q -boundingBox")};
            const std::vector<SceneObject> &objects = m_host->scene.objects();
            result.append(m_host->scene.names() == names ? "all names" : QString::number(objects.size()));
            const QImage texture = objects.back().material->texture;
            if (!texture.isNull())
                result.append(texture.pixelColor(1, 1).name() + texture.pixelColor(6, 1).name());
            if (objects.front().material->diffuse != QColor(Qt::red))
                result.append("not red");
            for (const QString &warning : said)
                result.append(warning.section(": ", 2));

            IsolatedReader::setPatience(3000);
            const qint64 whole = QFileInfo(path(file)).size();
            for (const int percent : {90, 60, 30}) {
                const QString cut = QFile::resize(path(file), whole * percent / 100) ? m_host->import(file) : "not cut";
                const bool refused = cut.contains("cannot import") && !cut.contains("come to an end");
                if (!refused && !cut.endsWith(written))
                    result.append(cut);
            }
            return result.join(", ");
        };
        playSteps(outcome, R"(
OBJ||-ea => obj, 16, -1 -1 0 3 2 5, 4, not red, colours and textures are left out, they would need files beside it
FBX||-ea => fbx, 16, -1 -1 0 3 2 5, 4, #ff0000#0000ff
glTF||-ea => gltf, 16, -1 -1 0 3 2 5, all names, #ff0000#0000ff
glTF binary||-ea => glb, 16, -1 -1 0 3 2 5, all names, #ff0000#0000ff
COLLADA||-ea => dae, 16, -1 -1 0 3 2 5, all names, textures are left out, their names are written in place of the materials' colours: paint.png
STL||-ea => stl, 16, -1 -1 0 3 2 5, 1, not red, colours and textures are left out, STL files hold shapes only
PLY||-ea => ply, 16, -1 -1 0 3 2 5, 1, not red, colours and textures are left out, PLY files hold shapes only
OBJ|scale=2;upAxis=Z|-es => obj, 14, -2 -6 -2 2 0 4, 2, not red, colours and textures are left out, they would need files beside it
)");
    }

    /// "translator|options|text to count in the file"
    void optionsShowInTheFile()
    {
        m_host->import("box.obj", "-options \"triangulate=0\"");
        m_host->import("square.obj");
        QStringList said;
        const auto counted = [&](const QString &step) {
            const QStringList parts = step.split('|');
            said = run("file -force -type \"" + parts[0] + "\" -options \"" + parts[1] + "\" -ea \"FOLDER/options\"")
                       .split(" / ");
            QFile file(path(QFileInfo(said.last()).fileName()));
            return file.open(QIODevice::ReadOnly) ? QString::number(file.readAll().count(parts[2].toUtf8()))
                                                  : said.last();
        };
        playSteps(counted, R"(
OBJ||↵f  => 8
OBJ|triangulate=1|↵f  => 14
COLLADA||NORMAL => 1
COLLADA|normals=0|NORMAL => 0
glTF|textures=0|"uri": => 1
STL||facet normal => 0
STL|format=text|facet normal => 14
PLY|format=text;triangulate=on;scale=4|↵3  => 14
COLLADA|textures=0|x => failed: line 1: COLLADA has no option "textures"
)");
        QCOMPARE(counted("OBJ|materials=1|mtllib options.mtl"), QString("1"));
        QCOMPARE(said.first(), QString("warning: options.obj: materials are in \"options.mtl\" beside it, which an "
                                       "upload of the one file leaves behind"));
        QCOMPARE(QDir(m_host->folder.path()).entryList({"options*"}, QDir::Files | QDir::Hidden).size(), 6);
        run("file -new");
        m_host->import("options.obj");
        QCOMPARE(run("sceneInfo -q -textures"), QString("1"));
    }

    /// "path => reason"
    void failedExportLeavesNothing()
    {
        m_host->import("box.obj");
        m_host->write("taken.obj/x", "");
        QVERIFY(mkfifo(QFile::encodeName(path("pipe.obj")).constData(), 0600) == 0);
        m_host->write("old.obj", "as it was");
        const auto everything = [this] {
            return QDir(m_host->folder.path()).entryList(QDir::AllEntries | QDir::Hidden | QDir::System);
        };
        const QStringList before = everything();
        const auto outcome = [this](QString target) {
            target.replace("LONG", QString(300, 'n'));
            const QString answer =
                run("file -force -options \"\" -type \"OBJ\" -pr -ea " + TestHost::quoted(path(target)));
            return answer.startsWith("failed: line 1: cannot export \"FOLDER/" + target) ? answer.section("\": ", -1)
                                                                                         : answer;
        };
        playSteps(outcome, R"(
none/box => there is no such folder
taken => a folder of that name is in the way
pipe => something that is no file is in the way
.. => this names no file
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

        QCOMPARE(everything(), before);
        QCOMPARE(readFile(path("old.obj")), QByteArray("as it was"));
    }

    void missingFilesAreNamed()
    {
        const auto warned = [this] { return run("file -new; file -i \"FOLDER/square.obj\"; sceneInfo -q -textures"); };
        QCOMPARE(warned(), QString("1"));
        m_host->write("paint.png", "no image");
        QCOMPARE(warned(), QString("warning: square.obj: texture \"paint.png\" cannot be read as an image / 0"));
        QFile::remove(path("paint.png"));
        QCOMPARE(warned(), QString("warning: square.obj: texture \"paint.png\" was not found beside the model / 0"));
        // The model's own name is the second place where materials are looked for.
        QFile::remove(path("square.mtl"));
        QCOMPARE(warned(),
                 QString("warning: square.obj: material file \"square.mtl\" was not found beside the model / 0"));
    }

    void hostileFileIsOneError()
    {
        const QDir hostile(QFINDTESTDATA("models/hostile"));
        QCOMPARE(hostile.entryList(QDir::Files).size(), 12);
        for (const QString &name : hostile.entryList(QDir::Files)) {
            const QString file = hostile.filePath(name);
            const QString answer = run("file -i " + TestHost::quoted(file));
            QVERIFY2(answer.startsWith("failed: line 1: cannot import \"" + file + "\": "), qPrintable(answer));
            QVERIFY2(!answer.contains('\n') && answer.size() < file.size() + 420, qPrintable(answer));
            QVERIFY2(!answer.contains("come to an end"), qPrintable(answer));
            QVERIFY2(m_host->scene.objects().empty(), qPrintable(name));
        }
    }

    void longReadingIsGivenUp()
    {
        const QByteArray large(1 << 20, '\n');
        m_host->write("large.obj", large);
        // One millisecond is left once the allowance for the file's size is taken off.
        IsolatedReader::setPatience(1 - static_cast<int>(large.size() >> 8));
        QVERIFY(m_host->import("large.obj").contains("does not come to an end"));
    }

    void referencesStayBesideTheModel()
    {
        for (const char *name : {"model/skin.png", "model/maps/wood.png", "secret.png"})
            m_host->write(name, "x");
        QCOMPARE(mkfifo(QFile::encodeName(path("model/pipe")).constData(), 0600), 0);
        const ModelFolder folder(path("model/cup.obj"), path("model/cup.obj"));
        for (const char *skin : {"skin.png", "C:\\art\\skin.png", "/art/skin.png", "../skin.png", "Skin.PNG"})
            QCOMPARE(folder.resolve(skin), path("model/skin.png"));
        for (const char *wood : {"maps/wood.png", "maps\\wood.png"})
            QCOMPARE(folder.resolve(wood), path("model/maps/wood.png"));
        for (const char *refused : {"../secret.png", "maps/../../secret.png", "maps", "pipe", ""})
            QCOMPARE(folder.resolve(refused), QString());
    }

    void commands()
    {
        const auto answer = [this](const QString &command) {
            init();
            run("source \"TAVRIN\"; while (`sceneInfo -q -objects` < 3) file -i \"FOLDER/box.obj\"; select box");
            return run(command);
        };
        playSteps(answer, R"(
select "box1"; select -q => box1
string $n[] = {"box1", "box2"}; select $n; ls -selection => box1 box2
select -add "box2"; $added = `select -q`; select -toggle "box" "box1"; "" + $added + ", " + `select -q` => box box2, box1 box2
select -all; select -q => box box1 box2
delete; $left = `ls`; delete "box1"; "" + $left + ", " + `ls` => box1 box2, box2
file -force -new; sceneInfo -q -boundingBox => nothing
"" + `fileTranslator -q -extension "COLLADA"` + `fileTranslator -q -writeSupport "FBX"` + `fileTranslator -q -writeSupport "3DS"` => dae10
fileTranslator -q -extension "Clay" => failed: line 1: unknown file translator "Clay"
Tavrin_GetImportTranslatorFromFileExtension("ZAE") + Tavrin_GetImportTranslatorFromFileExtension("") => COLLADA
file -i "/nowhere/x.obj" => failed: line 1: cannot import "/nowhere/x.obj": there is no such file
file -i "/tmp" => failed: line 1: cannot import "/tmp": it is not a file
file -i "a" -ea "b" => failed: line 1: file needs one of -i PATH, -ea PATH, -es PATH and -new
file -type "3DS" -ea "x" => failed: line 1: 3DS files are not written
file -new; file -type "OBJ" -ea "x" => failed: line 1: cannot export "x.obj": the scene is empty
file -type "STL" -ea "FOLDER/cup.STL" => FOLDER/cup.STL
file -type "OBJ" -ea "FOLDER/cup.fbx" => FOLDER/cup.fbx.obj
file -ea "FOLDER/cup.zae" => FOLDER/cup.zae.dae
file -force -type "FBX" -ea "FOLDER/.fbx"; file -new; file -i "FOLDER/.fbx"; sceneInfo -q -triangles => 36
file -type "OBJ" -ea "FOLDER/box" => failed: line 1: cannot export "FOLDER/box.obj": the file exists and -force is not given
select -clear; file -es "x.obj" => failed: line 1: cannot export "x.obj": nothing is selected
file -options "gloss=1" -i "x.obj" => failed: line 1: OBJ has no option "gloss"
file -options "scale" -i "x.obj" => failed: line 1: options are written key=value, not "scale"
fileOption Import OBJ -set "scale" 0 => failed: line 1: option "scale" is a number from 1e-06 to 1e+06, not "0"
fileOption ExportAll OBJ -set "upAxis" "W" => failed: line 1: option "upAxis" is one of Y, Z, not "W"
select "ghost" => failed: line 1: there is no object named "ghost"
)");
    }

private:
    QString run(const QString &command) { return m_host->run(command); }
    QString path(const QString &name) const { return m_host->path(name); }

    std::unique_ptr<TestHost> m_host;
};

void TestScene::imports()
{
    const auto imported = [this](const QString &step) {
        const QStringList parts = step.split('|');
        init();
        QFile::rename(path("box.obj"), path(parts[0]));
        const QString refused = parts[2].isEmpty() ? "" : run("fileOption \"Import\" \"OBJ\" -set " + parts[2]);
        const QString answer = m_host->import(parts[0], parts[1]);
        return answer == "FOLDER/" + parts[0] ? refused + m_host->measured() : answer;
    };
    playSteps(imported, R"(
polygons.obj||"triangulate" 0 => 0 6 8 0 0 0 1 2 3
separate points.obj||"joinVertices" false => 12 12 24 0 0 0 1 2 3
once.obj|-options "scale=10;triangulate=off"| => 0 6 8 0 0 0 10 20 30
over.obj|-options "scale=0.5"|"scale" 4 => 12 12 8 0 0 0 0.5 1 1.5
Täßchen 茶  "b' 100%1#".OBJ|| => 12 12 8 0 0 0 1 2 3
typed.txt|-type "OBJ"| => 12 12 8 0 0 0 1 2 3
first bytes decide|| => 12 12 8 0 0 0 1 2 3
)");
}

/// Everything runs where numbers have a decimal comma, in a locale that is made for this.
int main(int argc, char **argv)
{
    const QTemporaryDir locales;
    const bool made = useDecimalComma(locales.path());
    QCoreApplication application(argc, argv);
    if (!made || *std::localeconv()->decimal_point != ',')
        qFatal("localedef made no locale with a decimal comma");
    TestScene test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_scene.moc"
