#include "portals/Portal_Plyx_CloudItem.h"

#include "PlyxConfig.h"
#include "TavrinHelper.h"

KString Portal_Plyx_ICloudItem::GetDisplayName()
{
    return propertyText("Name", "-");
}

KString Portal_Plyx_ICloudItem::GetUniqueID()
{
    return propertyText("UniqueID", "-");
}

bool Portal_Plyx_ICloudItem::IsDownloadable()
{
    return hasProperty("CanDownload");
}

bool Portal_Plyx_ICloudItem::IsFolder()
{
    return hasProperty("IsFolder");
}

QIcon Portal_Plyx_ICloudItem::GetItemIcon()
{
    if (!IsFolder())
        return ICloudItem::GetItemIcon();
    const KString id = GetUniqueID();
    if (id == PlyxFolders::kLumo || id == PlyxFolders::kLumoMobile)
        return TavrinHelper::portalIcon("Plyx-Lumo.png");
    if (id == PlyxFolders::kTarn)
        return TavrinHelper::portalIcon("Plyx-Tarn.png");
    if (id == PlyxFolders::kGrell)
        return TavrinHelper::portalIcon("Plyx-Grell.png");
    return ICloudItem::GetItemIcon();
}

ThumbnailSource Portal_Plyx_ICloudItem::thumbnail()
{
    return {QUrl(KQtUtil::toQString(propertyText("ThumbnailUrl"))), QString::fromLatin1(PlyxConfig::kHost)};
}

KString Portal_Plyx_ICloudItem::GetImportPathFolder()
{
    return KString("/") + GetUniqueID();
}

KString Portal_Plyx_ICloudItem::GetImportFilename()
{
    return GetUniqueID() + ".obj";
}
