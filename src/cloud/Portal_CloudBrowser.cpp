#include "cloud/Portal_CloudBrowser.h"

#include "cloud/RunningCall.h"

#include <QMainWindow>

#include <memory>

using ICloudPortalApi::ICloudItem;
using ICloudPortalApi::IPortal;

std::map<std::wstring, Portal_CloudBrowser *> Portal_CloudBrowser::_registerPortals;
QPointer<Portal_CloudBrowserDockWidget> Portal_CloudBrowser::_dockWidget;

Portal_CloudBrowser::Portal_CloudBrowser(IPortal *portal) : m_portal(portal) {}

Portal_CloudBrowser::~Portal_CloudBrowser() = default;

bool Portal_CloudBrowser::RegisterPortal(IPortal *portal)
{
    const std::wstring identity = portal->GetPortalUID().wide();
    if (_registerPortals.count(identity) != 0)
        return false;

    // Only for the first portal. If the host deletes its window and the panel later, the panel is not created again.
    if (!_dockWidget && _registerPortals.empty()) {
        _dockWidget = new Portal_CloudBrowserDockWidget(qobject_cast<QMainWindow *>(KQtUtil::mainWindow()));
        RaiseDockingWindow(Tavrin::Settings(Portal_CloudBrowserDockWidget::kSettingsName).getWindowRaised());
    }
    auto *controller = new Portal_CloudBrowser(portal);
    _registerPortals[identity] = controller;
    portal->setOwnerCB(controller);
    return true;
}

void Portal_CloudBrowser::UnRegisterPortal(IPortal *portal)
{
    _registerPortals.erase(portal->GetPortalUID().wide());
    if (_registerPortals.empty())
        delete _dockWidget.data();
}

Portal_CloudBrowser *Portal_CloudBrowser::GetInstance(KString uniqueId)
{
    const auto found = _registerPortals.find(uniqueId.wide());
    return found == _registerPortals.end() ? nullptr : found->second;
}

void Portal_CloudBrowser::RaiseDockingWindow(bool raise)
{
    if (!_dockWidget)
        return;
    _dockWidget->restoreWindowLayout();
    _dockWidget->setVisible(true);
    _dockWidget->activateWindow();
    if (raise)
        _dockWidget->raise();
}

bool Portal_CloudBrowser::IsBusy()
{
    return RunningCall::isAny();
}

void Portal_CloudBrowser::PrepareUnload()
{
    if (_dockWidget)
        _dockWidget->IgnoreTabChanges();
}

IPortal *Portal_CloudBrowser::GetPortal()
{
    return m_portal;
}

void Portal_CloudBrowser::AddPortalTabPage()
{
    if (!_dockWidget || m_window)
        return;
    const RunningCall call;
    auto page = std::make_unique<Portal_CloudBrowserWindows>(_dockWidget, m_portal);
    if (!_dockWidget)
        return;
    m_window = page.release();
    _dockWidget->AddPortalTab(this, m_window, m_portal);
}

void Portal_CloudBrowser::ShowCloudBrowserWindow()
{
    if (!_dockWidget || !m_window)
        return;
    m_window->RefreshLoginButtonState();
    if (m_window)
        m_window->RefreshExporterFilterList();
}

bool Portal_CloudBrowser::isUserLoggedIn()
{
    const RunningCall call;
    const Tavrin::WaitCursor cursor;
    return m_portal->GetLogin()->IsLogin();
}

bool Portal_CloudBrowser::login()
{
    const RunningCall call;
    const Tavrin::WaitCursor cursor;
    return m_portal->GetLogin()->Login(this);
}

bool Portal_CloudBrowser::logout()
{
    const RunningCall call;
    const bool done = m_portal->GetLogin()->Logout();
    if (m_window)
        m_window->Refresh();
    return done;
}

bool Portal_CloudBrowser::getUserName(KString &name)
{
    const RunningCall call;
    return m_portal->GetLogin()->GetUsername(name);
}

bool Portal_CloudBrowser::loginDone(bool success)
{
    return success;
}

void Portal_CloudBrowser::ConsumeFile(ICloudItem *) {}

void Portal_CloudBrowser::LoginDoneCB(bool)
{
    if (m_window)
        m_window->Refresh();
}

void Portal_CloudBrowser::CloudItemClickCB(ICloudItem *item)
{
    if (m_window)
        m_window->FolderClicked(item);
}

void Portal_CloudBrowser::CloudFolderArrowClickCB(ICloudItem *item)
{
    if (m_window)
        m_window->FolderArrowClicked(item);
}

QWidget *Portal_CloudBrowser::GetParentLoginWidget()
{
    return m_window;
}
