#include "cloud/portal/CloudItemBase.h"

#include "cloud/CloudPortalApi.h"

namespace ICloudPortalApi {

CloudItemBase::CloudItemBase(IPortalOwnerCB *owner) : m_owner(owner) {}

bool CloudItemBase::IsDownloadable()
{
    return !IsFolder();
}

KString CloudItemBase::GetImportFilename()
{
    return GetDisplayName();
}

void CloudItemBase::FolderClick()
{
    if (m_owner)
        m_owner->CloudItemClickCB(this);
}

void CloudItemBase::FolderArrowClick()
{
    if (m_owner)
        m_owner->CloudFolderArrowClickCB(this);
}

bool CloudItemBase::hasProperty(const char *name)
{
    KString value;
    return GetProperty(name, value);
}

KString CloudItemBase::propertyText(const char *name, const char *missing)
{
    KString value(missing);
    GetProperty(name, value);
    return value;
}

} // namespace ICloudPortalApi
