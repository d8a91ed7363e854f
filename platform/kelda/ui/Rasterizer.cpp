#include "ui/Rasterizer.h"

#include <QtMath>

#include <algorithm>
#include <cmath>
#include <utility>

namespace {

/// Returns start and end of the line's part inside the picture, as shares of \p way from \p first. The start is greater
/// than the end if the line is outside.
std::pair<double, double> visibleShares(const QPointF &first, const QPointF &way, double width, double height)
{
    double start = 0;
    double end = 1;
    const auto clip = [&](double from, double step, double limit) {
        if (step == 0) {
            end = from < 0 || from > limit ? -1 : end;
            return;
        }
        const double in = -from / step;
        const double out = (limit - from) / step;
        start = std::max(start, std::min(in, out));
        end = std::min(end, std::max(in, out));
    };
    clip(first.x(), way.x(), width);
    clip(first.y(), way.y(), height);
    return {start, end};
}

constexpr QRgb kHighlight = 0xff5aa9ff;

/// Returns red, green and blue, 0 to 255.
QVector3D components(QRgb colour)
{
    return QVector3D(static_cast<float>(qRed(colour)), static_cast<float>(qGreen(colour)),
                     static_cast<float>(qBlue(colour)));
}

QRgb toRgb(const QVector3D &colour)
{
    const auto toByte = [](float value) { return std::clamp(static_cast<int>(value), 0, 255); };
    return qRgb(toByte(colour.x()), toByte(colour.y()), toByte(colour.z()));
}

} // namespace

QVector3D Camera::eye() const
{
    const float up = qDegreesToRadians(pitch);
    const float around = qDegreesToRadians(yaw);
    return target +
           distance * QVector3D(std::cos(up) * std::sin(around), std::sin(up), std::cos(up) * std::cos(around));
}

QMatrix4x4 Camera::viewProjection(const QSize &size) const
{
    QMatrix4x4 matrix;
    const float aspect = static_cast<float>(size.width()) / static_cast<float>(std::max(1, size.height()));
    matrix.perspective(fieldOfView, aspect, distance * 0.01F, distance * 100);
    matrix.lookAt(eye(), target, QVector3D(0, 1, 0));
    return matrix;
}

void Camera::frame(const Bounds &bounds)
{
    target = bounds.empty ? QVector3D() : bounds.centre();
    const float size = bounds.size() > 0 ? bounds.size() : 4.0F;
    distance = size / 2 / std::sin(qDegreesToRadians(fieldOfView) / 2) * 1.05F;
}

Rasterizer::Rasterizer(const QSize &size, const Camera &camera)
    : m_image(size.expandedTo(QSize(1, 1)), QImage::Format_RGB32),
      m_depth(static_cast<std::size_t>(m_image.width()) * static_cast<std::size_t>(m_image.height()), 0.0F),
      m_transform(camera.viewProjection(m_image.size())), m_near(camera.distance * 0.01F)
{
    // A light from the upper left of the camera, so that the visible faces of a box have different shades.
    Camera lamp = camera;
    lamp.yaw -= 25;
    lamp.pitch = std::min(camera.pitch + 25, 89.0F);
    m_light = (lamp.eye() - lamp.target).normalized();
}

void Rasterizer::fillBackground(const QColor &top, const QColor &bottom)
{
    const int height = m_image.height();
    for (int y = 0; y < height; ++y) {
        const float share = static_cast<float>(y) / static_cast<float>(height);
        const QVector3D first = components(top.rgb());
        const QRgb colour = toRgb(first + (components(bottom.rgb()) - first) * share);
        auto *line = reinterpret_cast<QRgb *>(m_image.scanLine(y));
        std::fill(line, line + m_image.width(), colour);
    }
}

void Rasterizer::drawGrid(float step, int count, const QColor &colour)
{
    const float reach = step * static_cast<float>(count);
    for (int at = -count; at <= count; ++at) {
        const float offset = step * static_cast<float>(at);
        const QRgb shade = at == 0 ? colour.lighter(150).rgb() : colour.rgb();
        drawLine(QVector3D(offset, 0, -reach), QVector3D(offset, 0, reach), shade);
        drawLine(QVector3D(-reach, 0, offset), QVector3D(reach, 0, offset), shade);
    }
}

