#include "portals/Portal_Zephal.h"

#include "portals/Portal_Zephal_CloudItem.h"

using namespace ICloudPortalApi;

Portal_Zephal::Portal_Zephal(Portal_Zephal_Login *login, Portal_Zephal_IPortalBrowser *browser)
    : m_browser(browser), m_login(login)
{}

Portal_Zephal::~Portal_Zephal() = default;

KString Portal_Zephal::GetPortalUID()
{
    return L"Zephal_Portal_Unique_Identity_String";
}

KString Portal_Zephal::GetPortalDisplayName()
{
    return "Zephal";
}

KString Portal_Zephal::GetPortalDisplayIconFilename()
{
    return "corvane_zephal_icon.png";
}

bool Portal_Zephal::SupportExport(std::vector<KString> &formats)
{
    formats.emplace_back("fbx");
    return true;
}

ILogin *Portal_Zephal::GetLogin()
{
    return m_login.get();
}

IPortalBrowser *Portal_Zephal::GetBrowser()
{
    return m_browser.get();
}

KString Portal_Zephal::GetSettingsName()
{
    return "TavrinSettings_ZephalAppBrowser";
}

ICloudItem *Portal_Zephal::CreateFolderHierarchy()
{
    auto root = std::make_unique<Portal_Zephal_ICloudItem>(m_owner);
    root->SetProperty("uniqueID", zephalRootFolderId);
    root->SetProperty("name", "My cloud documents");
    root->SetProperty("is_dir", "true");
    return root.release();
}

void Portal_Zephal::setOwnerCB(IPortalOwnerCB *owner)
{
    m_owner = owner;
    m_browser->setOwnerCB(owner);
}

void Portal_Zephal::FillSearchCriteria(ICloudItem *folder, HeaderMap &criteria)
{
    if (!folder)
        return;
    const KString id = folder->GetUniqueID();
    if (id == zephalRootFolderId)
        criteria[L"Home"] = L"true";
    else
        criteria[L"SpecificFolder"] = id.wide();
}
