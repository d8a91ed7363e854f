#include "scene/SceneCommands.h"

#include "host/KeldaHost.h"
#include "language/Flags.h"
#include "scene/FileOptions.h"
#include "scene/ModelExporter.h"
#include "scene/ModelImporter.h"
#include "scene/Scene.h"
#include "scene/Translators.h"

#include <QDir>
#include <QFileInfo>

#include <algorithm>

namespace {

/// Returns all plain arguments, with arrays replaced by their elements.
QStringList plainNames(const Flags &flags)
{
    QStringList names;
    for (const Value &value : flags.plain())
        names.append(value.toStringList());
    return names;
}

void requireObjects(const Scene &scene, const QStringList &names)
{
    for (const QString &name : names) {
        if (!scene.find(name))
            throw CommandError(QStringLiteral("the object \"%1\" does not exist").arg(name));
    }
}

/// Returns the translator of -type or for the extension of \p path; null for an unknown extension.
const Translator *translatorFor(const Flags &flags, const QString &path)
{
    return flags.has("-type") ? &Translators::named(flags.value("-type").toString())
                              : Translators::forExtension(QFileInfo(path).suffix());
}

class FileCommand
{
public:
    FileCommand(KeldaHost &host, Scene &scene, OptionStore &options) : m_host(host), m_scene(scene), m_options(options)
    {}

    Value run(const CommandCall &call);

private:
    Value import(const Flags &flags, const QString &path);
    Value exportTo(const Flags &flags, const QString &path, bool selectionOnly);
    void warn(const QString &path, const QStringList &warnings);

