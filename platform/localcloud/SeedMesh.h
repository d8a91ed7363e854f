// localcloud/SeedMesh.h
//
// Triangle meshes for the seeded folder: shapes made by formula, y up, about one unit in size.

#pragma once

#include <QPointF>
#include <QVector3D>

#include <array>
#include <utility>
#include <vector>

namespace localcloud {

/// Vertices and triangles. \a uvs is empty or has one entry for each vertex, (0, 0) at the lower left of the image.
struct SeedMesh
{
    std::vector<QVector3D> points;
    std::vector<QPointF> uvs;
    std::vector<std::array<int, 3>> triangles;

    /// Adds the triangles of \p other, moved by \p offset. Texture coordinates are kept when both have them.
    void append(const SeedMesh &other, const QVector3D &offset = {});

    /// One unit vector for each vertex, averaged over its triangles.
    std::vector<QVector3D> normals() const;
};

/// The least and the greatest of the coordinates of \p points, which are not empty.
std::pair<QVector3D, QVector3D> boundsOf(const std::vector<QVector3D> &points);

/// A box on the ground plane, 24 vertices, 12 triangles; every side shows the whole image.
SeedMesh boxMesh(const QVector3D &size);

/// \p profile holds (radius, height) pairs from bottom to top, revolved in \p steps steps. The image wraps around once.
SeedMesh latheMesh(const std::vector<QPointF> &profile, int steps);

SeedMesh torusMesh(float radius, float tube, int steps, int tubeSteps);
SeedMesh sphereMesh(float radius, int steps);

/// Hills over a grid of \p columns x \p rows squares, two triangles each.
SeedMesh terrainMesh(int columns, int rows);

SeedMesh tableMesh();
SeedMesh chairMesh();
SeedMesh barrelMesh();
SeedMesh mugMesh();
SeedMesh towerMesh();
SeedMesh stoolMesh();
SeedMesh vaseMesh();

} // namespace localcloud
