// portals/Portal_DropBox.h
//
// The Dropbox portal: sign-in through the system browser, folder listing, download and upload.

#pragma once

#include "cloud/CloudPortalApi.h"
#include "portals/Portal_DropBox_Browse.h"
#include "portals/Portal_DropBox_Login.h"

#include <memory>

class Portal_DropBox : public ICloudPortalApi::IPortal
{
public:
    /// Takes \p login and \p browser over; neither may be null.
    Portal_DropBox(Portal_DropBox_Login *login, Portal_DropBox_IPortalBrowser *browser);
    ~Portal_DropBox() override;

    KString GetPortalUID() override;
    KString GetPortalDisplayName() override;
    KString GetPortalDisplayIconFilename() override;
    bool SupportExport(std::vector<KString> &formats) override;
    ICloudPortalApi::ILogin *GetLogin() override;
    ICloudPortalApi::IPortalBrowser *GetBrowser() override;
    KString GetSettingsName() override;
    ICloudPortalApi::ICloudItem *CreateFolderHierarchy() override;
    void setOwnerCB(ICloudPortalApi::IPortalOwnerCB *owner) override;
    /// "Home" = "true" for the root, otherwise "SpecificFolder" = the folder's path; and always "Root".
    void FillSearchCriteria(ICloudPortalApi::ICloudItem *folder, HeaderMap &criteria) override;

private:
    // The login goes first: members are destroyed from the last one up.
    std::unique_ptr<Portal_DropBox_IPortalBrowser> m_browser;
    std::unique_ptr<Portal_DropBox_Login> m_login;
    ICloudPortalApi::IPortalOwnerCB *m_owner = nullptr;
};
