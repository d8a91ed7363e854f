// scene/ExportScene.h
//
// Makes the export library's scene of the host's objects, in a form that the chosen file kind can hold.

#pragma once

#include "scene/FileOptions.h"
#include "scene/Scene.h"

#include <assimp/scene.h>

#include <memory>

struct Translator;

namespace ExportScene {

/// True when files of this kind carry images inside.
bool holdsTextures(const Translator &translator);

/// \p options as OptionStore::specs() lists them for an export by \p translator. The result owns all of its parts.
std::unique_ptr<aiScene> build(const std::vector<SceneObject> &objects, const Translator &translator,
                               const OptionValues &options);

} // namespace ExportScene
