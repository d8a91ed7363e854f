#include "scene/ModelReader.h"

#include "scene/FileOptions.h"
#include "scene/ModelFolder.h"
#include "scene/Translators.h"

#include <QFileInfo>
#include <QMimeDatabase>
#include <QRegularExpression>

#include <assimp/config.h>
#include <assimp/Importer.hpp>
#include <assimp/postprocess.h>
#include <assimp/scene.h>

#include <algorithm>
#include <cmath>

namespace {

/// What the host has no use for. A fault in it, such as the weight of a point that does not exist, must not reach the
/// library's later steps.
constexpr int unusedComponents = aiComponent_ANIMATIONS | aiComponent_BONEWEIGHTS | aiComponent_CAMERAS |
                                 aiComponent_LIGHTS | aiComponent_TANGENTS_AND_BITANGENTS;

/// One node still to be visited, with the transformation of everything above it.
struct Visit
{
    const aiNode *node;
    aiMatrix4x4 above;
};

bool usable(const aiVector3D &point)
{
    const auto fits = [](float value) {
        return std::isfinite(value) && std::abs(value) <= ModelReader::largestCoordinate;
    };
    return fits(point.x) && fits(point.y) && fits(point.z);
}

int toByte(float channel)
{
    return std::isfinite(channel) ? static_cast<int>(std::lround(std::clamp(channel, 0.0F, 1.0F) * 255)) : 0;
}

void takeEmbedded(const aiTexture &texture, MaterialData &material)
{
    // Without a height the texels are an image file's bytes, and the width counts them.
    const bool isFile = texture.mHeight == 0;
    const quint64 size = isFile ? texture.mWidth : quint64(texture.mWidth) * texture.mHeight * sizeof(aiTexel);
    if (size > static_cast<quint64>(ModelFolder::largestFile))
        return;
    material.texture = QString::fromUtf8(texture.mFilename.C_Str());
    material.textureBytes = QByteArray(reinterpret_cast<const char *>(texture.pcData), static_cast<int>(size));
    if (!isFile)
        material.texelSize = QSize(static_cast<int>(texture.mWidth), static_cast<int>(texture.mHeight));
}

/// Collects the parts and materials of one file.
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
    // Depth is up to the file, so no recursion.
    std::vector<Visit> open{{m_scene.mRootNode, aiMatrix4x4()}};
    while (!open.empty()) {
        const Visit visit = open.back();
        open.pop_back();
        const aiMatrix4x4 transform = visit.above * visit.node->mTransformation;
        addNode(*visit.node, transform);
        for (unsigned child = visit.node->mNumChildren; child-- > 0;) {
            if (visit.node->mChildren[child]) // some readers of the library leave holes
                open.push_back({visit.node->mChildren[child], transform});
        }
    }
    if (m_result.parts.empty()) {
        const bool empty = std::all_of(m_scene.mMeshes, m_scene.mMeshes + m_scene.mNumMeshes,
                                       [](const aiMesh *mesh) { return mesh->mNumVertices == 0; });
        throw FileError(empty ? QStringLiteral("it holds no surfaces")
                              : QStringLiteral("it holds only points or lines, no surfaces"));
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
    std::vector<quint32> corners;
    for (unsigned at = 0; at < source.mNumFaces; ++at) {
        const aiFace &face = source.mFaces[at];
        if (face.mNumIndices < 3)
            continue;
        m_corners += face.mNumIndices;
        if (m_corners > ModelReader::mostCorners)
            throw FileError(QStringLiteral("it holds too many polygons"));
        corners.assign(face.mIndices, face.mIndices + face.mNumIndices);
        mesh.addFace(corners);
    }
    mesh.updateBounds();
    return mesh;
}

void Collector::addCorners(const aiMesh &source, const aiMatrix4x4 &transform, Mesh &mesh) const
{
    if (source.mNumVertices > ModelReader::mostCorners)
        throw FileError(QStringLiteral("it holds too many points"));
    mesh.positions.reserve(source.mNumVertices);
    for (unsigned at = 0; at < source.mNumVertices; ++at) {
        const aiVector3D point = (transform * source.mVertices[at]) * m_scale;
        if (!usable(point))
            throw FileError(QStringLiteral("it holds coordinates that are no numbers or out of range"));
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

/// The name that makes the library choose the wanted reader, whatever the file is called.
QString aliasFor(const QString &path, const Translator *translator)
{
    const QFileInfo info(path);
    if (!translator || translator->extensions.contains(info.suffix().toLower()))
        return info.absoluteFilePath();
    return info.absoluteFilePath() + QLatin1Char('.') + translator->extension();
}

/// Throws FileError for what would make the library's steps, or Collector, read beyond an array.
void checkMeshes(const aiScene &scene)
{
    for (unsigned at = 0; at < scene.mNumMeshes; ++at) {
        const aiMesh &mesh = *scene.mMeshes[at];
        for (unsigned face = 0; face < mesh.mNumFaces; ++face) {
            const unsigned *corners = mesh.mFaces[face].mIndices;
            if (std::any_of(corners, corners + mesh.mFaces[face].mNumIndices,
                            [&mesh](unsigned corner) { return corner >= mesh.mNumVertices; }))
                throw FileError(QStringLiteral("a polygon refers to a point that does not exist"));
        }
    }
}

/// Throws FileError unless there is a \p scene with a root.
void requireScene(const aiScene *scene, const Assimp::Importer &importer)
{
    const QString reason = QString::fromUtf8(importer.GetErrorString()).simplified().left(300);
    if (!scene)
        throw FileError(reason.isEmpty() ? QStringLiteral("it cannot be read") : reason);
    if (!scene->mRootNode)
        throw FileError(QStringLiteral("it holds no surfaces"));
}

ModelData readFile(const QString &path, const Translator *translator, const OptionValues &options)
{
    const QString alias = aliasFor(path, translator);
    auto *folder = new ModelFolder(QFileInfo(path).absoluteFilePath(), alias);
    Assimp::Importer importer;
    importer.SetIOHandler(folder); // deletes it in the end
    importer.SetPropertyBool(AI_CONFIG_IMPORT_FBX_PRESERVE_PIVOTS, false);
    importer.SetPropertyBool(AI_CONFIG_IMPORT_COLLADA_USE_COLLADA_NAMES, true);
    importer.SetPropertyInteger(AI_CONFIG_PP_RVC_FLAGS, unusedComponents);

    // The library's own validation would refuse a model for a fault in an animation or a light.
    const aiScene *scene = importer.ReadFile(alias.toStdString(), 0);
    requireScene(scene, importer);
    checkMeshes(*scene);
    unsigned steps = aiProcess_RemoveComponent;
    if (options.value(QStringLiteral("triangulate"), true).toBool())
        steps |= aiProcess_Triangulate;
    if (options.value(QStringLiteral("joinVertices"), true).toBool())
        steps |= aiProcess_JoinIdenticalVertices;
    scene = importer.ApplyPostProcessing(steps);
    requireScene(scene, importer);
    ModelData model = Collector(*scene, options.value(QStringLiteral("scale"), 1.0).toDouble()).collect();
    model.missingMaterials = folder->missingMaterials();
    return model;
}

/// \p reason, or what the file's first bytes say about its kind where that helps more.
QString explained(const QString &reason, const QString &path, const Translator *translator)
{
    // Kinds that are certain, and that no translator reads as they are.
    static const QRegularExpression foreign(
        QStringLiteral("^(image|audio|video)/|/(html|pdf|gzip|x-xz|x-bzip|x-7z-compressed|vnd.rar)$"));
    const QMimeType kind = QMimeDatabase().mimeTypeForFile(path, QMimeDatabase::MatchContent);
    const QString content = QStringLiteral("its content is of the kind \"%1\"").arg(kind.comment());
    const QStringList suffixes = kind.suffixes();
    QString failure = reason;
    if (reason.startsWith(QLatin1String("No suitable reader")))
        failure =
            translator ? QStringLiteral("it is no %1 file").arg(translator->name) : QStringLiteral("it is damaged");
    if (translator) {
        const bool other = foreign.match(kind.name()).hasMatch() && !suffixes.contains(translator->extension());
        return other ? failure + QStringLiteral("; ") + content : failure;
    }
    if (std::any_of(suffixes.begin(), suffixes.end(), Translators::forExtension))
        return failure;
    if (QStringList{"application/octet-stream", "application/xml", "text/plain"}.contains(kind.name()))
        return QStringLiteral("its kind can be told neither from its name nor from its content; rename it with the "
                              "extension of its kind");
    return content + QStringLiteral(", which cannot be read");
}

} // namespace

ModelData ModelReader::read(const QString &path, const Translator *translator, const OptionValues &options)
{
    try {
        return readFile(path, translator, options);
    } catch (const FileError &problem) {
        throw FileError(explained(problem.reason(), path, translator));
    }
}
