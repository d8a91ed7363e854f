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
    /// The file that an export to \p path writes: \p path, with the translator's extension appended unless it already
    /// has it in upper or lower case. Throws FileError if \p path ends without a file name.
    static QString targetPath(const QString &path, const Translator &translator);

    /// Writes \p objects to \p target, which is created or replaced only after everything is on the disk. Throws
    /// FileError with a message that names the file. Returns what the file does not contain, one line each.
    static QStringList write(const std::vector<SceneObject> &objects, const QString &target,
                             const Translator &translator, const OptionValues &options);
};
