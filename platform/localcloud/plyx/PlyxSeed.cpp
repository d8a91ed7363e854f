#include <QDateTime>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QPair>
#include <QSet>

#include <algorithm>
#include <localcloud/ModelWriters.h>
#include <localcloud/plyx/PlyxSeed.h>
#include <localcloud/SeedPicture.h>

namespace localcloud {

namespace {

constexpr int kLumo = 27;
constexpr int kLumoMobile = 28;
constexpr int kTarn = 31;
constexpr int kGrell = 35;
constexpr int kOwn = 0;
constexpr int kModelType = 119;
constexpr int kPictureType = 7;

const QString kMaterial = QStringLiteral("model"); ///< of every OBJ, so that any surface goes with any shape

struct Shape
{
    const char *name;
    SeedMesh mesh;
};

/// A colour, or a texture when \a file is set.
struct Surface
{
    const char *name;
    QColor colour;
    QString file;
    QByteArray png;
};

QString fileName(const char *name)
{
    return QString::fromLatin1(name).toLower();
}

std::vector<Shape> makeShapes()
{
    return {{"Crate", boxMesh({1, 1, 1})},
            {"Barrel", barrelMesh()},
            {"Mug", mugMesh()},
            {"Tower", towerMesh()},
            {"Table", tableMesh()},
            {"Chair", chairMesh()},
            {"Stool", stoolMesh()},
            {"Vase", vaseMesh()},
            {"Ball", sphereMesh(0.5F, 16)},
            {"Ring", torusMesh(0.4F, 0.13F, 36, 16)}};
}

std::vector<Surface> makeSurfaces()
{
    return {{"Painted", {}, "planks.png", crateTexture(256)},
            {"Wooden", {}, "staves.png", barrelTexture(256)},
            {"Chequered", {}, "squares.png", chequerTexture(256)},
            {"Brick", {}, "bricks.png", brickTexture(256)},
            {"Red", QColor(196, 52, 48), {}, {}},
            {"Orange", QColor(230, 132, 40), {}, {}},
            {"Yellow", QColor(232, 196, 64), {}, {}},
            {"Green", QColor(84, 150, 72), {}, {}},
            {"Teal", QColor(42, 146, 140), {}, {}},
            {"Blue", QColor(58, 104, 184), {}, {}},
            {"Violet", QColor(122, 84, 164), {}, {}},
            {"Pink", QColor(220, 130, 160), {}, {}},
            {"White", QColor(232, 230, 222), {}, {}},
            {"Grey", QColor(120, 126, 132), {}, {}}};
}

/// Adds assets, each older than the one before, and the files that they name.
class CatalogueWriter
{
public:
    explicit CatalogueWriter(Seeder &seeder) : m_seeder(seeder), m_shapes(makeShapes()), m_surfaces(makeSurfaces()) {}

    void writeSharedFiles();
    /// An asset of the shape and surface of these numbers, under the name that they make unless \p name is given. The
    /// reference lives until the next call.
    QJsonObject &add(int id, int gallery, int shape, int surface, const QString &name = {});
    /// \p count assets, every one of another shape than the one before, under names that are new in their gallery.
    void addSeries(int firstId, int gallery, int count);
    void finish();

