#include "cloud/Portal_CloudBrowserDockWidget.h"

#include "cloud/page/AfterInput.h"
#include "cloud/Portal_CloudBrowser.h"
#include "cloud/RunningCall.h"
#include "TavrinStrings.h"

#include <QCloseEvent>
#include <QGuiApplication>
#include <QMainWindow>
#include <QScreen>
#include <QTabBar>
#include <QTabWidget>

#include <vector>

using Tavrin::Settings;

const char *const Portal_CloudBrowserDockWidget::kSettingsName = "CloudBrowser_Dock_Widget";

namespace {

constexpr int kRetryMs = 100;
const char *const kTabStyle = "QTabWidget { background-color: #444444; }";

/// Returns true if a corner of a window at \p position is visible and can be dragged.
bool isOnScreen(const QPoint &position)
{
    const QRect corner(position, QSize(150, 30));
    for (const QScreen *screen : QGuiApplication::screens()) {
        if (screen->availableGeometry().intersects(corner))
            return true;
    }
    return false;
}

} // namespace

Portal_CloudBrowserDockWidget::Portal_CloudBrowserDockWidget(QWidget *parent)
    : QDockWidget(parent), m_tabWidget(new QTabWidget(this))
{
    setObjectName(QStringLiteral("CloudPortalDockwidgetStatic"));
    m_tabWidget->setObjectName(QStringLiteral("Portal_CloudBrowserDockWidget_tabWidget"));
    m_tabWidget->setIconSize(QSize(26, 26));
    setAccessibleName(QStringLiteral("CloudPortal_Docking_wdn"));
    setWidget(m_tabWidget);
    setFeatures(DockWidgetClosable | DockWidgetMovable | DockWidgetFloatable);
    setWindowTitle(TavrinStrings::text(TavrinStrings::kCloudPortalWindowLabel));
    auto *input = new AfterInput(m_tabWidget->tabBar());
    connect(m_tabWidget, &QTabWidget::currentChanged, this,
            [this, input](int index) { input->run(this, [this, index] { currentTabPageChanged(index); }); });

    // Queued, so that the main window arranges its panels first.
    connect(this, &QDockWidget::visibilityChanged, this, &Portal_CloudBrowserDockWidget::storeVisibility,
            Qt::QueuedConnection);
    m_restoreTimer.setSingleShot(true);
    connect(&m_restoreTimer, &QTimer::timeout, this, &Portal_CloudBrowserDockWidget::finishRestoring);

    m_mainWindow = qobject_cast<QMainWindow *>(KQtUtil::mainWindow());
    Settings(kSettingsName).getWindowSize(m_windowWidth, m_windowHeight);
    setMinimumSize(150, 150);
    const QRect screen = QGuiApplication::primaryScreen()->virtualGeometry();
    resize(QSize(m_windowWidth, m_windowHeight).boundedTo(screen.size()));
}

Portal_CloudBrowserDockWidget::~Portal_CloudBrowserDockWidget()
{
    IgnoreTabChanges();
    m_restoring = true;
    ICloudPortalApi::ICloudItem::ReleaseStandardIcons();
}

void Portal_CloudBrowserDockWidget::AddPortalTab(Portal_CloudBrowser *browser, Portal_CloudBrowserWindows *window,
                                                 ICloudPortalApi::IPortal *portal)
{
    const QPointer<Portal_CloudBrowserDockWidget> self(this);
    const QIcon icon = TavrinHelper::portalIcon(portal->GetPortalDisplayIconFilename());
    if (!self)
        return;
    const int index = m_tabWidget->addTab(window, icon, KQtUtil::toQString(portal->GetPortalDisplayName()));
    m_tabWidget->setStyleSheet(QString::fromLatin1(kTabStyle));
    m_tabIndex[browser] = index;
    window->SetOwners(this, browser, m_mainWindow);

    if (browser->isUserLoggedIn() && self)
        browser->LoginDoneCB(true);
    if (self && m_tabIndex.size() == 1)
        currentTabPageChanged(index);
}

void Portal_CloudBrowserDockWidget::ShowPortal(Portal_CloudBrowser *browser)
{
    m_tabWidget->setCurrentIndex(m_tabIndex[browser]);
}

void Portal_CloudBrowserDockWidget::IgnoreTabChanges()
{
    m_tabWidget->disconnect(this);
    m_tabIndex.clear(); // so that a queued tab change is ignored
}

void Portal_CloudBrowserDockWidget::currentTabPageChanged(int newIndex)
{
    std::vector<Portal_CloudBrowser *> shown;
    for (const auto &[browser, index] : m_tabIndex) {
        if (index == newIndex)
            shown.push_back(browser);
    }
    const QPointer<Portal_CloudBrowserDockWidget> self(this);
    for (Portal_CloudBrowser *browser : shown) {
        if (self)
            browser->ShowCloudBrowserWindow();
    }
}

