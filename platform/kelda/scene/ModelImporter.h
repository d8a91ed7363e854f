// scene/ModelImporter.h
//
// Reads a model file into scene objects. The file is not trusted: any content results in objects or in one error with
// the file's name.

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
    /// Reads \p path as a file of \p translator. If that is null, the first bytes determine the kind of file. Blocks
    /// without spinning the event loop. Throws FileError.
    static ImportResult read(const QString &path, const Translator *translator, const OptionValues &options);
};
