// scene/ModelData.h
//
// What a model file says, free of the library that read it, in a form that passes between processes.

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
    QString texture;         ///< as the file refers to it; empty without one
    QByteArray textureBytes; ///< a texture that the file carries: an image file's content, or texels
    QSize texelSize;         ///< valid when textureBytes are ARGB32 texels
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
    QString missingMaterials; ///< name of a material file that was not there; empty when all is well
};

QDataStream &operator<<(QDataStream &stream, const ModelData &model);
/// The stream's status tells whether everything was there.
QDataStream &operator>>(QDataStream &stream, ModelData &model);
