// portals/Portal_Plyx_Browse.h
//
// Paged search and download of the Plyx portal.

#pragma once

#include "cloud/portal/PortalBrowserBase.h"

/// Every operation takes the portal's own login object and items of this portal; it shows a failure to the user before
/// it returns false, and returns false without a request or a message when nobody is signed in.
class Portal_Plyx_IPortalBrowser : public ICloudPortalApi::PortalBrowserBase
{
public:
    int GetPortalType() override { return ICloudPortalApi::kPagedSearch; }
    /// \p criteria are those of Portal_Plyx::FillSearchCriteria, with the keywords under "SearchString" if there are
    /// any. The root cannot be searched: false, without a message. A number that the service does not tell is left as
    /// it was.
    bool SearchCloudItems(ICloudPortalApi::ILogin *login, HeaderMap &criteria, int pageNumber, int pageSize,
                          ICloudPortalApi::ItemVector &results, int &currentPage, int &totalPageCount,
                          int &totalResultCount) override;
    /// Writes the asset's textures into \p folder, then its OBJ file as \p fileName. True also when the asset has no
    /// OBJ file or a texture failed, so the caller must look for the file.
    bool DownloadCloudItem(ICloudPortalApi::ILogin *login, ICloudPortalApi::ICloudItem *item, KString folder,
                           KString fileName) override;
    /// At the root the galleries come first, in an order of their own, and are emptied to be searched afresh.
    bool BuildFoldersAndFileList(ICloudPortalApi::ItemVector &folders, ICloudPortalApi::ItemVector &files,
                                 ICloudPortalApi::ICloudItem *folder, ICloudPortalApi::ICloudItem *root,
                                 ICloudPortalApi::ItemVector extra, ICloudPortalApi::ItemSet excluded) override;
};
