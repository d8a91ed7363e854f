#include <localcloud/ModelWriters.h>
#include <localcloud/SeedData.h>
#include <QDir>
#include <QFile>
#include <QFileInfo>

namespace localcloud {

namespace {

/// Writes files below one folder and remembers the first failure.
class Seeder
{
public:
    explicit Seeder(const QString &root) : m_root(root) { QDir().mkpath(root); }

    void makeFolder(const QString &name)
    {
        if (!QDir(m_root).mkpath(name))
            m_error = m_root + '/' + name + QStringLiteral(": the folder cannot be made");
    }

    void write(const QString &name, const QByteArray &bytes)
    {
        QFile file(m_root + '/' + name);
        if (!m_error.isEmpty())
            return;
        const bool made = file.open(QIODevice::WriteOnly | QIODevice::NewOnly);
        if (!made && file.exists())
            return;
        if (!made || file.write(bytes) != bytes.size() || !file.flush())
            m_error = file.fileName() + QStringLiteral(": ") + file.errorString();
    }

    const QString &error() const { return m_error; }

private:
    QString m_root;
    QString m_error;
};

SeedMesh barrel()
{
    return latheMesh({{0.0, 0.0}, {0.30, 0.0}, {0.36, 0.2}, {0.39, 0.45}, {0.36, 0.7}, {0.30, 0.9}, {0.0, 0.9}}, 32);
}

SeedMesh mug()
{
    return latheMesh({{0.0, 0.0}, {0.28, 0.0}, {0.30, 0.05}, {0.30, 0.6}, {0.26, 0.6}, {0.26, 0.06}, {0.0, 0.06}}, 36);
}

SeedMesh tower()
{
    SeedMesh mesh;
    mesh.append(boxMesh({0.5F, 1.2F, 0.5F}));
    mesh.append(boxMesh({0.6F, 0.1F, 0.6F}), {0, 1.2F, 0});
    mesh.append(latheMesh({{0.26, 0.0}, {0.28, 0.12}, {0.18, 0.3}, {0.05, 0.36}, {0.0, 0.5}}, 24), {0, 1.3F, 0});
    return mesh;
}

void writeModels(Seeder &seeder)
{
    seeder.write("Painted crate.glb", glbBytes(boxMesh({1, 1, 1}), "Painted crate", crateTexture(256)));
    seeder.write("Mug.obj", objBytes(mug(), "Mug"));
    seeder.write(QString::fromUtf8("Grüße aus München.obj"), objBytes(tower(), "Tower"));
    seeder.write(QString::fromUtf8("Модель.obj"), objBytes(sphereMesh(0.5F, 16), "Sphere"));
    seeder.write("Notes.txt", "Models for trying out the cloud browser. This file is none.\n");

    seeder.makeFolder("Models/Furniture/Stools");
    seeder.write("Models/Furniture/Table.obj", objBytes(tableMesh(), "Table"));
    seeder.write("Models/Furniture/Chair.obj", objBytes(chairMesh(), "Chair"));
    seeder.write("Models/Furniture/Stools/Round stool.ply",
                 plyBytes(latheMesh(
                     {{0.0, 0.0}, {0.2, 0.0}, {0.05, 0.05}, {0.05, 0.4}, {0.2, 0.4}, {0.2, 0.46}, {0.0, 0.46}}, 28)));
    seeder.makeFolder("Models/Shapes");
    seeder.write("Models/Shapes/Torus.stl", stlBytes(torusMesh(0.5F, 0.18F, 48, 20)));
    seeder.write("Models/Shapes/Sphere.ply", plyBytes(sphereMesh(0.5F, 20)));
    seeder.write("Models/Shapes/Cube.obj", objBytes(boxMesh({1, 1, 1}), "Cube"));

    seeder.makeFolder("Models/Textured");
    seeder.write("Models/Textured/Barrel.obj", objBytes(barrel(), "Barrel", "Barrel"));
    seeder.write("Models/Textured/Barrel.mtl", mtlBytes("Barrel", "Barrel.png"));
    seeder.write("Models/Textured/Barrel.png", barrelTexture(256));
    seeder.write("Models/Textured/Painted barrel.glb", glbBytes(barrel(), "Painted barrel", barrelTexture(256)));

    seeder.makeFolder("Odd names");
    for (const char *name : {"50% larger.obj", "Part #7.obj", "Is it?.obj", "a & b + c.obj", "Two.dots.obj"})
        seeder.write(QStringLiteral("Odd names/") + name, objBytes(boxMesh({1, 0.5F, 1}), "Part"));
    seeder.makeFolder("Empty folder");
}

void writeLargeData(Seeder &seeder)
{
    seeder.write("Large terrain.obj", objBytes(terrainMesh(400, 250), "Terrain"));
    seeder.makeFolder("Ten Thousand");
    const QByteArray wedge = "o Wedge\nv 0 0 0\nv 1 0 0\nv 0 1 0\nv 0 0 1\nf 1 3 2\nf 1 2 4\nf 1 4 3\nf 2 3 4\n";
    for (int i = 1; i <= 10000; ++i)
        seeder.write(QStringLiteral("Ten Thousand/Part %1.obj").arg(i, 5, 10, QLatin1Char('0')), wedge);
}

} // namespace

bool seedDropbox(const QString &folder, const QString &marker, SeedAmount amount, QString *error)
{
    Seeder seeder(folder);
    if (amount == SeedAmount::Nothing || QFileInfo::exists(marker))
        return true;
    writeModels(seeder);
    if (amount == SeedAmount::Everything)
        writeLargeData(seeder);
    Seeder(QFileInfo(marker).path()).write(QFileInfo(marker).fileName(), "The folder has been filled once.\n");
    if (error)
        *error = seeder.error();
    if (!seeder.error().isEmpty())
        QFile::remove(marker);
    return seeder.error().isEmpty();
}

} // namespace localcloud
