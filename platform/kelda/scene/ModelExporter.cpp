#include "scene/ModelExporter.h"

#include "scene/Translators.h"

#include <QBuffer>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>

#include <assimp/Exporter.hpp>
#include <assimp/postprocess.h>
#include <assimp/scene.h>

#include <algorithm>
#include <cstring>

namespace {

bool holdsTextures(const Translator &translator)
{
    return translator.exportId.startsWith("gl");
}

/// Builds the library's scene, which owns all of its parts.
class SceneBuilder
{
public:
    SceneBuilder(const OptionValues &options, bool embedTextures)
        : m_scale(options.value(QStringLiteral("scale"), 1.0).toFloat()),
          m_zUp(options.value(QStringLiteral("upAxis")).toString() == QLatin1String("Z")),
          m_embedTextures(embedTextures)
    {}

    std::unique_ptr<aiScene> build(const std::vector<SceneObject> &objects);

private:
    aiVector3D point(const QVector3D &from) const
    {
        return m_zUp ? aiVector3D(from.x(), -from.z(), from.y()) : aiVector3D(from.x(), from.y(), from.z());
    }
    aiMesh *mesh(const SceneObject &object, unsigned materialIndex) const;
    aiMaterial *material(const Material &source);
    QByteArray textureReference(const Material &source);

