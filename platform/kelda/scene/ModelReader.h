// scene/ModelReader.h
//
// Reads a model file with Assimp. The host uses IsolatedReader instead, because Assimp can crash or loop endlessly on a
// damaged file.

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

    /// Reads \p path as a file of \p translator. If that is null, the first bytes determine the kind of file. The
    /// result has at least one part. Throws FileError and the exceptions of Assimp.
    static ModelData read(const QString &path, const Translator *translator, const OptionValues &options);

    /// \p scene must have a root and valid point indices. Multiplies coordinates by \p scale. Joins points of the same
    /// position if their normals and texture coordinates differ by 1e-5 at most, and drops points without a face.
    /// Throws FileError for coordinates out of range and for a scene without faces.
    static ModelData collect(const aiScene &scene, double scale);
};
