// tour/CloudPage.h
//
// One portal's tab of the cloud browser, used through its widgets: what a person reads there and does there.

#pragma once

#include "tour/Driver.h"

class QCheckBox;
class QComboBox;
class QListWidget;
class QListWidgetItem;
class QPushButton;
class QToolButton;

class CloudPage
{
public:
    CloudPage(Driver &driver, const QString &portal);

    /// Opens the dock from the host's File menu and brings the portal's tab to the front.
    bool open();
    /// Drags the dock's left edge until the dock, docked at the right, is about \p pixels wide.
    bool widen(int pixels);
    /// Closes the dock with its own button.
    bool closeDock();
    QWidget *dock() const;
    bool isOpen() const { return dock() != nullptr; }

    bool clickLogin();
    /// The page in the plug-in's sign-in dialog; null while none is shown.
    QWebView *signInPage() const;
    /// Clicks Login and waits for the sign-in page in the host's browser window.
    bool askToSignIn();
    /// Clicks Allow there, waits until the tab shows the user's name and the files, and closes the browser window.
    bool allow();
    bool deny();
    bool signIn() { return askToSignIn() && allow(); }
    bool logOut();
    bool isSignedIn() const;
    QWebView *browser() const;
    QString loginText() const;

    /// Names in the list, folders first, as shown.
    QStringList entries() const;
    bool isListEnabled() const;
    bool openFolder(const QString &name);
    /// Chooses \p child from the menu of \p folder, a button in the path above the list.
    bool openFromPath(const QString &folder, const QString &child);
    /// The folders in that path, from the top.
    QStringList path() const;
    /// Goes up with the parent-folder button.
    bool goUp();
    /// Replaces the text of the search field and presses Return there.
    bool search(const QString &text);
    bool nextPage();
    bool select(const QString &name);
    QString chosenFile() const;
    bool canImport() const;
    /// Clicks Import; returns when the flow has ended.
    bool import();
    bool importByDoubleClick(const QString &name);
    bool setShowOptions(bool on);

    bool showImportTab() { return showTab(0); }
    bool showExportTab() { return showTab(1); }
    /// The translators that the export tab offers.
    QStringList translators() const;
    bool chooseTranslator(const QString &name);
    bool setExportName(const QString &name);
    QString exportName() const;
    /// Clicks the gear; returns when the dialog is closed.
    bool showExportOptions();
    /// Returns when the export, its questions and the upload have ended.
    bool exportAll();

private:
    QWidget *page() const;
    /// The visible widget of the page with that object or accessible name; null without one.
    QWidget *part(const char *name) const;
    QListWidget *list() const;
    QPushButton *loginButton() const;
    QList<QToolButton *> pathButtons() const;
    QListWidgetItem *shownEntry(const QString &name) const;
    bool pointTo(const QString &name, QPoint *at) const;
    bool showTab(int index);
    QComboBox *translatorBox() const;

    Driver &m_driver;
    QString m_portal;
};
