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
    static const QHash<QString, bool KeldaOptions::*> switches{{"--quit", &KeldaOptions::quit},
                                                               {"--internal-browser", &KeldaOptions::internalBrowser},
                                                               {"--help", &KeldaOptions::help}};
    static const QHash<QString, QString KeldaOptions::*> texts{{"--location", &KeldaOptions::location},
                                                               {"--user-dir", &KeldaOptions::userDir},
                                                               {"--ca-file", &KeldaOptions::caFile}};
    static const QStringList others{"--mode", "--plug-in", "--command", "--script"};
    for (int at = 0; at < arguments.size(); ++at) {
        const QString &name = arguments[at];
        if (switches.contains(name)) {
            options.*switches[name] = true;
        } else if (!texts.contains(name) && !others.contains(name)) {
            error = QStringLiteral("unknown option \"%1\"").arg(name);
            return false;
        } else if (++at >= arguments.size()) {
            error = QStringLiteral("option %1 needs a value").arg(name);
            return false;
        } else if (texts.contains(name)) {
            options.*texts[name] = arguments[at];
        } else if (name == QLatin1String("--plug-in")) {
            options.plugIns.append(arguments[at]);
        } else if (name != QLatin1String("--mode")) {
            options.tasks.push_back({name == QLatin1String("--script"), arguments[at]});
        } else if (!setMode(arguments[at], options, error)) {
            return false;
        }
    }
    return true;
}

QString KeldaOptions::usage()
{
    return QStringLiteral(
        R"(Usage: kelda [OPTION]...
Runs the host: loads plug-ins, then runs commands and scripts in their order.
Each result and message is one line of standard output, which begins with
"result: ", "info: ", "warning: " or "error: ".

  --mode MODE         interactive: with the window (default); batch, library:
                      without a window; base: with the window, for plug-ins that
                      distinguish it
  --location DIR      the folder with scripts/, icons/ and plug-ins/; by default
                      it is found from the program's own folder
  --user-dir DIR      preferences and temporary files; default
                      ${XDG_DATA_HOME:-~/.local/share}/kelda
  --plug-in FILE      loads a plug-in; can be repeated
  --ca-file PEM       trusts these certificates too
  --internal-browser  opens web addresses in a window of the host, not in the
                      system's browser
  --command TEXT      runs a command; can be repeated
  --script FILE       runs a script file; can be repeated
  --quit              ends the host after the commands and scripts
  --help              prints this text

The exit status is 1 if a plug-in, a command or a script failed, else 0.
The environment sets the proxy (http_proxy, https_proxy, no_proxy) and the
language (KELDA_UI_LANGUAGE=en_US or de; by default that of the locale).
)");
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
