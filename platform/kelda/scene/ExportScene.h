// scene/ExportScene.h
//
// Converts the host's objects to a scene of Assimp with the features that the chosen kind of file supports.

#pragma once

#include "scene/FileOptions.h"
#include "scene/Scene.h"

#include <assimp/scene.h>

#include <memory>

struct Translator;

namespace ExportScene {

/// \p options has the keys that OptionStore::specs() lists for an export by \p translator.
std::unique_ptr<aiScene> build(const std::vector<SceneObject> &objects, const Translator &translator,
                               const OptionValues &options);

} // namespace ExportScene
