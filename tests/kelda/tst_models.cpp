// What model files keep on their way into the host and out of it: textures, and geometry beside faults of other parts.

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

/// A TGA file without the footer that its second version brought; \p type 2 is plain, 10 is run-length encoded.
QByteArray tgaFile(char type, quint16 width, quint16 height, const QByteArray &pixels)
{
    QByteArray file(12, '\0');
    file[2] = type;
    for (const quint16 side : {width, height})
        file.append(char(side & 0xFF)).append(char(side >> 8));
    return file + QByteArray("\x18\x20", 2) + pixels; // 24 bits, first row on top
}

/// The lines of an OBJ file: one triangle for each of \p materials.
QByteArray trianglesOf(const QStringList &materials)
{
    QByteArray text("mtllib many.mtl\nvt 0 0\n");
    for (const QString &material : materials)
        text += "o " + material.toUtf8() + "\nusemtl " + material.toUtf8() +
                "\nv 0 0 0\nv 1 0 0\nv 0 1 0\nf -3/1 -2/1 -1/1\n";
    return text;
}

} // namespace

class TestModels : public QObject
{
    Q_OBJECT

private slots:
    void init() { m_host = std::make_unique<TestHost>(KGlobal::kBatch); }

    /// Pictures of many sizes, all of one name.
    void texturesInsideComeBack()
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
            expected.append(describe(image));
        }
        QCOMPARE(remainders.size(), 3); // base64 pads differently for each
        m_host->write("many.mtl", materials);
        m_host->write("many.obj", trianglesOf(names));
        const QString import = "file -new; file -i \"FOLDER/many.%1\"";
        for (const QString extension : {"obj", "fbx", "gltf", "glb"}) {
            run(import.arg("obj"));
            if (extension != "obj")
                QCOMPARE(run("file -ea \"FOLDER/many." + extension + "\""), "FOLDER/many." + extension);
            QCOMPARE(run(import.arg(extension)), "FOLDER/many." + extension);
            QStringList textures;
            for (const SceneObject &object : m_host->scene.objects())
                textures.append(describe(object.material->texture));
            QCOMPARE(textures, expected);
        }
    }

    void texturesOfManyKindsAreRead()
    {
        m_host->write("plain.tga", tgaFile(2, 2, 1, QByteArray("\x00\x00\xFF\xFF\x00\x00", 6)));
        m_host->write("packed.tga", tgaFile(10, 4, 1, QByteArray("\x83\x00\xFF\x00", 4)));
        m_host->write("huge.tga", tgaFile(10, 65535, 65535, QByteArray("\x83\x00\xFF\x00", 4)));
        m_host->write("cut.tga", tgaFile(2, 2, 1, QByteArray()).left(15));
        QImage image(2, 1, QImage::Format_RGB32);
        image.fill(Qt::blue);
        QVERIFY(image.save(path("picture.tif")) && image.save(path("picture.webp"), nullptr, 100));
        const auto texture = [this](const QString &file) {
            m_host->write("many.mtl", "newmtl one\nmap_Kd " + file.toUtf8() + '\n');
            m_host->write("one.obj", trianglesOf({"one"}));
            const QStringList said = run("file -new; file -i \"FOLDER/one.obj\"").split(" / ");
            const QImage read = m_host->scene.objects().front().material->texture;
            return read.isNull() ? said.first() : describe(read);
        };
        playSteps(texture, R"(
plain.tga => 2x1 #ff0000 #0000ff
packed.tga => 4x1 #00ff00 #00ff00
picture.tif => 2x1 #0000ff #0000ff
picture.webp => 2x1 #0000ff #0000ff
huge.tga => warning: one.obj: texture "huge.tga" cannot be read as an image
cut.tga => warning: one.obj: texture "cut.tga" cannot be read as an image
)");
    }

private:
    QString run(const QString &command) { return m_host->run(command); }
    QString path(const QString &name) const { return m_host->path(name); }
    /// Its size and the colours of its first and last pixel.
    static QString describe(const QImage &image)
    {
        if (image.isNull())
            return "no image";
        return QString("%1x%2 ").arg(image.width()).arg(image.height()) + image.pixelColor(0, 0).name() + ' ' +
               image.pixelColor(image.width() - 1, image.height() - 1).name();
    }

    std::unique_ptr<TestHost> m_host;
};

QTEST_GUILESS_MAIN(TestModels)
#include "tst_models.moc"
