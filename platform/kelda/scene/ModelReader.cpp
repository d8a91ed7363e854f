#include "scene/ModelReader.h"

#include "scene/FileOptions.h"
#include "scene/ModelFolder.h"
#include "scene/Translators.h"

#include <assimp/config.h>
#include <assimp/Importer.hpp>
#include <assimp/postprocess.h>
#include <assimp/scene.h>
#include <QFileInfo>
#include <QMimeDatabase>
#include <QRegularExpression>

#include <algorithm>

namespace {

/// Returns a name with an extension of \p translator. Assimp selects its reader by the extension.
QString aliasFor(const QString &path, const Translator *translator)
{
    const QFileInfo info(path);
    if (!translator || translator->extensions.contains(info.suffix().toLower()))
        return info.absoluteFilePath();
    return info.absoluteFilePath() + QLatin1Char('.') + translator->extension();
}

/// Throws FileError for a point index out of range, because Assimp does not check them.
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

QString errorOf(const Assimp::Importer &importer)
{
    const QString reason = QString::fromUtf8(importer.GetErrorString()).simplified().left(300);
    return reason.isEmpty() ? QStringLiteral("it cannot be read") : reason;
}

/// Converts the scene of \p importer. Throws FileError.
ModelData convertedScene(Assimp::Importer &importer, const OptionValues &options)
{
    const aiScene *scene = importer.GetScene();
    if (!scene->mRootNode)
        throw FileError(QStringLiteral("it has no surfaces"));
    checkMeshes(*scene);
    if (options.value(QStringLiteral("triangulate"), true).toBool())
        scene = importer.ApplyPostProcessing(aiProcess_Triangulate);
    if (!scene)
        throw FileError(errorOf(importer));
    return ModelReader::collect(*scene, options.value(QStringLiteral("scale"), 1.0).toDouble());
}

/// Returns \p reason, and the kind of file that the first bytes indicate if that explains the failure.
QString explained(const QString &reason, const QString &path, const Translator *translator)
{
    // Kinds that the MIME database detects reliably and the host cannot read.
    static const QRegularExpression foreign(
        QStringLiteral("^(image|audio|video)/|/(html|pdf|gzip|x-xz|x-bzip|x-7z-compressed|vnd.rar)$"));
    const QMimeType kind = QMimeDatabase().mimeTypeForFile(path, QMimeDatabase::MatchContent);
    const QString content = QStringLiteral("its content is of the kind \"%1\"").arg(kind.comment());
    const QStringList suffixes = kind.suffixes();
    QString failure = reason;
    if (reason.startsWith(QLatin1String("No suitable reader")))
        failure =
            translator ? QStringLiteral("it is not a %1 file").arg(translator->name) : QStringLiteral("it is damaged");
    if (translator) {
        const bool other = foreign.match(kind.name()).hasMatch() && !suffixes.contains(translator->extension());
        return other ? failure + QStringLiteral("; ") + content : failure;
    }
    if (std::any_of(suffixes.begin(), suffixes.end(), Translators::forExtension))
        return failure;
    if (QStringList{"application/octet-stream", "application/xml", "text/plain"}.contains(kind.name()))
        return QStringLiteral(
            "neither its name nor its content shows the kind of file; rename it with the right extension");
    return content + QStringLiteral(", which the host does not read");
}

} // namespace

ModelData ModelReader::read(const QString &path, const Translator *translator, const OptionValues &options)
{
    const QString alias = aliasFor(path, translator);
    auto *folder = new ModelFolder(QFileInfo(path).absoluteFilePath(), alias);
    Assimp::Importer importer;
    importer.SetIOHandler(folder); // takes ownership
    importer.SetPropertyBool(AI_CONFIG_IMPORT_FBX_PRESERVE_PIVOTS, false);
    importer.SetPropertyBool(AI_CONFIG_IMPORT_COLLADA_USE_COLLADA_NAMES, true);
    // Assimp's validation step is off, because it rejects models for errors in animations and lights.
    if (!importer.ReadFile(alias.toStdString(), 0))
        throw FileError(explained(errorOf(importer), path, translator));
    try {
        ModelData model = convertedScene(importer, options);
        model.missingMaterials = folder->missingMaterials();
        return model;
    } catch (const FileError &problem) {
        // Without a translator, Assimp has detected the kind of file.
        throw FileError(translator ? explained(problem.reason(), path, translator) : problem.reason());
    }
}
