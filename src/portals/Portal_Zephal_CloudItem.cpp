#include "portals/Portal_Zephal_CloudItem.h"

#include "TavrinHelper.h"

const char zephalRootFolderId[] = "Root_Folder_Id_Of_Zephal_Portal__";

Portal_Zephal_ICloudItem::Portal_Zephal_ICloudItem(ICloudPortalApi::IPortalOwnerCB *owner) : m_owner(owner) {}

KString Portal_Zephal_ICloudItem::GetDisplayName()
{
    return property("name");
}

KString Portal_Zephal_ICloudItem::GetUniqueID()
{
    return property("uniqueID");
}

bool Portal_Zephal_ICloudItem::IsDownloadable()
{
    return !IsFolder();
}

bool Portal_Zephal_ICloudItem::IsFolder()
{
    KString value;
    return GetProperty("is_dir", value);
}

KString Portal_Zephal_ICloudItem::GetImportPathFolder()
{
    QString path;
    for (ICloudItem *ancestor = GetParent(); ancestor; ancestor = ancestor->GetParent()) {
        const QString name = KQtUtil::toQString(ancestor->GetDisplayName());
        path.prepend(QLatin1Char('/') + TavrinHelper::safeLocalName(name));
    }
    return KQtUtil::toKString(path);
}

KString Portal_Zephal_ICloudItem::GetImportFilename()
{
    return GetDisplayName();
}

void Portal_Zephal_ICloudItem::FolderClick()
{
    if (m_owner)
        m_owner->CloudItemClickCB(this);
}

void Portal_Zephal_ICloudItem::FolderArrowClick()
{
    if (m_owner)
        m_owner->CloudFolderArrowClickCB(this);
}

KString Portal_Zephal_ICloudItem::property(const char *name)
{
    KString value;
    GetProperty(name, value);
    return value;
}
