// setup/ConfigFile.h

#pragma once

#include <QPair>
#include <QString>
#include <QVector>

namespace ConfigFile {

/// Writes the content of \p source to \p target, with \p values as the only lines of [\p section]; other sections and
/// their comments stay. \p source may be missing. Only the user can read the result. False, with a message, if a file
/// cannot be read or written; the old target stays then.
bool write(const QString &source, const QString &target, const QString &section,
           const QVector<QPair<QString, QString>> &values);

} // namespace ConfigFile
