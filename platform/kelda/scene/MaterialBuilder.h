// scene/MaterialBuilder.h
//
// Makes the scene's materials of what a model file says, with textures from the file itself or from beside it.

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
    /// \p name is the material file's; the model's materials are plain without it.
    void noteMissingFile(const QString &name);
    /// About textures that are missing or unreadable, one line each.
    const QStringList &warnings() const { return m_warnings; }

private:
    QImage textureBeside(const QString &reference);
    QImage textureInside(const MaterialData &data);
    void warnOnce(const QString &text);

    const ModelFolder &m_folder;
    QHash<QString, QImage> m_textures;
    QStringList m_warnings;
};
