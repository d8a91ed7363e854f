// portals/Portal_DropBox_Browse.h
//
// Folder listing, download and upload of the Dropbox portal.

#pragma once

#include "cloud/portal/PortalBases.h"

/// The operations require the login and the items of this portal. They return false after a message box if a request
/// fails, and false without a request or a message if the user is not signed in.
class Portal_DropBox_IPortalBrowser : public ICloudPortalApi::PortalBrowserBase
{
public:
    int GetPortalType() override { return ICloudPortalApi::kPlainListing; }
    using PortalBrowserBase::GetChildCloudItems;
    /// "SpecificFolder" is the path of the folder; without it the call lists the root. Returns 10000 entries at most.
    bool GetChildCloudItems(ICloudPortalApi::ILogin *login, HeaderMap &criteria,
                            ICloudPortalApi::ItemVector &results) override;
    bool DownloadCloudItem(ICloudPortalApi::ILogin *login, ICloudPortalApi::ICloudItem *item, KString folder,
                           KString fileName) override;
    /// Replaces a file of the same name and ignores \p existing. Returns false for an empty file.
    bool UploadFile(ICloudPortalApi::ILogin *login, ICloudPortalApi::ICloudItem *folder,
                    ICloudPortalApi::ICloudItem *existing, KString localFolder, KString fileName) override;
};
