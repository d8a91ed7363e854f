#include <QBuffer>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QtEndian>

#include <algorithm>
#include <localcloud/ModelWriters.h>

namespace localcloud {

namespace {

template <typename... Values>
void appendFormatted(QByteArray &bytes, const char *format, Values... values)
{
    bytes.append(QString::asprintf(format, values...).toLatin1()); // the same in every locale, unlike printf()
}

/// Appends a number of 32 bits in the byte order that all these formats share.
template <typename Number>
void appendNumber(QByteArray &bytes, Number value)
{
    char raw[sizeof value];
    qToLittleEndian(value, raw);
    bytes.append(raw, sizeof raw);
}

void appendVector(QByteArray &bytes, const QVector3D &value)
{
    appendNumber(bytes, value.x());
    appendNumber(bytes, value.y());
    appendNumber(bytes, value.z());
}

QRgb shaded(QRgb colour, double factor)
{
    const auto channel = [&](int value) { return std::clamp(static_cast<int>(value * factor), 0, 255); };
    return qRgb(channel(qRed(colour)), channel(qGreen(colour)), channel(qBlue(colour)));
}

/// A repeatable grain between 0.92 and 1.08 for a pixel of plank number \p plank.
double grain(int plank, int along, int across)
{
    const unsigned int mixed =
        static_cast<unsigned int>(plank * 7919 + (along / 12) * 104729 + across * 31) * 2654435761U;
    return 0.92 + static_cast<double>(mixed >> 24) / 255.0 * 0.16;
}

/// A square PNG of \p size pixels with the colours that \p colourAt gives for x and y.
template <typename ColourAt>
QByteArray textureOf(int size, ColourAt colourAt)
{
    QImage image(size, size, QImage::Format_RGB32);
    for (int y = 0; y < size; ++y) {
        for (int x = 0; x < size; ++x)
            image.setPixel(x, y, colourAt(x, y));
    }
    return pngBytes(image);
}

/// The binary part of a glTF file and the views into it.
class GlbBuffer
{
public:
    /// Adds \p bytes and returns the index of their view. \p target is glTF's buffer target, 0 for none.
    int addView(const QByteArray &bytes, int target)
    {
        QJsonObject view{{"buffer", 0}, {"byteOffset", m_bytes.size()}, {"byteLength", bytes.size()}};
        if (target != 0)
            view.insert("target", target);
        m_views.append(view);
        m_bytes += bytes;
        m_bytes.append((4 - m_bytes.size() % 4) % 4, '\0');
        return m_views.size() - 1;
    }
    const QByteArray &bytes() const { return m_bytes; }
    const QJsonArray &views() const { return m_views; }

private:
    QByteArray m_bytes;
    QJsonArray m_views;
};

constexpr int kVertexTarget = 34962;
constexpr int kIndexTarget = 34963;
constexpr int kFloatComponent = 5126;
constexpr int kUIntComponent = 5125;

QJsonObject accessor(int view, int component, std::size_t count, const char *type)
{
    return {{"bufferView", view}, {"componentType", component}, {"count", static_cast<int>(count)}, {"type", type}};
}

QJsonObject positionAccessor(const SeedMesh &mesh, int view)
{
    const auto [low, high] = boundsOf(mesh.points);
    const auto array = [](const QVector3D &v) {
        return QJsonArray{static_cast<double>(v.x()), static_cast<double>(v.y()), static_cast<double>(v.z())};
    };
    QJsonObject object = accessor(view, kFloatComponent, mesh.points.size(), "VEC3");
    object.insert("min", array(low));
    object.insert("max", array(high));
    return object;
}

/// Adds the mesh's four arrays to \p buffer; returns their accessors: positions, normals, texture coordinates, indices.
QJsonArray addMesh(const SeedMesh &mesh, GlbBuffer &buffer)
{
    QByteArray points;
    QByteArray normals;
    QByteArray uvs;
    QByteArray indices;
    for (const QVector3D &point : mesh.points)
        appendVector(points, point);
    for (const QVector3D &normal : mesh.normals())
        appendVector(normals, normal);
    for (const QPointF &uv : mesh.uvs) { // glTF counts from the upper edge of the image
        appendNumber(uvs, static_cast<float>(uv.x()));
        appendNumber(uvs, 1.0F - static_cast<float>(uv.y()));
    }
    for (const auto &triangle : mesh.triangles) {
        for (const int index : triangle)
            appendNumber(indices, static_cast<quint32>(index));
    }
    return {positionAccessor(mesh, buffer.addView(points, kVertexTarget)),
            accessor(buffer.addView(normals, kVertexTarget), kFloatComponent, mesh.points.size(), "VEC3"),
            accessor(buffer.addView(uvs, kVertexTarget), kFloatComponent, mesh.uvs.size(), "VEC2"),
            accessor(buffer.addView(indices, kIndexTarget), kUIntComponent, 3 * mesh.triangles.size(), "SCALAR")};
}

} // namespace

QByteArray objBytes(const SeedMesh &mesh, const QString &name, const QString &material)
{
    QByteArray bytes;
    bytes.reserve(static_cast<int>(mesh.points.size() * 64 + mesh.triangles.size() * 40));
    if (!material.isEmpty())
        bytes += "mtllib " + material.toUtf8() + ".mtl\n";
    bytes += "o " + name.toUtf8() + '\n';
    for (const QVector3D &p : mesh.points)
        appendFormatted(bytes, "v %.5f %.5f %.5f\n", static_cast<double>(p.x()), static_cast<double>(p.y()),
                        static_cast<double>(p.z()));
    for (const QPointF &uv : mesh.uvs)
        appendFormatted(bytes, "vt %.5f %.5f\n", uv.x(), uv.y());
    if (!material.isEmpty())
        bytes += "usemtl " + material.toUtf8() + '\n';
    for (const auto &t : mesh.triangles) {
        if (mesh.uvs.empty())
            appendFormatted(bytes, "f %d %d %d\n", t[0] + 1, t[1] + 1, t[2] + 1);
        else
            appendFormatted(bytes, "f %d/%d %d/%d %d/%d\n", t[0] + 1, t[0] + 1, t[1] + 1, t[1] + 1, t[2] + 1, t[2] + 1);
    }
    return bytes;
}

QByteArray mtlBytes(const QString &material, const QString &texture)
{
    return "newmtl " + material.toUtf8() + "\nKa 0.1 0.1 0.1\nKd 1.0 1.0 1.0\nKs 0.1 0.1 0.1\nNs 12\nillum 2\nmap_Kd " +
           texture.toUtf8() + '\n';
}

QByteArray plainMtlBytes(const QString &material, const QColor &colour)
{
    QByteArray bytes = "newmtl " + material.toUtf8() + '\n';
    appendFormatted(bytes, "Ka 0.1 0.1 0.1\nKd %.3f %.3f %.3f\nKs 0.1 0.1 0.1\nNs 12\nillum 2\n", colour.redF(),
                    colour.greenF(), colour.blueF());
    return bytes;
}

QByteArray stlBytes(const SeedMesh &mesh)
{
    QByteArray bytes = QByteArray("binary STL").leftJustified(80, ' ');
    appendNumber(bytes, static_cast<quint32>(mesh.triangles.size()));
    for (const auto &triangle : mesh.triangles) {
        const auto corner = [&](std::size_t i) { return mesh.points[static_cast<std::size_t>(triangle[i])]; };
        appendVector(bytes, QVector3D::normal(corner(0), corner(1), corner(2)));
        for (std::size_t i = 0; i < 3; ++i)
            appendVector(bytes, corner(i));
        bytes.append(2, '\0');
    }
    return bytes;
}

QByteArray plyBytes(const SeedMesh &mesh)
{
    QByteArray bytes = "ply\nformat ascii 1.0\nelement vertex " +
                       QByteArray::number(static_cast<int>(mesh.points.size())) +
                       "\nproperty float x\nproperty float y\nproperty float z\nelement face " +
                       QByteArray::number(static_cast<int>(mesh.triangles.size())) +
                       "\nproperty list uchar int vertex_indices\nend_header\n";
    for (const QVector3D &p : mesh.points)
        appendFormatted(bytes, "%.5f %.5f %.5f\n", static_cast<double>(p.x()), static_cast<double>(p.y()),
                        static_cast<double>(p.z()));
    for (const auto &t : mesh.triangles)
        appendFormatted(bytes, "3 %d %d %d\n", t[0], t[1], t[2]);
    return bytes;
}

QByteArray glbBytes(const SeedMesh &mesh, const QString &name, const QByteArray &png)
{
    GlbBuffer buffer;
    const QJsonArray accessors = addMesh(mesh, buffer);
    const int image = buffer.addView(png, 0);
    const QJsonObject attributes{{"POSITION", 0}, {"NORMAL", 1}, {"TEXCOORD_0", 2}};
    const QJsonObject primitive{{"attributes", attributes}, {"indices", 3}, {"material", 0}, {"mode", 4}};
    const QJsonObject surface{
        {"baseColorTexture", QJsonObject{{"index", 0}}}, {"metallicFactor", 0}, {"roughnessFactor", 0.8}};
    const QJsonObject document{
        {"asset", QJsonObject{{"version", "2.0"}, {"generator", "localcloud"}}},
        {"scene", 0},
        {"scenes", QJsonArray{QJsonObject{{"nodes", QJsonArray{0}}}}},
        {"nodes", QJsonArray{QJsonObject{{"mesh", 0}, {"name", name}}}},
        {"meshes", QJsonArray{QJsonObject{{"name", name}, {"primitives", QJsonArray{primitive}}}}},
        {"materials", QJsonArray{QJsonObject{{"name", name}, {"pbrMetallicRoughness", surface}}}},
        {"textures", QJsonArray{QJsonObject{{"source", 0}, {"sampler", 0}}}},
        {"samplers", QJsonArray{QJsonObject{{"magFilter", 9729}, {"minFilter", 9729}}}},
        {"images", QJsonArray{QJsonObject{{"bufferView", image}, {"mimeType", "image/png"}, {"name", name}}}},
        {"accessors", accessors},
        {"bufferViews", buffer.views()},
        {"buffers", QJsonArray{QJsonObject{{"byteLength", buffer.bytes().size()}}}},
    };
    QByteArray json = QJsonDocument(document).toJson(QJsonDocument::Compact);
    json.append((4 - json.size() % 4) % 4, ' ');

    QByteArray bytes = "glTF";
    appendNumber(bytes, quint32(2));
    appendNumber(bytes, static_cast<quint32>(12 + 8 + json.size() + 8 + buffer.bytes().size()));
    appendNumber(bytes, static_cast<quint32>(json.size()));
    bytes += "JSON" + json;
    appendNumber(bytes, static_cast<quint32>(buffer.bytes().size()));
    bytes += QByteArray("BIN\0", 4) + buffer.bytes();
    return bytes;
}

QByteArray pngBytes(const QImage &image)
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, "PNG");
    return bytes;
}

