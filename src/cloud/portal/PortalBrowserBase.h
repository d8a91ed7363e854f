// cloud/portal/PortalBrowserBase.h
//
// What the browser of a portal answers for all that its service cannot do, and how it shows a failed request.

#pragma once

#include "cloud/CloudPortalApi.h"

namespace ICloudPortalApi {

/// Shows a failure to the user, which spins the event loop. True for a success.
bool SucceededOrShown(const ReturnStatus &status);

/// A portal overrides what its service can do; the rest returns false and does nothing.
class PortalBrowserBase : public IPortalBrowser
{
public:
    bool SearchCloudItems(ILogin *login, HeaderMap &criteria, int pageNumber, int pageSize, ItemVector &results,
                          int &currentPage, int &totalPageCount, int &totalResultCount) override;
    bool GetChildCloudItems(ILogin *login, HeaderMap &criteria, int pageNumber, int pageSize,
                            ItemVector &results) override;
    bool GetChildCloudItems(ILogin *login, HeaderMap &criteria, ItemVector &results) override;
    bool UploadFile(ILogin *login, ICloudItem *folder, ICloudItem *existing, KString localFolder,
                    KString fileName) override;
    void setOwnerCB(IPortalOwnerCB *owner) override;

protected:
    /// Hears the clicks on the items that the browser makes; null until it was set.
    IPortalOwnerCB *owner() const { return m_owner; }

private:
    IPortalOwnerCB *m_owner = nullptr;
};

} // namespace ICloudPortalApi
