// fuzz/Fuzz.h
//
// Functions that the fuzz targets share: checks of properties, and feeding of bytes.

#pragma once

#include <QByteArray>
#include <QString>

#include <cstddef>
#include <cstdint>
#include <functional>

namespace Fuzz {

/// Prints \p property and aborts, which counts as a finding, if \p holds is false.
void require(bool holds, const char *property);

/// A copy of the \p size bytes at \p data.
QByteArray bytes(const std::uint8_t *data, std::size_t size);

/// Feeds \p bytes in pieces whose sizes depend on \p bytes only.
void feedInPieces(const QByteArray &bytes, const std::function<void(const QByteArray &)> &feed);

/// True if the path of a file \p name in the folder \p subFolder of a download area is inside that area.
bool staysInside(const QString &subFolder, const QString &name);

} // namespace Fuzz
