#include "scene/ModelImporter.h"

#include "scene/MaterialReader.h"
#include "scene/ModelFolder.h"
#include "scene/Translators.h"

#include <QFile>
#include <QFileInfo>

#include <assimp/config.h>
#include <assimp/Importer.hpp>
#include <assimp/postprocess.h>

#include <cmath>

namespace {

/// One node still to be visited, with the transformation of everything above it.
struct Visit
{
    const aiNode *node;
    aiMatrix4x4 above;
};

bool usable(const aiVector3D &point)
{
    const auto fits = [](float value) {
        return std::isfinite(value) && std::abs(value) <= ModelImporter::largestCoordinate;
    };
    return fits(point.x) && fits(point.y) && fits(point.z);
}

/// Collects the objects of one file.
class Collector
{
public:
    Collector(const aiScene &scene, const ModelFolder &folder, double scale)
        : m_scene(scene), m_materials(scene, folder), m_scale(static_cast<float>(scale))
    {}

    /// Throws FileError.
    ImportResult collect();

private:
    void addNode(const aiNode &node, const aiMatrix4x4 &transform);
    Mesh converted(const aiMesh &source, const aiMatrix4x4 &transform);
    void addCorners(const aiMesh &source, const aiMatrix4x4 &transform, Mesh &mesh) const;

    const aiScene &m_scene;
    MaterialReader m_materials;
    float m_scale;
    qint64 m_corners = 0;
    ImportResult m_result;
};

ImportResult Collector::collect()
{
    // Depth is up to the file, so no recursion.
    std::vector<Visit> open{{m_scene.mRootNode, aiMatrix4x4()}};
    while (!open.empty()) {
        const Visit visit = open.back();
        open.pop_back();
        const aiMatrix4x4 transform = visit.above * visit.node->mTransformation;
        addNode(*visit.node, transform);
        for (unsigned child = visit.node->mNumChildren; child-- > 0;)
            open.push_back({visit.node->mChildren[child], transform});
    }
    if (m_result.objects.empty())
        throw FileError(QStringLiteral("it holds no surfaces"));
    m_result.warnings = m_materials.warnings();
    return std::move(m_result);
}

void Collector::addNode(const aiNode &node, const aiMatrix4x4 &transform)
{
    for (unsigned at = 0; at < node.mNumMeshes; ++at) {
        if (node.mMeshes[at] >= m_scene.mNumMeshes)
            continue;
        const aiMesh &source = *m_scene.mMeshes[node.mMeshes[at]];
        auto mesh = std::make_shared<Mesh>(converted(source, transform));
        if (mesh->faceCount() == 0)
            continue;
        QString name = QString::fromUtf8(node.mName.C_Str());
        if (name.isEmpty() || &node == m_scene.mRootNode)
            name = QString::fromUtf8(source.mName.C_Str());
        m_result.objects.push_back({name, std::move(mesh), m_materials.material(source.mMaterialIndex)});
    }
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
        if (m_corners > ModelImporter::mostCorners)
            throw FileError(QStringLiteral("it holds too many polygons"));
        corners.assign(face.mIndices, face.mIndices + face.mNumIndices);
        for (const quint32 corner : corners) {
            if (corner >= source.mNumVertices)
                throw FileError(QStringLiteral("a polygon refers to a point that does not exist"));
        }
        mesh.addFace(corners);
    }
    mesh.updateBounds();
    return mesh;
}

void Collector::addCorners(const aiMesh &source, const aiMatrix4x4 &transform, Mesh &mesh) const
{
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

void checkFile(const QString &path)
{
    const QFileInfo info(path);
    if (!info.exists())
        throw FileError(QStringLiteral("there is no such file"));
    if (!info.isFile())
        throw FileError(QStringLiteral("it is not a file"));
    if (info.size() == 0)
        throw FileError(QStringLiteral("it is empty"));
    if (info.size() > ModelFolder::largestFile)
        throw FileError(QStringLiteral("it is larger than 2 GiB"));
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        throw FileError(file.errorString());
}

/// The name that makes the library choose the wanted reader, whatever the file is called.
QString aliasFor(const QString &path, const Translator *translator)
{
    const QFileInfo info(path);
    if (!translator || translator->extensions.contains(info.suffix().toLower()))
        return info.absoluteFilePath();
    return info.absoluteFilePath() + QLatin1Char('.') + translator->extension();
}

ImportResult readChecked(const QString &path, const Translator *translator, const OptionValues &options)
{
    checkFile(path);
    const QString alias = aliasFor(path, translator);
    auto folder = std::make_unique<ModelFolder>(QFileInfo(path).absoluteFilePath(), alias);
    const ModelFolder &files = *folder;
    Assimp::Importer importer; // deletes the folder
    importer.SetIOHandler(folder.release());
    importer.SetPropertyBool(AI_CONFIG_IMPORT_FBX_PRESERVE_PIVOTS, false);

    unsigned steps = aiProcess_ValidateDataStructure;
    if (options.value(QStringLiteral("triangulate"), true).toBool())
        steps |= aiProcess_Triangulate;
    if (options.value(QStringLiteral("joinVertices"), true).toBool())
        steps |= aiProcess_JoinIdenticalVertices;
    const aiScene *scene = importer.ReadFile(alias.toStdString(), steps);
    if (!scene || !scene->mRootNode) {
        const QString reason = QString::fromUtf8(importer.GetErrorString()).simplified().left(300);
        throw FileError(reason.isEmpty() ? QStringLiteral("it cannot be read") : reason);
    }
    return Collector(*scene, files, options.value(QStringLiteral("scale"), 1.0).toDouble()).collect();
}

} // namespace

ImportResult ModelImporter::read(const QString &path, const Translator *translator, const OptionValues &options)
{
    const QString failed = QStringLiteral("cannot import \"%1\": %2");
    try {
        return readChecked(path, translator, options);
    } catch (const std::bad_alloc &) {
        throw FileError(failed.arg(path, QStringLiteral("it needs more memory than there is")));
    } catch (const std::exception &problem) {
        throw FileError(failed.arg(path, QString::fromUtf8(problem.what()).simplified()));
    }
}
