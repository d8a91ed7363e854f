// ui/Viewport.h
//
// Shows the scene: drag with the left button to orbit, with the middle one to move, turn the wheel to zoom, press F to
// see everything. Draws only when something changed.

#pragma once

#include "ui/Rasterizer.h"

#include <QWidget>

class Viewport : public QWidget
{
    Q_OBJECT
public:
    /// \p scene must outlive the viewport.
    Viewport(Scene &scene, QWidget *parent);

    const Camera &camera() const { return m_camera; }
    void setCamera(const Camera &camera);
    void setShading(Rasterizer::Shading shading);
    /// The picture as of now at \p size pixels, without the text on top.
    QImage render(const QSize &size) const;
    QSize sizeHint() const override { return {640, 480}; }

public slots:
    void frameAll();

protected:
    void paintEvent(QPaintEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;
    void wheelEvent(QWheelEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;

private:
    void sceneChanged();
    void invalidate();

    Scene &m_scene;
    Camera m_camera;
    Rasterizer::Shading m_shading = Rasterizer::Shading::Smooth;
    QImage m_image;
    bool m_stale = true;
    bool m_dragging = false;
    QPoint m_lastPosition;
    std::size_t m_knownObjects = 0;
};
