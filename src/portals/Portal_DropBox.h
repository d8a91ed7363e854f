// portals/Portal_DropBox.h
//
// The Dropbox portal: sign-in through the system browser, folder listing, download and upload.

#pragma once

#include "cloud/portal/PortalBase.h"
#include "portals/Portal_DropBox_Browse.h"
#include "portals/Portal_DropBox_Login.h"

class Portal_DropBox : public ICloudPortalApi::PortalBase
{
public:
    /// Takes \p login and \p browser over; neither may be null.
    Portal_DropBox(Portal_DropBox_Login *login, Portal_DropBox_IPortalBrowser *browser);

    ICloudPortalApi::ICloudItem *CreateFolderHierarchy() override;
    /// "Home" = "true" for the root, otherwise "SpecificFolder" = the folder's path; and always "Root".
    void FillSearchCriteria(ICloudPortalApi::ICloudItem *folder, HeaderMap &criteria) override;
};
