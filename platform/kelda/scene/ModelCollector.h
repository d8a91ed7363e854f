// scene/ModelCollector.h
//
// Converts a scene of Assimp into the host's model data: one part for each use of a mesh, in world coordinates.

#pragma once

#include "scene/ModelData.h"

struct aiScene;

namespace ModelCollector {

/// \p scene must have a root and valid point indices. Multiplies coordinates by \p scale. Joins points of the same
/// position if their normals and texture coordinates differ by 1e-5 at most, and drops points without a face. Throws
/// FileError for coordinates out of range and for a scene without faces.
ModelData collect(const aiScene &scene, double scale);

} // namespace ModelCollector
