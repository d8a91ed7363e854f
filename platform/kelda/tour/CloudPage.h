// tour/CloudPage.h
//
// Drives one portal's tab of the cloud browser through its widgets.

#pragma once

#include "tour/Driver.h"

class QComboBox;
class QListWidget;
class QPushButton;

class CloudPage
{
public:
    CloudPage(Driver &driver, const QString &portal) : m_driver(driver), m_portal(portal) {}

    /// Opens the dock from the host's File menu and selects the portal's tab.
    bool open();
    /// Null if the dock is not visible.
    QWidget *dock() const;

    bool clickLogin();
    QString loginText() const;
    bool isSignedIn() const;
    /// The page in the plug-in's sign-in dialog; null if it is not visible.
    QWebView *signInPage() const;
    /// The page in the host's browser window; null if it is not visible.
    QWebView *browser() const;

    /// The names in the list, folders first.
    QStringList entries() const;
    bool openFolder(const QString &name);
    bool goUp();
    /// Replaces the text of the search field and presses Return.
    bool search(const QString &text);
    bool nextPage();
    bool select(const QString &name);
    /// Clicks Import and returns after the import, including its dialogs.
    bool import();
    bool importByDoubleClick(const QString &name);

    bool showImportTab() { return showTab(0); }
    bool showExportTab() { return showTab(1); }
    bool chooseTranslator(const QString &name);
    bool setExportName(const QString &name);
    /// Clicks the gear and returns after the dialog is closed.
    bool showExportOptions();
    /// Returns after the export, its questions and the upload.
    bool exportAll();

    /// The visible widget of the page with that object or accessible name; null if it does not exist.
    QWidget *part(const char *name) const;
    QListWidget *list() const;

protected:
    QWidget *page() const;
    /// The position of the entry in the viewport of the list, scrolled into view. Fails if it does not exist.
    bool findEntry(const QString &name, QPoint *position) const;
    bool showTab(int index);

    Driver &m_driver;
    QString m_portal;
};
