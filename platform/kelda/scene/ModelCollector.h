// scene/ModelCollector.h
//
// Turns the import library's scene into the host's model data: one part for each use of a mesh, in world coordinates.

#pragma once

#include "scene/ModelData.h"

struct aiScene;

namespace ModelCollector {

/// \p scene must have a root, and no face of it may refer to a missing point. Multiplies coordinates by \p scale. With
/// \p join, points of the same position become one if their normals and texture coordinates differ by 1e-5 at most, and
/// points without a face are left out. Throws FileError for coordinates out of range and for a scene without faces.
ModelData collect(const aiScene &scene, double scale, bool join);

} // namespace ModelCollector
