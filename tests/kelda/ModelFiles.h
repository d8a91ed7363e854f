// kelda/ModelFiles.h
//
// Small model files that the host's tests write into their own folders.

#pragma once

#include <QByteArray>
#include <QColor>
#include <QDir>
#include <QFile>
#include <QImage>

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
inline QByteArray box(const QByteArray &head = QByteArray())
{
    return head + "o box\n"
                  "v 0 0 0\nv 1 0 0\nv 1 2 0\nv 0 2 0\nv 0 0 3\nv 1 0 3\nv 1 2 3\nv 0 2 3\n"
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

/// Left half \p left, right half \p right.
inline void writeImage(const QString &path, const QColor &left, const QColor &right)
{
    QImage image(8, 8, QImage::Format_RGB32);
    for (int x = 0; x < 8; ++x) {
        for (int y = 0; y < 8; ++y)
            image.setPixelColor(x, y, x < 4 ? left : right);
    }
    if (!image.save(path))
        qFatal("cannot write %s", qPrintable(path));
}

} // namespace ModelFiles
