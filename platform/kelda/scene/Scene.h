// scene/Scene.h
//
// What the host is working on: named objects with geometry, material and selection.

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
    QImage texture;      ///< null without one
    QString textureName; ///< file name of the texture, also when the file was missing
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
    /// Null when there is no object of that name; valid until the scene changes.
    const SceneObject *find(const QString &name) const;
    QStringList names() const;
    QStringList selection() const;

    /// Adds all objects, making empty, blank or taken names unique by a number at the end. Returns the names given.
    QStringList add(std::vector<SceneObject> objects);
    /// Unknown names are ignored.
    void remove(const QStringList &names);
    void clear();
    /// Selects exactly these; unknown names are ignored.
    void setSelection(const QStringList &names);

    qint64 triangleCount() const;
    qint64 faceCount() const;
    qint64 vertexCount() const;
    /// Different texture images in use.
    int textureCount() const;
    Bounds bounds() const;

signals:
    /// Objects came or went.
    void changed();
    void selectionChanged();

private:
    QString uniqueName(const QString &wanted);
    void rebuildIndex();

    std::vector<SceneObject> m_objects;
    QHash<QString, int> m_index;
    QHash<QString, int> m_lastNumber;
};
