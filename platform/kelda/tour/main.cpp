// The tour of `demo --tour`: runs the steps of each portal through the real widgets. Each step has a picture and a
// result that is checked outside the plug-in. Usage: tavrin_tour [DIR]; in another language with KELDA_UI_LANGUAGE=de

#include "tour/Tour.h"

#include <QApplication>
#include <QDir>
#include <QFile>
#include <QFont>
#include <QTemporaryDir>

#include <cstdio>

namespace {

/// Puts sessions, settings and caches into \p home instead of the user's folders.
void useHome(const QString &home)
{
    QDir(home).mkpath(QStringLiteral("run"));
    QFile::setPermissions(home + QStringLiteral("/run"), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    for (const char *name : {"XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_CACHE_HOME", "KELDA_SCRIPT_PATH"})
        qunsetenv(name);
    qputenv("HOME", home.toUtf8());
    if (qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY"))
        qputenv("XDG_RUNTIME_DIR", home.toUtf8() + "/run");
    if (qEnvironmentVariableIsEmpty("DISPLAY") && qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
}

} // namespace

int main(int argc, char **argv)
{
    const QTemporaryDir home;
    if (argc > 2 || !home.isValid()) {
        std::fputs(argc > 2 ? "Usage: tavrin_tour [DIR]\n" : "tour: cannot create a temporary folder\n", stderr);
        return 2;
    }
    const QString folder = argc == 2 ? QString::fromLocal8Bit(argv[1]) : QStringLiteral("tour");
    useHome(home.path());
    QApplication application(argc, argv);
    if (QGuiApplication::platformName() == QLatin1String("offscreen")) {
        QFont font = QApplication::font();
        font.setPointSize(9); // the platform has no desktop theme that sets a size
        QApplication::setFont(font);
    }
    return Tour(folder).run() ? 0 : 1;
}
