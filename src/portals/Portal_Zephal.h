// portals/Portal_Zephal.h
//
// The Zephal portal: a user's documents on any server that the cloud library reaches; sign-in, folder listing, download
// and upload all go through that library.

#pragma once

#include "cloud/portal/PortalBase.h"
#include "portals/Portal_Zephal_Browse.h"
#include "portals/Portal_Zephal_Login.h"

class Portal_Zephal : public ICloudPortalApi::PortalBase
{
public:
    /// Takes \p login and \p browser over; neither may be null.
    Portal_Zephal(Portal_Zephal_Login *login, Portal_Zephal_IPortalBrowser *browser);

    ICloudPortalApi::ICloudItem *CreateFolderHierarchy() override;
    /// "Home" = "true" for the root, otherwise "SpecificFolder" = the folder's unique id.
    void FillSearchCriteria(ICloudPortalApi::ICloudItem *folder, HeaderMap &criteria) override;
};
