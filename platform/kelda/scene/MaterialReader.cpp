#include "scene/MaterialReader.h"

#include "scene/ModelFolder.h"

#include <QBuffer>
#include <QFileInfo>
#include <QImageReader>

#include <algorithm>
#include <cmath>

namespace {

constexpr int largestSide = 8192;
constexpr qint64 mostPixels = qint64(1) << 26;

int toByte(float channel)
{
    return std::isfinite(channel) ? static_cast<int>(std::lround(std::clamp(channel, 0.0F, 1.0F) * 255)) : 0;
}

/// Null for what is no image, or one so large that it would only serve to exhaust the memory.
QImage readBounded(QImageReader &reader)
{
    const QSize size = reader.size();
    if (!size.isValid() || qint64(size.width()) * size.height() > mostPixels)
        return QImage();
    if (std::max(size.width(), size.height()) > largestSide)
        return QImage();
    return reader.read().convertToFormat(QImage::Format_ARGB32);
}

QString shortName(const QString &reference)
{
    QString name = reference;
    return name.replace(QLatin1Char('\\'), QLatin1Char('/')).section(QLatin1Char('/'), -1).left(200).simplified();
}

} // namespace

std::shared_ptr<const Material> MaterialReader::material(unsigned index)
{
    auto &known = m_materials[index];
    if (!known) {
        known = std::make_shared<Material>(index < m_scene.mNumMaterials ? readMaterial(*m_scene.mMaterials[index])
                                                                         : Material());
    }
    return known;
}

Material MaterialReader::readMaterial(const aiMaterial &source)
{
    Material material;
    aiString text;
    if (source.Get(AI_MATKEY_NAME, text) == aiReturn_SUCCESS)
        material.name = QString::fromUtf8(text.C_Str());
    aiColor4D colour;
    if (source.Get(AI_MATKEY_BASE_COLOR, colour) == aiReturn_SUCCESS ||
        source.Get(AI_MATKEY_COLOR_DIFFUSE, colour) == aiReturn_SUCCESS)
        material.diffuse = QColor(toByte(colour.r), toByte(colour.g), toByte(colour.b));

    for (const aiTextureType type : {aiTextureType_DIFFUSE, aiTextureType_BASE_COLOR}) {
        if (source.GetTexture(type, 0, &text) != aiReturn_SUCCESS || text.length == 0)
            continue;
        const QString reference = QString::fromUtf8(text.C_Str());
        const aiTexture *inside = m_scene.GetEmbeddedTexture(text.C_Str());
        material.textureName = shortName(inside ? QString::fromUtf8(inside->mFilename.C_Str()) : reference);
        material.texture = inside ? embedded(*inside) : texture(reference);
        break;
    }
    return material;
}

QImage MaterialReader::texture(const QString &reference)
{
    const QString path = m_folder.resolve(reference);
    if (path.isEmpty()) {
        warnOnce(QStringLiteral("texture \"%1\" was not found beside the model").arg(shortName(reference)));
        return QImage();
    }
    if (!m_textures.contains(path)) {
        QImageReader reader(path);
        reader.setDecideFormatFromContent(true);
        m_textures.insert(path, readBounded(reader));
        if (m_textures.value(path).isNull())
            warnOnce(QStringLiteral("texture \"%1\" cannot be read as an image").arg(shortName(reference)));
    }
    return m_textures.value(path);
}

QImage MaterialReader::embedded(const aiTexture &source)
{
    const QString key = QStringLiteral("*%1").arg(reinterpret_cast<quintptr>(&source));
    if (m_textures.contains(key))
        return m_textures.value(key);
    QImage image;
    if (source.mHeight == 0 && source.mWidth <= static_cast<unsigned>(ModelFolder::largestFile)) {
        QByteArray bytes =
            QByteArray::fromRawData(reinterpret_cast<const char *>(source.pcData), static_cast<int>(source.mWidth));
        QBuffer buffer(&bytes);
        QImageReader reader(&buffer);
        reader.setDecideFormatFromContent(true);
        image = readBounded(reader);
    } else if (source.mWidth <= largestSide && source.mHeight <= largestSide) {
        // Texels are stored as blue, green, red, alpha: the memory order of ARGB32 on little-endian machines.
        image = QImage(reinterpret_cast<const uchar *>(source.pcData), static_cast<int>(source.mWidth),
                       static_cast<int>(source.mHeight), QImage::Format_ARGB32)
                    .copy();
    }
    if (image.isNull())
        warnOnce(QStringLiteral("a texture inside the file cannot be read as an image"));
    m_textures.insert(key, image);
    return image;
}

void MaterialReader::warnOnce(const QString &text)
{
    if (!m_warnings.contains(text))
        m_warnings.append(text);
}
