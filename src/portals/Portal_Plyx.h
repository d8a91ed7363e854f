// portals/Portal_Plyx.h
//
// The Plyx portal: sign-in on the service's page, fixed galleries with paged search, and download of a model with its
// textures.

#pragma once

#include "cloud/portal/PortalBases.h"
#include "portals/Portal_Plyx_Browse.h"
#include "portals/Portal_Plyx_Login.h"

class Portal_Plyx : public ICloudPortalApi::PortalBase
{
public:
    /// Owns \p login and \p browser, which must not be null.
    Portal_Plyx(Portal_Plyx_Login *login, Portal_Plyx_IPortalBrowser *browser);

    bool supportSearchBar() override;
    /// Returns the root with a folder for the user's models and four galleries.
    ICloudPortalApi::ICloudItem *CreateFolderHierarchy() override;
    /// Adds "NoSearch" = "true" for the root, "Home" = "true" for the user's models, or "Public" = the media type id of
    /// a gallery.
    void FillSearchCriteria(ICloudPortalApi::ICloudItem *folder, HeaderMap &criteria) override;
};
