// ui/BrowserWindow.h
//
// A small web browser of the host's own, for web addresses that would otherwise go to the system's browser.

#pragma once

#include <QMainWindow>
#include <QPointer>
#include <QUrl>

class QLineEdit;
class QWebView;

/// Deletes itself when closed. The view is named "KeldaBrowserView", the address line "KeldaBrowserAddress".
class BrowserWindow : public QMainWindow
{
    Q_OBJECT
public:
    BrowserWindow();

    /// Makes web pages of the whole process, those in plug-ins' dialogs too, black on white where they give no colours
    /// of their own. Call after the dark look was set.
    static void prepareWebPages();

    void load(const QUrl &url);

private:
    void showAddress(const QUrl &url);

    QWebView *m_view;
    QLineEdit *m_address;
};

/// While it lives, QDesktopServices::openUrl opens http and https addresses in one BrowserWindow.
class InternalBrowser : public QObject
{
    Q_OBJECT
public:
    explicit InternalBrowser(QObject *parent = nullptr);
    /// Closes the window.
    ~InternalBrowser() override;

public slots:
    void open(const QUrl &url);

private:
    QPointer<BrowserWindow> m_window;
};
