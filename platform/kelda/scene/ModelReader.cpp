#include "scene/ModelReader.h"

#include "scene/FileOptions.h"
#include "scene/ModelCollector.h"
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

/// The name that makes the library choose the wanted reader, whatever the file is called.
QString aliasFor(const QString &path, const Translator *translator)
{
    const QFileInfo info(path);
    if (!translator || translator->extensions.contains(info.suffix().toLower()))
        return info.absoluteFilePath();
    return info.absoluteFilePath() + QLatin1Char('.') + translator->extension();
}

/// Throws FileError for a corner that would make the library's steps, or the collector, read beyond an array.
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

/// What \p importer has read. Throws FileError.
ModelData collected(Assimp::Importer &importer, const OptionValues &options)
{
    const aiScene *scene = importer.GetScene();
    if (!scene->mRootNode)
        throw FileError(QStringLiteral("it holds no surfaces"));
    checkMeshes(*scene);
    if (options.value(QStringLiteral("triangulate"), true).toBool())
        scene = importer.ApplyPostProcessing(aiProcess_Triangulate);
    if (!scene)
        throw FileError(errorOf(importer));
    const bool join = options.value(QStringLiteral("joinVertices"), true).toBool();
    return ModelCollector::collect(*scene, options.value(QStringLiteral("scale"), 1.0).toDouble(), join);
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
        return QStringLiteral("its kind is recognised neither by its name nor by its content; give it the extension of "
                              "its kind");
    return content + QStringLiteral(", which cannot be read");
}

} // namespace

ModelData ModelReader::read(const QString &path, const Translator *translator, const OptionValues &options)
{
    const QString alias = aliasFor(path, translator);
    auto *folder = new ModelFolder(QFileInfo(path).absoluteFilePath(), alias);
    Assimp::Importer importer;
    importer.SetIOHandler(folder); // deletes it in the end
    importer.SetPropertyBool(AI_CONFIG_IMPORT_FBX_PRESERVE_PIVOTS, false);
    importer.SetPropertyBool(AI_CONFIG_IMPORT_COLLADA_USE_COLLADA_NAMES, true);
    // The library's own validation would refuse a model for a fault in an animation or a light.
    if (!importer.ReadFile(alias.toStdString(), 0))
        throw FileError(explained(errorOf(importer), path, translator));
    try {
        ModelData model = collected(importer, options);
        model.missingMaterials = folder->missingMaterials();
        return model;
    } catch (const FileError &problem) {
        // Without a translator the library has found the kind by the content.
        throw FileError(translator ? explained(problem.reason(), path, translator) : problem.reason());
    }
}
