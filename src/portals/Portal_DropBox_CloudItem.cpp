#include "portals/Portal_DropBox_CloudItem.h"

#include "TavrinHelper.h"

#include <cstring>

KString Portal_DropBox_ICloudItem::GetDisplayName()
{
    const KString path = propertyText("path");
    const char *const slash = std::strrchr(path.utf8(), '/');
    return slash ? KString(slash + 1) : path;
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
