// Portal_Shelf.h
//
// The Shelf portal: a small service that keeps models in folders. Sign-in on a web page, folder listing and download.

#pragma once

#include "cloud/CloudItemBase.h"
#include "cloud/PortalBase.h"
#include "cloud/PortalBrowserBase.h"
#include "cloud/SessionLogin.h"
#include "http/httpClient.h"

/// A folder or a file of the service. Its property "path" begins with "/"; that of a folder, "/" for the root, ends so.
class Portal_Shelf_ICloudItem : public ICloudPortalApi::CloudItemBase
{
public:
    /// \p owner hears the clicks on the item and must outlive it.
    Portal_Shelf_ICloudItem(const QString &path, ICloudPortalApi::IPortalOwnerCB *owner);

    KString GetDisplayName() override;
    KString GetUniqueID() override { return propertyText("path"); }
    bool IsFolder() override { return path().endsWith(QLatin1Char('/')); }
    KString GetImportPathFolder() override;

    QString path() { return KQtUtil::toQString(propertyText("path")); }
};

class Portal_Shelf_Login : public ICloudPortalApi::SessionLogin
{
public:
    /// Names the settings file that keeps the session.
    static const char settingsName[];

    explicit Portal_Shelf_Login(const KString &host = "shelf.example", unsigned port = 80);

    bool Login(ICloudPortalApi::IPortalOwnerCB *owner) override;
    bool LoginUIDoneCB(const QUrl &url) override;
    bool Logout() override;
    /// A stored session counts until the user logs out; the service is not asked.
    bool IsSessionValid() override { return true; }
    bool GetUserInformation(HeaderMap &info) override;
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
class Portal_Shelf_IPortalBrowser : public ICloudPortalApi::PortalBrowserBase
{
    using Login = ICloudPortalApi::ILogin;
    using Item = ICloudPortalApi::ICloudItem;
    using Items = ICloudPortalApi::ItemVector;

public:
    int GetPortalType() override { return ICloudPortalApi::kPlainListing; }
    using PortalBrowserBase::GetChildCloudItems;
    /// The folder's path stands under "Folder".
    bool GetChildCloudItems(Login *login, HeaderMap &criteria, Items &results) override;
    bool DownloadCloudItem(Login *login, Item *item, KString folder, KString fileName) override;
};

class Portal_Shelf : public ICloudPortalApi::PortalBase
{
public:
    /// Takes \p login and \p browser over; neither may be null.
    Portal_Shelf(Portal_Shelf_Login *login, Portal_Shelf_IPortalBrowser *browser);

    ICloudPortalApi::ICloudItem *CreateFolderHierarchy() override;
    void FillSearchCriteria(ICloudPortalApi::ICloudItem *folder, HeaderMap &criteria) override;
};
