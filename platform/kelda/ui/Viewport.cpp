#include "ui/Viewport.h"

#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>

#include <algorithm>
#include <cmath>

namespace {

/// The picture of up to this many triangles is drawn at double size and scaled down, which smooths edges.
constexpr qint64 kMostSmoothedTriangles = 300000;

/// Returns half a power of ten that divides the scene into 2 to 20 squares.
float gridStep(const Bounds &bounds)
{
    const float size = std::max(bounds.size(), 1e-6F);
    return bounds.empty ? 1.0F : std::pow(10.0F, std::floor(std::log10(size))) / (size < 1e-5F ? 1 : 2);
}

} // namespace

Viewport::Viewport(Scene &scene, QWidget *parent) : QWidget(parent), m_scene(scene)
{
    setObjectName(QStringLiteral("KeldaViewport"));
    setAccessibleName(QStringLiteral("Viewport"));
    setFocusPolicy(Qt::StrongFocus);
    setMinimumSize(160, 120);
    setAttribute(Qt::WA_OpaquePaintEvent);
    connect(&scene, &Scene::changed, this, &Viewport::sceneChanged);
    connect(&scene, &Scene::selectionChanged, this, &Viewport::invalidate);
    frameAll();
}

void Viewport::setCamera(const Camera &camera)
{
    m_camera = camera;
    invalidate();
}

void Viewport::frameAll()
{
    m_camera.frame(m_scene.bounds());
    invalidate();
}

QImage Viewport::render(const QSize &size) const
{
    Rasterizer picture(size, m_camera);
    picture.fillBackground(QColor(86, 93, 102), QColor(38, 41, 46));
    for (const SceneObject &object : m_scene.objects())
        picture.drawObject(object);
    picture.drawGrid(gridStep(m_scene.bounds()), 20, QColor(96, 102, 110));
    return picture.image();
}

void Viewport::paintEvent(QPaintEvent *)
{
    if (m_stale) {
        const QSize pixels = size() * devicePixelRatioF();
        const bool smoothed = !m_dragging && m_scene.triangleCount() <= kMostSmoothedTriangles;
        m_image = smoothed ? render(pixels * 2).scaled(pixels, Qt::IgnoreAspectRatio, Qt::SmoothTransformation)
                           : render(pixels);
        m_image.setDevicePixelRatio(devicePixelRatioF());
        m_stale = false;
    }
    QPainter painter(this);
    painter.drawImage(0, 0, m_image);
    painter.setPen(QColor(205, 210, 216));
    painter.drawText(rect().adjusted(10, 8, -10, -8), Qt::AlignLeft | Qt::AlignTop,
                     tr("Objects %1   Triangles %2   Vertices %3")
                         .arg(static_cast<int>(m_scene.objects().size()))
                         .arg(m_scene.triangleCount())
                         .arg(m_scene.vertexCount()));
}

void Viewport::mousePressEvent(QMouseEvent *event)
{
    m_lastPosition = event->pos();
    m_dragging = true;
}

void Viewport::mouseMoveEvent(QMouseEvent *event)
{
    const QPoint distance = event->pos() - m_lastPosition;
    m_lastPosition = event->pos();
    if (event->buttons() & Qt::LeftButton) {
        m_camera.yaw = std::fmod(m_camera.yaw - static_cast<float>(distance.x()) * 0.4F, 360.0F);
        m_camera.pitch = std::clamp(m_camera.pitch + static_cast<float>(distance.y()) * 0.4F, -89.0F, 89.0F);
    }
    invalidate();
}

void Viewport::mouseReleaseEvent(QMouseEvent *)
{
    m_dragging = false;
    invalidate();
}

void Viewport::wheelEvent(QWheelEvent *event)
{
    const float notches = static_cast<float>(event->angleDelta().y()) / 120;
    const float size = std::max(m_scene.bounds().size(), 1e-6F);
    m_camera.distance = std::clamp(m_camera.distance * std::pow(0.88F, notches), size * 1e-3F, size * 1e3F);
    invalidate();
}

void Viewport::keyPressEvent(QKeyEvent *event)
{
    if (event->key() == Qt::Key_F)
        frameAll();
    else
        QWidget::keyPressEvent(event);
}

void Viewport::sceneChanged()
{
    const std::size_t objects = m_scene.objects().size();
    if (objects > m_knownObjects || objects == 0)
        frameAll();
    m_knownObjects = objects;
    invalidate();
}

void Viewport::invalidate()
{
    m_stale = true;
    update();
}

#include "moc_Viewport.cpp"
