// scene/Translators.h
//
// The kinds of files that the host reads and writes, with their names in commands and menus.

#pragma once

#include <QStringList>

#include <vector>

struct Translator
{
    QString name;
    QByteArray exportId;    ///< id of Assimp's exporter; empty if the host only reads this kind
    QStringList extensions; ///< lower case, without a dot; the first one is written
    bool reads = true;

    bool writes() const { return !exportId.isEmpty(); }
    /// Returns true if exported files of this kind contain their images.
    bool holdsTextures() const { return exportId == "gltf2" || exportId == "glb2" || exportId == "fbxa"; }
    QString extension() const { return extensions.first(); }
};

namespace Translators {

/// Returns the translators in the order of menus, first those that also write.
const std::vector<Translator> &all();
/// Returns null for an unknown name. Case-sensitive.
const Translator *find(const QString &name);
/// Throws FileError for an unknown name.
const Translator &named(const QString &name);
/// Returns the translator that reads files with \p extension (in any case, without a dot), or null.
const Translator *forExtension(const QString &extension);

} // namespace Translators
