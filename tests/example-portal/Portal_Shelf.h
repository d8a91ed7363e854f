// Portal_Shelf.h
//
// The Shelf portal: a small service that keeps models in folders. Sign-in on a web page, folder listing and download.

#pragma once

#include "cloud/CloudPortalApi.h"
#include "http/httpClient.h"

#include <memory>

/// A folder or a file of the service. Its property "path" begins with "/"; that of a folder, "/" for the root, ends so.
class Portal_Shelf_ICloudItem : public ICloudPortalApi::ICloudItem
{
public:
    /// \p owner hears the clicks on the item and must outlive it.
    Portal_Shelf_ICloudItem(const QString &path, ICloudPortalApi::IPortalOwnerCB *owner);

    KString GetDisplayName() override;
    KString GetUniqueID() override { return KQtUtil::toKString(path()); }
    bool IsDownloadable() override { return !IsFolder(); }
    bool IsFolder() override { return path().endsWith(QLatin1Char('/')); }
    KString GetImportPathFolder() override;
    KString GetImportFilename() override { return GetDisplayName(); }
    void FolderClick() override { m_owner->CloudItemClickCB(this); }
    void FolderArrowClick() override { m_owner->CloudFolderArrowClickCB(this); }

    QString path();

private:
    ICloudPortalApi::IPortalOwnerCB *m_owner;
};

class Portal_Shelf_Login : public ICloudPortalApi::ILogin
{
public:
    /// Names the settings file that keeps the session.
    static const char settingsName[];

    explicit Portal_Shelf_Login(const KString &host = "shelf.example", unsigned port = 80);

    bool Login(ICloudPortalApi::IPortalOwnerCB *owner) override;
    bool LoginUIDoneCB(const QUrl &url) override;
    bool Logout() override;
    /// A stored session counts until the user logs out; the service is not asked.
    bool IsLogin() override;
    bool GetUserInformation(HeaderMap &info) override;
    bool GetUsername(KString &name) override;
    long CreateLoginRequest(char *buffer, unsigned long size) override;

    /// Sends what \p client asks next to the service. Returns the headers that carry the session.
    HeaderMap prepare(httpClient &client) const;

private:
    static void dialogEnded(void *login, bool success);

    KString m_host;
    unsigned m_port;
    ICloudPortalApi::IPortalOwnerCB *m_owner = nullptr;
    ICloudPortalApi::LoginUi m_loginUi;
};

/// Every operation takes the portal's own login object and items of this portal. There is no search and no upload.
class Portal_Shelf_IPortalBrowser : public ICloudPortalApi::IPortalBrowser
{
    using Login = ICloudPortalApi::ILogin;
    using Item = ICloudPortalApi::ICloudItem;
    using Items = ICloudPortalApi::ItemVector;

public:
    int GetPortalType() override { return ICloudPortalApi::kPlainListing; }
    bool SearchCloudItems(Login *, HeaderMap &, int, int, Items &, int &, int &, int &) override { return false; }
    bool GetChildCloudItems(Login *, HeaderMap &, int, int, Items &) override { return false; }
    /// The folder's path stands under "Folder".
    bool GetChildCloudItems(Login *login, HeaderMap &criteria, Items &results) override;
    bool DownloadCloudItem(Login *login, Item *item, KString folder, KString fileName) override;
    bool UploadFile(Login *, Item *, Item *, KString, KString) override { return false; }
    void setOwnerCB(ICloudPortalApi::IPortalOwnerCB *owner) override { m_owner = owner; }

private:
    ICloudPortalApi::IPortalOwnerCB *m_owner = nullptr;
};

class Portal_Shelf : public ICloudPortalApi::IPortal
{
public:
    /// Takes \p login and \p browser over; neither may be null.
    Portal_Shelf(Portal_Shelf_Login *login, Portal_Shelf_IPortalBrowser *browser) : m_browser(browser), m_login(login)
    {}

    KString GetPortalUID() override { return "Shelf_Portal_Unique_Identity_String"; }
    KString GetPortalDisplayName() override { return "Shelf"; }
    KString GetPortalDisplayIconFilename() override { return "shelf.png"; }
    bool SupportExport(std::vector<KString> &) override { return false; }
    ICloudPortalApi::ILogin *GetLogin() override { return m_login.get(); }
    ICloudPortalApi::IPortalBrowser *GetBrowser() override { return m_browser.get(); }
    KString GetSettingsName() override { return Portal_Shelf_Login::settingsName; }
    ICloudPortalApi::ICloudItem *CreateFolderHierarchy() override;
    void setOwnerCB(ICloudPortalApi::IPortalOwnerCB *owner) override;
    void FillSearchCriteria(ICloudPortalApi::ICloudItem *folder, HeaderMap &criteria) override;

private:
    // The login goes first: members are destroyed from the last one up.
    std::unique_ptr<Portal_Shelf_IPortalBrowser> m_browser;
    std::unique_ptr<Portal_Shelf_Login> m_login;
    ICloudPortalApi::IPortalOwnerCB *m_owner = nullptr;
};