void Rasterizer::drawObject(const SceneObject &object)
{
    const Mesh &mesh = *object.mesh;
    const Material &material = *object.material;
    const bool textured = material.texture.depth() == 32 && !mesh.uvs.empty();
    const bool smooth = !mesh.normals.empty();
    // A black material would make its texture invisible.
    const QColor base = textured && material.diffuse.value() == 0 ? QColor(Qt::white) : material.diffuse;
    const Surface surface{base.rgb(), textured ? &material.texture : nullptr, object.selected ? 0.35F : 0.0F};

    std::vector<Corner> corners;
    corners.reserve(mesh.positions.size());
    for (std::size_t at = 0; at < mesh.positions.size(); ++at) {
        Corner projected = corner(mesh.positions[at]);
        if (smooth)
            projected.shade = brightness(mesh.normals[at]);
        if (textured) {
            projected.u = mesh.uvs[at].x();
            projected.v = mesh.uvs[at].y();
        }
        corners.push_back(projected);
    }
    for (int face = 0; face < mesh.faceCount(); ++face) {
        int count = 0;
        const quint32 *index = mesh.face(face, count);
        const float flat = smooth ? 0
                                  : brightness(QVector3D::normal(mesh.positions[index[0]], mesh.positions[index[1]],
                                                                 mesh.positions[index[2]]));
        for (int at = 2; at < count; ++at) {
            Corner a = corners[index[0]];
            Corner b = corners[index[at - 1]];
            Corner c = corners[index[at]];
            if (!smooth)
                a.shade = b.shade = c.shade = flat;
            drawTriangle(a, b, c, surface);
        }
    }
}

Rasterizer::Corner Rasterizer::corner(const QVector3D &point) const
{
    const QVector4D seen = m_transform * QVector4D(point, 1);
    return {seen.x(), seen.y(), seen.w(), 0.6F, 0, 0};
}

float Rasterizer::brightness(const QVector3D &normal) const
{
    // Both sides are lit, because models differ in which side is the outer one.
    return 0.28F + 0.72F * std::abs(QVector3D::dotProduct(normal, m_light));
}

void Rasterizer::drawTriangle(const Corner &a, const Corner &b, const Corner &c, const Surface &surface)
{
    const int behind = (a.w < m_near) + (b.w < m_near) + (c.w < m_near);
    if (behind == 3)
        return;
    if (behind == 0) {
        fillTriangle(a, b, c, surface);
        return;
    }
    const Corner *ring[3] = {&a, &b, &c};
    Corner kept[4];
    int count = 0;
    for (int at = 0; at < 3; ++at) {
        const Corner &from = *ring[at];
        const Corner &to = *ring[(at + 1) % 3];
        if (from.w >= m_near)
            kept[count++] = from;
        if ((from.w < m_near) != (to.w < m_near)) {
            const float share = (m_near - from.w) / (to.w - from.w);
            const auto between = [share](float first, float second) { return first + (second - first) * share; };
            kept[count++] = {between(from.x, to.x),         between(from.y, to.y), m_near,
                             between(from.shade, to.shade), between(from.u, to.u), between(from.v, to.v)};
        }
    }
    for (int at = 2; at < count; ++at)
        fillTriangle(kept[0], kept[at - 1], kept[at], surface);
}

