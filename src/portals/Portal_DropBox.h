// portals/Portal_DropBox.h
//
// The Dropbox portal: sign-in through the system browser, folder listing, download and upload.

#pragma once

#include "cloud/portal/PortalBases.h"
#include "portals/Portal_DropBox_Browse.h"
#include "portals/Portal_DropBox_Login.h"

class Portal_DropBox : public ICloudPortalApi::PortalBase
{
public:
    /// Owns \p login and \p browser, which must not be null.
    Portal_DropBox(Portal_DropBox_Login *login, Portal_DropBox_IPortalBrowser *browser);

    ICloudPortalApi::ICloudItem *CreateFolderHierarchy() override;
    /// Adds "Root", and "Home" = "true" for the root or "SpecificFolder" = the path of another folder.
    void FillSearchCriteria(ICloudPortalApi::ICloudItem *folder, HeaderMap &criteria) override;
};
