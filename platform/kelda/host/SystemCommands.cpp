#include "host/CommandHelpers.h"
#include "host/CoreCommands.h"
#include "host/KeldaHost.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

namespace {

/// \p path with a separator at its end, made when missing; empty for an empty path.
QString madeFolder(const QString &path)
{
    if (path.isEmpty())
        return path;
    QDir().mkpath(path);
    return path.endsWith(QLatin1Char('/')) ? path : path + QLatin1Char('/');
}

Value internalVar(const KeldaHost &host, const CommandCall &call)
{
    const Flags flags(call, {{"-q", "-query"}, {"-uad", "-userAppDir"}, {"-upd", "-userPrefDir"}});
    const QString folder = madeFolder(host.setup().userDir);
    if (flags.has("-userAppDir"))
        return folder;
    if (flags.has("-userPrefDir"))
        return folder.isEmpty() ? folder : madeFolder(folder + QStringLiteral("prefs"));
    throw CommandError(QStringLiteral("internalVar: a flag is missing"));
}

Value environment(const KeldaHost &host, const CommandCall &call)
{
    const QString name = onlyArgument(call);
    if (name == QLatin1String("KELDA_LOCATION"))
        return host.setup().location;
    return QString::fromLocal8Bit(qgetenv(name.toLocal8Bit().constData()));
}

Value about(KeldaHost &host, const CommandCall &call)
{
    const Flags flags(call, {{"-q", "-query"}, {"-ul", "-uiLanguage"}, {"-v", "-version"}, {"-b", "-batch"}});
    if (flags.has("-uiLanguage"))
        return host.uiLanguage();
    if (flags.has("-batch"))
        return host.state() == KGlobal::kBatch;
    if (flags.has("-version"))
        return QStringLiteral("1.0");
    throw CommandError(QStringLiteral("about: a flag is missing"));
}

/// Each answers 1 for success and 0 for none. The flags -copy and -rename take the new name and act on the argument.
Value sysFile(const CommandCall &call)
{
    const Flags flags(call, {{"-ex", "-exists"},
                             {"-md", "-makeDir"},
                             {"-red", "-removeEmptyDir"},
                             {"-del", "-delete"},
                             {"-cp", "-copy", 1},
                             {"-ren", "-rename", 1}});
    const QString path = onlyPlain(call, flags);
    if (flags.has("-exists"))
        return QFileInfo::exists(path);
    if (flags.has("-makeDir"))
        return QDir().mkpath(path);
    if (flags.has("-removeEmptyDir"))
        return QDir().rmdir(path);
    if (flags.has("-delete"))
        return QFile::remove(path);
    if (flags.has("-copy"))
        return QFile::copy(path, flags.value("-copy").toString());
    if (flags.has("-rename"))
        return QFile::rename(path, flags.value("-rename").toString());
    throw CommandError(QStringLiteral("sysFile: a flag is missing"));
}

/// Names in a folder, sorted; -filespec takes wildcards.
Value getFileList(const CommandCall &call)
{
    const Flags flags(call, {{"-fld", "-folder", 1}, {"-fs", "-filespec", 1}});
    const QString pattern = flags.has("-filespec") ? flags.value("-filespec").toString() : QStringLiteral("*");
    const QDir folder(flags.has("-folder") ? flags.value("-folder").toString() : QStringLiteral("."));
    return folder.entryList({pattern}, QDir::AllEntries | QDir::NoDotAndDotDot, QDir::Name);
}

} // namespace

void addSystemCommands(KeldaHost &host)
{
    Interpreter &language = host.interpreter();
    language.addCommand(QStringLiteral("internalVar"),
                        [&host](const CommandCall &call) { return internalVar(host, call); });
    language.addCommand(QStringLiteral("getenv"), [&host](const CommandCall &call) { return environment(host, call); });
    language.addCommand(QStringLiteral("about"), [&host](const CommandCall &call) { return about(host, call); });
    language.addCommand(QStringLiteral("sysFile"), sysFile);
    language.addCommand(QStringLiteral("getFileList"), getFileList);
}
