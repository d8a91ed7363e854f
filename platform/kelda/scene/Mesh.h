// scene/Mesh.h
//
// The geometry of one scene object: corner data shared by polygonal faces.

#pragma once

#include <QVector2D>
#include <QVector3D>

#include <vector>

class QDataStream;

/// An axis-aligned box. Empty until a point is added.
struct Bounds
{
    QVector3D low;
    QVector3D high;
    bool empty = true;

    void add(const QVector3D &point);
    void add(const Bounds &other);
    QVector3D centre() const { return (low + high) / 2; }
    /// Length of the diagonal; 0 for an empty box.
    float size() const { return empty ? 0.0F : (high - low).length(); }
};

class Mesh
{
public:
    std::vector<QVector3D> positions;
    std::vector<QVector3D> normals; ///< empty, or as many as positions
    std::vector<QVector2D> uvs;     ///< empty, or as many as positions; v increases upwards

    /// \p corners are indices into positions, at least three of them.
    void addFace(const std::vector<quint32> &corners);
    int faceCount() const { return static_cast<int>(m_faceEnds.size()); }
    /// Number of faces with exactly three corners.
    int triangleCount() const { return m_triangles; }
    /// Returns the \p count corners of a face. Valid until the mesh changes.
    const quint32 *face(int index, int &count) const;
    const Bounds &bounds() const { return m_bounds; }
    /// Must be called after positions has changed.
    void updateBounds();

    /// Writes this machine's byte order, for another process.
    void save(QDataStream &stream) const;
    /// Sets the stream's status if data is missing.
    void load(QDataStream &stream);

private:
    std::vector<quint32> m_corners;
    std::vector<quint32> m_faceEnds;
    int m_triangles = 0;
    Bounds m_bounds;
};
