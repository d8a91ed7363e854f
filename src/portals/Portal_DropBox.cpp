#include "portals/Portal_DropBox.h"

#include "portals/Portal_DropBox_CloudItem.h"

using namespace ICloudPortalApi;

namespace {

constexpr PortalTraits kDropBoxTraits{"DropBox_Portal_Unique_Identity_String", "Dropbox", "dropbox-windows-8.png",
                                      Portal_DropBox_Login::kSettingsName, "fbx"};
constexpr char kRootName[] = "dropbox";

} // namespace

Portal_DropBox::Portal_DropBox(Portal_DropBox_Login *login, Portal_DropBox_IPortalBrowser *browser)
    : PortalBase(kDropBoxTraits, login, browser)
{}

ICloudItem *Portal_DropBox::CreateFolderHierarchy()
{
    auto root = std::make_unique<Portal_DropBox_ICloudItem>(owner());
    root->SetProperty("rev", kDropBoxRootFolderId);
    root->SetProperty("path", GetPortalDisplayName());
    root->SetProperty("root", kRootName);
    root->SetProperty("is_dir", "true");
    return root.release();
}

void Portal_DropBox::FillSearchCriteria(ICloudItem *folder, HeaderMap &criteria)
{
    if (!folder)
        return;
    if (folder->GetUniqueID() == kDropBoxRootFolderId) {
        criteria[L"Home"] = L"true";
    } else {
        KString path;
        folder->GetProperty("path", path);
        criteria[L"SpecificFolder"] = path.wide();
    }
    criteria[L"Root"] = KString(kRootName).wide();
}
