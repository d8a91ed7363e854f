// tour/Driver.h
//
// Drives the real host in this process with mouse and key events, which go to visible and enabled widgets only. An
// action that is not possible returns false, and error() is the reason.

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
class QWebView;

class Driver : public QObject
{
    Q_OBJECT
public:
    struct Setup
    {
        QString userDir; ///< the host's user folder, which also contains the downloads
        QString caFile;  ///< the certificate authority of the local cloud
    };

    Driver();
    ~Driver() override;

    /// Opens the host and loads the plug-in.
    bool start(const Setup &setup);
    /// Unloads the plug-in and closes the host.
    void stop();
    /// The file of the plug-in's module.
    static QString module();
    QString error() const { return m_error; }
    /// Stores \p reason as error() and returns false.
    bool fail(const QString &reason);

    QWidget *mainWindow() const;
    /// The visible widget with that object or accessible name, inside \p inside if given; null if it does not exist.
    QWidget *find(const QString &name, const QWidget *inside = nullptr) const;
    /// Runs the event loop until \p holds returns true. Fails after \p ms; \p what completes "still waiting for".
    bool waitFor(const std::function<bool()> &holds, const QString &what, int ms = 20000);
    /// Runs the event loop long enough for pending paint events.
    void settle();

    // Each of these returns after the event is handled, including nested event loops.
    bool click(QWidget *target, const QPoint &at = QPoint());
    bool doubleClick(QWidget *target, const QPoint &at);
    /// Replaces the text of a field and presses \p last there.
    bool replace(QWidget *field, const QString &text, Qt::Key last = Qt::Key_Tab);
    /// Types a host command into the host's command line. Fails if the host posts an error.
    bool run(const QString &command);
    /// Opens the list of a combo box and chooses the entry with that text.
    bool choose(QComboBox *box, const QString &entry);
    bool chooseFromMenu(const QString &menu, const QString &entry);
    /// Clicks the first element of the web page that matches a CSS selector.
    bool clickInPage(QWebView *view, const QString &selector);
    /// Clicks a field of the web page and types \p text.
    bool typeInPage(QWebView *view, const QString &selector, const QString &text);

    /// Called for each dialog that opens during an action. If it returns false, the driver presses the default button
    /// of a message box and keeps its text for takeMessages().
    void setDialogHandler(std::function<bool(QDialog &)> handler) { m_dialogHandler = std::move(handler); }
    QStringList takeMessages();
    /// The host's messages since the last call: "info: ...", "warning: ...", "error: ...".
    QStringList takeHostMessages();

    /// The result of a host command as text; empty if it fails.
    QString ask(const QString &command) const;
    /// A number of the host command sceneInfo, such as "triangles".
    qint64 sceneInfo(const char *what) const;
    /// The plug-in's text of that key, in the host's language.
    QString textOf(const QString &key) const;
    /// The main window with the other visible windows of the host in front of it, each with a plain frame.
    QImage picture() const;

private:
    bool isUsable(QWidget *target, const QPoint &at);
    void answerDialog();

    std::unique_ptr<KeldaProgram> m_program;
    std::function<bool(QDialog &)> m_dialogHandler;
    QTimer m_dialogWatch;
    bool m_answering = false;
    QStringList m_messages;
    QStringList m_hostMessages;
    QString m_error;
};
