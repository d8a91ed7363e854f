// scene/ModelReader.h
//
// Reads a model file with Assimp. A damaged file can crash Assimp or make it loop for ever, so the host uses
// IsolatedReader instead.

#pragma once

#include "scene/FileOptions.h"
#include "scene/ModelData.h"

struct aiScene;
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

    /// \p scene must have a root and valid point indices. Multiplies coordinates by \p scale. Joins points of the same
    /// position if their normals and texture coordinates differ by 1e-5 at most, and drops points without a face.
    /// Throws FileError for coordinates out of range and for a scene without faces.
    static ModelData collect(const aiScene &scene, double scale);
};
