// tour/Driver.h
//
// Drives the real host in this process as a person would: mouse and key events, and only to widgets that can be seen
// and used. Every action answers false when that was not possible, and error() then says why.

#pragma once

#include <QDialog>
#include <QImage>
#include <QPointer>
#include <QStringList>
#include <QTimer>
#include <QWidget>

#include <functional>
#include <memory>

class KeldaProgram;
class QComboBox;
class QMenu;
class QWebView;

class Driver : public QObject
{
    Q_OBJECT
public:
    struct Setup
    {
        QString userDir; ///< the host's user folder; downloads come below it
        QString caFile;  ///< the authority of the local cloud
        QSize windowSize = QSize(1280, 800);
    };

    Driver();
    ~Driver() override;

    /// Opens the host with the plug-in in it.
    bool start(const Setup &setup);
    /// Ends the host, the plug-in with it.
    void stop();
    /// The plug-in's module, as a file name.
    static QString module();
    QString error() const { return m_error; }
    /// Stores \p reason as error(). Always false.
    bool fail(const QString &reason);

    QWidget *mainWindow() const;
    /// The visible widget with that object or accessible name, in \p inside or anywhere; null without one.
    QWidget *find(const QString &name, const QWidget *inside = nullptr) const;
    /// Runs the event loop until \p holds, for \p ms at most. \p what completes "still waiting for".
    bool waitFor(const std::function<bool()> &holds, const QString &what, int ms = 20000);

    /// Lets what was asked to be drawn be drawn.
    void settle();

    /// Each returns when everything that the event caused has run, nested event loops included.
    bool click(QWidget *target, const QPoint &at = QPoint());
    bool doubleClick(QWidget *target, const QPoint &at);
    /// Presses at \p from, moves to \p to, and lets go there; both in \p target.
    bool drag(QWidget *target, const QPoint &from, const QPoint &to);
    /// Replaces the text of a field and presses \p last there.
    bool replace(QWidget *field, const QString &text, Qt::Key last = Qt::Key_Tab);
    /// Types a host command into the host's command line. False when it reported an error.
    bool run(const QString &command);
    /// Opens the list of a combo box and takes the entry with that text.
    bool choose(QComboBox *box, const QString &entry);
    bool chooseFromMenu(const QString &menu, const QString &entry);
    /// Clicks a button that opens a menu at once, then the menu's entry.
    bool chooseFromButton(QWidget *button, const QString &entry);
    /// Clicks the element that the CSS selector \p selector names, in the page as shown by \p view.
    bool clickInPage(QWebView *view, const QString &selector);
    /// Clicks a field of the page and types there.
    bool typeInPage(QWebView *view, const QString &selector, const QString &text);

    /// Who answers dialogs that open while an action runs. False leaves the dialog to the driver, which notes the text
    /// of a message box for takeMessages() and presses its default button.
    void setDialogHandler(std::function<bool(QDialog &)> handler) { m_dialogHandler = std::move(handler); }
    QStringList takeMessages();
    /// What the host reported since the last call: "info: ...", "warning: ...", "error: ...".
    QStringList takeHostMessages();

    /// The answer of a host command as text; empty when it fails.
    QString ask(const QString &command) const;
    /// The plug-in's text of that key, in the host's language.
    QString textOf(const QString &key) const;
    /// Moves another window of the host, as a window manager or a person would.
    void placeInFront(QWidget *window, const QPoint &offset);
    /// The main window with every other visible window of the host over it, where they stand, each in a plain frame in
    /// place of the window system's.
    QImage picture() const;

private:
    bool isUsable(QWidget *target, const QPoint &at);
    bool clickEntry(QMenu *menu, const QString &entry);
    void answerDialog();

    std::unique_ptr<KeldaProgram> m_program;
    std::function<bool(QDialog &)> m_dialogHandler;
    QTimer m_dialogWatch;
    bool m_answering = false;
    QStringList m_messages;
    QStringList m_hostMessages;
    QString m_error;
};
