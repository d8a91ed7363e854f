// kelda/TestHost.h
//
// A host without a window, with the scene commands and with models in a temporary folder.

#pragma once

#include "host/KeldaHost.h"
#include "kelda/Steps.h"
#include "scene/FileOptions.h"
#include "scene/Scene.h"
#include "scene/SceneCommands.h"

struct TestHost
{
    TestHost() : host({KGlobal::kInteractive, folder.path(), path("user"), "en"})
    {
        copyModels(folder.path());
        registerSceneCommands(host, scene, options);
        QObject::connect(&host, &KeldaHost::messagePosted, [this](KHost::MessageKind kind, const QString &text) {
            messages.append(QStringList{"info: ", "warning: ", "error: "}.at(static_cast<int>(kind)) + text);
        });
    }

    QString path(const QString &name) const { return folder.filePath(name); }
    void write(const QString &name, const QByteArray &content) const { writeFile(path(name), content); }

    /// The messages of \p source and its result or failure, in order. "FOLDER" and "TAVRIN" stand for the folder and
    /// the plug-in's script. A failure that is not the last message is "unposted".
    QString run(QString source)
    {
        KStatus status;
        source.replace("FOLDER", folder.path()).replace("TAVRIN", QFINDTESTDATA("../../scripts/TavrinCreateUI.ksc"));
        const QString result =
            KQtUtil::toQString(KGlobal::executeCommandStringResult(KQtUtil::toKString(source), false, false, &status));
        const QString reason = KQtUtil::toQString(status.errorString());
        if (!status && messages.endsWith("error: " + reason))
            messages.last() = "failed: " + reason;
        else if (!status)
            messages.append("unposted: " + reason);
        else if (!result.isEmpty())
            messages.append(result);
        return std::exchange(messages, {}).join(" / ").replace(folder.path(), "FOLDER");
    }
    void play(const char *table)
    {
        playSteps([this](const QString &source) { return run(source); }, table);
    }

    QString import(const QString &file, const QString &flags = QString())
    {
        return run("file -force -pr " + flags + " -i " + quotedArgument(path(file)));
    }
    /// Triangles, vertices and the bounding box.
    QString measured()
    {
        return run("sceneInfo -q -triangles") + ' ' + run("sceneInfo -q -vertices") + ' ' +
               run("sceneInfo -q -boundingBox");
    }

    QTemporaryDir folder;
    Scene scene;
    OptionStore options;
    QStringList messages;
    KeldaHost host;
};
