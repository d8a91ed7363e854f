// scene/ModelReader.h
//
// Reads a model file with the import library. A damaged file can crash that library or keep it busy for ever, so the
// host calls this through IsolatedReader only.

#pragma once

#include "scene/FileOptions.h"
#include "scene/ModelData.h"

struct Translator;

class ModelReader
{
public:
    /// More corners or points than this in one file are refused.
    static constexpr qint64 mostCorners = 100'000'000;
    /// Coordinates beyond this, after scaling, are refused.
    static constexpr float largestCoordinate = 1e15F;

    /// Reads \p path as \p translator does; null tries what the file's first bytes suggest. At least one part. Throws
    /// FileError, and whatever the library throws.
    static ModelData read(const QString &path, const Translator *translator, const OptionValues &options);
};
