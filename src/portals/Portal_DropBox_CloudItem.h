// portals/Portal_DropBox_CloudItem.h
//
// A file or folder of Dropbox: one entry of a folder listing. The properties have the names of the listing's keys.

#pragma once

#include "cloud/portal/PortalBases.h"

/// The unique id of the root folder, which is not part of a listing.
constexpr char kDropBoxRootFolderId[] = "Root_Folder_Id_Of_DropBox_Portal";

class Portal_DropBox_ICloudItem : public ICloudPortalApi::CloudItemBase
{
public:
    using CloudItemBase::CloudItemBase;

    /// Returns the last component of the path.
    KString GetDisplayName() override;
    /// Returns the revision.
    KString GetUniqueID() override;
    bool IsFolder() override;
    /// Returns the path of the parent folder with safe components; empty for the root and its children.
    KString GetImportPathFolder() override;

    /// Returns the path on the service ("/Work/cup.obj"); empty for the root.
    KString GetPath();
};
