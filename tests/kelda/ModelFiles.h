// kelda/ModelFiles.h
//
// Small model files that the host's tests write into their own folders.

#pragma once

#include <QtGui>
#include <QtTest>

namespace ModelFiles {

inline QString write(const QString &path, const QByteArray &content)
{
    QDir().mkpath(QFileInfo(path).absolutePath());
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size())
        qFatal("cannot write %s", qPrintable(path));
    return path;
}

/// A box from (0,0,0) to (1,2,3) of six quadrangles that share eight points.
inline QByteArray box()
{
    return "o box\nv 0 0 0\nv 1 0 0\nv 1 2 0\nv 0 2 0\nv 0 0 3\nv 1 0 3\nv 1 2 3\nv 0 2 3\n"
           "f 1 4 3 2\nf 5 6 7 8\nf 1 2 6 5\nf 3 4 8 7\nf 1 5 8 4\nf 2 3 7 6\n";
}

/// A square of two triangles with normals along +z and texture coordinates, and the material file that names
/// \p texture.
inline QString writeTexturedSquare(const QString &folder, const QByteArray &texture)
{
    write(folder + "/square.mtl", "newmtl painted\nKd 1 1 1\nmap_Kd " + texture + "\n");
    return write(folder + "/square.obj", "mtllib square.mtl\nusemtl painted\no square\n"
                                         "v -1 -1 0\nv 1 -1 0\nv 1 1 0\nv -1 1 0\nvt 0 0\nvt 1 0\nvt 1 1\nvt 0 1\n"
                                         "vn 0 0 1\nf 1/1/1 2/2/1 3/3/1\nf 1/1/1 3/3/1 4/4/1\n");
}

/// One triangle, placed twice in red: once as it is under a name full of the file kinds' own punctuation, once at
/// (1,2,3), turned by 90 degrees about x and twice as large, under a name that ends with a backslash.
inline QByteArray placedTriangles()
{
    return R"({"asset":{"version":"2.0"},"scene":0,"scenes":[{"nodes":[0,1]}],"nodes":[
{"mesh":0,"name":"Tasse \"1\" <ä> 茶 & {x}; 'y' \\ / #%20"},
{"mesh":0,"name":"plain\\","translation":[1,2,3],"scale":[2,2,2],"rotation":[0.70710678,0,0,0.70710678]}],
"meshes":[{"primitives":[{"attributes":{"POSITION":0},"material":0}]}],"bufferViews":[{"buffer":0,"byteLength":36}],
"accessors":[{"bufferView":0,"componentType":5126,"count":3,"type":"VEC3"}],
"materials":[{"name":"red \"1\" <ä>;{}\\","pbrMetallicRoughness":{"baseColorFactor":[1,0,0,1]}}],"buffers":[{"byteLength":36,
"uri":"data:application/octet-stream;base64,AAAAAAAAAAAAAAAAAACAPwAAAAAAAAAAAAAAAAAAgD8AAAAA"}]})";
}

/// "paint.png": the left half red, the right half blue.
inline void writePaint(const QString &folder)
{
    QImage image(8, 8, QImage::Format_RGB32);
    for (int at = 0; at < 64; ++at)
        image.setPixelColor(at % 8, at / 8, at % 8 < 4 ? Qt::red : Qt::blue);
    if (!image.save(folder + "/paint.png"))
        qFatal("cannot write into %s", qPrintable(folder));
}

} // namespace ModelFiles
