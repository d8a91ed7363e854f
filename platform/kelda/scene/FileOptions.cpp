#include "scene/FileOptions.h"

#include "scene/Translators.h"

namespace {

QString storeKey(FileAction action, const Translator &translator)
{
    return (action == FileAction::Import ? QStringLiteral("in/") : QStringLiteral("out/")) + translator.name;
}

} // namespace

FileAction OptionStore::actionNamed(const QString &name)
{
    if (name == QLatin1String("Import"))
        return FileAction::Import;
    if (name == QLatin1String("ExportAll") || name == QLatin1String("ExportActive"))
        return FileAction::Export;
    throw FileError(QStringLiteral("unknown file action \"%1\"").arg(name));
}

std::vector<OptionSpec> OptionStore::specs(FileAction action, const Translator &translator)
{
    if (action == FileAction::Import ? !translator.reads : !translator.writes())
        throw FileError(QStringLiteral("the host does not %1 %2 files")
                            .arg(action == FileAction::Import ? "read" : "write", translator.name));
    using Kind = OptionSpec::Kind;
    const OptionSpec scale{"scale", QStringLiteral("Scale"), Kind::Number, 1.0, {}};
    if (action == FileAction::Import)
        return {{"triangulate", QStringLiteral("Triangulate polygons"), Kind::Bool, true, {}}, scale};
    std::vector<OptionSpec> specs{scale, {"upAxis", QStringLiteral("Up axis"), Kind::Choice, "Y", {"Y", "Z"}}};
    if (translator.holdsTextures())
        specs.push_back({"textures", QStringLiteral("Embed textures"), Kind::Bool, true, {}});
    return specs;
}

OptionValues OptionStore::values(FileAction action, const Translator &translator) const
{
    OptionValues current;
    for (const OptionSpec &spec : specs(action, translator))
        current.insert(spec.key, spec.initial);
    const OptionValues set = m_set.value(storeKey(action, translator));
    for (auto entry = set.begin(); entry != set.end(); ++entry)
        current.insert(entry.key(), entry.value());
    return current;
}

void OptionStore::set(FileAction action, const Translator &translator, const QString &key, const QVariant &value)
{
    m_set[storeKey(action, translator)].insert(key, value);
}
