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
    /// The file that an export to \p path writes: \p path itself when it already has the translator's
    /// extension, in upper or lower case, else with the extension appended. Throws FileError when \p path ends without
    /// a name.
    static QString targetPath(const QString &path, const Translator &translator);

    /// Writes \p objects to \p target, which stays as it was, or absent, until everything is on the disk. Throws
    /// FileError, naming the file. Answers what the file could not take along, one line each.
    static QStringList write(const std::vector<SceneObject> &objects, const QString &target,
                             const Translator &translator, const OptionValues &options);
};
