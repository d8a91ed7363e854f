// cloud/portal/CloudItemBase.h
//
// What the items of every portal answer alike: the way of a click, and how properties are read.

#pragma once

#include "cloud/CloudItem.h"

namespace ICloudPortalApi {

class IPortalOwnerCB;

class CloudItemBase : public ICloudItem
{
public:
    /// \p owner hears the clicks on the item; it may be null and must outlive the item otherwise.
    explicit CloudItemBase(IPortalOwnerCB *owner);

    /// What is no folder can be downloaded, under the name that is shown.
    bool IsDownloadable() override;
    KString GetImportFilename() override;

    void FolderClick() override;
    void FolderArrowClick() override;

protected:
    bool hasProperty(const char *name);
    /// The property \p name; \p missing when there is none.
    KString propertyText(const char *name, const char *missing = "");

private:
    IPortalOwnerCB *m_owner;
};

} // namespace ICloudPortalApi