    float m_scale;
    bool m_zUp;
    bool m_embedTextures;
    QHash<qint64, int> m_textureNumbers;
    std::vector<aiTexture *> m_textures;
};

std::unique_ptr<aiScene> SceneBuilder::build(const std::vector<SceneObject> &objects)
{
    auto scene = std::make_unique<aiScene>();
    const auto count = static_cast<unsigned>(objects.size());
    scene->mMetaData = new aiMetadata();
    scene->mRootNode = new aiNode("scene");
    scene->mMeshes = new aiMesh *[count];
    scene->mMaterials = new aiMaterial *[count];
    QHash<const Material *, unsigned> materials;
    std::vector<aiNode *> nodes;
    for (const SceneObject &object : objects) {
        if (!materials.contains(object.material.get())) {
            materials.insert(object.material.get(), scene->mNumMaterials);
            scene->mMaterials[scene->mNumMaterials++] = material(*object.material);
        }
        auto *node = new aiNode(object.name.toStdString());
        node->mMeshes = new unsigned[1]{scene->mNumMeshes};
        node->mNumMeshes = 1;
        nodes.push_back(node);
        scene->mMeshes[scene->mNumMeshes++] = mesh(object, materials.value(object.material.get()));
    }
    scene->mRootNode->addChildren(count, nodes.data());
    if (!m_textures.empty()) {
        scene->mNumTextures = static_cast<unsigned>(m_textures.size());
        scene->mTextures = new aiTexture *[m_textures.size()];
        std::copy(m_textures.begin(), m_textures.end(), scene->mTextures);
    }
    return scene;
}

aiMesh *SceneBuilder::mesh(const SceneObject &object, unsigned materialIndex) const
{
    const Mesh &source = *object.mesh;
    auto *mesh = new aiMesh();
    mesh->mName = object.name.toStdString();
    mesh->mMaterialIndex = materialIndex;
    mesh->mNumVertices = static_cast<unsigned>(source.positions.size());
    mesh->mVertices = new aiVector3D[source.positions.size()];
    std::transform(source.positions.begin(), source.positions.end(), mesh->mVertices,
                   [this](const QVector3D &from) { return point(from) * m_scale; });
    if (!source.normals.empty()) {
        mesh->mNormals = new aiVector3D[source.normals.size()];
        std::transform(source.normals.begin(), source.normals.end(), mesh->mNormals,
                       [this](const QVector3D &from) { return point(from); });
    }
    if (!source.uvs.empty()) {
        mesh->mNumUVComponents[0] = 2;
        mesh->mTextureCoords[0] = new aiVector3D[source.uvs.size()];
        std::transform(source.uvs.begin(), source.uvs.end(), mesh->mTextureCoords[0],
                       [](const QVector2D &from) { return aiVector3D(from.x(), from.y(), 0); });
    }
    mesh->mNumFaces = static_cast<unsigned>(source.faceCount());
    mesh->mFaces = new aiFace[mesh->mNumFaces];
    for (int at = 0; at < source.faceCount(); ++at) {
        int corners = 0;
        const quint32 *from = source.face(at, corners);
        aiFace &face = mesh->mFaces[at];
        face.mNumIndices = static_cast<unsigned>(corners);
        face.mIndices = new unsigned[face.mNumIndices];
        std::copy(from, from + corners, face.mIndices);
        mesh->mPrimitiveTypes |=
            static_cast<unsigned>(corners == 3 ? aiPrimitiveType_TRIANGLE : aiPrimitiveType_POLYGON);
    }
    return mesh;
}

aiMaterial *SceneBuilder::material(const Material &source)
{
    auto *material = new aiMaterial();
    const aiString name(source.name.toStdString());
    material->AddProperty(&name, AI_MATKEY_NAME);
    const QColor &colour = source.diffuse;
    const aiColor4D diffuse(static_cast<float>(colour.redF()), static_cast<float>(colour.greenF()),
                            static_cast<float>(colour.blueF()), 1);
    material->AddProperty(&diffuse, 1, AI_MATKEY_COLOR_DIFFUSE);
    const QByteArray reference = textureReference(source);
    if (!reference.isEmpty()) {
        const aiString path(reference.toStdString());
        material->AddProperty(&path, AI_MATKEY_TEXTURE_DIFFUSE(0));
    }
    return material;
}

QByteArray SceneBuilder::textureReference(const Material &source)
{
    if (!m_embedTextures || source.texture.isNull())
        return m_embedTextures ? QByteArray() : source.textureName.toUtf8();
    auto number = m_textureNumbers.find(source.texture.cacheKey());
    if (number == m_textureNumbers.end()) {
        QBuffer buffer;
        buffer.open(QIODevice::WriteOnly);
        source.texture.save(&buffer, "PNG");
        auto *texture = new aiTexture();
        texture->mFilename = source.textureName.toStdString();
        std::strcpy(texture->achFormatHint, "png");
        texture->mWidth = static_cast<unsigned>(buffer.data().size());
        texture->pcData = new aiTexel[texture->mWidth / sizeof(aiTexel) + 1];
        std::memcpy(texture->pcData, buffer.data().constData(), texture->mWidth);
        number = m_textureNumbers.insert(source.texture.cacheKey(), static_cast<int>(m_textures.size()));
        m_textures.push_back(texture);
    }
    return '*' + QByteArray::number(*number);
}

QByteArray contentOf(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        throw FileError(file.errorString());
    return file.readAll();
}

/// A text glTF refers to a second file with the numbers; carried inside as base64, one file is all there is.
void foldBuffersIn(const QString &path)
{
    QJsonObject root = QJsonDocument::fromJson(contentOf(path)).object();
    QJsonArray buffers = root.value(QStringLiteral("buffers")).toArray();
    for (int at = 0; at < buffers.size(); ++at) {
        QJsonObject buffer = buffers.at(at).toObject();
        const QString name = QFileInfo(buffer.value(QStringLiteral("uri")).toString()).fileName();
        const QString beside = QFileInfo(path).dir().filePath(name);
        buffer.insert(QStringLiteral("uri"), QStringLiteral("data:application/octet-stream;base64,") +
                                                 QString::fromLatin1(contentOf(beside).toBase64()));
        buffers.replace(at, buffer);
        QFile::remove(beside);
    }
    root.insert(QStringLiteral("buffers"), buffers);
    QFile file(path);
    const QByteArray text = QJsonDocument(root).toJson(QJsonDocument::Compact);
    if (!file.open(QIODevice::WriteOnly) || file.write(text) != text.size() || !file.flush())
        throw FileError(file.errorString());
}

void moveInto(const QString &from, const QString &to)
{
    if (QFileInfo(to).isDir())
        throw FileError(QStringLiteral("a folder of that name is in the way"));
    QFile::remove(to);
    QFile file(from);
    if (!file.rename(to))
        throw FileError(file.errorString());
}

void writeChecked(const std::vector<SceneObject> &objects, const QString &target, const Translator &translator,
                  const OptionValues &options)
{
    const QFileInfo info(target);
    if (!info.dir().exists())
        throw FileError(QStringLiteral("there is no such folder"));
    const QTemporaryDir scratch(info.dir().filePath(QStringLiteral(".kelda-export-XXXXXX")));
    if (!scratch.isValid())
        throw FileError(scratch.errorString());

    const bool withMaterials = options.value(QStringLiteral("materials")).toBool();
    const QByteArray id = translator.exportId == "obj" && !withMaterials ? QByteArray("objnomtl") : translator.exportId;
    const std::unique_ptr<aiScene> scene = SceneBuilder(options, holdsTextures(translator)).build(objects);
    const QString written = scratch.filePath(info.fileName());
    Assimp::Exporter exporter;
    if (exporter.Export(scene.get(), id.constData(), written.toStdString()) != aiReturn_SUCCESS)
        throw FileError(QString::fromUtf8(exporter.GetErrorString()).simplified());
    if (translator.exportId == "gltf2")
        foldBuffersIn(written);

    const QStringList parts = QDir(scratch.path()).entryList(QDir::Files);
    for (const QString &part : parts)
        moveInto(scratch.filePath(part), info.dir().filePath(part));
    if (!QFileInfo::exists(target))
        throw FileError(QStringLiteral("nothing was written"));
}

} // namespace

QString ModelExporter::targetPath(const QString &path, const Translator &translator)
{
    if (translator.extensions.contains(QFileInfo(path).suffix().toLower()))
        return path;
    return path + QLatin1Char('.') + translator.extension();
}

void ModelExporter::write(const std::vector<SceneObject> &objects, const QString &target, const Translator &translator,
                          const OptionValues &options)
{
    try {
        if (objects.empty())
            throw FileError(QStringLiteral("there is nothing to write"));
        writeChecked(objects, target, translator, options);
    } catch (const std::exception &problem) {
        throw FileError(QStringLiteral("cannot export \"%1\": %2").arg(target, QString::fromUtf8(problem.what())));
    }
}
