// scene/MaterialReader.h
//
// Turns the materials of an imported file into the scene's, with textures from the file itself or from beside it.

#pragma once

#include "scene/Scene.h"

#include <assimp/scene.h>

class ModelFolder;

class MaterialReader
{
public:
    /// Both must outlive the reader.
    MaterialReader(const aiScene &scene, const ModelFolder &folder) : m_scene(scene), m_folder(folder) {}

    /// The material \p index, read at its first use; a plain grey one for an index that does not exist.
    std::shared_ptr<const Material> material(unsigned index);
    const QStringList &warnings() const { return m_warnings; }

private:
    Material readMaterial(const aiMaterial &source);
    QImage texture(const QString &reference);
    QImage embedded(const aiTexture &source);
    void warnOnce(const QString &text);

    const aiScene &m_scene;
    const ModelFolder &m_folder;
    QHash<unsigned, std::shared_ptr<const Material>> m_materials;
    QHash<QString, QImage> m_textures;
    QStringList m_warnings;
};
