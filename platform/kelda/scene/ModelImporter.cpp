#include "scene/ModelImporter.h"

#include "scene/IsolatedReader.h"
#include "scene/ModelFolder.h"

#include <QBuffer>
#include <QCryptographicHash>
#include <QFile>
#include <QFileInfo>
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

/// Builds the scene's materials, with embedded textures or files beside the model.
class MaterialBuilder
{
public:
    /// \p folder must outlive the builder.
    explicit MaterialBuilder(const ModelFolder &folder) : m_folder(folder) {}

    Material build(const MaterialData &data);
    /// Warns about the missing material file \p name.
    void addMissingFile(const QString &name);
    /// Returns one line for each missing or unreadable file or texture.
    const QStringList &warnings() const { return m_warnings; }

private:
    QImage textureBeside(const QString &reference);
    QImage textureInside(const MaterialData &data);
    void warnOnce(const QString &text);

    const ModelFolder &m_folder;
    QHash<QString, QImage> m_textures;
    QStringList m_warnings;
};

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

void checkFile(const QString &path)
{
    const QFileInfo info(path);
    if (!info.exists())
        throw FileError(QStringLiteral("the file does not exist"));
    if (!info.isFile())
        throw FileError(QStringLiteral("it is not a file"));
    if (info.size() == 0)
        throw FileError(QStringLiteral("it is empty"));
    if (info.size() > ModelFolder::kLargestFile)
        throw FileError(QStringLiteral("it is larger than 2 GiB"));
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        throw FileError(file.errorString());
}

ImportResult readChecked(const QString &path, const Translator *translator, const OptionValues &options)
{
    checkFile(path);
    ModelData model = IsolatedReader::read(path, translator, options);
    const ModelFolder folder(path, path);
    MaterialBuilder builder(folder);
    if (!model.missingMaterials.isEmpty())
        builder.addMissingFile(model.missingMaterials);
    std::vector<std::shared_ptr<const Material>> materials;
    for (const MaterialData &data : model.materials)
        materials.push_back(std::make_shared<Material>(builder.build(data)));
    const auto defaultMaterial = std::make_shared<const Material>();

    ImportResult result;
    for (ModelData::Part &part : model.parts) {
        const auto index = static_cast<std::size_t>(part.material);
        result.objects.push_back({part.name, std::make_shared<const Mesh>(std::move(part.mesh)),
                                  index < materials.size() ? materials[index] : defaultMaterial});
    }
    result.warnings = builder.warnings();
    return result;
}

} // namespace

ImportResult ModelImporter::read(const QString &path, const Translator *translator, const OptionValues &options)
{
    const QString failed = QStringLiteral("cannot import \"%1\": %2");
    try {
        return readChecked(path, translator, options);
    } catch (const std::bad_alloc &) {
        throw FileError(failed.arg(path, QStringLiteral("out of memory")));
    } catch (const std::exception &problem) {
        throw FileError(failed.arg(path, QString::fromUtf8(problem.what()).simplified()));
    }
}
