#include "portals/Portal_DropBox_CloudItem.h"

#include "TavrinHelper.h"

KString Portal_DropBox_ICloudItem::GetDisplayName()
{
    const QString path = KQtUtil::toQString(propertyText("path"));
    return KQtUtil::toKString(path.mid(path.lastIndexOf(QLatin1Char('/')) + 1));
}

KString Portal_DropBox_ICloudItem::GetUniqueID()
{
    return propertyText("rev");
}

bool Portal_DropBox_ICloudItem::IsFolder()
{
    return propertyText("is_dir") == "true";
}

KString Portal_DropBox_ICloudItem::GetImportPathFolder()
{
    const QString path = KQtUtil::toQString(GetPath());
    const QString folder = TavrinHelper::safeLocalPath(path.left(qMax(0, path.lastIndexOf(QLatin1Char('/')))));
    if (folder.isEmpty() || folder.startsWith(QLatin1Char('/')))
        return KQtUtil::toKString(folder);
    return KQtUtil::toKString(QLatin1Char('/') + folder);
}

KString Portal_DropBox_ICloudItem::GetPath()
{
    return GetUniqueID() == kDropBoxRootFolderId ? KString() : propertyText("path");
}
