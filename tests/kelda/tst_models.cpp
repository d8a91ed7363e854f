// Model files on their way into the host and out of it: textures, joined points, and the messages about wrong files.

#include "kelda/TestHost.h"

#include <QBuffer>
#include <QPainter>

namespace {

QByteArray asPng(const QImage &image)
{
    QBuffer buffer;
    image.save(&buffer, "PNG");
    return buffer.data();
}

/// A version 1 TGA file; \p type 2 is uncompressed, 10 is run-length encoded.
QByteArray tgaFile(char type, quint16 width, quint16 height, const QByteArray &pixels)
{
    QByteArray file(12, '\0');
    file[2] = type;
    for (const quint16 side : {width, height})
        file.append(char(side & 0xFF)).append(char(side >> 8));
    return file + QByteArray("\x18\x20", 2) + pixels; // 24 bits, first row on top
}

/// An OBJ file with one triangle for each of \p materials.
QByteArray trianglesOf(const QStringList &materials)
{
    QByteArray text("mtllib many.mtl\nvt 0 0\n");
    for (const QString &material : materials)
        text += "o " + material.toUtf8() + "\nusemtl " + material.toUtf8() +
                "\nv 0 0 0\nv 1 0 0\nv 0 1 0\nf -3/1 -2/1 -1/1\n";
    return text;
}

template <typename... Numbers>
QByteArray packed(Numbers... numbers)
{
    QByteArray bytes;
    (bytes.append(reinterpret_cast<const char *>(&numbers), sizeof numbers), ...);
    return bytes;
}

QByteArray chunk(const char *name, const QByteArray &content)
{
    return name + packed(content.size()) + content;
}

/// A Blitz3D file with one triangle. Its animation has three frames and a key at the fourth.
QByteArray animatedTriangle()
{
    const QByteArray mesh = packed(-1) +
                            chunk("VRTS", packed(0, 0, 0) + packed(0.F, 0.F, 0.F, 1.F, 0.F, 0.F, 0.F, 1.F, 0.F)) +
                            chunk("TRIS", packed(-1, 0, 1, 2));
    return chunk("BB3D", packed(1) + chunk("NODE", QByteArray("n\0", 2) +
                                                       packed(0.F, 0.F, 0.F, 1.F, 1.F, 1.F, 1.F, 0.F, 0.F, 0.F) +
                                                       chunk("MESH", mesh) +
                                                       chunk("KEYS", packed(1, 0, 0.F, 0.F, 0.F, 4, 0.F, 0.F, 0.F)) +
                                                       chunk("ANIM", packed(0, 3, 25.F))));
}

/// An OpenGEX file with one triangle and a light that has no node in Assimp's scene.
const char kLitTriangle[] = R"(GeometryNode $node1 { Name {string {"n"}} ObjectRef {ref {$geometry1}} }
LightNode $node2 { Name {string {"lamp"}} ObjectRef {ref {$light1}} }
GeometryObject $geometry1 { Mesh (primitive = "triangles") {
    VertexArray (attrib = "position") { float[3] {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}} }
    IndexArray { unsigned_int32[3] {{0, 1, 2}} } } }
LightObject $light1 (type = "point") { Color (attrib = "light") {float[3] {{1, 1, 1}}} }
)";

/// A text PLY file.
QByteArray plyFile(const QByteArrayList &points, const QByteArrayList &faces)
{
    return "ply\nformat ascii 1.0\nelement vertex " + QByteArray::number(points.size()) +
           "\nproperty float x\nproperty float y\nproperty float z\nelement face " + QByteArray::number(faces.size()) +
           "\nproperty list uchar int vertex_indices\nend_header\n" + (points + faces).join('\n') + '\n';
}

/// Size and the colours of the first and the last pixel.
QString described(const QImage &image)
{
    if (image.isNull())
        return "no image";
    return QString("%1x%2 ").arg(image.width()).arg(image.height()) + image.pixelColor(0, 0).name() + ' ' +
           image.pixelColor(image.width() - 1, image.height() - 1).name();
}

} // namespace

class TestModels : public QObject
{
    Q_OBJECT

private slots:
    void init() { m_host = std::make_unique<TestHost>(KGlobal::kBatch); }