    KeldaHost &m_host;
    Scene &m_scene;
    OptionStore &m_options;
};

Value FileCommand::run(const CommandCall &call)
{
    const Flags flags(call, {{"-f", "-force"},
                             {"-pr", "-preserveReferences"},
                             {"-i", "-import", 1},
                             {"-ea", "-exportAll", 1},
                             {"-es", "-exportSelected", 1},
                             {"-typ", "-type", 1},
                             {"-op", "-options", 1},
                             {"-n", "-new"}});
    const int tasks = flags.has("-import") + flags.has("-exportAll") + flags.has("-exportSelected") + flags.has("-new");
    if (tasks != 1 || !flags.plain().empty())
        throw CommandError(QStringLiteral("file needs one of -i PATH, -ea PATH, -es PATH and -new"));
    if (!flags.value("-options").toString().isEmpty())
        throw CommandError(QStringLiteral("file: -options must be empty; the option dialogs set the options"));
    if (flags.has("-import"))
        return import(flags, flags.value("-import").toString());
    if (flags.has("-new")) {
        m_scene.remove(m_scene.names());
        return Value();
    }
    const bool selectionOnly = flags.has("-exportSelected");
    return exportTo(flags, flags.value(selectionOnly ? "-exportSelected" : "-exportAll").toString(), selectionOnly);
}

Value FileCommand::import(const Flags &flags, const QString &path)
{
    const Translator *translator = translatorFor(flags, path);
    OptionValues options;
    if (translator)
        options = m_options.values(FileAction::Import, *translator);
    ImportResult result = ModelImporter::read(path, translator, options);
    m_scene.add(std::move(result.objects));
    warn(path, result.warnings);
    return path;
}

void FileCommand::warn(const QString &path, const QStringList &warnings)
{
    for (const QString &warning : warnings)
        m_host.message(KHost::MessageKind::kWarning, KQtUtil::toKString(QFileInfo(path).fileName() + ": " + warning));
}

Value FileCommand::exportTo(const Flags &flags, const QString &path, bool selectionOnly)
{
    const Translator *translator = translatorFor(flags, path);
    if (!translator)
        throw CommandError(
            QStringLiteral("cannot export \"%1\": -type is missing and the extension is unknown").arg(path));
    const OptionValues options = m_options.values(FileAction::Export, *translator);
    const QString target = ModelExporter::targetPath(path, *translator);
    if (!flags.has("-force") && QFileInfo::exists(target))
        throw CommandError(QStringLiteral("cannot export \"%1\": the file exists and -force is not given").arg(target));

    std::vector<SceneObject> objects;
    std::copy_if(m_scene.objects().begin(), m_scene.objects().end(), std::back_inserter(objects),
                 [&](const SceneObject &object) { return !selectionOnly || object.selected; });
    if (objects.empty())
        throw CommandError(QStringLiteral("cannot export \"%1\": %2")
                               .arg(target, selectionOnly ? "the selection is empty" : "the scene is empty"));
    warn(target, ModelExporter::write(objects, target, *translator, options));
    return target;
}

Value fileTranslator(const CommandCall &call)
{
    const Flags flags(call, {{"-q", "-query"},
                             {"-l", "-list"},
                             {"-ext", "-extension", 1},
                             {"-exs", "-extensions", 1},
                             {"-rs", "-readSupport", 1},
                             {"-ws", "-writeSupport", 1}});
    if (!flags.has("-query"))
        throw CommandError(QStringLiteral("fileTranslator needs -q"));
    if (flags.has("-list")) {
        QStringList names;
        for (const Translator &translator : Translators::all())
            names.append(translator.name);
        return names;
    }
    if (flags.has("-extension"))
        return Translators::named(flags.value("-extension").toString()).extension();
    if (flags.has("-extensions"))
        return Translators::named(flags.value("-extensions").toString()).extensions;
    if (flags.has("-readSupport"))
        return Translators::named(flags.value("-readSupport").toString()).reads;
    if (flags.has("-writeSupport"))
        return Translators::named(flags.value("-writeSupport").toString()).writes();
    throw CommandError(QStringLiteral("fileTranslator -q needs one of -list, -extension, -extensions, -readSupport "
                                      "and -writeSupport"));
}

Value select(const CommandCall &call, Scene &scene)
{
    const Flags flags(call, {{"-q", "-query"}, {"-all", "-allObjects"}, {"-cl", "-clear"}, {"-add", "-addTo"}});
    if (flags.has("-query"))
        return scene.selection();
    const QStringList names = plainNames(flags);
    requireObjects(scene, names);
    QStringList wanted = names;
    if (flags.has("-allObjects"))
        wanted = scene.names();
    else if (flags.has("-clear"))
        wanted.clear();
    else if (flags.has("-addTo"))
        wanted += scene.selection();
    else if (names.isEmpty())
        throw CommandError(QStringLiteral("select needs names, -all, -clear or -q"));
    scene.setSelection(wanted);
    return Value();
}

Value deleteObjects(const CommandCall &call, Scene &scene)
{
    const Flags flags(call, {});
    QStringList names = plainNames(flags);
    requireObjects(scene, names);
    if (names.isEmpty())
        names = scene.selection();
    scene.remove(names);
    return Value();
}

Value boundingBoxText(const Bounds &bounds)
{
    if (bounds.empty)
        return QString();
    QStringList parts;
    for (const QVector3D &corner : {bounds.low, bounds.high}) {
        for (int axis = 0; axis < 3; ++axis)
            parts.append(QString::number(static_cast<double>(corner[axis]), 'g', 6));
    }
    return parts.join(QLatin1Char(' '));
}

Value sceneInfo(const CommandCall &call, const Scene &scene)
{
    const Flags flags(call, {{"-q", "-query"},
                             {"-t", "-triangles"},
                             {"-v", "-vertices"},
                             {"-o", "-objects"},
                             {"-tx", "-textures"},
                             {"-b", "-boundingBox"}});
    if (flags.has("-query")) {
        if (flags.has("-triangles"))
            return scene.triangleCount();
        if (flags.has("-vertices"))
            return scene.vertexCount();
        if (flags.has("-objects"))
            return static_cast<int>(scene.objects().size());
        if (flags.has("-textures"))
            return scene.textureCount();
        if (flags.has("-boundingBox"))
            return boundingBoxText(scene.bounds());
    }
    throw CommandError(QStringLiteral("sceneInfo needs -q and one of -triangles, -vertices, -objects, -textures "
                                      "and -boundingBox"));
}

} // namespace

CommandFunction withFileErrors(CommandFunction function)
{
    return [function = std::move(function)](const CommandCall &call) {
        try {
            return function(call);
        } catch (const FileError &problem) {
            throw CommandError(problem.reason());
        }
    };
}

void registerSceneCommands(KeldaHost &host, Scene &scene, OptionStore &options)
{
    Interpreter &interpreter = host.interpreter();
    auto file = std::make_shared<FileCommand>(host, scene, options);
    interpreter.addCommand("file", withFileErrors([file](const CommandCall &call) { return file->run(call); }));
    interpreter.addCommand("fileTranslator", withFileErrors(fileTranslator));
    interpreter.addCommand("select", [&scene](const CommandCall &call) { return select(call, scene); });
    interpreter.addCommand("ls", [&scene](const CommandCall &) { return Value(scene.names()); });
    interpreter.addCommand("delete", [&scene](const CommandCall &call) { return deleteObjects(call, scene); });
    interpreter.addCommand("sceneInfo", [&scene](const CommandCall &call) { return sceneInfo(call, scene); });
}
