// cloud/CloudPortalApi.h
//
// What the cloud browser knows of a cloud service: a portal with its sign-in and its browser, the tree of items that
// the portal shows, and the way back from a portal to the controller that owns it.

#pragma once

#include "cloud/CloudItem.h"
#include "cloud/signin/LoginUi.h"
#include "TavrinHelper.h"

#include <openkelda/openkelda.h>

#include <vector>

class QUrl;
class QWidget;

namespace ICloudPortalApi {

/// How the folder view fetches a folder's contents, as GetPortalType() answers it.
enum PortalType { kPagedSearch = 0, kPlainListing = 2 };

/// The controller of a portal, as the portal sees it. It outlives the portal.
class IPortalOwnerCB
{
public:
    virtual ~IPortalOwnerCB();

    /// Sign-in has ended. May spin the event loop, and may delete items that the portal returned earlier.
    virtual void LoginDoneCB(bool success) = 0;
    /// The user chose a folder in the navigation bar. May spin the event loop.
    virtual void CloudItemClickCB(ICloudItem *item) = 0;
    /// The user opened the drop-down arrow beside a folder in the navigation bar. May spin the event loop.
    virtual void CloudFolderArrowClickCB(ICloudItem *item) = 0;
    /// The widget that is to parent a sign-in dialog; null when there is none.
    virtual QWidget *GetParentLoginWidget() = 0;
};

/// Signing in to a portal and out of it.
class ILogin
{
public:
    virtual ~ILogin();

    /// Starts signing in; the end is told to \p owner through LoginDoneCB, possibly before this returns. True when the
    /// user is signed in already. May spin the event loop.
    virtual bool Login(IPortalOwnerCB *owner) = 0;
    /// The web sign-in dialog's page has moved to \p url. True when that address ends the sign-in as a success.
    virtual bool LoginUIDoneCB(const QUrl &url) = 0;
    virtual bool Logout() = 0;
    /// True when a valid session exists; may restore a stored one and confirm it with the service, which spins the
    /// event loop.
    virtual bool IsLogin() = 0;
    /// Adds what the service tells about the user, the key "username" at least; false when it tells nothing.
    virtual bool GetUserInformation(HeaderMap &info) = 0;
    /// Leaves \p name alone when the service tells none. May spin the event loop.
    virtual bool GetUsername(KString &name) = 0;
    /// Writes the sign-in address into \p buffer, cut to \p size bytes with the last byte always 0. Returns the full
    /// length plus one, or -1 (and writes nothing) when no address can be built.
    virtual long CreateLoginRequest(char *buffer, unsigned long size) = 0;
};

/// Listing, searching and transferring. Each operation that talks to the service spins the event loop, and shows a
/// failure to the user before it returns false.
class IPortalBrowser
{
public:
    virtual ~IPortalBrowser();

    /// A PortalType.
    virtual int GetPortalType() = 0;
    /// Appends page \p pageNumber of \p pageSize matches to \p results, which the caller owns from then on, and reports
    /// the page that the service returned and its totals. False without search, and nothing is done.
    virtual bool SearchCloudItems(ILogin *login, HeaderMap &criteria, int pageNumber, int pageSize, ItemVector &results,
                                  int &currentPage, int &totalPageCount, int &totalResultCount) = 0;
    /// Paged listing, which no portal offers: false, and nothing is done.
    virtual bool GetChildCloudItems(ILogin *login, HeaderMap &criteria, int pageNumber, int pageSize,
                                    ItemVector &results) = 0;
    /// Appends all children of the folder that \p criteria names to \p results, which the caller owns from then on,
    /// also those of a call that fails half-way.
    virtual bool GetChildCloudItems(ILogin *login, HeaderMap &criteria, ItemVector &results) = 0;
    /// Writes \p item to the local file \p folder + \p fileName; \p folder ends in a separator and is made when
    /// missing.
    virtual bool DownloadCloudItem(ILogin *login, ICloudItem *item, KString folder, KString fileName) = 0;
    /// Sends the local file \p localFolder + \p fileName into the portal folder \p folder. \p existing is the item of
    /// that name already there, or null.
    virtual bool UploadFile(ILogin *login, ICloudItem *folder, ICloudItem *existing, KString localFolder,
                            KString fileName) = 0;
    /// \p owner receives the clicks of the items made from now on; null lets them go unheard.
    virtual void setOwnerCB(IPortalOwnerCB *owner) = 0;

    /// Sorts the children of \p parent and then \p extra, whose parent becomes \p parent, into \p folders and \p files;
    /// null items and those in \p excluded are left out. The children of every sorted item are detached, not deleted.
    /// False when \p parent or \p current is null.
    virtual bool BuildFoldersAndFileList(ItemVector &folders, ItemVector &files, ICloudItem *parent,
                                         ICloudItem *current, ItemVector extra, ItemSet excluded);
};

/// A cloud service. Owns its login and its browser.
class IPortal
{
public:
    virtual ~IPortal();

    /// Key of the portal registry; unique among portals and stable between runs.
    virtual KString GetPortalUID() = 0;
    /// The tab's label, and the portal's folder below the download area.
    virtual KString GetPortalDisplayName() = 0;
    /// File name in the plug-in's icon folder.
    virtual KString GetPortalDisplayIconFilename() = 0;
    /// True when the portal accepts uploads; appends the extensions that it takes, without a dot.
    virtual bool SupportExport(std::vector<KString> &formats) = 0;
    /// True when the portal's page is to show a search field.
    virtual bool supportSearchBar();
    virtual ILogin *GetLogin() = 0;
    virtual IPortalBrowser *GetBrowser() = 0;
    /// The name of the settings file that keeps the portal's session.
    virtual KString GetSettingsName() = 0;
    /// A new root item with the portal's fixed first-level folders; the caller owns it.
    virtual ICloudItem *CreateFolderHierarchy() = 0;
    /// Stores \p owner and passes it on to the browser.
    virtual void setOwnerCB(IPortalOwnerCB *owner) = 0;
    /// Adds the criteria for listing \p folder, or searching in it, to \p criteria; nothing for null.
    virtual void FillSearchCriteria(ICloudItem *folder, HeaderMap &criteria) = 0;
};

} // namespace ICloudPortalApi
