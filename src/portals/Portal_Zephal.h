// portals/Portal_Zephal.h
//
// The Zephal portal: a user's documents on any server that the cloud library reaches; sign-in, folder listing, download
// and upload all go through that library.

#pragma once

#include "cloud/CloudPortalApi.h"
#include "portals/Portal_Zephal_Browse.h"
#include "portals/Portal_Zephal_Login.h"

#include <memory>

class Portal_Zephal : public ICloudPortalApi::IPortal
{
public:
    /// Takes \p login and \p browser over; neither may be null.
    Portal_Zephal(Portal_Zephal_Login *login, Portal_Zephal_IPortalBrowser *browser);
    ~Portal_Zephal() override;

    KString GetPortalUID() override;
    KString GetPortalDisplayName() override;
    KString GetPortalDisplayIconFilename() override;
    bool SupportExport(std::vector<KString> &formats) override;
    ICloudPortalApi::ILogin *GetLogin() override;
    ICloudPortalApi::IPortalBrowser *GetBrowser() override;
    KString GetSettingsName() override;
    ICloudPortalApi::ICloudItem *CreateFolderHierarchy() override;
    void setOwnerCB(ICloudPortalApi::IPortalOwnerCB *owner) override;
    /// "Home" = "true" for the root, otherwise "SpecificFolder" = the folder's unique id.
    void FillSearchCriteria(ICloudPortalApi::ICloudItem *folder, HeaderMap &criteria) override;

private:
    // The login goes first: members are destroyed from the last one up.
    std::unique_ptr<Portal_Zephal_IPortalBrowser> m_browser;
    std::unique_ptr<Portal_Zephal_Login> m_login;
    ICloudPortalApi::IPortalOwnerCB *m_owner = nullptr;
};
