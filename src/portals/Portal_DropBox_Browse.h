// portals/Portal_DropBox_Browse.h
//
// Folder listing, download and upload of the Dropbox portal.

#pragma once

#include "cloud/portal/PortalBrowserBase.h"

/// Every operation takes the portal's own login object and items of this portal; it shows a failure to the user before
/// it returns false, and returns false without a request or a message when nobody is signed in.
class Portal_DropBox_IPortalBrowser : public ICloudPortalApi::PortalBrowserBase
{
public:
    int GetPortalType() override { return ICloudPortalApi::kPlainListing; }
    using PortalBrowserBase::GetChildCloudItems;
    /// The folder's path stands under "SpecificFolder"; without that key the root is listed. At most 10000 entries.
    bool GetChildCloudItems(ICloudPortalApi::ILogin *login, HeaderMap &criteria,
                            ICloudPortalApi::ItemVector &results) override;
    bool DownloadCloudItem(ICloudPortalApi::ILogin *login, ICloudPortalApi::ICloudItem *item, KString folder,
                           KString fileName) override;
    /// A file of that name in the folder is replaced, so \p existing is not looked at. An empty file counts as failed.
    bool UploadFile(ICloudPortalApi::ILogin *login, ICloudPortalApi::ICloudItem *folder,
                    ICloudPortalApi::ICloudItem *existing, KString localFolder, KString fileName) override;
};
