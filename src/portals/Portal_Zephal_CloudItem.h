// portals/Portal_Zephal_CloudItem.h
//
// A file or folder of the Zephal storage: one entry of a folder listing.

#pragma once

#include "cloud/portal/CloudItemBase.h"

/// The unique id of the portal's root folder, which no listing contains. The storage's own id of it is empty.
extern const char zephalRootFolderId[];

class Portal_Zephal_ICloudItem : public ICloudPortalApi::CloudItemBase
{
public:
    using CloudItemBase::CloudItemBase;

    KString GetDisplayName() override;
    KString GetUniqueID() override;
    bool IsFolder() override;
    /// The display names of the ancestors from the root down, each made safe and preceded by "/"; empty without a
    /// parent.
    KString GetImportPathFolder() override;
};
