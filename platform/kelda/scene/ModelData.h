// scene/ModelData.h
//
// The content of a model file, independent of Assimp. It can be sent to another process.

#pragma once

#include "scene/Mesh.h"

#include <QByteArray>
#include <QColor>
#include <QSize>
#include <QString>

class QDataStream;

struct MaterialData
{
    QString name;
    QRgb diffuse = qRgb(180, 180, 180);
    QString texture;         ///< as written in the file; empty without a texture
    QByteArray textureBytes; ///< an embedded texture: the content of an image file, or texels
    QSize texelSize;         ///< valid if textureBytes are ARGB32 texels
};

struct ModelData
{
    struct Part
    {
        QString name;
        Mesh mesh;
        qint32 material = -1; ///< index into materials, or -1
    };

    std::vector<MaterialData> materials;
    std::vector<Part> parts;
    QString missingMaterials; ///< name of a material file that does not exist, or empty
};

QDataStream &operator<<(QDataStream &stream, const ModelData &model);
/// Sets the stream's status if data is missing.
QDataStream &operator>>(QDataStream &stream, ModelData &model);
