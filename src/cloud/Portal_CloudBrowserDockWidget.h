// cloud/Portal_CloudBrowserDockWidget.h
//
// The dock panel with one tab per portal. It stores its position in the settings.

#pragma once

#include <QDockWidget>
#include <QPointer>
#include <QTimer>

#include <map>

class Portal_CloudBrowser;
class Portal_CloudBrowserWindows;
class QMainWindow;
class QTabWidget;

namespace ICloudPortalApi {
class IPortal;
}

class Portal_CloudBrowserDockWidget : public QDockWidget
{
    Q_OBJECT
public:
    /// Name of the settings file for the panel's position.
    static const char *const kSettingsName;

    /// If \p parent is null, the panel is a window.
    explicit Portal_CloudBrowserDockWidget(QWidget *parent);
    ~Portal_CloudBrowserDockWidget() override;

    /// Adds \p window as a tab and takes ownership of it. Checks whether the user is signed in, which may spin the
    /// event loop.
    void AddPortalTab(Portal_CloudBrowser *browser, Portal_CloudBrowserWindows *window,
                      ICloudPortalApi::IPortal *portal);
    /// Selects the tab of \p browser, or the first tab if \p browser has no tab.
    void ShowPortal(Portal_CloudBrowser *browser);
    /// After this call, tab changes do not call portals.
    void IgnoreTabChanges();

    /// Floats or docks the panel as stored. In an area with another visible dock it becomes a tab of that dock. The
    /// stored width of a docked panel (in the top and bottom area its height) is set later, when the panel is visible
    /// and no call is running. Until then the panel does not store its size, position and visibility.
    void restoreWindowLayout();
    /// Stores size and position in pixels, floating state, dock area and visibility.
    void persistWindowLayout();
    void raise();

signals:
    void aboutToClose();

public slots:
    /// Updates the page at tab \p newIndex. May spin the event loop.
    void currentTabPageChanged(int newIndex);

protected:
    void showEvent(QShowEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;
    void moveEvent(QMoveEvent *event) override;
    void closeEvent(QCloseEvent *event) override;

private:
    void restorePosition(const QPoint &position);
    void placeInMainWindow(Qt::DockWidgetArea area);
    void finishRestoring();
    void storeVisibility();
    QDockWidget *visibleNeighbour(Qt::DockWidgetArea area) const;

    QTabWidget *m_tabWidget;
    std::map<Portal_CloudBrowser *, int> m_tabIndex;
    QPointer<QMainWindow> m_mainWindow;
    int m_windowWidth = 0;
    int m_windowHeight = 0;
    bool m_restoring = false;
    QTimer m_restoreTimer;
};
