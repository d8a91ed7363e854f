// fuzz/Fuzz.h
//
// What the fuzz targets share: the properties they check, and the ways they feed bytes.

#pragma once

#include <QByteArray>
#include <QString>

#include <cstddef>
#include <cstdint>
#include <functional>

namespace Fuzz {

/// Ends the program, which counts as a finding, when \p holds is false. \p property says what should have held.
void require(bool holds, const char *property);

/// A copy of the \p size bytes at \p data.
QByteArray bytes(const std::uint8_t *data, std::size_t size);

/// Feeds \p bytes in pieces whose sizes depend on nothing but \p bytes.
void feedInPieces(const QByteArray &bytes, const std::function<void(const QByteArray &)> &feed);

/// Whether a file \p name in the folder \p subFolder of a download area would be written inside that area.
bool staysInside(const QString &subFolder, const QString &name);

} // namespace Fuzz
