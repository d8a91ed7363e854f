// Draws a model as the viewport does, on a transparent background, for the demo data of the local cloud.
// Usage: kelda_thumbnail MODEL PNG

#include "scene/ModelImporter.h"
#include "ui/Rasterizer.h"

#include <QGuiApplication>

#include <algorithm>
#include <cstdio>

namespace {

constexpr int kSide = 128;
constexpr int kDrawnSide = 8 * kSide; // reduced at the end, which smooths the edges

QImage drawn(const Scene &scene, const QColor &background)
{
    Camera camera;
    camera.frame(scene.bounds());
    Rasterizer picture(QSize(kDrawnSide, kDrawnSide), camera);
    picture.fillBackground(background, background);
    for (const SceneObject &object : scene.objects())
        picture.drawObject(object);
    return picture.image();
}

/// Makes the background transparent and crops the picture. The background consists of the pixels that differ between
/// the two pictures.
QImage withoutBackground(const QImage &onBlack, const QImage &onWhite)
{
    QImage picture = onBlack.convertToFormat(QImage::Format_ARGB32_Premultiplied);
    QRect model;
    for (int y = 0; y < picture.height(); ++y) {
        for (int x = 0; x < picture.width(); ++x) {
            if (onBlack.pixel(x, y) == onWhite.pixel(x, y))
                model |= QRect(x, y, 1, 1);
            else
                picture.setPixel(x, y, 0);
        }
    }
    const int side = std::max(model.width(), model.height()) * 21 / 20;
    const QRect square(model.center() - QPoint(side / 2, side / 2), QSize(side, side));
    return picture.copy(square).scaled(kSide, kSide, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
}

} // namespace

int main(int argc, char **argv)
{
    const QGuiApplication application(argc, argv);
    const QStringList arguments = QGuiApplication::arguments();
    if (arguments.size() != 3) {
        std::fprintf(stderr, "usage: kelda_thumbnail MODEL PNG\n");
        return 2;
    }
    Scene scene;
    try {
        scene.add(ModelImporter::read(arguments[1], nullptr, {}).objects);
    } catch (const FileError &error) {
        std::fprintf(stderr, "kelda_thumbnail: %s\n", qUtf8Printable(error.reason()));
        return 1;
    }
    const QImage picture = withoutBackground(drawn(scene, Qt::black), drawn(scene, Qt::white));
    return picture.save(arguments[2], "png", 0) ? 0 : 1; // the smallest file
}
