// cloud/portal/PortalBases.h
//
// Optional base classes for the four classes of a portal. They contain the code that is the same in all portals.

#pragma once

#include "cloud/CloudPortalApi.h"

#include <memory>

namespace ICloudPortalApi {

class CloudItemBase : public ICloudItem
{
public:
    /// \p owner receives the clicks on the item. It may be null; otherwise it must outlive the item.
    explicit CloudItemBase(IPortalOwnerCB *owner);

    /// Returns true for files.
    bool IsDownloadable() override;
    /// Returns the display name.
    KString GetImportFilename() override;

    void FolderClick() override;
    void FolderArrowClick() override;

protected:
    bool hasProperty(const char *name);
    /// Returns the property \p name, or \p defaultText if it does not exist.
    KString propertyText(const char *name, const char *defaultText = "");

private:
    IPortalOwnerCB *m_owner;
};

class LoginBase : public ILogin
{
public:
    /// Reads "username" of GetUserInformation().
    bool GetUsername(KString &name) override;

protected:
    /// Implements CreateLoginRequest() for the sign-in address \p address. \p buffer may be null.
    static long writeAddress(const KString &address, char *buffer, unsigned long size);
};

/// Shows a failure in a message box, which spins the event loop. Returns true if \p status is a success.
bool succeededOrShown(const ReturnStatus &status);

/// A portal overrides the operations that its service supports; all others return false.
class PortalBrowserBase : public IPortalBrowser
{
public:
    bool SearchCloudItems(ILogin *login, HeaderMap &criteria, int pageNumber, int pageSize, ItemVector &results,
                          int &currentPage, int &totalPageCount, int &totalResultCount) override;
    bool GetChildCloudItems(ILogin *login, HeaderMap &criteria, int pageNumber, int pageSize,
                            ItemVector &results) override;
    bool GetChildCloudItems(ILogin *login, HeaderMap &criteria, ItemVector &results) override;
    bool UploadFile(ILogin *login, ICloudItem *folder, ICloudItem *existing, KString localFolder,
                    KString fileName) override;
    void setOwnerCB(IPortalOwnerCB *owner) override;

protected:
    /// Receives the clicks on the items that the browser creates. Null before setOwnerCB().
    IPortalOwnerCB *owner() const { return m_owner; }

private:
    IPortalOwnerCB *m_owner = nullptr;
};

/// The results of the getters of IPortal. All texts are literals.
struct PortalTraits
{
    const char *uid;
    const char *displayName;
    const char *iconFilename;
    const char *settingsName;
    const char *exportFormat; ///< the extension of uploaded files; null if the portal supports no upload
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
    /// Owns \p login and \p browser, which must not be null.
    PortalBase(const PortalTraits &traits, ILogin *login, IPortalBrowser *browser);

    /// Receives the clicks on the items that the portal creates. Null before setOwnerCB().
    IPortalOwnerCB *owner() const { return m_owner; }

private:
    PortalTraits m_traits;
    std::unique_ptr<IPortalBrowser> m_browser;
    std::unique_ptr<ILogin> m_login; ///< after m_browser, so that it is deleted first
    IPortalOwnerCB *m_owner = nullptr;
};

} // namespace ICloudPortalApi
