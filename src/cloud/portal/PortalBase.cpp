#include "cloud/portal/PortalBase.h"

namespace ICloudPortalApi {

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
