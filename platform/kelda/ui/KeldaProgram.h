// ui/KeldaProgram.h
//
// The whole host in one object: command language, scene, options, and in the modes with a user interface the window.
// The kelda program, the end-to-end tests and the tour run the same one. Needs a QApplication, one at a time.

#pragma once

#include "scene/FileOptions.h"
#include "scene/Scene.h"
#include "ui/KeldaOptions.h"

#include <openkelda/host.h>

#include <QObject>
#include <QPointer>

#include <memory>

class InternalBrowser;
class KeldaHost;
class MainWindow;

class KeldaProgram : public QObject
{
    Q_OBJECT
public:
    /// Builds everything and shows the window; loads no plug-in yet.
    explicit KeldaProgram(const KeldaOptions &options);
    /// Unloads the plug-ins while window and scene still stand.
    ~KeldaProgram() override;

    /// What must be set before the first connection: proxy from the environment, extra authority from the options.
    /// False, with one line in \p error, when the authority's file cannot be used.
    static bool prepareNetwork(const KeldaOptions &options, QString &error);

    /// Loads the plug-ins of the options, then those of the location's folder plug-ins that are not loaded yet; builds
    /// the menus, and runs the tasks until one of them quits. False when anything failed; it was posted as an error.
    /// May spin the event loop.
    bool start();
    /// start(), then, with a window and without the option to quit, the event loop until the user leaves. Returns the
    /// exit status: 1 when anything failed, else what quit was given.
    int run();

    KeldaHost &host() { return *m_host; }
    Scene &scene() { return m_scene; }
    /// Null in batch and library mode, and when the window was destroyed.
    MainWindow *window() const;

    /// Runs one command as --command does, with its result and errors echoed. Returns its success.
    bool runCommand(const QString &text);

public slots:
    /// Leaves the event loop of run() and skips the tasks still to come.
    void quit(int exitStatus = 0);

private:
    void buildWindow();
    bool runScript(const QString &file);
    bool loadPlugIn(const QString &file);
    bool loadInstalledPlugIns();
    void print(const char *prefix, const QString &text) const;

    KeldaOptions m_options;
    Scene m_scene;
    OptionStore m_fileOptions;
    std::unique_ptr<KeldaHost> m_host;
    std::unique_ptr<InternalBrowser> m_browser;
    QPointer<MainWindow> m_window;
    int m_exitStatus = 0;
    bool m_quitting = false;
};
