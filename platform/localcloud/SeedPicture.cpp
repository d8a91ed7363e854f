#include <QMatrix4x4>

#include <algorithm>
#include <cmath>
#include <limits>
#include <localcloud/ModelWriters.h>
#include <localcloud/SeedPicture.h>

namespace localcloud {

namespace {

/// The corners of one triangle in pixels, z towards the viewer.
struct ScreenTriangle
{
    std::array<QVector3D, 3> corners;
    std::array<QPointF, 3> uvs;
    double light = 1;
};

class Canvas
{
public:
    Canvas(const QImage &surface, int size)
        : m_surface(surface), m_image(size, size, QImage::Format_RGB32),
          m_depth(static_cast<std::size_t>(size) * static_cast<std::size_t>(size),
                  std::numeric_limits<double>::lowest())
    {
        m_image.fill(QColor(236, 240, 243));
    }

    void draw(const ScreenTriangle &triangle);
    const QImage &image() const { return m_image; }

private:
    QRgb colourAt(const ScreenTriangle &triangle, const std::array<double, 3> &weights) const;

    const QImage &m_surface;
    QImage m_image;
    std::vector<double> m_depth;
};

/// Twice the signed area of the triangle a, b, (x, y).
double doubleArea(const QVector3D &a, const QVector3D &b, double x, double y)
{
    return double(b.x() - a.x()) * (y - double(a.y())) - double(b.y() - a.y()) * (x - double(a.x()));
}

void Canvas::draw(const ScreenTriangle &triangle)
{
    const auto &[a, b, c] = triangle.corners;
    const double whole = doubleArea(a, b, double(c.x()), double(c.y()));
    if (std::abs(whole) < 1e-9)
        return;
    const int last = m_image.width() - 1;
    const int left = std::max(0, static_cast<int>(std::min({a.x(), b.x(), c.x()})));
    const int right = std::min(last, static_cast<int>(std::max({a.x(), b.x(), c.x()})) + 1);
    const int top = std::max(0, static_cast<int>(std::min({a.y(), b.y(), c.y()})));
    const int bottom = std::min(last, static_cast<int>(std::max({a.y(), b.y(), c.y()})) + 1);
    for (int y = top; y <= bottom; ++y) {
        for (int x = left; x <= right; ++x) {
            const double wa = doubleArea(b, c, x, y) / whole;
            const double wb = doubleArea(c, a, x, y) / whole;
            const double wc = 1 - wa - wb;
            const double z = wa * double(a.z()) + wb * double(b.z()) + wc * double(c.z());
            double &depth = m_depth[static_cast<std::size_t>(y * m_image.width() + x)];
            if (wa < 0 || wb < 0 || wc < 0 || z <= depth)
                continue;
            depth = z;
            m_image.setPixel(x, y, colourAt(triangle, {wa, wb, wc}));
        }
    }
}

QRgb Canvas::colourAt(const ScreenTriangle &triangle, const std::array<double, 3> &weights) const
{
    QPointF uv;
    for (std::size_t i = 0; i < 3; ++i)
        uv += triangle.uvs[i] * weights[i];
    const auto pixel = [](double part, int count) {
        return std::clamp(static_cast<int>((part - std::floor(part)) * count), 0, count - 1);
    };
    const QRgb colour = m_surface.pixel(pixel(uv.x(), m_surface.width()), pixel(1 - uv.y(), m_surface.height()));
    const auto lit = [&](int channel) { return std::min(255, static_cast<int>(channel * triangle.light)); };
    return qRgb(lit(qRed(colour)), lit(qGreen(colour)), lit(qBlue(colour)));
}

/// The points as seen, scaled to fill a square of \p size pixels but for a margin.
std::vector<QVector3D> projected(const SeedMesh &mesh, int size)
{
    QMatrix4x4 view;
    view.rotate(24, 1, 0, 0);
    view.rotate(-34, 0, 1, 0);
    std::vector<QVector3D> points;
    for (const QVector3D &point : mesh.points)
        points.push_back(view.map(point));
    const auto [low, high] = boundsOf(points);
    const float scale = 0.84F * static_cast<float>(size) / std::max(high.x() - low.x(), high.y() - low.y());
    const QVector3D centre = (low + high) / 2;
    const float middle = static_cast<float>(size) / 2;
    for (QVector3D &point : points) {
        const QVector3D offset = (point - centre) * scale;
        point = {middle + offset.x(), middle - offset.y(), offset.z()};
    }
    return points;
}

} // namespace

QByteArray pictureBytes(const SeedMesh &mesh, const QImage &surface, int size)
{
    const int fine = 2 * size;
    const std::vector<QVector3D> points = projected(mesh, fine);
    const QVector3D lamp = QVector3D(0.35F, -0.75F, 0.55F).normalized();
    Canvas canvas(surface, fine);
    for (const auto &indices : mesh.triangles) {
        ScreenTriangle triangle;
        for (std::size_t i = 0; i < 3; ++i) {
            const auto index = static_cast<std::size_t>(indices[i]);
            triangle.corners[i] = points[index];
            triangle.uvs[i] = mesh.uvs.empty() ? QPointF() : mesh.uvs[index];
        }
        QVector3D normal = QVector3D::normal(triangle.corners[0], triangle.corners[1], triangle.corners[2]);
        if (normal.z() < 0)
            normal = -normal;
        triangle.light = 0.45 + 0.6 * std::max(0.0, double(QVector3D::dotProduct(normal, lamp)));
        canvas.draw(triangle);
    }
    return pngBytes(canvas.image().scaled(size, size, Qt::IgnoreAspectRatio, Qt::SmoothTransformation));
}

} // namespace localcloud
