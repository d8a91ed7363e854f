// cloud/Portal_CloudBrowserDockWidget.h
//
// The dock panel with one tab per portal. It keeps its own place in the settings.

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
    /// Name of the settings file that keeps the panel's place.
    static const char *const kSettingsName;

    /// \p parent may be null: then the panel is a window of its own.
    explicit Portal_CloudBrowserDockWidget(QWidget *parent);
    ~Portal_CloudBrowserDockWidget() override;

    /// Adds \p window, which the panel owns from then on, as a tab. May spin the event loop, since it asks whether the
    /// portal is signed in.
    void AddPortalTab(Portal_CloudBrowser *browser, Portal_CloudBrowserWindows *window,
                      ICloudPortalApi::IPortal *portal);
    /// Makes the tab of \p browser current; an unknown one counts as the first.
    void ShowPortal(Portal_CloudBrowser *browser);
    /// Tab changes call no portal any more.
    void IgnoreTabChanges();

    /// Floats or docks the panel as stored; in an area that shows another dock it becomes a tab of that. A docked panel
    /// gets its stored width, or its height in the top and bottom area, from the event loop: once it is visible and no
    /// portal is waiting. Until then the panel's size, place and visibility are not stored.
    void restoreWindowLayout();
    /// Stores size and position in pixels, floating state, dock area and whether the panel can be seen.
    void persistWindowLayout();
    void raise();

signals:
    void aboutToClose();

public slots:
    /// Brings the page at tab \p newIndex up to date. May spin the event loop.
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
