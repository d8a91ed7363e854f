// ui/BrowserWindow.h
//
// A small web browser that replaces the system's browser.

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

    /// Makes all web pages of the process black on white by default. Call after MainWindow::applyDarkStyle().
    static void prepareWebPages();

    void load(const QUrl &url);

private:
    void showAddress(const QUrl &url);

    QWebView *m_view;
    QLineEdit *m_address;
};

/// During its lifetime, QDesktopServices::openUrl opens http and https addresses in one BrowserWindow.
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
