// portals/Portal_DropBox_CloudItem.h
//
// A Dropbox file or folder: one entry of a folder listing, with the listing's own key names as property names.

#pragma once

#include "cloud/portal/CloudItemBase.h"

/// The unique id of the portal's root folder, which no listing contains.
extern const char dropBoxRootFolderId[];

class Portal_DropBox_ICloudItem : public ICloudPortalApi::CloudItemBase
{
public:
    using CloudItemBase::CloudItemBase;

    /// The last component of the path.
    KString GetDisplayName() override;
    /// The revision.
    KString GetUniqueID() override;
    bool IsFolder() override;
    /// The path of the folder that holds the item, each component made safe; empty for the root and what lies in it.
    KString GetImportPathFolder() override;

    /// The path on the service ("/Work/cup.obj"); empty for the root.
    KString GetPath();
};
