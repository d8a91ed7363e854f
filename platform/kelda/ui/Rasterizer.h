// ui/Rasterizer.h
//
// Draws scene objects into an image on the CPU: depth buffer, smooth shading, textures with nearest sampling.

#pragma once

#include "scene/Scene.h"

#include <QImage>
#include <QMatrix4x4>

#include <vector>

/// A view of a target from a distance. Angles are in degrees; a positive pitch is a view from above.
struct Camera
{
    QVector3D target;
    float distance = 10;
    float yaw = 35;
    float pitch = 25;
    float fieldOfView = 40; ///< vertical

    QVector3D eye() const;
    QMatrix4x4 viewProjection(const QSize &size) const;
    /// Moves target and distance so that all of \p bounds is visible. An empty or flat box gets a default distance.
    void frame(const Bounds &bounds);
};

class Rasterizer
{
public:
    /// \p size in pixels, at least 1 by 1.
    Rasterizer(const QSize &size, const Camera &camera);

    void fillBackground(const QColor &top, const QColor &bottom);
    /// Draws lines on the ground (y = 0) around the origin, \p count on each side.
    void drawGrid(float step, int count, const QColor &colour);
    /// Ignores a texture without 32 bits per pixel. Tints a selected object.
    void drawObject(const SceneObject &object);
    const QImage &image() const { return m_image; }

private:
    /// A corner in clip coordinates, with brightness 0 to 1 and texture coordinates.
    struct Corner
    {
        float x, y, w;
        float shade;
        float u, v;
    };
    struct Surface
    {
        QRgb colour;
        const QImage *texture;
        float highlight;
    };

    Corner corner(const QVector3D &point) const;
    float brightness(const QVector3D &normal) const;
    void drawTriangle(const Corner &a, const Corner &b, const Corner &c, const Surface &surface);
    void fillTriangle(const Corner &a, const Corner &b, const Corner &c, const Surface &surface);
    void drawLine(const QVector3D &from, const QVector3D &to, QRgb colour);
    static QRgb shaded(const Surface &surface, float shade, float u, float v);

    QImage m_image;
    std::vector<float> m_depth; ///< 1/w of the nearest surface
    QMatrix4x4 m_transform;
    QVector3D m_light;
    float m_near;
};
