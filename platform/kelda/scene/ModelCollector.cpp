#include "scene/ModelFolder.h"
#include "scene/ModelReader.h"

#include <assimp/scene.h>

#include <algorithm>
#include <cmath>
#include <cstring>

namespace {

/// A node to visit, with the transformation of its parent.
struct Visit
{
    const aiNode *node;
    aiMatrix4x4 above;
};

bool usable(const aiVector3D &point)
{
    const auto fits = [](float value) {
        return std::isfinite(value) && std::abs(value) <= ModelReader::kLargestCoordinate;
    };
    return fits(point.x) && fits(point.y) && fits(point.z);
}

int toByte(float channel)
{
    return std::isfinite(channel) ? static_cast<int>(std::lround(std::clamp(channel, 0.0F, 1.0F) * 255)) : 0;
}

void takeEmbedded(const aiTexture &texture, MaterialData &material)
{
    // If the height is 0, pcData holds an image file of mWidth bytes.
    const bool isFile = texture.mHeight == 0;
    const quint64 size = isFile ? texture.mWidth : quint64(texture.mWidth) * texture.mHeight * sizeof(aiTexel);
    if (size > static_cast<quint64>(ModelFolder::kLargestFile))
        return;
    material.texture = QString::fromUtf8(texture.mFilename.C_Str());
    material.textureBytes = QByteArray(reinterpret_cast<const char *>(texture.pcData), static_cast<int>(size));
    if (!isFile)
        material.texelSize = QSize(static_cast<int>(texture.mWidth), static_cast<int>(texture.mHeight));
}

/// An open-addressing hash table of the points kept so far, which finds equal points of a mesh.
class PointTable
{
public:
    explicit PointTable(const Mesh &mesh) : m_mesh(mesh)
    {
        std::size_t size = 16;
        while (size < 2 * mesh.positions.size())
            size *= 2;
        m_slots.assign(size, kFree);
    }

    /// Returns the kept point that equals \p point. Keeps \p point and returns it if it is the first.
    quint32 find(quint32 point)
    {
        const std::size_t mask = m_slots.size() - 1;
        for (std::size_t slot = hash(point) & mask;; slot = (slot + 1) & mask) {
            if (m_slots[slot] == kFree)
                m_slots[slot] = point;
            if (equal(m_slots[slot], point))
                return m_slots[slot];
        }
    }

private:
    static constexpr quint32 kFree = ~quint32(0);

    /// Positions must be equal, because the hash depends on them. Files often round normals and texture coordinates.
    bool equal(std::size_t one, std::size_t other) const
    {
        constexpr float kDifference = 1e-5F * 1e-5F;
        return m_mesh.positions[one] == m_mesh.positions[other] &&
               (m_mesh.normals.empty() ||
                (m_mesh.normals[one] - m_mesh.normals[other]).lengthSquared() <= kDifference) &&
               (m_mesh.uvs.empty() || (m_mesh.uvs[one] - m_mesh.uvs[other]).lengthSquared() <= kDifference);
    }
    std::size_t hash(std::size_t at) const
    {
        quint64 sum = 0;
        for (int axis = 0; axis < 3; ++axis) {
            const float value = m_mesh.positions[at][axis] + 0.0F; // turns -0 into 0
            quint32 bits = 0;
            std::memcpy(&bits, &value, sizeof bits);
            sum = (sum ^ bits) * 0x9E3779B97F4A7C15U;
            sum ^= sum >> 29;
        }
        return static_cast<std::size_t>(sum);
    }

    const Mesh &m_mesh;
    std::vector<quint32> m_slots;
};

/// Keeps one of equal points and drops those that no face of \p source uses. Returns the new index of each point.
std::vector<quint32> joinPoints(const aiMesh &source, Mesh &mesh)
{
    std::vector<bool> used(mesh.positions.size());
    for (unsigned face = 0; face < source.mNumFaces; ++face) {
        for (unsigned corner = 0; corner < source.mFaces[face].mNumIndices; ++corner)
            used[source.mFaces[face].mIndices[corner]] = true;
    }
    std::vector<quint32> indices(mesh.positions.size());
    PointTable table(mesh);
    quint32 kept = 0;
    for (std::size_t at = 0; at < indices.size(); ++at) {
        if (!used[at])
            continue;
        // Points below kept are final; at >= kept, so this overwrites no point that is still needed.
        mesh.positions[kept] = mesh.positions[at];
        if (!mesh.normals.empty())
            mesh.normals[kept] = mesh.normals[at];
        if (!mesh.uvs.empty())
            mesh.uvs[kept] = mesh.uvs[at];
        indices[at] = table.find(kept);
        kept += indices[at] == kept ? 1 : 0;
    }
    mesh.positions.resize(kept);
    mesh.normals.resize(mesh.normals.empty() ? 0 : kept);
    mesh.uvs.resize(mesh.uvs.empty() ? 0 : kept);
    return indices;
}

class Collector
{
public:
    Collector(const aiScene &scene, double scale) : m_scene(scene), m_scale(static_cast<float>(scale)) {}

    /// Throws FileError.
    ModelData collect();

private:
    void addNode(const aiNode &node, const aiMatrix4x4 &transform);
    MaterialData material(const aiMaterial &source) const;
    Mesh converted(const aiMesh &source, const aiMatrix4x4 &transform);
    void addCorners(const aiMesh &source, const aiMatrix4x4 &transform, Mesh &mesh) const;

