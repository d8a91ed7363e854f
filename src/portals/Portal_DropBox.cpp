#include "portals/Portal_DropBox.h"

#include "portals/Portal_DropBox_CloudItem.h"

using namespace ICloudPortalApi;

namespace {

const char rootName[] = "dropbox";

} // namespace

Portal_DropBox::Portal_DropBox(Portal_DropBox_Login *login, Portal_DropBox_IPortalBrowser *browser)
    : m_browser(browser), m_login(login)
{}

Portal_DropBox::~Portal_DropBox() = default;

KString Portal_DropBox::GetPortalUID()
{
    return L"DropBox_Portal_Unique_Identity_String";
}

KString Portal_DropBox::GetPortalDisplayName()
{
    return "Dropbox";
}

KString Portal_DropBox::GetPortalDisplayIconFilename()
{
    return "dropbox-windows-8.png";
}

bool Portal_DropBox::SupportExport(std::vector<KString> &formats)
{
    formats.emplace_back("fbx");
    return true;
}

ILogin *Portal_DropBox::GetLogin()
{
    return m_login.get();
}

IPortalBrowser *Portal_DropBox::GetBrowser()
{
    return m_browser.get();
}

KString Portal_DropBox::GetSettingsName()
{
    return Portal_DropBox_Login::settingsName;
}

ICloudItem *Portal_DropBox::CreateFolderHierarchy()
{
    auto root = std::make_unique<Portal_DropBox_ICloudItem>(m_owner);
    root->SetProperty("rev", dropBoxRootFolderId);
    root->SetProperty("path", GetPortalDisplayName());
    root->SetProperty("root", rootName);
    root->SetProperty("is_dir", "true");
    return root.release();
}

void Portal_DropBox::setOwnerCB(IPortalOwnerCB *owner)
{
    m_owner = owner;
    m_browser->setOwnerCB(owner);
}

void Portal_DropBox::FillSearchCriteria(ICloudItem *folder, HeaderMap &criteria)
{
    if (!folder)
        return;
    if (folder->GetUniqueID() == dropBoxRootFolderId) {
        criteria[L"Home"] = L"true";
    } else {
        KString path;
        folder->GetProperty("path", path);
        criteria[L"SpecificFolder"] = path.wide();
    }
    criteria[L"Root"] = KString(rootName).wide();
}
