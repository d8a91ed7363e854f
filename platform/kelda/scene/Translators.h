// scene/Translators.h
//
// The file kinds that the host reads and writes, by their names in commands and menus.

#pragma once

#include <QStringList>

#include <vector>

struct Translator
{
    QString name;
    QByteArray exportId;    ///< the exporter's id; empty when this kind is only read
    QStringList extensions; ///< lower case, without a dot; the first one is written
    bool reads = true;

    bool writes() const { return !exportId.isEmpty(); }
    QString extension() const { return extensions.first(); }
};

namespace Translators {

/// In the order of menus; the kinds that are also written come first.
const std::vector<Translator> &all();
/// Null for an unknown name. Case counts.
const Translator *find(const QString &name);
/// Throws FileError for an unknown name.
const Translator &named(const QString &name);
/// The reading translator for \p extension, which may be in any case and have no dot; null when there is none.
const Translator *forExtension(const QString &extension);

} // namespace Translators
