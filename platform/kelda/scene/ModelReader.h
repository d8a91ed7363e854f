// scene/ModelReader.h
//
// Reads a model file with Assimp. A damaged file can crash Assimp or make it loop for ever, so the host uses
// IsolatedReader instead.

#pragma once

#include "scene/FileOptions.h"
#include "scene/ModelData.h"

struct Translator;

class ModelReader
{
public:
    /// Maximal number of corners, and of points of a mesh.
    static constexpr qint64 kMostCorners = 100'000'000;
    /// Maximal absolute coordinate after scaling.
    static constexpr float kLargestCoordinate = 1e15F;

    /// Reads \p path as a file of \p translator, or of the kind that its first bytes suggest if that is null. The
    /// result has at least one part. Throws FileError and the exceptions of Assimp.
    static ModelData read(const QString &path, const Translator *translator, const OptionValues &options);
};
