// Model files that the host reads: textures, joined points, and the reasons why a file is refused.

#include "kelda/TestHost.h"

#include <QPainter>

namespace {

/// An OBJ file with one triangle for each of \p materials.
QByteArray trianglesOf(const QStringList &materials)
{
    QByteArray text("mtllib many.mtl\nvt 0 0\n");
    for (const QString &material : materials)
        text += QString("o %1\nusemtl %1\nv 0 0 0\nv 1 0 0\nv 0 1 0\nf -3/1 -2/1 -1/1\n").arg(material).toUtf8();
    return text;
}

/// Size and the colours of the first and the last pixel.
QString described(const QImage &image)
{
    return QString("%1x%2 ").arg(image.width()).arg(image.height()) + image.pixelColor(0, 0).name() + ' ' +
           image.pixelColor(image.width() - 1, image.height() - 1).name();
}

} // namespace

class TestModels : public QObject
{
    Q_OBJECT

private slots:
    void init() { m_host = std::make_unique<TestHost>(KGlobal::kBatch); }

    void embeddedTexturesComeBack_data()
    {
        QTest::addColumn<QString>("extension");
        for (const char *extension : {"fbx", "gltf", "glb"})
            QTest::newRow(extension) << extension;
    }
    /// The images have the same file name and many sizes, because base64 pads each remainder of three differently.
    void embeddedTexturesComeBack()
    {
        QFETCH(QString, extension);
        QStringList folders, expected, textures;
        QByteArray materials;
        for (int width = 1; width <= 12; ++width) {
            const QString folder = QString("f%1").arg(width);
            folders << folder;
            QImage image(width, 3, QImage::Format_RGB32);
            image.fill(QColor(20 * width, 100, 0));
            QPainter(&image).drawLine(0, 0, width, 3);
            expected << described(image);
            QDir(m_host->folder.path()).mkdir(folder);
            QVERIFY(image.save(m_host->path(folder + "/skin.png")));
            materials += QString("newmtl %1\nKd 1 1 1\nmap_Kd %1/skin.png\n").arg(folder).toUtf8();
        }
        m_host->write("many.mtl", materials);
        m_host->write("many.obj", trianglesOf(folders));
        const QString file = "\"FOLDER/many." + extension + '"';
        m_host->run("file -i \"FOLDER/many.obj\"; file -ea " + file + "; file -new; file -i " + file);
        for (const SceneObject &object : m_host->scene.objects())
            textures << described(object.material->texture);
        QCOMPARE(textures, expected);
    }

    void texturesBesideTheModelAreRead()
    {
        QImage image(2, 1, QImage::Format_RGB32);
        image.fill(Qt::blue);
        for (const char *file : {"picture.tif", "picture.webp"})
            QVERIFY2(image.save(m_host->path(file), nullptr, 100), file);
        const auto texture = [this](const QString &file) {
            m_host->write("many.mtl", "newmtl one\nmap_Kd " + file.toUtf8() + '\n');
            m_host->write("one.obj", trianglesOf({"one"}));
            const QStringList messages = m_host->run("file -new; file -i \"FOLDER/one.obj\"").split(" / ");
            const QImage read = m_host->scene.objects().front().material->texture;
            return read.isNull() ? messages.first() : described(read);
        };
        playSteps(texture, R"(
plain.tga => 2x1 #ff0000 #0000ff
packed.tga => 4x1 #00ff00 #00ff00
picture.tif => 2x1 #0000ff #0000ff
picture.webp => 2x1 #0000ff #0000ff
huge.tga => warning: one.obj: texture "huge.tga" cannot be read as an image
cut.tga => warning: one.obj: texture "cut.tga" cannot be read as an image
text.png => warning: one.obj: texture "text.png" cannot be read as an image
)");
    }

    /// Triangles, vertices, bounding box.
    void geometryIsReadAndEqualPointsAreJoined()
    {
        const auto measured = [this](const QString &file) {
            m_host->run("file -new");
            m_host->import(file);
            return m_host->measured();
        };
        playSteps(measured, R"(
seam.obj => 2 5 0 0 0 1 1 0
unused point.ply => 1 3 0 0 0 1 1 0
empty solid.stl => 1 3 0 0 0 1 1 0
key after the end.b3d => 1 3 0 0 0 1 1 0
light without a node.ogex => 1 3 0 0 0 1 1 0
)");
    }

    void refusedFilesAreNamedWithTheReason()
    {
        playSteps([this](const QString &file) { return reasonOf(file); }, R"(
buffer outside its folder.gltf => GLTF: could not open referenced file "../points.bin"
cut off.fbx => FBX-Tokenize (offset 0x1f) block offset is out of range
cut off.glb => it is not a glTF binary file
cut without an extension => it is damaged
empty.obj => it is empty
index out of range.obj => OBJ: vertex index out of range
index out of range.ply => a polygon refers to a point that does not exist
loops.gltf => GLTF: Object at index 0 in array "nodes" has recursive reference to itself
no kind at all.bin => neither its name nor its content shows the kind of file; rename it with the right extension
not a number.obj => it has invalid coordinates or coordinates out of range
packed.wrl => its content is of the kind "Gzip archive", which the host does not read
page.glb => it is not a glTF binary file; its content is of the kind "HTML document"
picture.obj => it has no surfaces; its content is of the kind "PNG image"
points only.obj => it has only points or lines, no surfaces
points without an extension => it has only points or lines, no surfaces
text.txt => neither its name nor its content shows the kind of file; rename it with the right extension
world.wrl => its content is of the kind "VRML document", which the host does not read
xml without an end.dae => Unable to read file, malformed XML
)");
        // The reasons depend on the memory of the machine.
        for (const char *file : {"four thousand million faces.stl", "four thousand million points.ply"}) {
            const QString reason = reasonOf(file);
            QVERIFY2(!reason.isEmpty(), file);
            QVERIFY2(!reason.contains("takes too long"), file);
        }
    }

private:
    /// The reason why a file of models/hostile/ cannot be imported; empty if it can.
    QString reasonOf(const QString &file)
    {
        const QString path = QFINDTESTDATA("models/hostile") + '/' + file;
        return m_host->run("file -i " + quotedArgument(path)).section("cannot import \"" + path + "\": ", 1);
    }

    std::unique_ptr<TestHost> m_host;
};

QTEST_GUILESS_MAIN(TestModels)
#include "tst_models.moc"
