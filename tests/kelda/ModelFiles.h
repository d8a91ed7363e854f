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

/// A square of two triangles facing +z with texture coordinates, and the material file that names \p texture.
inline QString writeTexturedSquare(const QString &folder, const QByteArray &texture)
{
    write(folder + "/square.mtl", "newmtl painted\nKd 1 1 1\nmap_Kd " + texture + "\n");
    return write(folder + "/square.obj", "mtllib square.mtl\nusemtl painted\no square\n"
                                         "v -1 -1 0\nv 1 -1 0\nv 1 1 0\nv -1 1 0\nvt 0 0\nvt 1 0\nvt 1 1\nvt 0 1\n"
                                         "f 1/1 2/2 3/3\nf 1/1 3/3 4/4\n");
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
