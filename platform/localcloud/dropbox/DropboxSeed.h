// localcloud/dropbox/DropboxSeed.h
//
// The models and folders that the Dropbox service starts with.

#pragma once

#include <localcloud/Seeder.h>

namespace localcloud {

/// Fills \p folder (created) once: some twenty small files in nested folders. Everything adds "Large terrain.obj" of
/// 200,000 triangles and the folder "Ten Thousand". \p marker and failures as for seedOnce().
bool seedDropbox(const QString &folder, const QString &marker, SeedAmount amount, QString *error);

} // namespace localcloud
