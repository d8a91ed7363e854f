// cloud/portal/PortalBase.h
//
// What every portal answers alike: its names from a table of its own, and the login and the browser that it owns.

#pragma once

#include "cloud/CloudPortalApi.h"

#include <memory>

namespace ICloudPortalApi {

/// The constants of a portal, as the getters of IPortal answer them. All are literals.
struct PortalTraits
{
    const char *uid;
    const char *displayName;
    const char *iconFilename;
    const char *settingsName;
    const char *exportFormat; ///< the extension of the files that the portal takes; null when it takes none
};

class PortalBase : public IPortal
{
public:
    KString GetPortalUID() override;
    KString GetPortalDisplayName() override;
    KString GetPortalDisplayIconFilename() override;
    bool SupportExport(std::vector<KString> &formats) override;
    ILogin *GetLogin() override;
    IPortalBrowser *GetBrowser() override;
    KString GetSettingsName() override;
    void setOwnerCB(IPortalOwnerCB *owner) override;

protected:
    /// Takes \p login and \p browser over; neither may be null.
    PortalBase(const PortalTraits &traits, ILogin *login, IPortalBrowser *browser);

    /// Hears the clicks on the items that the portal makes; null until it was set.
    IPortalOwnerCB *owner() const { return m_owner; }

private:
    PortalTraits m_traits;
    // The login goes first: members are destroyed from the last one up.
    std::unique_ptr<IPortalBrowser> m_browser;
    std::unique_ptr<ILogin> m_login;
    IPortalOwnerCB *m_owner = nullptr;
};

} // namespace ICloudPortalApi
