// portals/Portal_DropBox_CloudItem.h
//
// A Dropbox file or folder: one entry of a folder listing, with the listing's own key names as property names.

#pragma once

#include "cloud/CloudPortalApi.h"

/// The unique id of the portal's root folder, which no listing contains.
extern const char dropBoxRootFolderId[];

class Portal_DropBox_ICloudItem : public ICloudPortalApi::ICloudItem
{
    Q_OBJECT
public:
    /// \p owner hears the clicks on the item; it may be null and must outlive the item otherwise.
    explicit Portal_DropBox_ICloudItem(ICloudPortalApi::IPortalOwnerCB *owner);

    /// The last component of the path.
    KString GetDisplayName() override;
    /// The revision.
    KString GetUniqueID() override;
    bool IsDownloadable() override;
    bool IsFolder() override;
    /// The path of the folder that holds the item, each component made safe; empty for the root and what lies in it.
    KString GetImportPathFolder() override;
    KString GetImportFilename() override;

    /// The path on the service ("/Work/cup.obj"); empty for the root.
    KString GetPath();

public slots:
    void FolderClick() override;
    void FolderArrowClick() override;

private:
    KString property(const char *name);

    ICloudPortalApi::IPortalOwnerCB *m_owner;
};
