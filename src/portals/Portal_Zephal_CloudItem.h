// portals/Portal_Zephal_CloudItem.h
//
// A file or folder of the Zephal storage: one entry of a folder listing.

#pragma once

#include "cloud/CloudPortalApi.h"

/// The unique id of the portal's root folder, which no listing contains. The storage's own id of it is empty.
extern const char zephalRootFolderId[];

class Portal_Zephal_ICloudItem : public ICloudPortalApi::ICloudItem
{
    Q_OBJECT
public:
    /// \p owner hears the clicks on the item; it may be null and must outlive the item otherwise.
    explicit Portal_Zephal_ICloudItem(ICloudPortalApi::IPortalOwnerCB *owner);

    KString GetDisplayName() override;
    KString GetUniqueID() override;
    bool IsDownloadable() override;
    bool IsFolder() override;
    /// The display names of the ancestors from the root down, each made safe and preceded by "/"; empty without a
    /// parent.
    KString GetImportPathFolder() override;
    KString GetImportFilename() override;

public slots:
    void FolderClick() override;
    void FolderArrowClick() override;

private:
    KString property(const char *name);

    ICloudPortalApi::IPortalOwnerCB *m_owner;
};
