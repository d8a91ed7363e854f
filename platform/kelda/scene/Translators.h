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
    /// Whether exported files of this kind contain their images.
    bool holdsTextures() const { return exportId == "gltf2" || exportId == "glb2" || exportId == "fbxa"; }
    QString extension() const { return extensions.first(); }
};

namespace Translators {

/// In the order of menus. The kinds that the host also writes come first.
const std::vector<Translator> &all();
/// Returns null for an unknown name. Case-sensitive.
const Translator *find(const QString &name);
/// Throws FileError for an unknown name.
const Translator &named(const QString &name);
/// The translator that reads files with \p extension, in any case and without a dot; null if it does not exist.
const Translator *forExtension(const QString &extension);

} // namespace Translators
