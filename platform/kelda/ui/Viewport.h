// ui/Viewport.h
//
// Shows the scene. Dragging with the left button orbits, the wheel zooms, and F frames
// all objects. Draws only after changes.

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
    /// Draws the picture with \p size pixels, without the text.
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
    void resizeEvent(QResizeEvent *) override { invalidate(); }

private:
    void sceneChanged();
    void invalidate();

    Scene &m_scene;
    Camera m_camera;
    QImage m_image;
    bool m_stale = true;
    bool m_dragging = false;
    QPoint m_lastPosition;
    std::size_t m_knownObjects = 0;
};
