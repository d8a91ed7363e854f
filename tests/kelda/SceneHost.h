// kelda/SceneHost.h
//
// A host without a window, with the commands on the scene and a folder of its own.

#pragma once

#include "kelda/ModelFiles.h"

#include "host/KeldaHost.h"
#include "scene/FileOptions.h"
#include "scene/Scene.h"
#include "scene/SceneCommands.h"

#include <QTemporaryDir>

struct SceneHost
{
    explicit SceneHost(KGlobal::KeldaState mode) : host({mode, QString(), path("user"), QString()})
    {
        registerSceneCommands(host, scene, options);
        QObject::connect(&host, &KeldaHost::messagePosted, &scene,
                         [this](KHost::MessageKind kind, const QString &text) {
                             if (kind == KHost::MessageKind::kWarning)
                                 warnings.append(text);
                         });
    }

    QString path(const QString &name) const { return dir.filePath(name); }

    /// The result's text, or the error's with "failed: " in front and without its line.
    QString run(const QString &command)
    {
        try {
            return host.interpreter().evaluate(command).toString();
        } catch (const ScriptError &problem) {
            return "failed: " + problem.message().remove("line 1: ");
        }
    }

    static QString quoted(QString text) { return '"' + text.replace('\\', "\\\\").replace('"', "\\\"") + '"'; }
    QString import(const QString &file, const QString &flags = QString())
    {
        return run("file -force -pr " + flags + " -i " + quoted(file));
    }
    void importBox() { import(ModelFiles::write(path("box.obj"), ModelFiles::box())); }

    /// Triangles, faces, vertices and the bounding box, rounded to thousandths.
    QString measured()
    {
        QStringList numbers;
        for (const QString flag : {"triangles", "faces", "vertices", "boundingBox"}) {
            for (const QString &number : run("sceneInfo -q -" + flag).split(' '))
                numbers.append(QString::number(qRound(number.toDouble() * 1000) / 1000.0 + 0.0));
        }
        return numbers.join(' ');
    }

    QTemporaryDir dir;
    Scene scene;
    OptionStore options;
    QStringList warnings;
    KeldaHost host;
};
