// Import, export, the reasons why a file is refused, and the scene commands, through the host's command language and
// without a window.

#include "kelda/TestHost.h"
#include "scene/IsolatedReader.h"
#include "scene/ModelFolder.h"

#include <clocale>
#include <csignal>
#include <sys/resource.h>

class TestScene : public QObject
{
    Q_OBJECT

private slots:
    void init() { m_host = std::make_unique<TestHost>(); }
    void cleanup() { IsolatedReader::setTimeout(IsolatedReader::kDefaultTimeoutMs); }

    /// "file|flags": triangles, vertices, bounding box.
    void fileIsReadByItsExtensionItsTypeOrItsContent()
    {
        const auto imported = [this](const QString &step) {
            const QString name = step.section('|', 0, 0);
            init();
            QFile::rename(path("box.obj"), path(name));
            const QString result = m_host->import(name, step.section('|', 1));
            return result == "FOLDER/" + name ? m_host->measured() : result;
        };
        playSteps(imported, R"(
Täßchen 茶  "b" 100%1#.OBJ| => 12 8 0 0 0 1 2 3
typed.txt|-type "OBJ" => 12 8 0 0 0 1 2 3
first bytes decide| => 12 8 0 0 0 1 2 3
seam.obj| => 2 5 0 0 0 1 1 0
unused point.ply| => 1 3 0 0 0 1 1 0
light without a node.ogex| => 1 3 0 0 0 1 1 0
)");
    }

    void texturesBesideTheModelAreReadUnlessUnusable()
    {
        QCOMPARE(m_host->import("textures.obj"),
                 QString("warning: textures.obj: texture \"huge.tga\" cannot be read as an image / "
                         "warning: textures.obj: texture \"text.png\" cannot be read as an image / "
                         "FOLDER/textures.obj"));
        QCOMPARE(run("sceneInfo -q -textures"), QString("1"));
    }

    void refusedFilesAreNamedWithTheReason()
    {
        playSteps([this](const QString &file) { return reasonOf(file); }, R"(
buffer outside its folder.gltf => GLTF: could not open referenced file "../points.bin"
cut off.fbx => FBX-Tokenize (offset 0x1f) block offset is out of range
index out of range.obj => OBJ: vertex index out of range
loops.gltf => GLTF: Object at index 0 in array "nodes" has recursive reference to itself
no kind at all.bin => neither its name nor its content shows the kind of file; rename it with the right extension
not a number.obj => it has invalid coordinates or coordinates out of range
packed.wrl => its content is of the kind "Gzip archive", which the host does not read
points only.obj => it has only points or lines, no surfaces
)");
        // The reasons depend on the memory of the machine.
        for (const char *file : {"four thousand million faces.stl", "four thousand million points.ply"}) {
            const QString reason = reasonOf(file);
            QVERIFY2(!reason.isEmpty(), file);
            QVERIFY2(!reason.contains("takes too long"), file);
        }
    }

    /// "translator|flag": extension, triangles, objects, textures, bounding box, warnings.
    void exportsComeBack()
    {
        const auto outcome = [this](const QString &step) {
            init();
            for (const char *model : {"placed.gltf", "box.obj", "square.obj"})
                m_host->import(model);
            const QString target = quotedArgument(path("it's \"5\" \\ 茶%1;$"));
            QStringList messages = run("select \"square\" \"box\"; file -force -options \"\" -type \"" +
                                       step.section('|', 0, 0) + "\" -pr " + step.section('|', 1) + ' ' + target)
                                       .split(" / ");
            const QString file = messages.takeLast().remove("FOLDER/");
            run("file -new");
            m_host->import(file);
            QStringList result{QFileInfo(file).suffix()};
            for (const char *what : {"triangles", "objects", "textures", "boundingBox"})
                result << run(QString("sceneInfo -q -") + what);
            for (const QString &warning : messages)
                result << warning.section(": ", 2);
            return result.join(", ");
        };
        playSteps(outcome, R"(
OBJ|-ea => obj, 16, 4, 0, -1 -1 0 3 2 5, colours and textures are left out, the exported OBJ file contains only shapes
FBX|-ea => fbx, 16, 4, 1, -1 -1 0 3 2 5
glTF binary|-ea => glb, 16, 4, 1, -1 -1 0 3 2 5
COLLADA|-ea => dae, 16, 4, 1, -1 -1 0 3 2 5, textures are left out, their names replace the colours of the materials: paint.png
OBJ|-es => obj, 14, 2, 0, -1 -1 0 1 2 3, colours and textures are left out, the exported OBJ file contains only shapes
)");
    }

    void failedExportLeavesNothing()
    {
        m_host->import("box.obj");
        m_host->write("old.obj", "as it was");
        const auto everything = [this] {
            return QDir(m_host->folder.path()).entryList(QDir::AllEntries | QDir::Hidden | QDir::System);
        };
        const QStringList before = everything();
        const auto outcome = [this](const QString &target) {
            // A limit on the size of files acts like a full disk.
            rlimit limit{};
            getrlimit(RLIMIT_FSIZE, &limit);
            const rlimit small{100, limit.rlim_max};
            setrlimit(RLIMIT_FSIZE, &small);
            const QString message = run("file -force -type \"OBJ\" -ea \"FOLDER/" + target + '"');
            setrlimit(RLIMIT_FSIZE, &limit);
            return message.section("cannot export \"FOLDER/" + target + ".obj\": ", -1);
        };
        std::signal(SIGXFSZ, SIG_IGN);
        playSteps(outcome, R"(
none/box => the folder does not exist
old => File too large
)");
        QCOMPARE(everything(), before);
        QCOMPARE(readFile(path("old.obj")), QByteArray("as it was"));
    }

    void readingTimesOut()
    {
        const QByteArray large(1 << 20, '\n');
        m_host->write("large.obj", large);
        // Leaves one millisecond after the allowance for the file's size.
        IsolatedReader::setTimeout(1 - static_cast<int>(large.size() >> 8));
        QCOMPARE(m_host->import("large.obj"),
                 QString("failed: line 1: cannot import \"FOLDER/large.obj\": reading takes "
                         "too long, the file is probably damaged"));
    }

    void referencesStayInTheFolderOfTheModel()
    {
        for (const char *name : {"model/skin.png", "model/maps/wood.png", "secret.png"})
            m_host->write(name, "x");
        const ModelFolder folder(path("model/cup.obj"), path("model/cup.obj"));
        const auto found = [&](const QString &reference) { return folder.resolve(reference).remove(path("model/")); };
        playSteps(found, R"(
skin.png => skin.png
C:\art\skin.png => skin.png
Skin.PNG => skin.png
maps\wood.png => maps/wood.png
maps/../../secret.png => nothing
maps => nothing
)");
    }

private:
    QString run(const QString &command) { return m_host->run(command); }
    /// The reason why a file of models/hostile/ cannot be imported; empty if it can.
    QString reasonOf(const QString &file)
    {
        const QString path = QFINDTESTDATA("models/hostile") + '/' + file;
        return m_host->run("file -i " + quotedArgument(path)).section("cannot import \"" + path + "\": ", 1);
    }
    QString path(const QString &name) const { return m_host->path(name); }

    std::unique_ptr<TestHost> m_host;
};

/// Runs all tests in a locale with a decimal comma.
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
