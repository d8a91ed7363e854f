#include <algorithm>
#include <cmath>
#include <localcloud/SeedMesh.h>

namespace localcloud {

namespace {

constexpr float kTurn = 6.28318531F;

/// Joins a grid of (columns + 1) x (rows + 1) vertices, rows first, by two triangles in each square.
void joinGrid(SeedMesh &mesh, int columns, int rows)
{
    for (int row = 0; row < rows; ++row) {
        for (int column = 0; column < columns; ++column) {
            const int a = row * (columns + 1) + column;
            const int b = a + columns + 1;
            mesh.triangles.push_back({a, b, a + 1});
            mesh.triangles.push_back({a + 1, b, b + 1});
        }
    }
}

QVector3D onCircle(float fraction, float radius, float height)
{
    return {radius * std::cos(fraction * kTurn), height, -radius * std::sin(fraction * kTurn)};
}

/// Points on a circle for a profile, from \p start counter-clockwise over \p length; both in turns.
std::vector<QPointF> arc(const QPointF &centre, float radius, float start, float length, int steps)
{
    std::vector<QPointF> points;
    for (int i = 0; i <= steps; ++i) {
        const float angle = (start + length * static_cast<float>(i) / static_cast<float>(steps)) * kTurn;
        points.push_back(centre + static_cast<double>(radius) * QPointF(static_cast<double>(std::cos(angle)),
                                                                        static_cast<double>(std::sin(angle))));
    }
    return points;
}

} // namespace

void SeedMesh::append(const SeedMesh &other, const QVector3D &offset)
{
    const int first = static_cast<int>(points.size());
    if (uvs.size() == points.size())
        uvs.insert(uvs.end(), other.uvs.begin(), other.uvs.end());
    for (const QVector3D &point : other.points)
        points.push_back(point + offset);
    if (uvs.size() != points.size())
        uvs.clear();
    for (const auto &triangle : other.triangles)
        triangles.push_back({triangle[0] + first, triangle[1] + first, triangle[2] + first});
}

std::vector<QVector3D> SeedMesh::normals() const
{
    std::vector<QVector3D> sums(points.size());
    for (const auto &triangle : triangles) {
        const auto corner = [&](std::size_t i) { return points[static_cast<std::size_t>(triangle[i])]; };
        const QVector3D normal = QVector3D::crossProduct(corner(1) - corner(0), corner(2) - corner(0));
        for (const int index : triangle)
            sums[static_cast<std::size_t>(index)] += normal;
    }
    for (QVector3D &sum : sums)
        sum = sum.isNull() ? QVector3D(0, 1, 0) : sum.normalized();
    return sums;
}

std::pair<QVector3D, QVector3D> boundsOf(const std::vector<QVector3D> &points)
{
    QVector3D low = points.front();
    QVector3D high = low;
    for (const QVector3D &point : points) {
        for (int axis = 0; axis < 3; ++axis) {
            low[axis] = std::min(low[axis], point[axis]);
            high[axis] = std::max(high[axis], point[axis]);
        }
    }
    return {low, high};
}

SeedMesh boxMesh(const QVector3D &size)
{
    static const std::array<std::array<QVector3D, 3>, 6> sides{{
        // lower left corner, direction to the right, direction up, seen from outside; the cube from -1 to 1
        {{{-1, -1, 1}, {2, 0, 0}, {0, 2, 0}}},
        {{{1, -1, -1}, {-2, 0, 0}, {0, 2, 0}}},
        {{{1, -1, 1}, {0, 0, -2}, {0, 2, 0}}},
        {{{-1, -1, -1}, {0, 0, 2}, {0, 2, 0}}},
        {{{-1, 1, 1}, {2, 0, 0}, {0, 0, -2}}},
        {{{-1, -1, -1}, {2, 0, 0}, {0, 0, 2}}},
    }};
    SeedMesh mesh;
    for (const auto &side : sides) {
        const int first = static_cast<int>(mesh.points.size());
        for (const auto &[u, v] : {std::pair{0, 0}, {1, 0}, {1, 1}, {0, 1}}) {
            const QVector3D corner = side[0] + side[1] * static_cast<float>(u) + side[2] * static_cast<float>(v);
            mesh.points.push_back((corner + QVector3D(0, 1, 0)) * size / 2.0F);
            mesh.uvs.emplace_back(u, v);
        }
        mesh.triangles.push_back({first, first + 1, first + 2});
        mesh.triangles.push_back({first, first + 2, first + 3});
    }
    return mesh;
}

SeedMesh latheMesh(const std::vector<QPointF> &profile, int steps)
{
    SeedMesh mesh;
    const int rows = static_cast<int>(profile.size()) - 1;
    for (int column = 0; column <= steps; ++column) {
        const float u = static_cast<float>(column) / static_cast<float>(steps);
        for (int row = 0; row <= rows; ++row) {
            const QPointF &at = profile[static_cast<std::size_t>(row)];
            mesh.points.push_back(onCircle(u, static_cast<float>(at.x()), static_cast<float>(at.y())));
            mesh.uvs.emplace_back(static_cast<double>(u), static_cast<double>(row) / rows);
        }
    }
    joinGrid(mesh, rows, steps);
    return mesh;
}

SeedMesh torusMesh(float radius, float tube, int steps, int tubeSteps)
{
    const QPointF centre(static_cast<double>(radius), static_cast<double>(tube));
    return latheMesh(arc(centre, tube, 0, 1, tubeSteps), steps);
}

SeedMesh sphereMesh(float radius, int steps)
{
    return latheMesh(arc({0, static_cast<double>(radius)}, radius, -0.25F, 0.5F, steps), 2 * steps);
}

SeedMesh terrainMesh(int columns, int rows)
{
    SeedMesh mesh;
    mesh.points.reserve(static_cast<std::size_t>((columns + 1) * (rows + 1)));
    mesh.triangles.reserve(static_cast<std::size_t>(2 * columns * rows));
    for (int row = 0; row <= rows; ++row) {
        for (int column = 0; column <= columns; ++column) {
            const float x = 4.0F * static_cast<float>(column) / static_cast<float>(columns) - 2.0F;
            const float z = 4.0F * static_cast<float>(row) / static_cast<float>(rows) - 2.0F;
            const float height = 0.30F * std::sin(1.9F * x) * std::cos(2.3F * z) +
                                 0.12F * std::sin(5.0F * x + 3.0F * z) + 0.04F * std::cos(13.0F * x - 7.0F * z);
            mesh.points.emplace_back(x, height, z);
        }
    }
    joinGrid(mesh, columns, rows);
    return mesh;
}

SeedMesh tableMesh()
{
    SeedMesh mesh;
    mesh.append(boxMesh({1.6F, 0.06F, 0.9F}), {0, 0.72F, 0});
    for (const float x : {-0.7F, 0.7F}) {
        for (const float z : {-0.36F, 0.36F})
            mesh.append(boxMesh({0.07F, 0.72F, 0.07F}), {x, 0, z});
    }
    return mesh;
}

SeedMesh chairMesh()
{
    SeedMesh mesh;
    mesh.append(boxMesh({0.46F, 0.05F, 0.46F}), {0, 0.44F, 0});
    for (const float x : {-0.2F, 0.2F}) {
        for (const float z : {-0.2F, 0.2F})
            mesh.append(boxMesh({0.05F, 0.44F, 0.05F}), {x, 0, z});
        mesh.append(boxMesh({0.05F, 0.5F, 0.05F}), {x, 0.49F, -0.2F});
    }
    for (const float y : {0.62F, 0.78F, 0.92F})
        mesh.append(boxMesh({0.36F, 0.06F, 0.03F}), {0, y, -0.2F});
    return mesh;
}

SeedMesh barrelMesh()
{
    return latheMesh({{0.0, 0.0}, {0.30, 0.0}, {0.36, 0.2}, {0.39, 0.45}, {0.36, 0.7}, {0.30, 0.9}, {0.0, 0.9}}, 32);
}

SeedMesh mugMesh()
{
    return latheMesh({{0.0, 0.0}, {0.28, 0.0}, {0.30, 0.05}, {0.30, 0.6}, {0.26, 0.6}, {0.26, 0.06}, {0.0, 0.06}}, 36);
}

SeedMesh towerMesh()
{
    SeedMesh mesh;
    mesh.append(boxMesh({0.5F, 1.2F, 0.5F}));
    mesh.append(boxMesh({0.6F, 0.1F, 0.6F}), {0, 1.2F, 0});
    mesh.append(latheMesh({{0.26, 0.0}, {0.28, 0.12}, {0.18, 0.3}, {0.05, 0.36}, {0.0, 0.5}}, 24), {0, 1.3F, 0});
    return mesh;
}

SeedMesh stoolMesh()
{
    return latheMesh({{0.0, 0.0}, {0.2, 0.0}, {0.05, 0.05}, {0.05, 0.4}, {0.2, 0.4}, {0.2, 0.46}, {0.0, 0.46}}, 28);
}

SeedMesh vaseMesh()
{
    return latheMesh({{0.0, 0.0},
                      {0.16, 0.0},
                      {0.28, 0.2},
                      {0.30, 0.36},
                      {0.22, 0.58},
                      {0.12, 0.72},
                      {0.18, 0.86},
                      {0.15, 0.86},
                      {0.09, 0.72}},
                     30);
}

} // namespace localcloud
