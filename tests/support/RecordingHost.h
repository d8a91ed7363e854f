// support/RecordingHost.h
//
// A host without a language and a window. It records commands and messages, and returns prepared results.

#pragma once

#include <openkelda/host.h>

#include <QtWidgets>

#include <functional>
#include <map>
#include <string>

/// Installs itself as the host until it is deleted. At most one may exist.
class RecordingHost : public KHost
{
public:
    using Handler = std::function<KStatus(const QString &, KCommandResult &)>;

    explicit RecordingHost(KGlobal::KeldaState state = KGlobal::kInteractive) : m_state(state) { KHost::install(this); }
    ~RecordingHost() override;

    /// All commands, in order, failed ones included.
    const QStringList &commands() const { return m_commands; }
    /// The texts of one kind of message, in order.
    QStringList messages(MessageKind kind) const { return m_messages.value(kind); }
    QStringList errors() const { return messages(MessageKind::kError); }
    /// Clears commands and messages; results and texts are kept.
    void clear()
    {
        m_commands.clear();
        m_messages.clear();
    }

    /// Commands that begin with \p prefix return \p result; the longest prefix decides. Other commands succeed without
    /// a result.
    void answer(const QString &prefix, const KCommandResult &result)
    {
        handle(prefix, [result](const QString &, KCommandResult &out) {
            out = result;
            return KStatus();
        });
    }
    void fail(const QString &prefix, const QString &reason)
    {
        handle(prefix, [=](const QString &, KCommandResult &) { return KStatus::failure(KQtUtil::toKString(reason)); });
    }
    /// \p handler runs inside the command; it may spin the event loop.
    void handle(const QString &prefix, const Handler &handler) { m_handlers[prefix] = handler; }

    /// \p watcher runs before the handler of every command.
    void watch(const std::function<void()> &watcher) { m_watcher = watcher; }

    void setState(KGlobal::KeldaState state) { m_state = state; }
    /// The caller owns \p window.
    void setMainWindow(QWidget *window) { m_mainWindow = window; }
    /// Sets the text of a key, which need not be registered.
    void setText(const char *key, const char *text) { m_texts[key] = text; }

    KStatus execute(const KString &command, KCommandResult &result, bool display, bool undo) override;
    void message(MessageKind kind, const KString &text) override { m_messages[kind] << KQtUtil::toQString(text); }
    QWidget *mainWindow() override { return m_mainWindow; }
    KGlobal::KeldaState state() override { return m_state; }
    KStatus registerString(const KStringResourceId &id) override;
    bool findString(const KStringResourceId &id, KString &text) override;
    KStatus describePlugin(KObject, const KString &, const KString &, const KString &) override { return KStatus(); }
    KStatus registerUIStrings(KObject plugin, KStatus (*registration)(), const KString &procedure) override;
    KStatus registerCommand(KObject plugin, const KString &name, void *(*creator)(), KSyntax (*syntax)()) override;
    KStatus deregisterCommand(KObject plugin, const KString &name) override;

    /// The names of the registered commands.
    QStringList registeredCommands() const { return m_creators.keys(); }
    /// Creates an object of the registered command \p name; the caller owns it. Returns null for an unknown name.
    KPxCommand *createCommand(const QString &name) const;

private:
    KGlobal::KeldaState m_state;
    QPointer<QWidget> m_mainWindow;
    QStringList m_commands;
    QMap<MessageKind, QStringList> m_messages;
    std::map<QString, Handler> m_handlers;
    std::function<void()> m_watcher;
    std::map<std::string, KString> m_texts;
    QMap<QString, void *(*)()> m_creators;
};
