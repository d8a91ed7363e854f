#include "cloud/CloudPortalApi.h"

namespace ICloudPortalApi {

IPortalOwnerCB::~IPortalOwnerCB() = default;
ILogin::~ILogin() = default;
IPortalBrowser::~IPortalBrowser() = default;
IPortal::~IPortal() = default;

bool IPortal::supportSearchBar()
{
    return false;
}

bool IPortalBrowser::BuildFoldersAndFileList(ItemVector &folders, ItemVector &files, ICloudItem *parent,
                                             ICloudItem *current, ItemVector extra, ItemSet excluded)
{
    if (!parent || !current)
        return false;

    const auto isWanted = [&excluded](ICloudItem *item) { return item && excluded.count(item) == 0; };
    const auto sort = [&](ICloudItem *item) {
        item->RemoveAllChild(false);
        (item->IsFolder() ? folders : files).push_back(item);
    };

    const ItemVector children(parent->GetChildBegin(), parent->GetChildEnd());
    for (ICloudItem *item : children) {
        if (isWanted(item))
            sort(item);
    }
    for (ICloudItem *item : extra) {
        if (!isWanted(item))
            continue;
        item->SetParent(parent);
        sort(item);
    }
    return true;
}

} // namespace ICloudPortalApi