void Portal_CloudBrowserDockWidget::restoreWindowLayout()
{
    // Floating and docking move and resize the panel, which must not overwrite the stored values.
    m_restoring = true;
    m_restoreTimer.start(0);
    Settings settings(kSettingsName);
    settings.setWindowActive(true);
    settings.getWindowSize(m_windowWidth, m_windowHeight);
    const Qt::DockWidgetArea storedArea = settings.getWindowDock();
    setFloating(settings.getWindowFloating());

    int x = 0;
    int y = 0;
    if (isWindow() && settings.getWindowPosition(x, y))
        restorePosition(QPoint(x, y));
    if (!m_mainWindow) {
        m_restoring = false;
        return;
    }

    Qt::DockWidgetArea area = m_mainWindow->dockWidgetArea(this);
    if (area == Qt::NoDockWidgetArea)
        area = storedArea;
    else
        m_mainWindow->removeDockWidget(this);
    placeInMainWindow(area);
    m_restoring = !isFloating();
}

void Portal_CloudBrowserDockWidget::finishRestoring()
{
    if (m_mainWindow && !isFloating() && !isHidden()) {
        if (!isVisible())
            return; // showEvent() starts the timer again
        if (RunningCall::isAny()) {
            m_restoreTimer.start(kRetryMs);
            return;
        }
        const Qt::DockWidgetArea area = m_mainWindow->dockWidgetArea(this);
        if (area == Qt::TopDockWidgetArea || area == Qt::BottomDockWidgetArea)
            m_mainWindow->resizeDocks({this}, {m_windowHeight}, Qt::Vertical);
        else
            m_mainWindow->resizeDocks({this}, {m_windowWidth}, Qt::Horizontal);
    }
    m_restoring = false;
}

void Portal_CloudBrowserDockWidget::storeVisibility()
{
    // If the host hides its main window, for example when it quits, the user has not hidden the panel.
    if (!m_restoring && (!m_mainWindow || m_mainWindow->isVisible()))
        persistWindowLayout();
}

void Portal_CloudBrowserDockWidget::restorePosition(const QPoint &position)
{
    move(isOnScreen(position) ? position : QGuiApplication::primaryScreen()->availableGeometry().topLeft());
}

void Portal_CloudBrowserDockWidget::placeInMainWindow(Qt::DockWidgetArea area)
{
    const bool isArea = area == Qt::LeftDockWidgetArea || area == Qt::RightDockWidgetArea ||
                        area == Qt::TopDockWidgetArea || area == Qt::BottomDockWidgetArea;
    if (!isArea) {
        // A new user has no stored area.
        if (isFloating())
            return;
        area = Qt::RightDockWidgetArea;
    }
    if (QDockWidget *neighbour = visibleNeighbour(area))
        m_mainWindow->tabifyDockWidget(neighbour, this);
    else
        m_mainWindow->addDockWidget(area, this);
}

QDockWidget *Portal_CloudBrowserDockWidget::visibleNeighbour(Qt::DockWidgetArea area) const
{
    for (QObject *child : m_mainWindow->children()) {
        auto *dock = qobject_cast<QDockWidget *>(child);
        if (dock && dock != this && dock->isVisible() && m_mainWindow->dockWidgetArea(dock) == area)
            return dock;
    }
    return nullptr;
}

void Portal_CloudBrowserDockWidget::persistWindowLayout()
{
    Settings settings(kSettingsName);
    settings.setWindowSize(width(), height());
    settings.setWindowPosition(x(), y());
    settings.setWindowFloating(isWindow());
    if (m_mainWindow)
        settings.setWindowDock(m_mainWindow->dockWidgetArea(this));
    settings.setWindowRaised(!isHidden() && (!visibleRegion().isEmpty() || isFloating()));
}

void Portal_CloudBrowserDockWidget::raise()
{
    Settings(kSettingsName).setWindowRaised(true);
    QWidget::raise();
}

void Portal_CloudBrowserDockWidget::showEvent(QShowEvent *event)
{
    QDockWidget::showEvent(event);
    if (m_restoring)
        m_restoreTimer.start(0);
}

void Portal_CloudBrowserDockWidget::resizeEvent(QResizeEvent *event)
{
    QDockWidget::resizeEvent(event);
    if (!m_restoring)
        persistWindowLayout();
}

void Portal_CloudBrowserDockWidget::moveEvent(QMoveEvent *event)
{
    QDockWidget::moveEvent(event);
    if (!m_restoring)
        persistWindowLayout();
}

void Portal_CloudBrowserDockWidget::closeEvent(QCloseEvent *event)
{
    Settings(kSettingsName).setWindowActive(false);
    emit aboutToClose();
    QDockWidget::closeEvent(event);
}

#include "moc_Portal_CloudBrowserDockWidget.cpp"
