// portals/Portal_Plyx_Browse.h
//
// Paged search and download of the Plyx portal.

#pragma once

#include "cloud/portal/PortalBases.h"

/// The operations require the login and the items of this portal. They return false after a message box if a request
/// fails, and false without a request or a message if the user is not signed in.
class Portal_Plyx_IPortalBrowser : public ICloudPortalApi::PortalBrowserBase
{
public:
    int GetPortalType() override { return ICloudPortalApi::kPagedSearch; }
    /// Uses the criteria of Portal_Plyx::FillSearchCriteria() and the keywords in "SearchString". Returns false without
    /// a message for the root. Leaves numbers unchanged that the reply does not contain.
    bool SearchCloudItems(ICloudPortalApi::ILogin *login, HeaderMap &criteria, int pageNumber, int pageSize,
                          ICloudPortalApi::ItemVector &results, int &currentPage, int &totalPageCount,
                          int &totalResultCount) override;
    /// Downloads the textures of the asset to \p folder, then its OBJ file to \p fileName. Also returns true if the
    /// asset has no OBJ file or if a texture failed, so the caller must check that the file exists.
    bool DownloadCloudItem(ICloudPortalApi::ILogin *login, ICloudPortalApi::ICloudItem *item, KString folder,
                           KString fileName) override;
    /// In the root, the galleries are first, in a fixed order, and their children are detached.
    bool BuildFoldersAndFileList(ICloudPortalApi::ItemVector &folders, ICloudPortalApi::ItemVector &files,
                                 ICloudPortalApi::ICloudItem *folder, ICloudPortalApi::ICloudItem *root,
                                 ICloudPortalApi::ItemVector extra, ICloudPortalApi::ItemSet excluded) override;
};
