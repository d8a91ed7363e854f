// localcloud/ModelWriters.h
//
// The file formats of the seeded models, as bytes.

#pragma once

#include <QByteArray>
#include <QColor>
#include <QImage>
#include <QString>

#include <localcloud/SeedMesh.h>

namespace localcloud {

/// Wavefront OBJ; with \p material it refers to "<material>.mtl" and the material of that name in it.
QByteArray objBytes(const SeedMesh &mesh, const QString &name, const QString &material = {});

/// The material library that goes with it: one material, textured with the image file \p texture.
QByteArray mtlBytes(const QString &material, const QString &texture);
/// The same in one colour.
QByteArray plainMtlBytes(const QString &material, const QColor &colour);

/// Binary STL.
QByteArray stlBytes(const SeedMesh &mesh);

/// PLY as text.
QByteArray plyBytes(const SeedMesh &mesh);

/// glTF 2 in its binary container, with normals, and with \p png as the base colour inside the file. The mesh needs
/// uvs.
QByteArray glbBytes(const SeedMesh &mesh, const QString &name, const QByteArray &png);

/// \p image as a PNG file.
QByteArray pngBytes(const QImage &image);

/// A PNG of \p size x \p size pixels: planks with a frame and a diagonal brace, in strong colours.
QByteArray crateTexture(int size);

/// A PNG of \p size x \p size pixels: staves with two metal hoops.
QByteArray barrelTexture(int size);

/// A PNG of \p size x \p size pixels: eight by eight squares in red and white.
QByteArray chequerTexture(int size);

/// A PNG of \p size x \p size pixels: eight courses of bricks.
QByteArray brickTexture(int size);

} // namespace localcloud
