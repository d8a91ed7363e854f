// portals/Portal_Zephal.h
//
// The Zephal portal: the documents of a user on a server that the cloud library supports. Uses this library for
// sign-in, folder listing, download and upload.

#pragma once

#include "cloud/portal/PortalBases.h"
#include "portals/Portal_Zephal_Browse.h"
#include "portals/Portal_Zephal_Login.h"

class Portal_Zephal : public ICloudPortalApi::PortalBase
{
public:
    /// Owns \p login and \p browser, which must not be null.
    Portal_Zephal(Portal_Zephal_Login *login, Portal_Zephal_IPortalBrowser *browser);

    ICloudPortalApi::ICloudItem *CreateFolderHierarchy() override;
    /// Adds "Home" = "true" for the root, or "SpecificFolder" = the unique id of another folder.
    void FillSearchCriteria(ICloudPortalApi::ICloudItem *folder, HeaderMap &criteria) override;
};
