#include "portals/Portal_Plyx_CloudItem.h"

#include "TavrinHelper.h"

namespace PlyxFolders {

const char root[] = "Root_Folder_Id_Of_Plyx_Portal__";
const char home[] = "Home_Folder_Id_Of_Plyx_Portal__";
const char lumo[] = "Lumo_Folder_Id_Of_Plyx_Portal__";
const char lumoMobile[] = "LumoMobile_Folder_Id_Of_Plyx_Portal__";
const char tarn[] = "Tarn_Folder_Id_Of_Plyx_Portal__";
const char grell[] = "Grell_Folder_Id_Of_Plyx_Portal__";

} // namespace PlyxFolders

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
    if (id == PlyxFolders::lumo || id == PlyxFolders::lumoMobile)
        return TavrinHelper::portalIcon("Plyx-Lumo.png");
    if (id == PlyxFolders::tarn)
        return TavrinHelper::portalIcon("Plyx-Tarn.png");
    if (id == PlyxFolders::grell)
        return TavrinHelper::portalIcon("Plyx-Grell.png");
    return ICloudItem::GetItemIcon();
}

KString Portal_Plyx_ICloudItem::GetImportPathFolder()
{
    return KString("/") + GetUniqueID();
}

KString Portal_Plyx_ICloudItem::GetImportFilename()
{
    return GetUniqueID() + ".obj";
}
