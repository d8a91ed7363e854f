// scene/Scene.h
//
// The host's document: named objects with geometry, material and selection.

#pragma once

#include "scene/Mesh.h"

#include <QColor>
#include <QHash>
#include <QImage>
#include <QObject>
#include <QStringList>

#include <memory>
#include <vector>

struct Material
{
    QString name;
    QColor diffuse = QColor(180, 180, 180);
    QImage texture;      ///< null if the material has no texture
    QString textureName; ///< file name of the texture, even if the file was missing
};

struct SceneObject
{
    QString name;
    std::shared_ptr<const Mesh> mesh;         ///< never null
    std::shared_ptr<const Material> material; ///< never null
    bool selected = false;
};

class Scene : public QObject
{
    Q_OBJECT
public:
    explicit Scene(QObject *parent = nullptr);

    const std::vector<SceneObject> &objects() const { return m_objects; }
    /// Returns null if the object does not exist. Valid until the scene changes.
    const SceneObject *find(const QString &name) const;
    QStringList names() const;
    QStringList selection() const;

    /// Appends a number to names that are in use, and names unnamed objects "object". Returns the resulting names.
    QStringList add(std::vector<SceneObject> objects);
    /// Unknown names are ignored.
    void remove(const QStringList &names);
    /// Selects exactly these; unknown names are ignored.
    void setSelection(const QStringList &names);

    qint64 triangleCount() const;
    qint64 vertexCount() const;
    /// Returns the number of different texture images.
    int textureCount() const;
    Bounds bounds() const;

signals:
    /// Objects were added or removed.
    void changed();
    void selectionChanged();

private:
    QString uniqueName(const QString &wanted);
    void rebuildIndex();

    std::vector<SceneObject> m_objects;
    QHash<QString, int> m_index;
    QHash<QString, int> m_lastNumber;
};
