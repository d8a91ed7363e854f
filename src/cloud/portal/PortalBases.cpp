#include "cloud/portal/PortalBases.h"

#include <algorithm>
#include <cstring>

namespace ICloudPortalApi {

CloudItemBase::CloudItemBase(IPortalOwnerCB *owner) : m_owner(owner) {}

bool CloudItemBase::IsDownloadable()
{
    return !IsFolder();
}

KString CloudItemBase::GetImportFilename()
{
    return GetDisplayName();
}

void CloudItemBase::FolderClick()
{
    if (m_owner)
        m_owner->CloudItemClickCB(this);
}

void CloudItemBase::FolderArrowClick()
{
    if (m_owner)
        m_owner->CloudFolderArrowClickCB(this);
}

bool CloudItemBase::hasProperty(const char *name)
{
    KString value;
    return GetProperty(name, value);
}

KString CloudItemBase::propertyText(const char *name, const char *defaultText)
{
    KString value(defaultText);
    GetProperty(name, value);
    return value;
}

bool LoginBase::GetUsername(KString &name)
{
    HeaderMap info;
    GetUserInformation(info);
    const auto username = info.find(L"username");
    if (username == info.end())
        return false;
    name = KString(username->second.c_str());
    return true;
}

long LoginBase::writeAddress(const KString &address, char *buffer, unsigned long size)
{
    const std::string text = address.utf8();
    if (buffer && size > 0) {
        std::memcpy(buffer, text.c_str(), std::min<std::size_t>(size, text.size() + 1));
        buffer[size - 1] = '\0';
    }
    return static_cast<long>(text.size()) + 1;
}

bool succeededOrShown(const ReturnStatus &status)
{
    if (!status.IsSuccess())
        status.DisplayUserMessageBox();
    return status.IsSuccess();
}

bool PortalBrowserBase::SearchCloudItems(ILogin *, HeaderMap &, int, int, ItemVector &, int &, int &, int &)
{
    return false;
}

bool PortalBrowserBase::GetChildCloudItems(ILogin *, HeaderMap &, int, int, ItemVector &)
{
    return false;
}

bool PortalBrowserBase::GetChildCloudItems(ILogin *, HeaderMap &, ItemVector &)
{
    return false;
}

bool PortalBrowserBase::UploadFile(ILogin *, ICloudItem *, ICloudItem *, KString, KString)
{
    return false;
}

void PortalBrowserBase::setOwnerCB(IPortalOwnerCB *owner)
{
    m_owner = owner;
}

PortalBase::PortalBase(const PortalTraits &traits, ILogin *login, IPortalBrowser *browser)
    : m_traits(traits), m_browser(browser), m_login(login)
{}

KString PortalBase::GetPortalUID()
{
    return m_traits.uid;
}

KString PortalBase::GetPortalDisplayName()
{
    return m_traits.displayName;
}

KString PortalBase::GetPortalDisplayIconFilename()
{
    return m_traits.iconFilename;
}

bool PortalBase::SupportExport(std::vector<KString> &formats)
{
    if (!m_traits.exportFormat)
        return false;
    formats.emplace_back(m_traits.exportFormat);
    return true;
}

ILogin *PortalBase::GetLogin()
{
    return m_login.get();
}

IPortalBrowser *PortalBase::GetBrowser()
{
    return m_browser.get();
}

KString PortalBase::GetSettingsName()
{
    return m_traits.settingsName;
}

void PortalBase::setOwnerCB(IPortalOwnerCB *owner)
{
    m_owner = owner;
    m_browser->setOwnerCB(owner);
}

} // namespace ICloudPortalApi
