// localcloud/DemoData.h
//
// Fills the folder of a service with the committed files below demo-data/, which are compiled into the program.

#pragma once

#include <QString>

namespace localcloud {

/// Fills \p folder with the demo data of the service \p name, unless the file \p marker exists, and then writes
/// \p marker. Existing files stay unchanged. Returns false and sets \p error if a file cannot be written; the next
/// start tries again.
bool fillOnce(const QString &name, const QString &folder, const QString &marker, QString *error);

} // namespace localcloud
