// ui/MainWindow.h
//
// The host's window: menus, list of scene objects, viewport, command line and messages.

#pragma once

#include <openkelda/host.h>

#include <QMainWindow>
#include <QStringList>

class KeldaHost;
class QDockWidget;
class QLineEdit;
class QListWidget;
class QPlainTextEdit;
class Scene;
class Viewport;

/// Object names: "KeldaMainWindow"; menu "KeldaFileMenu" with actions "KeldaNew", "KeldaImport", "KeldaExportAll",
/// "KeldaQuit" and, for each entry that a script added, an action named like the entry; "KeldaObjectList",
/// "KeldaViewport", "KeldaCommandLine" and "KeldaMessages".
class MainWindow : public QMainWindow
{
    Q_OBJECT
public:
    /// Both must outlive the window.
    MainWindow(KeldaHost &host, Scene &scene);

    Viewport *viewport() const { return m_viewport; }
    /// Runs \p text like a typed command. May spin the event loop.
    void runCommand(const QString &text);

    /// Sets the style Fusion with a dark palette for the whole process.
    static void applyDarkStyle();

public slots:
    void showMessage(KHost::MessageKind kind, const QString &text);
    void showEcho(const QString &command, const QString &result);

signals:
    /// The user closed the window or chose Quit.
    void closed();

protected:
    void closeEvent(QCloseEvent *event) override;
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void buildMenus();
    QDockWidget *addDock(const QString &title, const QString &name, QWidget *content, Qt::DockWidgetArea area);
    void buildObjectDock();
    void buildCommandDock();
    void refreshFileMenu();
    void refreshObjects();
    void showSelection();
    void applySelection();
    void importFile();
    void exportFile();
    void runTypedCommand();
    void recall(int step);
    void append(const QString &text, const QColor &colour);

    KeldaHost &m_host;
    Scene &m_scene;
    Viewport *m_viewport;
    QMenu *m_fileMenu = nullptr;
    QAction *m_entriesEnd = nullptr;
    QList<QAction *> m_entryActions;
    QListWidget *m_objects = nullptr;
    QPlainTextEdit *m_messages = nullptr;
    QLineEdit *m_commandLine = nullptr;
    QStringList m_history;
    int m_historyPosition = 0;
    bool m_syncing = false;
};
