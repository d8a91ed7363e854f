#include "ui/KeldaOptions.h"

#include <QDir>
#include <QFileInfo>
#include <QHash>

namespace {

/// The folder with scripts, icons and plug-ins below the prefix of an installation.
const char kInstalledLocation[] = "lib/kelda";

bool isLocation(const QString &folder)
{
    return QFileInfo(folder + "/scripts").isDir() && QFileInfo(folder + "/icons").isDir();
}

bool setMode(const QString &name, KeldaOptions &options, QString &error)
{
    static const QHash<QString, KGlobal::KeldaState> modes{{"interactive", KGlobal::kInteractive},
                                                           {"batch", KGlobal::kBatch},
                                                           {"library", KGlobal::kLibraryApp},
                                                           {"base", KGlobal::kBaseUI}};
    if (!modes.contains(name)) {
        error = QStringLiteral("unknown mode \"%1\"").arg(name);
        return false;
    }
    options.mode = modes.value(name);
    return true;
}

} // namespace

bool KeldaOptions::parse(const QStringList &arguments, KeldaOptions &options, QString &error)
{
    static const QStringList valued{"--mode",    "--location", "--user-dir", "--plug-in",
                                    "--ca-file", "--command",  "--script"};
    for (int at = 0; at < arguments.size(); ++at) {
        const QString &name = arguments[at];
        if (name == QLatin1String("--quit")) {
            options.quit = true;
        } else if (name == QLatin1String("--internal-browser")) {
            options.internalBrowser = true;
        } else if (name == QLatin1String("--help")) {
            options.help = true;
        } else if (!valued.contains(name)) {
            error = QStringLiteral("unknown option \"%1\"").arg(name);
            return false;
        } else if (++at >= arguments.size()) {
            error = QStringLiteral("option %1 needs a value").arg(name);
            return false;
        } else if (name == QLatin1String("--mode")) {
            if (!setMode(arguments[at], options, error))
                return false;
        } else if (name == QLatin1String("--location")) {
            options.location = arguments[at];
        } else if (name == QLatin1String("--user-dir")) {
            options.userDir = arguments[at];
        } else if (name == QLatin1String("--plug-in")) {
            options.plugIns.append(arguments[at]);
        } else if (name == QLatin1String("--ca-file")) {
            options.caFile = arguments[at];
        } else {
            options.tasks.push_back({name == QLatin1String("--script"), arguments[at]});
        }
    }
    return true;
}

QString KeldaOptions::usage()
{
    return QStringLiteral(
        "usage: kelda [--mode interactive|batch|library|base] [--location DIR] [--user-dir DIR] [--plug-in FILE]...\n"
        "             [--ca-file PEM] [--internal-browser] [--command TEXT]... [--script FILE] [--quit]\n");
}

QString KeldaOptions::findLocation(const QString &programFolder)
{
    QDir folder(programFolder);
    for (int level = 0; level <= 3; ++level) {
        if (isLocation(folder.path()))
            return folder.path();
        if (isLocation(folder.filePath(kInstalledLocation)))
            return folder.filePath(kInstalledLocation);
        if (!folder.cdUp())
            break;
    }
    return programFolder;
}
