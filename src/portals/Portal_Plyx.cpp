#include "portals/Portal_Plyx.h"

#include "portals/Portal_Plyx_CloudItem.h"
#include "TavrinStrings.h"

using namespace ICloudPortalApi;

namespace {

constexpr PortalTraits kPlyxTraits{"Plyx_Portal_Unique_Identity_String", "Plyx", "plyx.png",
                                   Portal_Plyx_Login::kSettingsName, nullptr};

struct Criterion
{
    const char *folderId;
    const wchar_t *key;
    const wchar_t *value;
};

/// The criterion of each folder. The value of a gallery is its media type id.
constexpr Criterion kCriteria[] = {
    {PlyxFolders::kRoot, L"NoSearch", L"true"}, {PlyxFolders::kHome, L"Home", L"true"},
    {PlyxFolders::kLumo, L"Public", L"27"},     {PlyxFolders::kLumoMobile, L"Public", L"28"},
    {PlyxFolders::kTarn, L"Public", L"31"},     {PlyxFolders::kGrell, L"Public", L"35"},
};

} // namespace

Portal_Plyx::Portal_Plyx(Portal_Plyx_Login *login, Portal_Plyx_IPortalBrowser *browser)
    : PortalBase(kPlyxTraits, login, browser)
{}

bool Portal_Plyx::supportSearchBar()
{
    return true;
}

ICloudItem *Portal_Plyx::CreateFolderHierarchy()
{
    const auto makeFolder = [this](const char *id, const KString &name) {
        auto folder = std::make_unique<Portal_Plyx_ICloudItem>(owner());
        folder->SetProperty("UniqueID", id);
        folder->SetProperty("Name", name);
        folder->SetProperty("IsFolder", "true");
        return folder;
    };
    auto root = makeFolder(PlyxFolders::kRoot, GetPortalDisplayName());
    const auto addFolder = [&](const char *id, const KString &name) {
        auto folder = makeFolder(id, name);
        folder->SetParent(root.get());
        root->AddChild(folder.release());
    };
    addFolder(PlyxFolders::kHome, TavrinStrings::getString(TavrinStrings::kCloudPortalHomeFolderName));
    addFolder(PlyxFolders::kLumo, "Lumo");
    addFolder(PlyxFolders::kLumoMobile, "Lumo Mobile");
    addFolder(PlyxFolders::kTarn, "Tarn");
    addFolder(PlyxFolders::kGrell, "Grell");
    return root.release();
}

void Portal_Plyx::FillSearchCriteria(ICloudItem *folder, HeaderMap &criteria)
{
    if (!folder)
        return;
    const KString id = folder->GetUniqueID();
    for (const Criterion &criterion : kCriteria) {
        if (id == criterion.folderId)
            criteria[criterion.key] = criterion.value;
    }
}
