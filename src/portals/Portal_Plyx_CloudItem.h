// portals/Portal_Plyx_CloudItem.h
//
// A fixed folder of the Plyx portal, or a model that the service publishes.

#pragma once

#include "cloud/portal/CloudItemBase.h"

/// The unique ids of the portal's fixed folders. The galleries show the models made for one of the maker's apps each.
namespace PlyxFolders {
extern const char root[];
extern const char home[];
extern const char lumo[];
extern const char lumoMobile[];
extern const char tarn[];
extern const char grell[];
} // namespace PlyxFolders

class Portal_Plyx_ICloudItem : public ICloudPortalApi::CloudItemBase
{
public:
    using CloudItemBase::CloudItemBase;

    /// "-" for an item without a name; so for the id.
    KString GetDisplayName() override;
    KString GetUniqueID() override;
    bool IsDownloadable() override;
    bool IsFolder() override;
    /// A gallery shows the icon of its app.
    QIcon GetItemIcon() override;
    /// "/" and the id: each model has a folder of its own, which its textures share.
    KString GetImportPathFolder() override;
    KString GetImportFilename() override;
};
