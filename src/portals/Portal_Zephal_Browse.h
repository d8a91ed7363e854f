// portals/Portal_Zephal_Browse.h
//
// Folder listing, download and upload of the Zephal portal, and the callbacks for the cloud library.

#pragma once

#include "cloud/portal/PortalBases.h"
#include "portals/SkeinTrace.h"

#include <cstdint>
#include <map>
#include <string>

/// The results of each running listing by the key of the listing.
extern std::map<std::wstring, ICloudPortalApi::ItemVector *> outSearchResults;

/// The context of contentCb.
struct ZephalListing
{
    ICloudPortalApi::IPortalOwnerCB *owner; ///< receives the clicks on the items; may be null
    std::wstring key;                       ///< of the results in outSearchResults
};

/// Appends a new item to the results of the ZephalListing \p context. Ignored if \p context is null or outSearchResults
/// does not contain its key. The texts may be null. An entry without media type and size is a folder.
void contentCb(void *context, const char *id, const char *name, const char *modified, const char *mediaType,
               int64_t size);
/// Reports the progress to the Transfer \p context. Ignored if \p context is null.
void progressCb(void *context, int64_t done, int64_t total);
/// Ignored, because the library's call returns the result of the transfer.
void downloadCb(void *context, int result);
void uploadCb(void *context, int result);

/// The operations require the login and the items of this portal. They return false without a message box if the user
/// is not signed in or the library fails; HostTrace writes a failure of the library to the host's output.
class Portal_Zephal_IPortalBrowser : public ICloudPortalApi::PortalBrowserBase
{
public:
    int GetPortalType() override { return ICloudPortalApi::kPlainListing; }
    using PortalBrowserBase::GetChildCloudItems;
    /// "Home" lists the root. Otherwise "SpecificFolder" must be the id of the folder.
    bool GetChildCloudItems(ICloudPortalApi::ILogin *login, HeaderMap &criteria,
                            ICloudPortalApi::ItemVector &results) override;
    /// Deletes an older local file first. An item without a parent is downloaded from the root.
    bool DownloadCloudItem(ICloudPortalApi::ILogin *login, ICloudPortalApi::ICloudItem *item, KString folder,
                           KString fileName) override;
    /// If \p existing is null, returns false for a file name that exists in the folder.
    bool UploadFile(ICloudPortalApi::ILogin *login, ICloudPortalApi::ICloudItem *folder,
                    ICloudPortalApi::ICloudItem *existing, KString localFolder, KString fileName) override;

private:
    Skein::HostTrace m_trace;
};
