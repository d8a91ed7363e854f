#include "portals/Portal_DropBox_CloudItem.h"

#include "TavrinHelper.h"

const char dropBoxRootFolderId[] = "Root_Folder_Id_Of_DropBox_Portal";

Portal_DropBox_ICloudItem::Portal_DropBox_ICloudItem(ICloudPortalApi::IPortalOwnerCB *owner) : m_owner(owner) {}

KString Portal_DropBox_ICloudItem::GetDisplayName()
{
    const QString path = KQtUtil::toQString(property("path"));
    return KQtUtil::toKString(path.mid(path.lastIndexOf(QLatin1Char('/')) + 1));
}

KString Portal_DropBox_ICloudItem::GetUniqueID()
{
    return property("rev");
}

bool Portal_DropBox_ICloudItem::IsDownloadable()
{
    return !IsFolder();
}

bool Portal_DropBox_ICloudItem::IsFolder()
{
    return property("is_dir") == "true";
}

KString Portal_DropBox_ICloudItem::GetImportPathFolder()
{
    const QString path = KQtUtil::toQString(GetPath());
    const QString folder = TavrinHelper::safeLocalPath(path.left(qMax(0, path.lastIndexOf(QLatin1Char('/')))));
    if (folder.isEmpty() || folder.startsWith(QLatin1Char('/')))
        return KQtUtil::toKString(folder);
    return KQtUtil::toKString(QLatin1Char('/') + folder);
}

KString Portal_DropBox_ICloudItem::GetImportFilename()
{
    return GetDisplayName();
}

KString Portal_DropBox_ICloudItem::GetPath()
{
    return GetUniqueID() == dropBoxRootFolderId ? KString() : property("path");
}

void Portal_DropBox_ICloudItem::FolderClick()
{
    if (m_owner)
        m_owner->CloudItemClickCB(this);
}

void Portal_DropBox_ICloudItem::FolderArrowClick()
{
    if (m_owner)
        m_owner->CloudFolderArrowClickCB(this);
}

KString Portal_DropBox_ICloudItem::property(const char *name)
{
    KString value;
    GetProperty(name, value);
    return value;
}
