#include "scene/ModelExporter.h"

#include "scene/ExportScene.h"
#include "scene/Translators.h"

#include <assimp/config.h>
#include <assimp/Exporter.hpp>
#include <assimp/material.h>
#include <assimp/postprocess.h>
#include <QDir>
#include <QFileInfo>
#include <QSaveFile>

#include <algorithm>
#include <limits>

namespace {

/// What the exporter calls its file; the real name appears in nothing it writes but a reference to a material file.
const char blobName[] = "model";
constexpr std::size_t largestText = std::numeric_limits<int>::max();

/// A file that appears under its name with all of its bytes or not at all.
class OutputFile
{
public:
    explicit OutputFile(const QString &path) : m_file(path)
    {
        const QFileInfo info(path);
        if (info.isDir())
            throw FileError(QStringLiteral("a folder of that name is in the way"));
        if (info.exists() && !info.isFile())
            throw FileError(QStringLiteral("something that is no file is in the way"));
        if (!info.dir().exists())
            throw FileError(QStringLiteral("there is no such folder"));
        if (!m_file.open(QIODevice::WriteOnly | QIODevice::Unbuffered))
            throw FileError(m_file.errorString());
    }

    /// On a disk that fills up, a write may take some of the bytes and call that no error; only the next one fails.
    /// A buffer would hide it.
    void write(const char *bytes, qint64 size)
    {
        while (size > 0) {
            const qint64 taken = m_file.write(bytes, size);
            if (taken <= 0)
                throw FileError(m_file.errorString());
            bytes += taken;
            size -= taken;
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

/// Null when the exporter made no such file.
const aiExportDataBlob *sideFile(const aiExportDataBlob &main, const char *suffix)
{
    for (const aiExportDataBlob *blob = main.next; blob; blob = blob->next) {
        if (QByteArray(blob->name.C_Str()).endsWith(suffix))
            return blob;
    }
    return nullptr;
}

/// A text glTF refers to a second file with the numbers; carried inside as base64, one file is all there is.
void writeWithBuffers(const aiExportDataBlob &text, OutputFile &out)
{
    const aiExportDataBlob *numbers = sideFile(text, ".bin");
    if (!numbers) {
        out.write(text);
        return;
    }
    // Quotation marks inside a name are escaped, so this stands nowhere else.
    const QByteArray reference = QByteArray("\"uri\": \"") + blobName + ".bin\"";
    const auto json = QByteArray::fromRawData(static_cast<const char *>(text.data),
                                              static_cast<int>(std::min(text.size, largestText)));
    const int at = json.indexOf(reference);
    if (at < 0 || text.size > largestText)
        throw FileError(QStringLiteral("its buffers cannot be put inside"));
    out.write(json.constData(), at);
    out.write("\"uri\": \"data:application/octet-stream;base64,");
    constexpr std::size_t slice = 3 << 18; // a multiple of three needs no padding
    for (std::size_t from = 0; from < numbers->size; from += slice) {
        const auto *bytes = static_cast<const char *>(numbers->data) + from;
        const auto size = static_cast<int>(std::min(slice, numbers->size - from));
        out.write(QByteArray::fromRawData(bytes, size).toBase64());
    }
    out.write("\"");
    out.write(json.constData() + at + reference.size(), json.size() - at - reference.size());
}

QString materialFileName(const QString &target)
{
    return QFileInfo(target).completeBaseName().simplified() + QStringLiteral(".mtl");
}

void writeMaterials(const aiExportDataBlob &main, const QString &path)
{
    try {
        OutputFile out(path);
        if (const aiExportDataBlob *content = sideFile(main, ".mtl"))
            out.write(*content);
        out.commit();
    } catch (const FileError &problem) {
        throw FileError(
            QStringLiteral("its material file \"%1\": %2").arg(QFileInfo(path).fileName(), problem.reason()));
    }
}

bool wantsMaterialFile(const Translator &translator, const OptionValues &options)
{
    return translator.exportId == "obj" && options.value(QStringLiteral("materials")).toBool();
}

QByteArray exporterId(const Translator &translator, const OptionValues &options)
{
    if (translator.exportId == "obj")
        return wantsMaterialFile(translator, options) ? "obj" : "objnomtl";
    if (options.value(QStringLiteral("format")).toString() == QLatin1String("text"))
        return translator.exportId == "stlb" ? "stl" : "ply";
    return translator.exportId;
}

void writeChecked(const std::vector<SceneObject> &objects, const QString &target, const Translator &translator,
                  const OptionValues &options)
{
    OutputFile out(target);
    const std::unique_ptr<aiScene> scene = ExportScene::build(objects, translator, options);
    const QString materials = wantsMaterialFile(translator, options) ? materialFileName(target) : QString();
    Assimp::ExportProperties properties;
    // The reference to the material file is made of this name.
    properties.SetPropertyString(AI_CONFIG_EXPORT_BLOB_NAME, materials.isEmpty() ? blobName : materials.toStdString());
    const unsigned steps = options.value(QStringLiteral("triangulate")).toBool() ? aiProcess_Triangulate : 0U;
    Assimp::Exporter exporter;
    const aiExportDataBlob *blob =
        exporter.ExportToBlob(scene.get(), exporterId(translator, options).constData(), steps, &properties);
    if (!blob || blob->size == 0) {
        const QString reason = QString::fromUtf8(exporter.GetErrorString()).simplified();
        throw FileError(reason.isEmpty() ? QStringLiteral("it cannot be put into such a file") : reason);
    }
    if (translator.exportId == "gltf2")
        writeWithBuffers(*blob, out);
    else
        out.write(*blob);
    if (!materials.isEmpty())
        writeMaterials(*blob, QFileInfo(target).dir().filePath(materials));
    out.commit();
}

/// False for the grey that a file without materials gets.
bool isPainted(const Material &material)
{
    const bool grey = material.diffuse.saturation() == 0;
    return !grey || !(material.name.isEmpty() || material.name == QLatin1String(AI_DEFAULT_MATERIAL_NAME));
}

/// The names of the objects' images, also of those that were not found, each once, or as many as fit into a line.
QString imageNames(const std::vector<SceneObject> &objects)
{
    constexpr int most = 5;
    QStringList names;
    for (const SceneObject &object : objects) {
        const Material &material = *object.material;
        const QString name = material.textureName.isEmpty() ? QStringLiteral("(unnamed)") : material.textureName;
        const bool hasImage = !material.texture.isNull() || !material.textureName.isEmpty();
        if (hasImage && !names.contains(name))
            names.append(name);
    }
    if (names.size() <= most)
        return names.join(QStringLiteral(", "));
    return QStringList(names.mid(0, most)).join(QStringLiteral(", ")) +
           QStringLiteral(" and %1 more").arg(names.size() - most);
}

/// An upload is one file, so what would need a second one is lost to whoever downloads it.
QStringList losses(const std::vector<SceneObject> &objects, const QString &target, const Translator &translator,
                   const OptionValues &options)
{
    if (ExportScene::holdsTextures(translator))
        return {};
    const bool painted = std::any_of(objects.begin(), objects.end(),
                                     [](const SceneObject &object) { return isPainted(*object.material); });
    const bool textured = std::any_of(objects.begin(), objects.end(),
                                      [](const SceneObject &object) { return !object.material->texture.isNull(); });
    if (translator.exportId == "collada") {
        const QString names = imageNames(objects);
        return names.isEmpty()
                   ? QStringList()
                   : QStringList(QStringLiteral("textures are left out, their names are written in place of "
                                                "the materials' colours: ") +
                                 names);
    }
    if (wantsMaterialFile(translator, options)) {
        QStringList lines{
            QStringLiteral("materials are in \"%1\" beside it, which an upload of the one file leaves behind")
                .arg(materialFileName(target))};
        if (textured)
            lines.append(QStringLiteral("textures are left out, only their names are written: ") + imageNames(objects));
        return lines;
    }
    if (!painted && !textured)
        return {};
    const QString what = textured ? QStringLiteral("colours and textures") : QStringLiteral("colours");
    if (translator.exportId == "obj")
        return {QStringLiteral("%1 are left out, they would need files beside it").arg(what)};
    return {QStringLiteral("%1 are left out, %2 files hold shapes only").arg(what, translator.name)};
}

} // namespace

QString ModelExporter::targetPath(const QString &path, const Translator &translator)
{
    const QString name = QFileInfo(path).fileName();
    if (name.isEmpty() || name == QLatin1String(".") || name == QLatin1String(".."))
        throw FileError(QStringLiteral("cannot export \"%1\": this names no file").arg(path));
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
            throw FileError(QStringLiteral("there is nothing to write"));
        writeChecked(objects, target, translator, options);
    } catch (const std::bad_alloc &) {
        throw FileError(failed.arg(target, QStringLiteral("it needs more memory than there is")));
    } catch (const std::exception &problem) {
        throw FileError(failed.arg(target, QString::fromUtf8(problem.what())));
    }
    return losses(objects, target, translator, options);
}
