// Takes the tour: see Tour.h. Usage: tavrin_tour [DIR]; in another language with KELDA_UI_LANGUAGE=de

#include "tour/Tour.h"

#include <QApplication>
#include <QDir>
#include <QFile>

#include <cstdio>

namespace {

/// Sessions, settings and caches of the tour live in \p home and go with it; the user's stay untouched.
void useHome(const QString &home)
{
    QDir(home).mkpath(QStringLiteral("run"));
    const QFile::Permissions userOnly = QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner;
    QFile::setPermissions(home + QStringLiteral("/run"), userOnly);
    for (const char *name : {"XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_CACHE_HOME", "KELDA_SCRIPT_PATH"})
        qunsetenv(name);
    qputenv("HOME", home.toUtf8());
    if (qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY"))
        qputenv("XDG_RUNTIME_DIR", home.toUtf8() + "/run");
    if (qEnvironmentVariableIsEmpty("DISPLAY") && qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
}

/// The offscreen platform says the same about many windows, and nothing comes of it.
void printMessage(QtMsgType, const QMessageLogContext &, const QString &text)
{
    if (!text.startsWith(QLatin1String("This plugin does not support")))
        std::fprintf(stderr, "%s\n", qPrintable(text));
}

/// Without a desktop there is no theme that would choose a size for the screen.
void useDesktopFont()
{
    QFont font = QApplication::font();
    font.setPointSize(9);
    QApplication::setFont(font);
}

} // namespace

int main(int argc, char **argv)
{
    const QTemporaryDir home;
    if (argc > 2 || !home.isValid()) {
        std::fprintf(stderr, argc > 2 ? "Usage: tavrin_tour [DIR]\n" : "tour: no temporary folder can be made\n");
        return 2;
    }
    const QString folder = argc == 2 ? QString::fromLocal8Bit(argv[1]) : QStringLiteral("tour");
    useHome(home.path());
    qInstallMessageHandler(printMessage);
    QApplication application(argc, argv);
    if (QGuiApplication::platformName() == QLatin1String("offscreen"))
        useDesktopFont();
    return Tour(folder).run() ? 0 : 1;
}