    /// The images have the same file name and many sizes, because base64 pads each remainder of three differently.
    void embeddedTexturesComeBack()
    {
        QStringList names, expected;
        QByteArray materials;
        QSet<int> remainders;
        for (int width = 1; width <= 12; ++width) {
            QImage image(width, 3, QImage::Format_RGB32);
            image.fill(QColor(20 * width, 100, 0));
            QPainter(&image).drawLine(0, 0, width, 3);
            remainders.insert(asPng(image.convertToFormat(QImage::Format_ARGB32)).size() % 3);
            const QString folder = QString("f%1").arg(width);
            m_host->write(folder + "/skin.png", asPng(image));
            materials += QString("newmtl %1\nKd 1 1 1\nmap_Kd %1/skin.png\n").arg(folder).toUtf8();
            names.append(folder);
            expected.append(described(image));
        }
        QCOMPARE(remainders.size(), 3);
        m_host->write("many.mtl", materials);
        m_host->write("many.obj", trianglesOf(names));
        for (const QString extension : {"fbx", "gltf", "glb"}) {
            const QString file = "FOLDER/many." + extension;
            QCOMPARE(m_host->run("file -new; file -i \"FOLDER/many.obj\"; file -ea \"" + file + '"'), file);
            QCOMPARE(m_host->run("file -new; file -i \"" + file + '"'), file);
            QStringList textures;
            for (const SceneObject &object : m_host->scene.objects())
                textures.append(described(object.material->texture));
            QCOMPARE(textures, expected);
        }
    }

    void texturesBesideTheModelAreRead()
    {
        m_host->write("plain.tga", tgaFile(2, 2, 1, QByteArray("\x00\x00\xFF\xFF\x00\x00", 6)));
        m_host->write("packed.tga", tgaFile(10, 4, 1, QByteArray("\x83\x00\xFF\x00", 4)));
        m_host->write("huge.tga", tgaFile(10, 65535, 65535, QByteArray("\x83\x00\xFF\x00", 4)));
        m_host->write("cut.tga", tgaFile(2, 2, 1, QByteArray()).left(15));
        m_host->write("text.png", "not an image\n");
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
        // Two triangles share two points. One of these has two texture coordinates, and -0 equals 0.
        m_host->write("seam.obj", "vt 0 0\nvt 1 1\nv 0 0 0\nv 1 0 0\nv 0 1 0\nf 1/1 2/1 3/1\n"
                                  "v 0 1 -0\nv 1 -0 0\nv 1 1 0\nf 4/2 5/1 6/1\n");
        m_host->write("unused point.ply", plyFile({"0 0 0", "1 0 0", "9 9 9", "0 1 0"}, {"3 0 1 3"}));
        m_host->write("empty solid.stl", "solid a\nendsolid a\nsolid b\nfacet normal 0 0 1\nouter loop\nvertex 0 0 0\n"
                                         "vertex 1 0 0\nvertex 0 1 0\nendloop\nendfacet\nendsolid b\n");
        m_host->write("key after the end.b3d", animatedTriangle());
        m_host->write("light without a node.ogex", kLitTriangle);
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

    void errorsSayWhatTheFileIs()
    {
        m_host->write("points.ply", plyFile({"0 0 0"}, {}));
        m_host->write("points without a name", plyFile({"0 0 0"}, {}));
        m_host->write("index.ply", plyFile({"0 0 0", "1 0 0", "0 1 0"}, {"3 0 1 2", "4 0 1 2 99999999"}));
        m_host->write("world.wrl", "#VRML V2.0 utf8\nShape { geometry Box {} }\n");
        m_host->write("packed.wrl",
                      QByteArray::fromHex("1f8b080000000000000353560ef3f551084fcd49ceb704001bb85b3c0d000000"));
        m_host->write("text.glb", "not a model\n");
        m_host->write("page.glb", "<!DOCTYPE html><html><body>Not found</body></html>");
        m_host->write("picture.obj", asPng(QImage(2, 2, QImage::Format_RGB32)));
        m_host->write("text.txt", "not a model\n");
        m_host->write("cut without a name", "glTF\x02");
        const auto reason = [this](const QString &file) { return m_host->import(file).section("\": ", 1); };
        playSteps(reason, R"(
points.ply => it has only points or lines, no surfaces
points without a name => it has only points or lines, no surfaces
index.ply => a polygon refers to a point that does not exist
world.wrl => its content is of the kind "VRML document", which the host does not read
packed.wrl => its content is of the kind "Gzip archive", which the host does not read
text.glb => it is not a glTF binary file
page.glb => it is not a glTF binary file; its content is of the kind "HTML document"
picture.obj => it has no surfaces; its content is of the kind "PNG image"
text.txt => neither its name nor its content shows the kind of file; rename it with the right extension
cut without a name => it is damaged
)");
    }

private:
    std::unique_ptr<TestHost> m_host;
};

QTEST_GUILESS_MAIN(TestModels)
#include "tst_models.moc"
