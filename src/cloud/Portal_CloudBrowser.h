// cloud/Portal_CloudBrowser.h
//
// The registry of portals, and the controller that connects a portal with its page in the dock panel.

#pragma once

#include "cloud/CloudPortalApi.h"
#include "cloud/page/HostFiles.h"
#include "cloud/page/Portal_CloudBrowserWindows.h"
#include "cloud/Portal_CloudBrowserDockWidget.h"

#include <QPointer>

#include <map>
#include <string>

class Portal_CloudBrowser : public ICloudPortalApi::IPortalOwnerCB
{
public:
    /// \p portal is not owned and must outlive every call on the controller.
    explicit Portal_CloudBrowser(ICloudPortalApi::IPortal *portal);
    ~Portal_CloudBrowser() override;

    /// Creates a controller for \p portal, and the dock panel with the first one. The caller of UnRegisterPortal()
    /// deletes the controller. Returns false without a change if the portal's identity is already registered.
    static bool RegisterPortal(ICloudPortalApi::IPortal *portal);
    /// Removes the portal's controller from the registry without deleting it. Deletes the dock panel when the registry
    /// is empty.
    static void UnRegisterPortal(ICloudPortalApi::IPortal *portal);
    /// Returns null if \p uniqueId is not registered.
    static Portal_CloudBrowser *GetInstance(KString uniqueId);
    /// Restores the position of the dock panel, shows it and, with \p raise, moves it to the front.
    static void RaiseDockingWindow(bool raise);
    /// Returns true while a portal call is on the stack. The objects that it may use must not be deleted then.
    static bool IsBusy();
    /// Disconnects the dock panel's tab changes. Must be called before portals are deleted one by one.
    static void PrepareUnload();

    ICloudPortalApi::IPortal *GetPortal();
    /// Creates the portal's page and its tab. Ignored if they exist. May spin the event loop.
    void AddPortalTabPage();
    /// Updates the page's log-in button and exporter list. May spin the event loop.
    void ShowCloudBrowserWindow();
    /// These four call the portal, the first two with the host's wait cursor on, and may spin the event loop. logout()
    /// also refreshes the page.
    bool isUserLoggedIn();
    bool login();
    bool logout();
    bool getUserName(KString &name);
    bool loginDone(bool success);
    void ConsumeFile(ICloudPortalApi::ICloudItem *item);

    void LoginDoneCB(bool success) override;
    void CloudItemClickCB(ICloudPortalApi::ICloudItem *item) override;
    void CloudFolderArrowClickCB(ICloudPortalApi::ICloudItem *item) override;
    QWidget *GetParentLoginWidget() override;

private:
    static std::map<std::wstring, Portal_CloudBrowser *> _registerPortals;
    static QPointer<Portal_CloudBrowserDockWidget> _dockWidget;

    ICloudPortalApi::IPortal *m_portal;
    QPointer<Portal_CloudBrowserWindows> m_window;
};
