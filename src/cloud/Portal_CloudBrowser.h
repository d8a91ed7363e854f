// cloud/Portal_CloudBrowser.h
//
// The registry of portals, and the controller of each: the link between a portal and its page in the dock panel.

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

    /// Makes the dock panel on first use, then a controller for \p portal, which GetInstance finds by the portal's
    /// identity and whoever unregisters the portal deletes. False, and nothing changes, when that identity is taken.
    static bool RegisterPortal(ICloudPortalApi::IPortal *portal);
    /// Forgets the portal's controller without deleting it. The dock panel goes with the last one.
    static void UnRegisterPortal(ICloudPortalApi::IPortal *portal);
    /// Null for an identity that is not registered.
    static Portal_CloudBrowser *GetInstance(KString uniqueId);
    /// Restores the dock panel's place, shows it and, with \p raise, brings it to the front.
    static void RaiseDockingWindow(bool raise);
    /// True while a portal call is on the stack: nothing that it may come back to must go now.
    static bool IsBusy();
    /// Cuts the dock panel's tab-change signal, after which portals may go one by one.
    static void PrepareUnload();

    ICloudPortalApi::IPortal *GetPortal();
    /// Makes the portal's page and its tab, once. May spin the event loop.
    void AddPortalTabPage();
    /// Brings the page's log-in button and exporter list up to date. May spin the event loop.
    void ShowCloudBrowserWindow();
    /// Each of these asks the portal, the first two under the host's wait cursor, and may spin the event loop.
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
