#include <localcloud/dropbox/DropboxSeed.h>
#include <localcloud/ModelWriters.h>

namespace localcloud {

namespace {

void writeModels(Seeder &seeder)
{
    seeder.write("Painted crate.glb", glbBytes(boxMesh({1, 1, 1}), "Painted crate", crateTexture(256)));
    seeder.write("Mug.obj", objBytes(mugMesh(), "Mug"));
    seeder.write(QString::fromUtf8("Grüße aus München.obj"), objBytes(towerMesh(), "Tower"));
    seeder.write(QString::fromUtf8("Модель.obj"), objBytes(sphereMesh(0.5F, 16), "Sphere"));
    seeder.write("Notes.txt", "Models for trying out the cloud browser. This file is none.\n");

    seeder.makeFolder("Models/Furniture/Stools");
    seeder.write("Models/Furniture/Table.obj", objBytes(tableMesh(), "Table"));
    seeder.write("Models/Furniture/Chair.obj", objBytes(chairMesh(), "Chair"));
    seeder.write("Models/Furniture/Stools/Round stool.ply", plyBytes(stoolMesh()));
    seeder.makeFolder("Models/Shapes");
    seeder.write("Models/Shapes/Torus.stl", stlBytes(torusMesh(0.5F, 0.18F, 48, 20)));
    seeder.write("Models/Shapes/Sphere.ply", plyBytes(sphereMesh(0.5F, 20)));
    seeder.write("Models/Shapes/Cube.obj", objBytes(boxMesh({1, 1, 1}), "Cube"));

    seeder.makeFolder("Models/Textured");
    seeder.write("Models/Textured/Barrel.obj", objBytes(barrelMesh(), "Barrel", "Barrel"));
    seeder.write("Models/Textured/Barrel.mtl", mtlBytes("Barrel", "Barrel.png"));
    seeder.write("Models/Textured/Barrel.png", barrelTexture(256));
    seeder.write("Models/Textured/Painted barrel.glb", glbBytes(barrelMesh(), "Painted barrel", barrelTexture(256)));

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
    return seedOnce(folder, marker, amount, error, [amount](Seeder &seeder) {
        writeModels(seeder);
        if (amount == SeedAmount::Everything)
            writeLargeData(seeder);
    });
}

} // namespace localcloud
