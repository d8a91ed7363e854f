#include "scene/ModelImporter.h"

#include "scene/IsolatedReader.h"
#include "scene/MaterialBuilder.h"
#include "scene/ModelFolder.h"

#include <QFile>
#include <QFileInfo>

namespace {

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
