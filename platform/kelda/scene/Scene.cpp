#include "scene/Scene.h"

#include <QSet>

#include <algorithm>

namespace {

/// Returns \p name on one line, with at most 200 characters and without control characters, for commands and lists.
QString tidied(const QString &name)
{
    QString text = name.left(200).simplified();
    for (QChar &character : text) {
        if (!character.isPrint())
            character = QLatin1Char('_');
    }
    return text.isEmpty() ? QStringLiteral("object") : text;
}

template <typename Count>
qint64 total(const std::vector<SceneObject> &objects, Count count)
{
    qint64 sum = 0;
    for (const SceneObject &object : objects)
        sum += static_cast<qint64>(count(*object.mesh));
    return sum;
}

} // namespace

Scene::Scene(QObject *parent) : QObject(parent) {}

const SceneObject *Scene::find(const QString &name) const
{
    const auto found = m_index.constFind(name);
    return found == m_index.constEnd() ? nullptr : &m_objects[static_cast<std::size_t>(*found)];
}

QStringList Scene::names() const
{
    QStringList all;
    for (const SceneObject &object : m_objects)
        all.append(object.name);
    return all;
}

QStringList Scene::selection() const
{
    QStringList selected;
    for (const SceneObject &object : m_objects) {
        if (object.selected)
            selected.append(object.name);
    }
    return selected;
}

QStringList Scene::add(std::vector<SceneObject> objects)
{
    QStringList given;
    m_objects.reserve(m_objects.size() + objects.size());
    for (SceneObject &object : objects) {
        object.name = uniqueName(tidied(object.name));
        m_index.insert(object.name, static_cast<int>(m_objects.size()));
        given.append(object.name);
        m_objects.push_back(std::move(object));
    }
    if (!given.isEmpty())
        emit changed();
    return given;
}

void Scene::remove(const QStringList &names)
{
    const QSet<QString> removed(names.begin(), names.end());
    const std::size_t before = m_objects.size();
    bool selectionChanges = false;
    const auto end = std::remove_if(m_objects.begin(), m_objects.end(), [&](const SceneObject &object) {
        const bool isRemoved = removed.contains(object.name);
        selectionChanges = selectionChanges || (isRemoved && object.selected);
        return isRemoved;
    });
    m_objects.erase(end, m_objects.end());
    if (m_objects.size() == before)
        return;
    rebuildIndex();
    emit changed();
    if (selectionChanges)
        emit selectionChanged();
}

void Scene::setSelection(const QStringList &names)
{
    const QSet<QString> wanted(names.begin(), names.end());
    bool different = false;
    for (SceneObject &object : m_objects) {
        const bool selected = wanted.contains(object.name);
        different = different || selected != object.selected;
        object.selected = selected;
    }
    if (different)
        emit selectionChanged();
}

qint64 Scene::triangleCount() const
{
    return total(m_objects, [](const Mesh &mesh) { return mesh.triangleCount(); });
}

qint64 Scene::vertexCount() const
{
    return total(m_objects, [](const Mesh &mesh) { return mesh.positions.size(); });
}

int Scene::textureCount() const
{
    QSet<qint64> images;
    for (const SceneObject &object : m_objects) {
        if (!object.material->texture.isNull())
            images.insert(object.material->texture.cacheKey());
    }
    return images.size();
}

Bounds Scene::bounds() const
{
    Bounds all;
    for (const SceneObject &object : m_objects)
        all.add(object.mesh->bounds());
    return all;
}

QString Scene::uniqueName(const QString &wanted)
{
    if (!m_index.contains(wanted))
        return wanted;
    int &number = m_lastNumber[wanted];
    QString name;
    do {
        name = wanted + QString::number(++number);
    } while (m_index.contains(name));
    return name;
}

void Scene::rebuildIndex()
{
    m_index.clear();
    m_lastNumber.clear();
    for (std::size_t at = 0; at < m_objects.size(); ++at)
        m_index.insert(m_objects[at].name, static_cast<int>(at));
}

#include "moc_Scene.cpp"
