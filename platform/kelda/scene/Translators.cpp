#include "scene/Translators.h"

#include "scene/FileOptions.h"

#include <algorithm>

namespace {

Translator both(const char *name, const char *exportId, const char *extensions)
{
    return {QString::fromLatin1(name), exportId, QString::fromLatin1(extensions).split(QLatin1Char(' ')), true};
}

Translator readOnly(const char *name, const char *extensions)
{
    return both(name, "", extensions);
}

} // namespace

const std::vector<Translator> &Translators::all()
{
    // FBX is written as text: the binary files of the exporter cannot be read back.
    static const std::vector<Translator> table{
        both("OBJ", "obj", "obj"),
        both("FBX", "fbxa", "fbx"),
        both("glTF", "gltf2", "gltf"),
        both("glTF binary", "glb2", "glb"),
        both("COLLADA", "collada", "dae zae"),
        both("STL", "stlb", "stl"),
        both("PLY", "plyb", "ply"),
        readOnly("3DS", "3ds prj"),
        readOnly("3MF", "3mf"),
        readOnly("AC3D", "ac ac3d acc"),
        readOnly("AMF", "amf"),
        readOnly("ASE", "ase ask"),
        readOnly("Blender", "blend"),
        readOnly("BlitzBasic", "b3d"),
        readOnly("DirectX", "x"),
        readOnly("DXF", "dxf"),
        readOnly("id Tech", "md2 md3 mdc mdl md5mesh"),
        readOnly("IFC", "ifc ifczip"),
        readOnly("Inter-Quake", "iqm"),
        readOnly("Irrlicht", "irr irrmesh"),
        readOnly("LightWave", "lwo lxo lws"),
        readOnly("Milkshape", "ms3d"),
        readOnly("MMD", "pmx"),
        readOnly("Nendo", "ndo"),
        readOnly("NFF", "nff enff"),
        readOnly("OFF", "off"),
        readOnly("Ogre", "mesh"),
        readOnly("OpenGEX", "ogex"),
        readOnly("Quick3D", "q3o q3s"),
        readOnly("Raw triangles", "raw"),
        readOnly("Silo", "sib"),
        readOnly("Terragen", "ter"),
        readOnly("trueSpace", "cob scn"),
        readOnly("Unreal", "3d uc"),
        readOnly("Valve SMD", "smd vta"),
        readOnly("X3D", "x3d x3db"),
        readOnly("XGL", "xgl zgl"),
    };
    return table;
}

const Translator *Translators::find(const QString &name)
{
    const auto &table = all();
    const auto found =
        std::find_if(table.begin(), table.end(), [&](const Translator &entry) { return entry.name == name; });
    return found == table.end() ? nullptr : &*found;
}

const Translator &Translators::named(const QString &name)
{
    const Translator *translator = find(name);
    if (!translator)
        throw FileError(QStringLiteral("unknown file translator \"%1\"").arg(name));
    return *translator;
}

const Translator *Translators::forExtension(const QString &extension)
{
    const QString wanted = extension.toLower();
    const auto &table = all();
    const auto found = std::find_if(table.begin(), table.end(), [&](const Translator &entry) {
        return entry.reads && entry.extensions.contains(wanted);
    });
    return found == table.end() ? nullptr : &*found;
}