    /// What belongs to an asset that is no ordinary one.
    static QJsonObject file(int id, const QString &name, const QString &path)
    {
        return {{"id", id}, {"name", name}, {"file", path}};
    }

private:
    Seeder &m_seeder;
    std::vector<Shape> m_shapes;
    std::vector<Surface> m_surfaces;
    std::vector<QJsonObject> m_assets;
    QSet<QPair<int, QString>> m_names; ///< that are taken, with their gallery
    QDateTime m_published{QDate(2014, 6, 30), QTime(17, 45), Qt::UTC};
};

void CatalogueWriter::writeSharedFiles()
{
    m_seeder.makeFolder("files");
    for (const Shape &shape : m_shapes) {
        const QString base = "files/" + fileName(shape.name);
        m_seeder.write(base + ".obj", objBytes(shape.mesh, shape.name, kMaterial));
        m_seeder.write(base + ".stl", stlBytes(shape.mesh));
    }
    m_seeder.write("files/bare.obj", objBytes(m_shapes.back().mesh, "Ring"));
    for (const Surface &surface : m_surfaces) {
        const bool textured = !surface.file.isEmpty();
        m_seeder.write("files/" + fileName(surface.name) + ".mtl",
                       textured ? mtlBytes(kMaterial, surface.file) : plainMtlBytes(kMaterial, surface.colour));
        if (textured)
            m_seeder.write("files/" + surface.file, surface.png);
    }
}

QJsonObject &CatalogueWriter::add(int id, int gallery, int shape, int surface, const QString &name)
{
    static const char *const artists[] = {"Mara Lindqvist", "J. P. Okafor",   "Ann-Sofie \303\226berg",
                                          "tinyworks",      "Kenji Watanabe", "Polygon & Sons"};
    const Shape &form = m_shapes[static_cast<std::size_t>(shape)];
    const Surface &look = m_surfaces[static_cast<std::size_t>(surface)];
    const QString model = fileName(form.name);
    QJsonArray textures{file(id * 10 + 3, kMaterial + ".mtl", fileName(look.name) + ".mtl")};
    if (!look.file.isEmpty())
        textures.append(file(id * 10 + 4, look.file, look.file));
    const QString shown = name.isEmpty() ? QString::fromLatin1(look.name) + ' ' + fileName(form.name) : name;
    m_names.insert({gallery, shown});
    m_assets.push_back({{"id", id},
                        {"name", shown},
                        {"artist", gallery == kOwn ? "Robin Example" : QString::fromUtf8(artists[id % 6])},
                        {"published", m_published.toString("yyyy-MM-dd HH:mm:ss")},
                        {"gallery", gallery},
                        {"fileTypes", QJsonArray{kModelType}},
                        {"thumbnail", model + '-' + fileName(look.name) + ".png"},
                        {"formats", QJsonArray{file(id * 10 + 1, "STL ( .stl )", model + ".stl"),
                                               file(id * 10 + 2, "OBJ ( .obj )", model + ".obj")}},
                        {"textures", textures}});
    m_published = m_published.addSecs(-17 * 3600);
    return m_assets.back();
}

void CatalogueWriter::addSeries(int firstId, int gallery, int count)
{
    const int shapes = static_cast<int>(m_shapes.size());
    const int surfaces = static_cast<int>(m_surfaces.size());
    for (int i = 0; i < count; ++i) {
        const int shape = i % shapes;
        const int surface = (i + i / shapes) % surfaces;
        const QString plainName = QLatin1String(m_surfaces[static_cast<std::size_t>(surface)].name) + ' ' +
                                  fileName(m_shapes[static_cast<std::size_t>(shape)].name);
        QString name = plainName;
        for (const char *prefix : {"Old ", "Little ", "Garden "}) {
            if (!m_names.contains({gallery, name}))
                break;
            name = QLatin1String(prefix) + plainName.toLower();
        }
        add(firstId + i, gallery, shape, surface, name);
    }
}

void CatalogueWriter::finish()
{
    QJsonArray list;
    for (const QJsonObject &asset : m_assets)
        list.append(asset);
    m_seeder.write("catalogue.json", QJsonDocument(QJsonObject{{"assets", list}}).toJson());
}

/// The assets that a demonstration starts with, the newest of their galleries.
void addFeatured(CatalogueWriter &writer)
{
    writer.add(101, kLumo, 0, 0);
    writer.add(102, kLumo, 1, 1);
    writer.add(103, kLumoMobile, 8, 2);
    writer.add(104, kTarn, 3, 3);
    writer.add(105, kGrell, 7, 2);
    QJsonObject &bare = writer.add(106, kGrell, 9, 13, "Bare ring");
    bare["textures"] = QJsonArray();
    bare["formats"] = QJsonArray{CatalogueWriter::file(1062, "OBJ ( .obj )", "bare.obj")};
}

/// Names and contents that a careless client stumbles over.
void addOdd(CatalogueWriter &writer)
{
    writer.add(111, kTarn, 0, 4, "Nuts & \"bolts\" <b>bold</b> <img src=x>");
    writer.add(112, kTarn, 1, 5,
               QString::fromUtf8("Gr\303\274\303\237e aus M\303\274nchen \342\200\223 "
                                 "\320\234\320\276\320\264\320\265\320\273\321\214"));
    writer.add(113, kTarn, 2, 6, QStringLiteral("A very long name, ").repeated(20) + "indeed");
    writer.add(114, kTarn, 8, 7, "../../100% #1 a+b?c=d\\e");
    QJsonObject &other = writer.add(115, kTarn, 3, 9, "Tower without an OBJ file");
    other["formats"] = QJsonArray{CatalogueWriter::file(1151, "STL ( .stl )", "tower.stl"),
                                  CatalogueWriter::file(1152, "OBJ (.obj)", "tower.obj")};
    writer.add(116, kTarn, 4, 10, "Table for sale")["free"] = false;
    writer.add(117, kTarn, 5, 11, "Picture of a chair")["fileTypes"] = QJsonArray{kPictureType};
}

/// What wraps around a mesh: the texture, or one pixel of the colour.
QImage imageOf(const Surface &surface)
{
    if (!surface.png.isEmpty())
        return QImage::fromData(surface.png);
    QImage image(1, 1, QImage::Format_RGB32);
    image.fill(surface.colour);
    return image;
}

} // namespace

QByteArray seedThumbnail(const QString &name)
{
    const std::vector<Shape> shapes = makeShapes();
    const std::vector<Surface> surfaces = makeSurfaces();
    const auto named = [](const QString &wanted) {
        return [wanted](const auto &entry) { return fileName(entry.name) == wanted; };
    };
    const QStringList words = QFileInfo(name).completeBaseName().split('-');
    const auto shape = std::find_if(shapes.begin(), shapes.end(), named(words.first()));
    const auto surface = std::find_if(surfaces.begin(), surfaces.end(), named(words.last()));
    if (shape == shapes.end() || surface == surfaces.end())
        return {};
    return pictureBytes(shape->mesh, imageOf(*surface), 96);
}

bool seedPlyx(const QString &folder, const QString &marker, SeedAmount amount, QString *error)
{
    return seedOnce(folder, marker, amount, error, [](Seeder &seeder) {
        CatalogueWriter writer(seeder);
        writer.writeSharedFiles();
        addFeatured(writer);
        writer.add(201, kOwn, 0, 3, "My crate");
        writer.add(202, kOwn, 6, 1, "My stool");
        writer.addSeries(211, kOwn, 4);
        addOdd(writer);
        writer.addSeries(1001, kLumo, 218);
        writer.addSeries(2001, kLumoMobile, 39);
        writer.addSeries(3001, kTarn, 18);
        writer.addSeries(4001, kGrell, 10);
        writer.finish();
    });
}

} // namespace localcloud
