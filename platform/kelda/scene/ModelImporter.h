// scene/ModelImporter.h
//
// Turns a model file into scene objects. Files come from anywhere: whatever they hold, the outcome is objects or one
// error that names the file.

#pragma once

#include "scene/FileOptions.h"
#include "scene/Scene.h"

struct Translator;

struct ImportResult
{
    std::vector<SceneObject> objects; ///< at least one
    QStringList warnings;             ///< missing textures and the like, one line each
};

class ModelImporter
{
public:
    /// Reads \p path as \p translator does; null tries what the file's first bytes suggest. Throws FileError.
    static ImportResult read(const QString &path, const Translator *translator, const OptionValues &options);
};
