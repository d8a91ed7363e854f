// cloud/CloudPortalApi.h
//
// The interfaces between the cloud browser and a cloud service: a portal with its sign-in and its browser, the tree of
// items that the portal shows, and the call-backs of a portal to its controller.

#pragma once

#include "cloud/CloudItem.h"
#include "cloud/signin/LoginUi.h"
#include "TavrinHelper.h"

#include <openkelda/openkelda.h>

#include <vector>

class QUrl;
class QWidget;

namespace ICloudPortalApi {

/// How the page fetches the contents of a folder. Returned by GetPortalType().
enum PortalType { kPagedSearch = 0, kPlainListing = 2 };

/// The call-backs of a portal to its controller, which outlives the portal.
class IPortalOwnerCB
{
public:
    virtual ~IPortalOwnerCB();

    /// Called when a sign-in has ended. May spin the event loop, and may delete items that the portal returned earlier.
    virtual void LoginDoneCB(bool success) = 0;
    /// Called when the user chose a folder in the navigation bar. May spin the event loop.
    virtual void CloudItemClickCB(ICloudItem *item) = 0;
    /// Called when the user opened the drop-down arrow of a folder in the navigation bar. May spin the event loop.
    virtual void CloudFolderArrowClickCB(ICloudItem *item) = 0;
    /// Returns the parent for a sign-in dialog, or null.
    virtual QWidget *GetParentLoginWidget() = 0;
};

/// Signs the user in to a portal and out.
class ILogin
{
public:
    virtual ~ILogin();

    /// Starts a sign-in and calls LoginDoneCB of \p owner at its end, possibly before this function returns. Returns
    /// true if the user is already signed in. May spin the event loop.
    virtual bool Login(IPortalOwnerCB *owner) = 0;
    /// Called when the web page of the sign-in dialog changed to \p url. Returns true if that address ends the sign-in
    /// with success.
    virtual bool LoginUIDoneCB(const QUrl &url) = 0;
    virtual bool Logout() = 0;
    /// Returns true if a valid session exists. May restore a stored session and verify it with the service, which spins
    /// the event loop.
    virtual bool IsLogin() = 0;
    /// Adds the service's data about the user, at least the key "username". Returns false if the service does not send
    /// them.
    virtual bool GetUserInformation(HeaderMap &info) = 0;
    /// Returns false and leaves \p name unchanged if the service does not send it. May spin the event loop.
    virtual bool GetUsername(KString &name) = 0;
    /// Writes the sign-in address into \p buffer, cut to \p size bytes with the last byte always 0. Returns the full
    /// length plus one, or -1 without writing if the address cannot be built.
    virtual long CreateLoginRequest(char *buffer, unsigned long size) = 0;
};

/// Lists, searches, downloads and uploads. Each function that sends a request spins the event loop, and shows a failure
/// to the user before it returns false.
class IPortalBrowser
{
public:
    virtual ~IPortalBrowser();

    /// Returns a PortalType.
    virtual int GetPortalType() = 0;
    /// Appends page \p pageNumber of \p pageSize matches to \p results, whose items the caller owns. Stores the page
    /// that the service returned and its totals. A portal without search returns false and changes no argument.
    virtual bool SearchCloudItems(ILogin *login, HeaderMap &criteria, int pageNumber, int pageSize, ItemVector &results,
                                  int &currentPage, int &totalPageCount, int &totalResultCount) = 0;
    /// Paged listing. The existing portals return false and change no argument.
    virtual bool GetChildCloudItems(ILogin *login, HeaderMap &criteria, int pageNumber, int pageSize,
                                    ItemVector &results) = 0;
    /// Appends all children of the folder in \p criteria to \p results. The caller owns these items, also after a
    /// failure.
    virtual bool GetChildCloudItems(ILogin *login, HeaderMap &criteria, ItemVector &results) = 0;
    /// Writes \p item to the local file \p folder + \p fileName. \p folder ends in a separator and is created if
    /// necessary.
    virtual bool DownloadCloudItem(ILogin *login, ICloudItem *item, KString folder, KString fileName) = 0;
    /// Uploads the local file \p localFolder + \p fileName to the portal's folder \p folder. \p existing is the item
    /// with that name in the folder, or null.
    virtual bool UploadFile(ILogin *login, ICloudItem *folder, ICloudItem *existing, KString localFolder,
                            KString fileName) = 0;
    /// Items that are created later report clicks to \p owner. If it is null, clicks are ignored.
    virtual void setOwnerCB(IPortalOwnerCB *owner) = 0;

    /// Sorts the children of \p parent and then \p extra, whose parent becomes \p parent, into \p folders and \p files.
    /// Null items and those in \p excluded are left out. The children of each sorted item are detached, not deleted.
    /// Returns false if \p parent or \p current is null.
    virtual bool BuildFoldersAndFileList(ItemVector &folders, ItemVector &files, ICloudItem *parent,
                                         ICloudItem *current, ItemVector extra, ItemSet excluded);
};

/// A cloud service. Owns its login and its browser.
class IPortal
{
public:
    virtual ~IPortal();

    /// Returns the key of the portal registry: unique among portals and the same in each run.
    virtual KString GetPortalUID() = 0;
    /// Returns the label of the tab, which is also the name of the portal's folder in the download area.
    virtual KString GetPortalDisplayName() = 0;
    /// Returns the name of a file in the plug-in's icon folder.
    virtual KString GetPortalDisplayIconFilename() = 0;
    /// Returns true if the portal accepts uploads, and appends the accepted extensions, without a dot.
    virtual bool SupportExport(std::vector<KString> &formats) = 0;
    /// Returns true if the portal's page has a search field.
    virtual bool supportSearchBar();
    virtual ILogin *GetLogin() = 0;
    virtual IPortalBrowser *GetBrowser() = 0;
    /// Returns the name of the settings file for the portal's session.
    virtual KString GetSettingsName() = 0;
    /// Returns a new root item with the portal's fixed first-level folders. The caller owns it. Must not spin the event
    /// loop.
    virtual ICloudItem *CreateFolderHierarchy() = 0;
    /// Stores \p owner and passes it to the browser.
    virtual void setOwnerCB(IPortalOwnerCB *owner) = 0;
    /// Adds the criteria for listing \p folder or searching in it. Ignored if \p folder is null.
    virtual void FillSearchCriteria(ICloudItem *folder, HeaderMap &criteria) = 0;
};

} // namespace ICloudPortalApi
