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

#include <memory>

class CallbackRegistry;
class MenuModel;
class PluginManager;

Q_DECLARE_METATYPE(KHost::MessageKind)

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

    /// Installs itself as the process's host and sets the process's LC_NUMERIC to "C". Construct it after the
    /// QCoreApplication, which sets the locale of the environment.
    explicit KeldaHost(const Setup &setup);
    /// Unloads every plug-in that is still loaded, last loaded first.
    ~KeldaHost() override;

    Interpreter &interpreter() { return m_interpreter; }
    MenuModel &menus() { return *m_menus; }
    PluginManager &plugins() { return *m_plugins; }
    CallbackRegistry &callbacks() { return *m_callbacks; }
    const Setup &setup() const { return m_setup; }
    /// The language for texts, such as "de_DE" or "de".
    QString uiLanguage() const;
    /// Where source looks for a file with a relative name, first match first.
    QStringList scriptFolders() const;
    /// Whether somebody sees windows and menus and can answer.
    bool hasInterface() const { return m_setup.state == KGlobal::kInteractive || m_setup.state == KGlobal::kBaseUI; }
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

    /// Runs command text as execute() does, for the host's own use of the result; none on failure.
    KStatus run(const QString &command, Value &result, bool display);
    /// Runs what is hooked to \p hook. A procedure that fails posts its error and does not stop the others.
    void executeCallbacks(const QString &hook);
    /// Posts \p reason as an error of the command that is running, so that its own failure is not posted again.
    void reportFailure(const QString &reason);
    /// False, and nothing changes, when no such text is registered.
    bool replaceString(const KStringResourceId &id, const KString &text);
    /// While it is on, every command is echoed as if it were to be displayed.
    bool commandEcho() const { return m_commandEcho; }
    void setCommandEcho(bool on) { m_commandEcho = on; }
    bool isWaiting() const { return m_waits > 0; }
    /// The wait cursor shows until it was taken off as often as it was put on; taking it off once more does nothing.
    void setWaiting(bool on);

signals:
    /// Every message, in order, as displayed.
    void messagePosted(KHost::MessageKind kind, const QString &text);
    /// A command that was to be displayed, with its result's text (empty for none).
    void commandEchoed(const QString &command, const QString &result);
    /// The command quit ran. \p exitStatus as given, 0 when not.
    void quitRequested(int exitStatus);

private:
    /// Whether \p failure is, or contains, an error that the running command has posted.
    bool isPosted(const QString &failure) const;

    Setup m_setup;
    Interpreter m_interpreter;
    std::unique_ptr<MenuModel> m_menus;
    std::unique_ptr<PluginManager> m_plugins;
    std::unique_ptr<CallbackRegistry> m_callbacks;
    QHash<QString, KString> m_strings;
    QPointer<QWidget> m_mainWindow;
    QStringList m_reported; ///< errors posted so far by what the running command runs
    bool m_commandEcho = false;
    int m_executing = 0;
    int m_waits = 0;
};