void Rasterizer::fillTriangle(const Corner &a, const Corner &b, const Corner &c, const Surface &surface)
{
    const float width = static_cast<float>(m_image.width());
    const float height = static_cast<float>(m_image.height());
    const Corner *source[3] = {&a, &b, &c};
    double x[3];
    double y[3];
    float inverse[3];
    for (int at = 0; at < 3; ++at) {
        inverse[at] = 1 / source[at]->w;
        x[at] = static_cast<double>((source[at]->x * inverse[at] * 0.5F + 0.5F) * width);
        y[at] = static_cast<double>((0.5F - source[at]->y * inverse[at] * 0.5F) * height);
    }
    const double area = (x[1] - x[0]) * (y[2] - y[0]) - (x[2] - x[0]) * (y[1] - y[0]);
    if (!std::isfinite(area) || area == 0)
        return;
    const auto limited = [](double value, int most) { return static_cast<int>(std::clamp(value, 0.0, double(most))); };
    const int left = limited(std::ceil(std::min({x[0], x[1], x[2]}) - 0.5), m_image.width());
    const int right = limited(std::floor(std::max({x[0], x[1], x[2]}) - 0.5) + 1, m_image.width());
    const int top = limited(std::ceil(std::min({y[0], y[1], y[2]}) - 0.5), m_image.height());
    const int bottom = limited(std::floor(std::max({y[0], y[1], y[2]}) - 0.5) + 1, m_image.height());

    // The shares of the three corners are linear in the picture, so one addition per pixel is enough.
    const double stepB = (y[2] - y[0]) / area;
    const double stepC = (y[0] - y[1]) / area;
    for (int row = top; row < bottom; ++row) {
        const double py = row + 0.5 - y[0];
        const double px = left + 0.5 - x[0];
        double shareB = (px * (y[2] - y[0]) - py * (x[2] - x[0])) / area;
        double shareC = (py * (x[1] - x[0]) - px * (y[1] - y[0])) / area;
        auto *line = reinterpret_cast<QRgb *>(m_image.scanLine(row));
        float *depth = m_depth.data() + static_cast<std::size_t>(row) * static_cast<std::size_t>(m_image.width());
        for (int column = left; column < right; ++column, shareB += stepB, shareC += stepC) {
            const double shareA = 1 - shareB - shareC;
            if (shareA < 0 || shareB < 0 || shareC < 0)
                continue;
            const float partA = static_cast<float>(shareA) * inverse[0];
            const float partB = static_cast<float>(shareB) * inverse[1];
            const float partC = static_cast<float>(shareC) * inverse[2];
            const float nearness = partA + partB + partC;
            if (nearness <= depth[column])
                continue;
            depth[column] = nearness;
            const float w = 1 / nearness;
            line[column] =
                shaded(surface, (partA * a.shade + partB * b.shade + partC * c.shade) * w,
                       (partA * a.u + partB * b.u + partC * c.u) * w, (partA * a.v + partB * b.v + partC * c.v) * w);
        }
    }
}

QRgb Rasterizer::shaded(const Surface &surface, float shade, float u, float v)
{
    QVector3D colour = components(surface.colour);
    if (surface.texture) {
        const QImage &image = *surface.texture;
        const int column = static_cast<int>((u - std::floor(u)) * static_cast<float>(image.width()));
        const int row = static_cast<int>((1 - (v - std::floor(v))) * static_cast<float>(image.height()));
        const auto *line = reinterpret_cast<const QRgb *>(image.constScanLine(std::clamp(row, 0, image.height() - 1)));
        const QRgb texel = line[std::clamp(column, 0, image.width() - 1)];
        colour *= components(texel) / 255;
    }
    if (surface.highlight > 0)
        colour += (components(kHighlight) - colour) * surface.highlight;
    return toRgb(colour * shade);
}

void Rasterizer::drawLine(const QVector3D &from, const QVector3D &to, QRgb colour)
{
    Corner a = corner(from);
    Corner b = corner(to);
    if (a.w < m_near && b.w < m_near)
        return;
    if (a.w < m_near)
        std::swap(a, b);
    if (b.w < m_near) {
        const float share = (m_near - a.w) / (b.w - a.w);
        b.x = a.x + (b.x - a.x) * share;
        b.y = a.y + (b.y - a.y) * share;
        b.w = m_near;
    }
    const float width = static_cast<float>(m_image.width());
    const float height = static_cast<float>(m_image.height());
    const QPointF first(double((a.x / a.w * 0.5F + 0.5F) * width), double((0.5F - a.y / a.w * 0.5F) * height));
    const QPointF second(double((b.x / b.w * 0.5F + 0.5F) * width), double((0.5F - b.y / b.w * 0.5F) * height));
    const QPointF way = second - first;
    const auto [start, end] = visibleShares(first, way, double(width), double(height));
    const double length = std::max(std::abs(way.x()), std::abs(way.y())) * (end - start);
    if (!std::isfinite(length) || start > end)
        return;
    const int steps = static_cast<int>(length) + 1;
    for (int at = 0; at <= steps; ++at) {
        const double share = start + (end - start) * double(at) / steps;
        const QPointF point = first + way * share;
        if (point.x() < 0 || point.y() < 0 || point.x() >= double(width) || point.y() >= double(height))
            continue;
        const auto column = static_cast<int>(point.x());
        const auto row = static_cast<int>(point.y());
        const float nearness = static_cast<float>(1 - share) / a.w + static_cast<float>(share) / b.w;
        float &depth = m_depth[static_cast<std::size_t>(row) * static_cast<std::size_t>(m_image.width()) +
                               static_cast<std::size_t>(column)];
        // Slightly nearer than its position, so that a line on a surface is visible.
        if (nearness * 1.002F < depth)
            continue;
        depth = nearness;
        reinterpret_cast<QRgb *>(m_image.scanLine(row))[column] = colour;
    }
}
