#include "scene/MaterialBuilder.h"

#include "scene/ModelFolder.h"

#include <QBuffer>
#include <QCryptographicHash>
#include <QFile>
#include <QImageReader>
#include <QtEndian>

#include <algorithm>

namespace {

constexpr int kLargestSide = 8192;
constexpr qint64 kMostPixels = qint64(1) << 26;

/// Larger images could exhaust the memory.
bool isAcceptable(const QSize &size)
{
    return size.isValid() && std::max(size.width(), size.height()) <= kLargestSide &&
           qint64(size.width()) * size.height() <= kMostPixels;
}

/// Reads the image file in \p device, which must be closed. Returns null if it is not an image of an acceptable size.
QImage readBounded(QIODevice &device)
{
    if (!device.open(QIODevice::ReadOnly))
        return QImage();
    const QByteArray header = device.peek(16);
    QImageReader reader(&device);
    reader.setDecideFormatFromContent(true);
    QSize size = reader.size();
    // Qt's plug-in for TGA files does not return the size in advance. It is two little-endian 16-bit numbers.
    if (reader.format() == "tga" && header.size() == 16)
        size = QSize(qFromLittleEndian<quint16>(header.constData() + 12),
                     qFromLittleEndian<quint16>(header.constData() + 14));
    return isAcceptable(size) ? reader.read().convertToFormat(QImage::Format_ARGB32) : QImage();
}

QString shortName(const QString &reference)
{
    QString name = reference;
    return name.replace(QLatin1Char('\\'), QLatin1Char('/')).section(QLatin1Char('/'), -1).left(200).simplified();
}

} // namespace

Material MaterialBuilder::build(const MaterialData &data)
{
    Material material;
    material.name = data.name;
    material.diffuse = QColor(data.diffuse);
    material.textureName = shortName(data.texture);
    if (!data.textureBytes.isEmpty())
        material.texture = textureInside(data);
    else if (!data.texture.isEmpty())
        material.texture = textureBeside(data.texture);
    return material;
}

void MaterialBuilder::addMissingFile(const QString &name)
{
    warnOnce(QStringLiteral("material file \"%1\" was not found beside the model").arg(shortName(name)));
}

QImage MaterialBuilder::textureBeside(const QString &reference)
{
    const QString path = m_folder.resolve(reference);
    if (path.isEmpty()) {
        warnOnce(QStringLiteral("texture \"%1\" was not found beside the model").arg(shortName(reference)));
        return QImage();
    }
    if (!m_textures.contains(path)) {
        QFile file(path);
        m_textures.insert(path, readBounded(file));
        if (m_textures.value(path).isNull())
            warnOnce(QStringLiteral("texture \"%1\" cannot be read as an image").arg(shortName(reference)));
    }
    return m_textures.value(path);
}

QImage MaterialBuilder::textureInside(const MaterialData &data)
{
    const QByteArray digest = QCryptographicHash::hash(data.textureBytes, QCryptographicHash::Sha1);
    const QString key = QLatin1Char('*') + QString::fromLatin1(digest.toHex());
    if (m_textures.contains(key))
        return m_textures.value(key);
    QImage image;
    if (!data.texelSize.isValid()) {
        QByteArray bytes = data.textureBytes;
        QBuffer buffer(&bytes);
        image = readBounded(buffer);
    } else if (isAcceptable(data.texelSize)) {
        // The bytes are blue, green, red, alpha, which is ARGB32 on little-endian machines.
        image = QImage(reinterpret_cast<const uchar *>(data.textureBytes.constData()), data.texelSize.width(),
                       data.texelSize.height(), QImage::Format_ARGB32)
                    .copy();
    }
    if (image.isNull())
        warnOnce(QStringLiteral("an embedded texture cannot be read as an image"));
    m_textures.insert(key, image);
    return image;
}

void MaterialBuilder::warnOnce(const QString &text)
{
    if (!m_warnings.contains(text))
        m_warnings.append(text);
}
