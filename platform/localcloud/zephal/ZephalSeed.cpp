#include <localcloud/ModelWriters.h>
#include <localcloud/zephal/ZephalSeed.h>

namespace localcloud {

namespace {

void writeDocuments(Seeder &seeder)
{
    seeder.write("Read me.txt", "Documents for trying out the cloud browser. Export your own models into Work.\n");
    seeder.write("Garden vase.glb", glbBytes(vaseMesh(), "Garden vase", chequerTexture(256)));
    seeder.makeFolder("Work");

    seeder.makeFolder("Projects/Kitchen/Old drafts");
    seeder.write("Projects/Kitchen/Kitchen table.obj", objBytes(tableMesh(), "Kitchen table"));
    seeder.write("Projects/Kitchen/Bar stool.stl", stlBytes(stoolMesh()));
    seeder.write("Projects/Kitchen/Tea mug.ply", plyBytes(mugMesh()));
    seeder.makeFolder("Projects/Landscape");
    seeder.write("Projects/Landscape/Watchtower.glb", glbBytes(towerMesh(), "Watchtower", brickTexture(256)));

    seeder.makeFolder("Library/Textured");
    seeder.write("Library/Textured/Rain barrel.obj", objBytes(barrelMesh(), "Rain barrel", "Staves"));
    seeder.write("Library/Textured/Rain barrel.mtl", mtlBytes("Staves", "Staves.png"));
    seeder.write("Library/Textured/Staves.png", barrelTexture(256));
    seeder.write("Library/Lifebuoy.stl", stlBytes(torusMesh(0.5F, 0.15F, 40, 16)));
    seeder.write("Library/Globe.obj", objBytes(sphereMesh(0.5F, 24), "Globe"));

    seeder.makeFolder("Names that hurt/100% & more #1");
    for (const char *name :
         {"75% smaller #2.obj", "What? Why + how.obj", "it's \"quoted\".obj", "back\\slash.obj", "semi;colon=a,b.obj",
          "%41 is not A.obj", ".hidden.obj", "\303\204rger \342\200\223 \320\241\321\202\321\203\320\273.obj"})
        seeder.write(QStringLiteral("Names that hurt/") + QString::fromUtf8(name),
                     objBytes(boxMesh({1, 1, 0.5F}), "Part"));
}

} // namespace

bool seedZephal(const QString &folder, const QString &marker, SeedAmount amount, const QString &largeModel,
                QString *error)
{
    return seedOnce(folder, marker, amount, error, [&](Seeder &seeder) {
        writeDocuments(seeder);
        if (amount == SeedAmount::Everything && !seeder.link("Projects/Landscape/Hills.obj", largeModel))
            seeder.write("Projects/Landscape/Hills.obj", objBytes(terrainMesh(400, 250), "Hills"));
    });
}

} // namespace localcloud
