// scene/ModelExporter.h
//
// Writes scene objects into one model file.

#pragma once

#include "scene/FileOptions.h"
#include "scene/Scene.h"

struct Translator;

class ModelExporter
{
public:
    /// The file that an export to \p path writes: \p path itself when it already has one of the translator's
    /// extensions, else with the extension appended.
    static QString targetPath(const QString &path, const Translator &translator);

    /// Writes \p objects to \p target, replacing a file there only when everything was written. Textures go into the
    /// file where its kind can hold them; otherwise their names do. Throws FileError, naming the file.
    static void write(const std::vector<SceneObject> &objects, const QString &target, const Translator &translator,
                      const OptionValues &options);
};
