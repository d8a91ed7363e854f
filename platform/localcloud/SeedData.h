// localcloud/SeedData.h
//
// The models and folders that a new local cloud starts with, all made by this program.

#pragma once

#include <QString>

namespace localcloud {

/// How much is put into the services' empty folders.
enum class SeedAmount {
    Nothing,
    Small,     ///< the Plyx catalogue; for Dropbox some twenty small files in nested folders
    Everything ///< for Dropbox also "Large terrain.obj" (200,000 triangles) and the folder "Ten Thousand"
};

/// Fills the Dropbox \p folder (created) once: \p marker, a file elsewhere, records that it was done. Files that exist
/// are never touched. False with a reason when something cannot be written; the next start tries again.
bool seedDropbox(const QString &folder, const QString &marker, SeedAmount amount, QString *error);

} // namespace localcloud
