// portals/Portal_Zephal_CloudItem.h
//
// A file or folder of Zephal: one entry of a folder listing.

#pragma once

#include "cloud/portal/PortalBases.h"

/// The unique id of the root folder, which is not part of a listing. Requests use an empty id for it.
constexpr char kZephalRootFolderId[] = "Root_Folder_Id_Of_Zephal_Portal__";

class Portal_Zephal_ICloudItem : public ICloudPortalApi::CloudItemBase
{
public:
    using CloudItemBase::CloudItemBase;

    KString GetDisplayName() override;
    KString GetUniqueID() override;
    bool IsFolder() override;
    /// Returns the path of the parent: safe display names from the root down, each preceded by "/".
    KString GetImportPathFolder() override;
};
