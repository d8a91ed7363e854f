#include "cloud/portal/PortalBrowserBase.h"

namespace ICloudPortalApi {

bool SucceededOrShown(const ReturnStatus &status)
{
    if (!status.IsSuccess())
        status.DisplayUserMessageBox();
    return status.IsSuccess();
}

bool PortalBrowserBase::SearchCloudItems(ILogin *, HeaderMap &, int, int, ItemVector &, int &, int &, int &)
{
    return false;
}

bool PortalBrowserBase::GetChildCloudItems(ILogin *, HeaderMap &, int, int, ItemVector &)
{
    return false;
}

bool PortalBrowserBase::GetChildCloudItems(ILogin *, HeaderMap &, ItemVector &)
{
    return false;
}

bool PortalBrowserBase::UploadFile(ILogin *, ICloudItem *, ICloudItem *, KString, KString)
{
    return false;
}

void PortalBrowserBase::setOwnerCB(IPortalOwnerCB *owner)
{
    m_owner = owner;
}

} // namespace ICloudPortalApi
