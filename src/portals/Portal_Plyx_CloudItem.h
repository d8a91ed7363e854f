// portals/Portal_Plyx_CloudItem.h
//
// A fixed folder of the Plyx portal, or a model of the service.

#pragma once

#include "cloud/IThumbnailItem.h"
#include "cloud/portal/PortalBases.h"

/// The unique ids of the fixed folders: the root, the user's models, and one gallery for each app of the service.
namespace PlyxFolders {
constexpr char kRoot[] = "Root_Folder_Id_Of_Plyx_Portal__";
constexpr char kHome[] = "Home_Folder_Id_Of_Plyx_Portal__";
constexpr char kLumo[] = "Lumo_Folder_Id_Of_Plyx_Portal__";
constexpr char kLumoMobile[] = "LumoMobile_Folder_Id_Of_Plyx_Portal__";
constexpr char kTarn[] = "Tarn_Folder_Id_Of_Plyx_Portal__";
constexpr char kGrell[] = "Grell_Folder_Id_Of_Plyx_Portal__";
} // namespace PlyxFolders

class Portal_Plyx_ICloudItem : public ICloudPortalApi::CloudItemBase, public ICloudPortalApi::IThumbnailItem
{
public:
    using CloudItemBase::CloudItemBase;

    /// Returns "-" for an item without a name. The same applies to GetUniqueID().
    KString GetDisplayName() override;
    KString GetUniqueID() override;
    bool IsDownloadable() override;
    bool IsFolder() override;
    /// Returns the icon of the app for a gallery.
    QIcon GetItemIcon() override;
    ThumbnailSource thumbnail() override;
    /// Returns "/" and the id, because each model needs a folder for itself and its textures.
    KString GetImportPathFolder() override;
    KString GetImportFilename() override;
};
