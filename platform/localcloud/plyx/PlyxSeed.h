// localcloud/plyx/PlyxSeed.h
//
// The catalogue that the Plyx service starts with: some three hundred assets over ten shapes and fourteen surfaces, all
// made by this program.

#pragma once

#include <localcloud/Seeder.h>

namespace localcloud {

/// Fills \p folder (created) once, as seedOnce() does. Any amount but Nothing gives the whole catalogue.
bool seedPlyx(const QString &folder, const QString &marker, SeedAmount amount, QString *error);

/// Draws the picture that an asset of that catalogue names, a PNG of 96 x 96 pixels, in some ten milliseconds; too many
/// to be drawn in advance. Empty for another name.
QByteArray seedThumbnail(const QString &name);

} // namespace localcloud
