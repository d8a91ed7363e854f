// host/KeldaHost.h
//
// The host without its window: command language, string table, plug-ins, callbacks and menu entries. Programs and
// tests make one, add what they need (scene commands, a window) and install it with KHost::install.

#pragma once

#include "language/Interpreter.h"

#include <openkelda/host.h>

#include <QObject>
#include <QPointer>
#include <QStringList>
#include <QWidget>

class MenuModel;
class PluginManager;

class KeldaHost : public QObject, public KHost
{
    Q_OBJECT
public:
    struct Setup
    {
        KGlobal::KeldaState state = KGlobal::kBatch;
        QString location;   ///< answered by getenv "KELDA_LOCATION"
        QString userDir;    ///< backs internalVar -userAppDir and -userPrefDir; made when missing
        QString uiLanguage; ///< answered by about -uiLanguage; empty: KELDA_UI_LANGUAGE, else the locale's
    };

    /// Installs itself as the process's host.
    explicit KeldaHost(const Setup &setup);
    /// Unloads every plug-in that is still loaded, last loaded first.
    ~KeldaHost() override;

    Interpreter &interpreter() { return m_interpreter; }
    MenuModel &menus() { return *m_menus; }
    PluginManager &plugins() { return *m_plugins; }
    const Setup &setup() const { return m_setup; }
    /// \p window stays the caller's; it may go before the host does.
    void setMainWindow(QWidget *window) { m_mainWindow = window; }

    KStatus execute(const KString &command, KCommandResult &result, bool display, bool undo) override;
    void message(MessageKind kind, const KString &text) override;
    QWidget *mainWindow() override { return m_mainWindow; }
    KGlobal::KeldaState state() override { return m_setup.state; }
    KStatus registerString(const KStringResourceId &id) override;
    bool findString(const KStringResourceId &id, KString &text) override;
    KStatus describePlugin(KObject plugin, const KString &vendor, const KString &version,
                           const KString &requiredApi) override;
    KStatus registerUIStrings(KObject plugin, KStatus (*registration)(), const KString &procedure) override;
    KStatus registerCommand(KObject plugin, const KString &name, void *(*creator)(), KSyntax (*syntax)()) override;
    KStatus deregisterCommand(KObject plugin, const KString &name) override;

signals:
    /// Every message, in order, as displayed.
    void messagePosted(KHost::MessageKind kind, const QString &text);
    /// A command that was to be displayed, with its result's text (empty for none).
    void commandEchoed(const QString &command, const QString &result);
    /// The command quit ran. \p exitStatus as given, 0 when not.
    void quitRequested(int exitStatus);
    /// The wait cursor went on or off.
    void waitCursorChanged(bool on);

private:
    Setup m_setup;
    Interpreter m_interpreter;
    std::unique_ptr<MenuModel> m_menus;
    std::unique_ptr<PluginManager> m_plugins;
    QHash<QString, KString> m_strings;
    QPointer<QWidget> m_mainWindow;
};
