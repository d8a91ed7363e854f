// scene/ModelImporter.h
//
// Reads a model file into scene objects. The file is not trusted: whatever its content, the result is objects or one
// error that names the file.

#pragma once

#include "scene/FileOptions.h"
#include "scene/Scene.h"

struct Translator;

struct ImportResult
{
    std::vector<SceneObject> objects; ///< at least one
    QStringList warnings;             ///< such as missing textures, one line each
};

class ModelImporter
{
public:
    /// Reads \p path as a file of \p translator, or of the kind that its first bytes suggest if that is null. Blocks
    /// without the event loop. Throws FileError.
    static ImportResult read(const QString &path, const Translator *translator, const OptionValues &options);
};
