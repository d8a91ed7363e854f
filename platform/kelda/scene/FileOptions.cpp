#include "scene/FileOptions.h"

#include "scene/Translators.h"

#include <algorithm>
#include <cmath>

namespace {

QString storeKey(FileAction action, const Translator &translator)
{
    return (action == FileAction::Import ? QStringLiteral("in/") : QStringLiteral("out/")) + translator.name;
}

QVariant checkedBool(const OptionSpec &spec, const QVariant &value)
{
    static const QStringList yes{"1", "true", "on", "yes"};
    static const QStringList no{"0", "false", "off", "no"};
    const QString text = value.toString().toLower();
    if (yes.contains(text))
        return true;
    if (no.contains(text))
        return false;
    throw FileError(QStringLiteral("option \"%1\" is on or off, not \"%2\"").arg(spec.key, value.toString()));
}

QVariant checkedNumber(const OptionSpec &spec, const QVariant &value)
{
    bool isNumber = false;
    const double number = value.toDouble(&isNumber);
    if (!isNumber || !std::isfinite(number) || number < OptionStore::smallestScale ||
        number > OptionStore::largestScale)
        throw FileError(QStringLiteral("option \"%1\" is a number from %2 to %3, not \"%4\"")
                            .arg(spec.key)
                            .arg(OptionStore::smallestScale)
                            .arg(OptionStore::largestScale)
                            .arg(value.toString()));
    return number;
}

QVariant checked(const OptionSpec &spec, const QVariant &value)
{
    switch (spec.kind) {
    case OptionSpec::Kind::Bool:
        return checkedBool(spec, value);
    case OptionSpec::Kind::Number:
        return checkedNumber(spec, value);
    case OptionSpec::Kind::Choice:
        break;
    }
    if (!spec.choices.contains(value.toString()))
        throw FileError(QStringLiteral("option \"%1\" is one of %2, not \"%3\"")
                            .arg(spec.key, spec.choices.join(QStringLiteral(", ")), value.toString()));
    return value.toString();
}

/// The checked form of \p value for the option \p key.
QVariant checked(FileAction action, const Translator &translator, const QString &key, const QVariant &value)
{
    const std::vector<OptionSpec> specs = OptionStore::specs(action, translator);
    const auto found =
        std::find_if(specs.begin(), specs.end(), [&](const OptionSpec &spec) { return spec.key == key; });
    if (found == specs.end())
        throw FileError(QStringLiteral("%1 has no option \"%2\"").arg(translator.name, key));
    return checked(*found, value);
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
        throw FileError(QStringLiteral("%1 files are not %2")
                            .arg(translator.name, action == FileAction::Import ? "read" : "written"));
    using Kind = OptionSpec::Kind;
    const OptionSpec scale{"scale", QStringLiteral("Scale"), Kind::Number, 1.0, {}};
    if (action == FileAction::Import)
        return {{"triangulate", QStringLiteral("Triangulate polygons"), Kind::Bool, true, {}},
                {"joinVertices", QStringLiteral("Join identical vertices"), Kind::Bool, true, {}},
                scale};
    // Both turn or stretch the points; what a file says about its axes and units stays the exporter's.
    std::vector<OptionSpec> specs{scale, {"upAxis", QStringLiteral("Up axis"), Kind::Choice, "Y", {"Y", "Z"}}};
    const QByteArray &id = translator.exportId;
    if (id == "obj" || id == "fbxa" || id == "collada" || id == "plyb")
        specs.push_back({"triangulate", QStringLiteral("Triangulate polygons"), Kind::Bool, false, {}});
    if (id != "obj" && id != "stlb") // which always have some
        specs.push_back({"normals", QStringLiteral("Write normals"), Kind::Bool, true, {}});
    if (id == "gltf2" || id == "glb2" || id == "fbxa")
        specs.push_back({"textures", QStringLiteral("Put textures inside"), Kind::Bool, true, {}});
    // Off at first: an upload takes the model file alone, and a reference to a file that stayed behind helps nobody.
    if (id == "obj")
        specs.push_back({"materials", QStringLiteral("Write a material file (.mtl)"), Kind::Bool, false, {}});
    if (id == "stlb" || id == "plyb")
        specs.push_back({"format", QStringLiteral("Format"), Kind::Choice, "binary", {"binary", "text"}});
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
    const QVariant fitting = checked(action, translator, key, value);
    m_set[storeKey(action, translator)].insert(key, fitting);
}

OptionValues OptionStore::overridden(FileAction action, const Translator &translator, OptionValues values,
                                     const QString &text)
{
    const QStringList entries = text.split(QLatin1Char(';'), Qt::SkipEmptyParts);
    for (const QString &entry : entries) {
        const int equals = entry.indexOf(QLatin1Char('='));
        if (equals <= 0)
            throw FileError(QStringLiteral("options are written key=value, not \"%1\"").arg(entry));
        const QString key = entry.left(equals).trimmed();
        values.insert(key, checked(action, translator, key, entry.mid(equals + 1).trimmed()));
    }
    return values;
}
