// ui/KeldaProgram.h
//
// The whole host in one object: command language, scene, options, and a window in the modes that have one. The kelda
// program, the end-to-end tests and the tour use it. Requires a QApplication; one object at a time.

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
    /// Shows the window. Plug-ins are loaded by start().
    explicit KeldaProgram(const KeldaOptions &options);
    /// Unloads the plug-ins, then deletes the window.
    ~KeldaProgram() override;

    /// Sets the proxy from the environment and the certificate authority from the options. Call before the first
    /// connection. Returns false, with one line in \p error, if the authority's file cannot be used.
    static bool prepareNetwork(const KeldaOptions &options, QString &error);

    /// Loads the plug-ins of the options and of the location's folder plug-ins, builds the menus, and runs the tasks
    /// until one of them quits. Returns false if anything failed; errors are posted. May spin the event loop.
    bool start();
    /// Calls start(), then, with a window and without the option to quit, runs the event loop until the host quits.
    /// Returns the exit status: 1 if anything failed, else that of quit().
    int run();

    KeldaHost &host() { return *m_host; }
    Scene &scene() { return m_scene; }
    /// Returns null in batch and library mode, and after the window was deleted.
    MainWindow *window() const;

    /// Runs one command like --command. Returns false if it failed.
    bool runCommand(const QString &text);

public slots:
    /// Ends the event loop of run() and skips the remaining tasks.
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
