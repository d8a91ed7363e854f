#include "portals/Portal_Zephal.h"

#include "portals/Portal_Zephal_CloudItem.h"

using namespace ICloudPortalApi;

namespace {

constexpr PortalTraits kZephalTraits{"Zephal_Portal_Unique_Identity_String", "Zephal", "corvane_zephal_icon.png",
                                     "TavrinSettings_ZephalAppBrowser", "fbx"};

} // namespace

Portal_Zephal::Portal_Zephal(Portal_Zephal_Login *login, Portal_Zephal_IPortalBrowser *browser)
    : PortalBase(kZephalTraits, login, browser)
{}

ICloudItem *Portal_Zephal::CreateFolderHierarchy()
{
    auto root = std::make_unique<Portal_Zephal_ICloudItem>(owner());
    root->SetProperty("uniqueID", kZephalRootFolderId);
    root->SetProperty("name", "My cloud documents");
    root->SetProperty("is_dir", "true");
    return root.release();
}

void Portal_Zephal::FillSearchCriteria(ICloudItem *folder, HeaderMap &criteria)
{
    if (!folder)
        return;
    const KString id = folder->GetUniqueID();
    if (id == kZephalRootFolderId)
        criteria[L"Home"] = L"true";
    else
        criteria[L"SpecificFolder"] = id.wide();
}
