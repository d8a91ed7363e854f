#include "scene/ModelData.h"

#include <QDataStream>
#include <QIODevice>

namespace {

QDataStream &operator<<(QDataStream &stream, const MaterialData &material)
{
    return stream << material.name << material.diffuse << material.texture << material.textureBytes
                  << material.texelSize;
}

QDataStream &operator>>(QDataStream &stream, MaterialData &material)
{
    return stream >> material.name >> material.diffuse >> material.texture >> material.textureBytes >>
           material.texelSize;
}

QDataStream &operator<<(QDataStream &stream, const ModelData::Part &part)
{
    part.mesh.save(stream);
    return stream << part.name << part.material;
}

QDataStream &operator>>(QDataStream &stream, ModelData::Part &part)
{
    part.mesh.load(stream);
    return stream >> part.name >> part.material;
}

template <typename T>
void saveAll(QDataStream &stream, const std::vector<T> &values)
{
    stream << static_cast<quint32>(values.size());
    for (const T &value : values)
        stream << value;
}

template <typename T>
void loadAll(QDataStream &stream, std::vector<T> &values)
{
    quint32 count = 0;
    stream >> count;
    for (quint32 at = 0; at < count && stream.status() == QDataStream::Ok; ++at) {
        values.emplace_back();
        stream >> values.back();
    }
}

} // namespace

QDataStream &operator<<(QDataStream &stream, const ModelData &model)
{
    saveAll(stream, model.materials);
    saveAll(stream, model.parts);
    return stream << model.missingMaterials;
}

QDataStream &operator>>(QDataStream &stream, ModelData &model)
{
    loadAll(stream, model.materials);
    loadAll(stream, model.parts);
    return stream >> model.missingMaterials;
}
