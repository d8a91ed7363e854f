#include "scene/ExportScene.h"

#include "scene/Translators.h"

#include <assimp/material.h>
#include <assimp/mesh.h>
#include <QBuffer>
#include <QSet>

#include <algorithm>
#include <cstring>

namespace {

class Builder
{
public:
    Builder(const Translator &translator, const OptionValues &options)
        : m_translator(translator), m_scale(options.value(QStringLiteral("scale"), 1.0).toFloat()),
          m_zUp(options.value(QStringLiteral("upAxis")).toString() == QLatin1String("Z")),
          m_embedTextures(options.value(QStringLiteral("textures")).toBool())
    {}

    std::unique_ptr<aiScene> build(const std::vector<SceneObject> &objects);

private:
    aiVector3D point(const QVector3D &from) const
    {
        return m_zUp ? aiVector3D(from.x(), -from.z(), from.y()) : aiVector3D(from.x(), from.y(), from.z());
    }
    aiString name(const QString &text) const;
    QString uniqueMaterialName(const QString &wanted);
    aiMesh *mesh(const SceneObject &object, unsigned materialIndex) const;
    aiMaterial *material(const Material &source);
    QByteArray imageFile(const QImage &image) const;
    aiString textureReference(const Material &source);

    const Translator &m_translator;
    float m_scale;
    bool m_zUp;
    bool m_embedTextures;
    QSet<QString> m_materialNames;
    QHash<qint64, int> m_textureNumbers;
    std::vector<aiTexture *> m_textures;
};

std::unique_ptr<aiScene> Builder::build(const std::vector<SceneObject> &objects)
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
        auto *node = new aiNode();
        node->mName = name(object.name);
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

/// Returns \p text on one line. Replaces quotation marks for FBX, because the importer rejects them, and a backslash at
/// the end for OBJ, because it would join two lines.
aiString Builder::name(const QString &text) const
{
    QString line = text.simplified();
    if (m_translator.exportId == "fbxa")
        line.replace(QLatin1Char('"'), QLatin1Char('\''));
    if (m_translator.exportId == "obj" && line.endsWith(QLatin1Char('\\')))
        line.replace(line.size() - 1, 1, QLatin1Char('_'));
    return aiString(line.toStdString());
}

/// Some kinds of files identify materials by name.
QString Builder::uniqueMaterialName(const QString &wanted)
{
    const QString base = wanted.simplified().isEmpty() ? QStringLiteral("material") : wanted;
    QString candidate = base;
    for (int number = 1; m_materialNames.contains(candidate); ++number)
        candidate = base + QString::number(number);
    m_materialNames.insert(candidate);
    return candidate;
}

aiMesh *Builder::mesh(const SceneObject &object, unsigned materialIndex) const
{
    const Mesh &source = *object.mesh;
    auto *mesh = new aiMesh();
    mesh->mName = name(object.name);
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

aiMaterial *Builder::material(const Material &source)
{
    auto *material = new aiMaterial();
    const aiString text = name(uniqueMaterialName(source.name));
    material->AddProperty(&text, AI_MATKEY_NAME);
    const QColor &colour = source.diffuse;
    const aiColor4D diffuse(static_cast<float>(colour.redF()), static_cast<float>(colour.greenF()),
                            static_cast<float>(colour.blueF()), 1);
    material->AddProperty(&diffuse, 1, AI_MATKEY_COLOR_DIFFUSE);
    const aiString reference = textureReference(source);
    if (reference.length > 0)
        material->AddProperty(&reference, AI_MATKEY_TEXTURE_DIFFUSE(0));
    return material;
}

/// Returns \p image as the content of a PNG file. Appends a zero byte for FBX if the number of bytes is a multiple of
/// three, because Assimp's exporter pads base64 wrongly then. Image readers ignore the byte.
QByteArray Builder::imageFile(const QImage &image) const
{
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, "PNG");
    QByteArray bytes = buffer.data();
    if (m_translator.exportId == "fbxa" && bytes.size() % 3 == 0)
        bytes.append('\0');
    return bytes;
}

/// Returns a reference to the embedded image, or the image's name if this kind of file cannot contain images.
aiString Builder::textureReference(const Material &source)
{
    if (!m_translator.holdsTextures())
        return name(source.textureName);
    if (!m_embedTextures || source.texture.isNull())
        return aiString();
    auto number = m_textureNumbers.find(source.texture.cacheKey());
    if (number == m_textureNumbers.end()) {
        const QByteArray bytes = imageFile(source.texture);
        auto *texture = new aiTexture();
        texture->mFilename = name(source.textureName);
        std::strcpy(texture->achFormatHint, "png");
        texture->mWidth = static_cast<unsigned>(bytes.size());
        texture->pcData = new aiTexel[texture->mWidth / sizeof(aiTexel) + 1];
        std::memcpy(texture->pcData, bytes.constData(), texture->mWidth);
        number = m_textureNumbers.insert(source.texture.cacheKey(), static_cast<int>(m_textures.size()));
        m_textures.push_back(texture);
    }
    return aiString('*' + std::to_string(*number));
}

} // namespace

std::unique_ptr<aiScene> ExportScene::build(const std::vector<SceneObject> &objects, const Translator &translator,
                                            const OptionValues &options)
{
    return Builder(translator, options).build(objects);
}
