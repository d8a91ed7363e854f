// portals/Portal_Zephal_Browse.h
//
// Folder listing, download and upload of the Zephal portal, all through the cloud library, and the call-backs that the
// library gets.

#pragma once

#include "cloud/portal/PortalBrowserBase.h"
#include "portals/SkeinTrace.h"

#include <cstdint>
#include <map>
#include <string>

/// Where the entries of each running listing go, by the listing's key. Empty when none runs.
extern std::map<std::wstring, ICloudPortalApi::ItemVector *> outSearchResults;

/// What one listing hands to the library for contentCb.
struct ZephalListing
{
    ICloudPortalApi::IPortalOwnerCB *owner; ///< of the new items; may be null
    std::wstring key;                       ///< in outSearchResults
};

/// Appends one entry, as a new item, to the results of the ZephalListing that \p context points to. A null context or a
/// key without results lets the entry go; null texts are empty ones. An entry with neither media type nor size is a
/// folder.
void contentCb(void *context, const char *id, const char *name, const char *modified, const char *mediaType,
               int64_t size);
/// Reports to the Transfer that \p context points to, if it points to one.
void progressCb(void *context, int64_t done, int64_t total);
/// These do nothing: the outcome of a transfer is the result of the library's call.
void downloadCb(void *context, int result);
void uploadCb(void *context, int result);

/// Every operation takes the portal's own login object and items of this portal. It returns false without a message box
/// if the user is not signed in or the library fails; a failure of the library is a line in the host's output.
class Portal_Zephal_IPortalBrowser : public ICloudPortalApi::PortalBrowserBase
{
public:
    int GetPortalType() override { return ICloudPortalApi::kPlainListing; }
    using PortalBrowserBase::GetChildCloudItems;
    /// "Home" lists the root, whatever else \p criteria hold; without it, the folder's id stands under
    /// "SpecificFolder".
    bool GetChildCloudItems(ICloudPortalApi::ILogin *login, HeaderMap &criteria,
                            ICloudPortalApi::ItemVector &results) override;
    /// An older local file of that name is deleted first. An item without a parent is looked for in the root.
    bool DownloadCloudItem(ICloudPortalApi::ILogin *login, ICloudPortalApi::ICloudItem *item, KString folder,
                           KString fileName) override;
    /// Without \p existing, a file of that name in the folder is not overwritten: false.
    bool UploadFile(ICloudPortalApi::ILogin *login, ICloudPortalApi::ICloudItem *folder,
                    ICloudPortalApi::ICloudItem *existing, KString localFolder, KString fileName) override;

private:
    Skein::HostTrace m_trace;
};
