#include "scene/ModelExporter.h"

#include "scene/ExportScene.h"
#include "scene/Translators.h"

#include <assimp/config.h>
#include <assimp/Exporter.hpp>
#include <assimp/material.h>
#include <QDir>
#include <QFileInfo>
#include <QSaveFile>

#include <algorithm>
#include <limits>

namespace {

/// The name of the file in the output of Assimp's exporter.
const char kBlobName[] = "model";
constexpr std::size_t kLargestText = std::numeric_limits<int>::max();

/// A file that appears under its name only after all of its bytes are written.
class OutputFile
{
public:
    explicit OutputFile(const QString &path) : m_file(path)
    {
        const QFileInfo info(path);
        if (info.isDir())
            throw FileError(QStringLiteral("a folder has this name"));
        if (info.exists() && !info.isFile())
            throw FileError(QStringLiteral("the name belongs to something other than a file"));
        if (!info.dir().exists())
            throw FileError(QStringLiteral("the folder does not exist"));
        if (!m_file.open(QIODevice::WriteOnly | QIODevice::Unbuffered))
            throw FileError(m_file.errorString());
    }

    /// When the disk becomes full, one write stores only a part of the bytes, and the next one fails. The device is
    /// unbuffered, because a buffer would hide the failure.
    void write(const char *bytes, qint64 size)
    {
        while (size > 0) {
            const qint64 written = m_file.write(bytes, size);
            if (written <= 0)
                throw FileError(m_file.errorString());
            bytes += written;
            size -= written;
        }
    }
    void write(const QByteArray &bytes) { write(bytes.constData(), bytes.size()); }
    void write(const aiExportDataBlob &blob)
    {
        write(static_cast<const char *>(blob.data), static_cast<qint64>(blob.size));
    }
    void commit()
    {
        if (!m_file.commit())
            throw FileError(m_file.errorString());
    }

private:
    QSaveFile m_file;
};

/// A text glTF refers to a second file with the numbers. Embeds them as base64, so that the export is one file.
void writeWithBuffers(const aiExportDataBlob &text, OutputFile &out)
{
    const aiExportDataBlob *numbers = text.next;
    if (!numbers) {
        out.write(text);
        return;
    }
    // Unique in the file, because quotation marks inside names are escaped.
    const QByteArray reference = QByteArray("\"uri\": \"") + kBlobName + ".bin\"";
    const auto json = QByteArray::fromRawData(static_cast<const char *>(text.data),
                                              static_cast<int>(std::min(text.size, kLargestText)));
    const int at = json.indexOf(reference);
    if (at < 0 || text.size > kLargestText)
        throw FileError(QStringLiteral("its buffers cannot be embedded"));
    out.write(json.constData(), at);
    out.write("\"uri\": \"data:application/octet-stream;base64,");
    constexpr std::size_t kSlice = 3 << 18; // a multiple of three, which needs no padding
    for (std::size_t from = 0; from < numbers->size; from += kSlice) {
        const auto *bytes = static_cast<const char *>(numbers->data) + from;
        const auto size = static_cast<int>(std::min(kSlice, numbers->size - from));
        out.write(QByteArray::fromRawData(bytes, size).toBase64());
    }
    out.write("\"");
    out.write(json.constData() + at + reference.size(), json.size() - at - reference.size());
}

QByteArray exporterId(const Translator &translator)
{
    // Without a material file, because an upload sends only the model file.
    return translator.exportId == "obj" ? QByteArray("objnomtl") : translator.exportId;
}

void writeChecked(const std::vector<SceneObject> &objects, const QString &target, const Translator &translator,
                  const OptionValues &options)
{
    OutputFile out(target);
    const std::unique_ptr<aiScene> scene = ExportScene::build(objects, translator, options);
    Assimp::ExportProperties properties;
    properties.SetPropertyString(AI_CONFIG_EXPORT_BLOB_NAME, kBlobName);
    Assimp::Exporter exporter;
    const aiExportDataBlob *blob =
        exporter.ExportToBlob(scene.get(), exporterId(translator).constData(), 0U, &properties);
    if (!blob || blob->size == 0) {
        const QString reason = QString::fromUtf8(exporter.GetErrorString()).simplified();
        throw FileError(reason.isEmpty() ? QStringLiteral("this kind of file cannot contain the scene") : reason);
    }
    if (translator.exportId == "gltf2")
        writeWithBuffers(*blob, out);
    else
        out.write(*blob);
    out.commit();
}

/// Returns false for the default material of files without materials.
bool isPainted(const Material &material)
{
    const bool grey = material.diffuse.saturation() == 0;
    return !grey || !(material.name.isEmpty() || material.name == QLatin1String(AI_DEFAULT_MATERIAL_NAME));
}

/// Returns the distinct names of the objects' images, including missing ones.
QString imageNames(const std::vector<SceneObject> &objects)
{
    QStringList names;
    for (const SceneObject &object : objects) {
        const Material &material = *object.material;
        if (!material.textureName.isEmpty() && !names.contains(material.textureName))
            names.append(material.textureName);
    }
    return names.join(QStringLiteral(", "));
}

/// Returns one line for each kind of data that the file cannot contain.
QStringList losses(const std::vector<SceneObject> &objects, const Translator &translator)
{
    if (translator.holdsTextures())
        return {};
    const bool painted = std::any_of(objects.begin(), objects.end(),
                                     [](const SceneObject &object) { return isPainted(*object.material); });
    const bool textured = std::any_of(objects.begin(), objects.end(),
                                      [](const SceneObject &object) { return !object.material->texture.isNull(); });
    if (translator.exportId == "collada") {
        const QString names = imageNames(objects);
        if (names.isEmpty())
            return {};
        return {QStringLiteral("textures are left out, their names replace the colours of the materials: ") + names};
    }
    if (!painted && !textured)
        return {};
    return {QStringLiteral("%1 are left out, the exported %2 file contains only shapes")
                .arg(textured ? QStringLiteral("colours and textures") : QStringLiteral("colours"), translator.name)};
}

} // namespace

QString ModelExporter::targetPath(const QString &path, const Translator &translator)
{
    const QString name = QFileInfo(path).fileName();
    if (name.isEmpty() || name == QLatin1String(".") || name == QLatin1String(".."))
        throw FileError(QStringLiteral("cannot export \"%1\": the file name is missing").arg(path));
    if (QFileInfo(path).suffix().toLower() == translator.extension())
        return path;
    return path + QLatin1Char('.') + translator.extension();
}

QStringList ModelExporter::write(const std::vector<SceneObject> &objects, const QString &target,
                                 const Translator &translator, const OptionValues &options)
{
    const QString failed = QStringLiteral("cannot export \"%1\": %2");
    try {
        if (objects.empty())
            throw FileError(QStringLiteral("there are no objects to export"));
        writeChecked(objects, target, translator, options);
    } catch (const std::bad_alloc &) {
        throw FileError(failed.arg(target, QStringLiteral("out of memory")));
    } catch (const std::exception &problem) {
        throw FileError(failed.arg(target, QString::fromUtf8(problem.what())));
    }
    return losses(objects, translator);
}
