// portals/Portal_Plyx.h
//
// The Plyx portal: sign-in on the service's page, fixed galleries with paged search, download of a model with its
// textures; no upload.

#pragma once

#include "cloud/CloudPortalApi.h"
#include "portals/Portal_Plyx_Browse.h"
#include "portals/Portal_Plyx_Login.h"

#include <memory>

class Portal_Plyx : public ICloudPortalApi::IPortal
{
public:
    /// Takes \p login and \p browser over; neither may be null.
    Portal_Plyx(Portal_Plyx_Login *login, Portal_Plyx_IPortalBrowser *browser);
    ~Portal_Plyx() override;

    KString GetPortalUID() override;
    KString GetPortalDisplayName() override;
    KString GetPortalDisplayIconFilename() override;
    bool SupportExport(std::vector<KString> &translators) override;
    bool supportSearchBar() override;
    ICloudPortalApi::ILogin *GetLogin() override;
    ICloudPortalApi::IPortalBrowser *GetBrowser() override;
    KString GetSettingsName() override;
    /// The root with the member's own models and the four galleries.
    ICloudPortalApi::ICloudItem *CreateFolderHierarchy() override;
    void setOwnerCB(ICloudPortalApi::IPortalOwnerCB *owner) override;
    /// "NoSearch" = "true" for the root, "Home" = "true" for the own models, "Public" = the media type id of a gallery.
    void FillSearchCriteria(ICloudPortalApi::ICloudItem *folder, HeaderMap &criteria) override;

private:
    // The login goes first: members are destroyed from the last one up.
    std::unique_ptr<Portal_Plyx_IPortalBrowser> m_browser;
    std::unique_ptr<Portal_Plyx_Login> m_login;
    ICloudPortalApi::IPortalOwnerCB *m_owner = nullptr;
};
