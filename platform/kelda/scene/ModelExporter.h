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
    /// Returns the file that an export to \p path writes: \p path, with the translator's extension appended unless it
    /// has that extension in upper or lower case. Throws FileError if \p path ends without a file name.
    static QString targetPath(const QString &path, const Translator &translator);

    /// Writes \p objects to \p target, which is created or replaced only after all bytes are on the disk. Throws
    /// FileError with a message that contains the file's name. Returns one line for each kind of lost data.
    static QStringList write(const std::vector<SceneObject> &objects, const QString &target,
                             const Translator &translator, const OptionValues &options);
};
