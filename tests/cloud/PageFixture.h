// PageFixture.h
//
// The fixture of the tests of the page and its dock: a portal, a host, and access to the widgets of the page.

#pragma once

#include "support/RecordingHost.h"
#include "support/Table.h"
#include "TestPortal.h"

#include <QtTest>
#include <QtWidgets>

/// Each test prepares and starts the portal, with its controller and page in a dock. The host knows the file type obj.
/// cleanup() checks that no item, no dock, no running call and no wait cursor is left.
class PageFixture : public QObject
{
    Q_OBJECT
protected:
    virtual void prepare() = 0;
    /// Makes the host's main window, which stays hidden; without it the dock is a window of its own.
    void openWindow(int width, int height);
    void start();
    void stop();
    /// Starts the portal, shows the page and its window, and sets the focus to the list.
    void showPage();
    /// From now on records and accepts or rejects each modal dialog, after the hook "dialog" of the portal has run.
    void answerDialogs() { m_answering.start(5, this); }

    Portal_CloudBrowserWindows *page() const
    {
        return static_cast<Portal_CloudBrowserWindows *>(m_controller->GetParentLoginWidget());
    }
    Portal_CloudBrowserDockWidget *dock() const
    {
        return qobject_cast<Portal_CloudBrowserDockWidget *>(page()->parentWidget()->parentWidget()->parentWidget());
    }
    /// The page's widget of type \p T with that accessible or object name. A missing widget ends the test program.
    template <typename T>
    T *find(const char *name) const
    {
        for (T *widget : page()->template findChildren<T *>()) {
            if (widget->accessibleName() == QLatin1String(name) || widget->objectName() == QLatin1String(name))
                return widget;
        }
        qFatal("no widget %s", name);
    }
    QPushButton *button(const char *name) const { return find<QPushButton>(name); }
    QListWidget *list() const { return find<QListWidget>("ListOfFileFromCloud"); }
    QToolBar *folderBar() const { return find<QToolBar>("FolderBar"); }
    /// The action of the folder bar with that text. A missing one ends the test program.
    QAction *folderAction(const QString &text) const;
    /// The names in the file list, from the top.
    QStringList names() const;
    /// The row that shows \p name, or null.
    QListWidgetItem *row(const QString &name) const { return list()->findItems(name, Qt::MatchExactly).value(0); }
    void clickRow(const QString &name) const;
    /// Sends the events of a double click on the row that shows \p name, and runs the event loop.
    void doubleClick(const QString &name) const;
    /// Sends a key to \p widget and runs the event loop.
    static void press(QWidget *widget, Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::NoModifier);
    /// Clears the commands, messages, requests and questions.
    void clearRecords();
    /// Sends a press and a release to \p widget, which the press may delete; to its centre unless \p at is given.
    static void click(QWidget *widget, QPoint at = QPoint());
    /// The visible labels and buttons of the folder bar, as in "Top/Sub-folder".
    QString path() const;

    RecordingHost m_host;
    TestPortal m_portal;
    std::unique_ptr<QMainWindow> m_window;
    std::unique_ptr<Portal_CloudBrowser> m_controller;
    bool m_agrees = true;
    QStringList m_questions;
    const QTemporaryDir m_dir; ///< the user's folder in the host

    void timerEvent(QTimerEvent *) override;

private slots:
    void init();
    void cleanup();

private:
    QBasicTimer m_answering;
};

/// A portal with a page behind the one of the fixture.
struct SecondPortal
{
    SecondPortal()
    {
        Portal_CloudBrowser::RegisterPortal(&portal);
        controller.reset(Portal_CloudBrowser::GetInstance("Second"));
        controller->AddPortalTabPage();
    }
    ~SecondPortal() { Portal_CloudBrowser::UnRegisterPortal(&portal); }

    TestPortal portal{"Second"};
    std::unique_ptr<Portal_CloudBrowser> controller;
};

/// A host command's result.
KCommandResult result(const QStringList &texts);

/// Processes the pending events, deferred deletes included.
void settle();