    const aiScene &m_scene;
    float m_scale;
    qint64 m_corners = 0;
    ModelData m_result;
};

ModelData Collector::collect()
{
    // Not recursive, because the file determines how deep nodes are nested.
    std::vector<Visit> open{{m_scene.mRootNode, aiMatrix4x4()}};
    while (!open.empty()) {
        const Visit visit = open.back();
        open.pop_back();
        const aiMatrix4x4 transform = visit.above * visit.node->mTransformation;
        addNode(*visit.node, transform);
        for (unsigned child = visit.node->mNumChildren; child-- > 0;) {
            if (visit.node->mChildren[child]) // some of Assimp's readers leave null children
                open.push_back({visit.node->mChildren[child], transform});
        }
    }
    if (m_result.parts.empty()) {
        const bool empty = std::all_of(m_scene.mMeshes, m_scene.mMeshes + m_scene.mNumMeshes,
                                       [](const aiMesh *mesh) { return mesh->mNumVertices == 0; });
        throw FileError(empty ? QStringLiteral("it has no surfaces")
                              : QStringLiteral("it has only points or lines, no surfaces"));
    }
    for (unsigned at = 0; at < m_scene.mNumMaterials; ++at)
        m_result.materials.push_back(material(*m_scene.mMaterials[at]));
    return std::move(m_result);
}

void Collector::addNode(const aiNode &node, const aiMatrix4x4 &transform)
{
    for (unsigned at = 0; at < node.mNumMeshes; ++at) {
        if (node.mMeshes[at] >= m_scene.mNumMeshes)
            continue;
        const aiMesh &source = *m_scene.mMeshes[node.mMeshes[at]];
        Mesh mesh = converted(source, transform);
        if (mesh.faceCount() == 0)
            continue;
        QString name = QString::fromUtf8(node.mName.C_Str());
        if (name.isEmpty() || &node == m_scene.mRootNode)
            name = QString::fromUtf8(source.mName.C_Str());
        m_result.parts.push_back({name, std::move(mesh), static_cast<qint32>(source.mMaterialIndex)});
    }
}

MaterialData Collector::material(const aiMaterial &source) const
{
    MaterialData material;
    aiString text;
    if (source.Get(AI_MATKEY_NAME, text) == aiReturn_SUCCESS)
        material.name = QString::fromUtf8(text.C_Str());
    aiColor4D colour;
    if (source.Get(AI_MATKEY_BASE_COLOR, colour) == aiReturn_SUCCESS ||
        source.Get(AI_MATKEY_COLOR_DIFFUSE, colour) == aiReturn_SUCCESS)
        material.diffuse = qRgb(toByte(colour.r), toByte(colour.g), toByte(colour.b));
    for (const aiTextureType type : {aiTextureType_DIFFUSE, aiTextureType_BASE_COLOR}) {
        if (source.GetTexture(type, 0, &text) != aiReturn_SUCCESS || text.length == 0)
            continue;
        material.texture = QString::fromUtf8(text.C_Str());
        if (const aiTexture *inside = m_scene.GetEmbeddedTexture(text.C_Str()))
            takeEmbedded(*inside, material);
        break;
    }
    return material;
}

Mesh Collector::converted(const aiMesh &source, const aiMatrix4x4 &transform)
{
    Mesh mesh;
    addCorners(source, transform, mesh);
    const std::vector<quint32> indices = joinPoints(source, mesh);
    std::vector<quint32> corners;
    for (unsigned at = 0; at < source.mNumFaces; ++at) {
        const aiFace &face = source.mFaces[at];
        if (face.mNumIndices < 3)
            continue;
        m_corners += face.mNumIndices;
        if (m_corners > ModelReader::kMostCorners)
            throw FileError(QStringLiteral("it has too many polygons"));
        corners.resize(face.mNumIndices);
        std::transform(face.mIndices, face.mIndices + face.mNumIndices, corners.begin(),
                       [&indices](unsigned corner) { return indices[corner]; });
        mesh.addFace(corners);
    }
    mesh.updateBounds();
    return mesh;
}

void Collector::addCorners(const aiMesh &source, const aiMatrix4x4 &transform, Mesh &mesh) const
{
    if (source.mNumVertices > ModelReader::kMostCorners)
        throw FileError(QStringLiteral("it has too many points"));
    mesh.positions.reserve(source.mNumVertices);
    for (unsigned at = 0; at < source.mNumVertices; ++at) {
        const aiVector3D point = (transform * source.mVertices[at]) * m_scale;
        if (!usable(point))
            throw FileError(QStringLiteral("it has invalid coordinates or coordinates out of range"));
        mesh.positions.emplace_back(point.x, point.y, point.z);
    }
    if (source.HasNormals()) {
        const aiMatrix3x3 turn = aiMatrix3x3(transform).Inverse().Transpose();
        mesh.normals.reserve(source.mNumVertices);
        for (unsigned at = 0; at < source.mNumVertices; ++at) {
            const aiVector3D normal = turn * source.mNormals[at];
            mesh.normals.push_back(usable(normal) ? QVector3D(normal.x, normal.y, normal.z).normalized() : QVector3D());
        }
    }
    if (source.HasTextureCoords(0)) {
        mesh.uvs.reserve(source.mNumVertices);
        for (unsigned at = 0; at < source.mNumVertices; ++at) {
            const aiVector3D &uv = source.mTextureCoords[0][at];
            mesh.uvs.push_back(usable(uv) ? QVector2D(uv.x, uv.y) : QVector2D());
        }
    }
}

} // namespace

ModelData ModelReader::collect(const aiScene &scene, double scale)
{
    return Collector(scene, scale).collect();
}
