// fuzz/Fuzz.h
//
// Functions that the fuzz targets share: checks of properties, and the cutting of bytes.

#pragma once

#include <QByteArray>
#include <QList>
#include <QString>

#include <cstddef>
#include <cstdint>

namespace Fuzz {

/// Prints \p property and aborts, which counts as a finding, if \p holds is false.
void require(bool holds, const char *property);

/// A copy of the \p size bytes at \p data.
QByteArray bytes(const std::uint8_t *data, std::size_t size);

/// Cuts \p bytes in pieces whose sizes depend on \p bytes only.
QList<QByteArray> pieces(const QByteArray &bytes);

/// True if the path of a file \p name in the folder \p subFolder of a download area is inside that area.
bool staysInside(const QString &subFolder, const QString &name);

} // namespace Fuzz