QByteArray crateTexture(int size)
{
    const int border = size / 9;
    return textureOf(size, [=](int x, int y) {
        const bool frame = x < border || y < border || x >= size - border || y >= size - border;
        const bool brace = !frame && std::abs(x - (size - 1 - y)) < border;
        const int plank = x * 6 / size;
        const bool gap = !frame && !brace && x % (size / 6) < 2;
        QRgb colour = frame ? qRgb(38, 92, 140) : brace ? qRgb(226, 148, 40) : qRgb(222, 200, 160);
        colour = shaded(colour, gap ? 0.45 : grain(plank, y, x));
        const bool edge = x < 2 || y < 2 || x >= size - 2 || y >= size - 2 || (!frame && (x == border || y == border));
        return edge ? shaded(colour, 0.5) : colour;
    });
}

QByteArray barrelTexture(int size)
{
    const int stave = size / 16;
    return textureOf(size, [=](int x, int y) {
        const int fromEnd = std::min(y, size - 1 - y);
        const bool hoop = fromEnd > size / 6 && fromEnd < size / 4;
        const QRgb wood = x / stave % 2 == 0 ? qRgb(150, 92, 46) : qRgb(190, 124, 62);
        const double factor = !hoop && x % stave < 2 ? 0.4 : grain(x / stave, y, x);
        return shaded(hoop ? qRgb(96, 104, 112) : wood, factor);
    });
}

QByteArray chequerTexture(int size)
{
    return textureOf(size, [=](int x, int y) {
        return (x * 8 / size + y * 8 / size) % 2 == 0 ? qRgb(204, 44, 52) : qRgb(244, 240, 228);
    });
}

QByteArray brickTexture(int size)
{
    const int height = size / 8;
    const int width = size / 4;
    return textureOf(size, [=](int x, int y) {
        const int course = y / height;
        const int shifted = x + course % 2 * width / 2;
        const bool mortar = y % height < 3 || shifted % width < 3;
        const int brick = course * 5 + shifted % size / width;
        return shaded(mortar ? qRgb(206, 200, 190) : qRgb(168, 74, 50), grain(brick, x, y));
    });
}

} // namespace localcloud
