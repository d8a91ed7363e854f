// portals/Portal_Plyx.h
//
// The Plyx portal: sign-in on the service's page, fixed galleries with paged search, download of a model with its
// textures; no upload.

#pragma once

#include "cloud/portal/PortalBase.h"
#include "portals/Portal_Plyx_Browse.h"
#include "portals/Portal_Plyx_Login.h"

class Portal_Plyx : public ICloudPortalApi::PortalBase
{
public:
    /// Takes \p login and \p browser over; neither may be null.
    Portal_Plyx(Portal_Plyx_Login *login, Portal_Plyx_IPortalBrowser *browser);

    bool supportSearchBar() override;
    /// The root with the member's own models and the four galleries.
    ICloudPortalApi::ICloudItem *CreateFolderHierarchy() override;
    /// "NoSearch" = "true" for the root, "Home" = "true" for the own models, "Public" = the media type id of a gallery.
    void FillSearchCriteria(ICloudPortalApi::ICloudItem *folder, HeaderMap &criteria) override;
};
