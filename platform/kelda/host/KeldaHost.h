// host/KeldaHost.h
//
// The host without its window: command language, string table, plug-ins, callbacks and menu entries. Programs and tests
// add further commands and a window.

#pragma once

#include "language/Interpreter.h"

#include <openkelda/host.h>

#include <QObject>
#include <QPointer>
#include <QStringList>
#include <QWidget>

#include <memory>
#include <vector>

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
        QString location;   ///< the value of getenv "KELDA_LOCATION"
        QString userDir;    ///< the folder of internalVar -userAppDir and -userPrefDir; created when it is queried
        QString uiLanguage; ///< the value of about -uiLanguage; if empty, KELDA_UI_LANGUAGE or the locale's language
    };
    /// A procedure that runs at a hook.
    struct Callback
    {
        QString hook;
        QString procedure;
        QString owner;

        bool operator==(const Callback &other) const
        {
            return hook == other.hook && procedure == other.procedure && owner == other.owner;
        }
    };

    /// Installs this object as the process's host and sets the process's LC_NUMERIC to "C". Construct it after the
    /// QCoreApplication, which sets the locale from the environment.
    explicit KeldaHost(const Setup &setup);
    /// Unloads the remaining plug-ins, last loaded first.
    ~KeldaHost() override;

    Interpreter &interpreter() { return m_interpreter; }
    MenuModel &menus() { return *m_menus; }
    PluginManager &plugins() { return *m_plugins; }
    /// The callbacks in the order in which they run.
    std::vector<Callback> &callbacks() { return m_callbacks; }
    const Setup &setup() const { return m_setup; }
    /// The language of texts, such as "de_DE" or "de".
    QString uiLanguage() const;
    /// The folders of script files, in search order.
    QStringList scriptFolders() const;
    /// Returns true if the host has windows and menus.
    bool hasInterface() const { return m_setup.state == KGlobal::kInteractive || m_setup.state == KGlobal::kBaseUI; }
    /// \p window is not owned, and may be deleted before the host.
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

    /// Runs command text as execute() does. \p result is empty after a failure.
    KStatus run(const QString &command, Value &result, bool display);
    /// Runs the callbacks of \p hook. A callback that fails posts its error and does not stop the others.
    void executeCallbacks(const QString &hook);
    /// Posts \p reason as an error. A running command that later fails with the same reason does not post it again.
    void reportFailure(const QString &reason);
    /// Returns false if \p id is not registered.
    bool replaceString(const KStringResourceId &id, const KString &text);
    /// While the echo is on, every command is echoed as if it ran with "display".
    bool commandEcho() const { return m_commandEcho; }
    void setCommandEcho(bool on) { m_commandEcho = on; }
    bool isWaiting() const { return m_waits > 0; }
    /// Counts the calls: the wait cursor is shown until it was switched off as often as on. Further calls with false
    /// are ignored.
    void setWaiting(bool on);

signals:
    void messagePosted(KHost::MessageKind kind, const QString &text);
    /// A command ran with "display". \p result is empty if the command has no result.
    void commandEchoed(const QString &command, const QString &result);
    /// The command quit ran. \p exitStatus is 0 to 255.
    void quitRequested(int exitStatus);

private:
    /// Returns true if the running command has posted an error that \p failure contains.
    bool isPosted(const QString &failure) const;

    Setup m_setup;
    Interpreter m_interpreter;
    std::unique_ptr<MenuModel> m_menus;
    std::unique_ptr<PluginManager> m_plugins;
    std::vector<Callback> m_callbacks;
    QHash<QString, KString> m_strings;
    QPointer<QWidget> m_mainWindow;
    QStringList m_reported; ///< errors that the running command has posted
    bool m_commandEcho = false;
    int m_executing = 0;
    int m_waits = 0;
};
