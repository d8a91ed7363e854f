// scene/MaterialBuilder.h
//
// Builds the scene's materials from those of a model file, with embedded textures or files beside the model.

#pragma once

#include "scene/ModelData.h"
#include "scene/Scene.h"

class ModelFolder;

class MaterialBuilder
{
public:
    /// \p folder must outlive the builder.
    explicit MaterialBuilder(const ModelFolder &folder) : m_folder(folder) {}

    Material build(const MaterialData &data);
    /// Warns about the missing material file \p name.
    void addMissingFile(const QString &name);
    /// Missing or unreadable files and textures, one line each.
    const QStringList &warnings() const { return m_warnings; }

private:
    QImage textureBeside(const QString &reference);
    QImage textureInside(const MaterialData &data);
    void warnOnce(const QString &text);

    const ModelFolder &m_folder;
    QHash<QString, QImage> m_textures;
    QStringList m_warnings;
};
