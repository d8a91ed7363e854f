#include "scene/Mesh.h"

#include <QDataStream>
#include <QIODevice>

#include <algorithm>

namespace {

template <typename T>
void saveRaw(QDataStream &stream, const std::vector<T> &values)
{
    stream << static_cast<quint32>(values.size());
    stream.writeRawData(reinterpret_cast<const char *>(values.data()), static_cast<int>(values.size() * sizeof(T)));
}

template <typename T>
void loadRaw(QDataStream &stream, std::vector<T> &values)
{
    quint32 count = 0;
    stream >> count;
    const qint64 size = qint64(count) * qint64(sizeof(T));
    if (size > stream.device()->bytesAvailable()) {
        stream.setStatus(QDataStream::ReadPastEnd);
        return;
    }
    values.resize(count);
    stream.readRawData(reinterpret_cast<char *>(values.data()), static_cast<int>(size));
}

} // namespace

void Bounds::add(const QVector3D &point)
{
    if (empty) {
        low = high = point;
        empty = false;
        return;
    }
    low = QVector3D(std::min(low.x(), point.x()), std::min(low.y(), point.y()), std::min(low.z(), point.z()));
    high = QVector3D(std::max(high.x(), point.x()), std::max(high.y(), point.y()), std::max(high.z(), point.z()));
}

void Bounds::add(const Bounds &other)
{
    if (other.empty)
        return;
    add(other.low);
    add(other.high);
}

void Mesh::addFace(const std::vector<quint32> &corners)
{
    m_corners.insert(m_corners.end(), corners.begin(), corners.end());
    m_faceEnds.push_back(static_cast<quint32>(m_corners.size()));
    if (corners.size() == 3)
        ++m_triangles;
}

const quint32 *Mesh::face(int index, int &count) const
{
    const auto at = static_cast<std::size_t>(index);
    const quint32 begin = at == 0 ? 0 : m_faceEnds[at - 1];
    count = static_cast<int>(m_faceEnds[at] - begin);
    return m_corners.data() + begin;
}

void Mesh::updateBounds()
{
    m_bounds = Bounds();
    for (const QVector3D &point : positions)
        m_bounds.add(point);
}

void Mesh::save(QDataStream &stream) const
{
    saveRaw(stream, positions);
    saveRaw(stream, normals);
    saveRaw(stream, uvs);
    saveRaw(stream, m_corners);
    saveRaw(stream, m_faceEnds);
    stream << m_triangles;
}

void Mesh::load(QDataStream &stream)
{
    loadRaw(stream, positions);
    loadRaw(stream, normals);
    loadRaw(stream, uvs);
    loadRaw(stream, m_corners);
    loadRaw(stream, m_faceEnds);
    stream >> m_triangles;
    updateBounds();
}
