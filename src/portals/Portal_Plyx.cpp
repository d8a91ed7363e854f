#include "portals/Portal_Plyx.h"

#include "portals/Portal_Plyx_CloudItem.h"
#include "TavrinStrings.h"

using namespace ICloudPortalApi;

namespace {

const PortalTraits traits{"Plyx_Portal_Unique_Identity_String", "Plyx", "plyx.png", Portal_Plyx_Login::settingsName,
                          nullptr};

struct Criterion
{
    const char *folderId;
    const wchar_t *key;
    const wchar_t *value;
};

/// The galleries carry the service's media type ids.
const Criterion criterionOfFolder[] = {
    {PlyxFolders::root, L"NoSearch", L"true"}, {PlyxFolders::home, L"Home", L"true"},
    {PlyxFolders::lumo, L"Public", L"27"},     {PlyxFolders::lumoMobile, L"Public", L"28"},
    {PlyxFolders::tarn, L"Public", L"31"},     {PlyxFolders::grell, L"Public", L"35"},
};

} // namespace

Portal_Plyx::Portal_Plyx(Portal_Plyx_Login *login, Portal_Plyx_IPortalBrowser *browser)
    : PortalBase(traits, login, browser)
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
    auto root = makeFolder(PlyxFolders::root, GetPortalDisplayName());
    const auto addFolder = [&](const char *id, const KString &name) {
        auto folder = makeFolder(id, name);
        folder->SetParent(root.get());
        root->AddChild(folder.release());
    };
    addFolder(PlyxFolders::home, TavrinStrings::getString(TavrinStrings::kCloudPortalHomeFolderName));
    addFolder(PlyxFolders::lumo, "Lumo");
    addFolder(PlyxFolders::lumoMobile, "Lumo Mobile");
    addFolder(PlyxFolders::tarn, "Tarn");
    addFolder(PlyxFolders::grell, "Grell");
    return root.release();
}

void Portal_Plyx::FillSearchCriteria(ICloudItem *folder, HeaderMap &criteria)
{
    if (!folder)
        return;
    const KString id = folder->GetUniqueID();
    for (const Criterion &criterion : criterionOfFolder) {
        if (id == criterion.folderId)
            criteria[criterion.key] = criterion.value;
    }
}
