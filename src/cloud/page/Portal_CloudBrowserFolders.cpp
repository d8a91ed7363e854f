// The folder view: the current folder, its contents, and the pages of a search.

#include "cloud/page/FileListThumbnails.h"
#include "cloud/page/FolderBar.h"
#include "cloud/page/Portal_CloudBrowserWindows.h"

#include <QApplication>
#include <QLineEdit>
#include <QListWidget>
#include <QToolBar>

using ICloudPortalApi::ICloudItem;

namespace {

const wchar_t *const kSearchCriterion = L"SearchString";

} // namespace

void Portal_CloudBrowserWindows::Refresh()
{
    if (m_calls.postpone(PageCalls::Fetch::Rebuild, [this] { Refresh(); }))
        return;
    clearChoice();
    m_currentFolder = nullptr;
    m_folderBar->clearPath();
    m_files.clear();
    clearFileList();

    if (!m_calls.runSteps([this] { RefreshLoginButtonState(); }))
        return;

    // ItemKeeper deletes the old children later, because this call may come from one of them.
    if (m_root)
        m_root->RemoveAllChild(false);
    createRoot();
    m_parentBar->setEnabled(false);
    m_currentFolder = m_root;
    if (m_calls.runSteps([this] { RefreshFolderData(); }))
        m_folderBar->setPath({m_root});
}

void Portal_CloudBrowserWindows::createRoot()
{
    m_root = m_portal->CreateFolderHierarchy();
    m_items.keep(m_root);
}

/// Detaches the children of \p folder. Adds the portal's fixed folders to the root again.
void Portal_CloudBrowserWindows::restoreFixedFolders(ICloudItem *folder)
{
    folder->RemoveAllChild(false);
    if (!m_root || !(folder->GetUniqueID() == m_root->GetUniqueID()))
        return;
    ICloudItem *fresh = m_portal->CreateFolderHierarchy();
    if (!fresh)
        return;
    const ItemVector children(fresh->GetChildBegin(), fresh->GetChildEnd());
    fresh->RemoveAllChild(false);
    for (ICloudItem *child : children) {
        child->SetParent(folder);
        folder->AddChild(child);
        m_items.keep(child);
    }
    delete fresh;
}

void Portal_CloudBrowserWindows::RefreshFolderData()
{
    if (m_calls.postpone(PageCalls::Fetch::Folder, [this] { RefreshFolderData(); }) || !m_currentFolder)
        return;
    static_cast<void>(m_calls.runUnderWaitCursor([this] { loadFolder(); }));
}

void Portal_CloudBrowserWindows::loadFolder()
{
    // Each call may have closed the dock, which clears the current folder.
    if (!m_currentFolder)
        return;
    m_thumbnails->cancel();
    restoreFixedFolders(m_currentFolder);

    const QPointer<ICloudItem> folder(m_currentFolder);
    ItemVector items;
    bool isFetched = false;
    if (!m_calls.runPortalCall([&] { isFetched = fetch(items); })) {
        qDeleteAll(items);
        return;
    }
    for (ICloudItem *item : items)
        m_items.keep(item);
    const bool isEmpty = items.empty();
    if (isFetched && folder && folder == m_currentFolder && !showItems(items))
        return;
    m_thumbnails->listFilled();
    // The service may have refused the session during the fetch.
    bool isSignedOut = false;
    const auto checkLogin = [&] { isSignedOut = !m_portal->GetLogin()->IsLogin(); };
    if (isFetched && isEmpty && m_calls.runPortalCall(checkLogin) && isSignedOut)
        RefreshLoginButtonState();
}

/// Appends the contents of the current folder to \p items. Returns false if the user is not signed in, if the dock was
/// closed, or if the page was deleted.
bool Portal_CloudBrowserWindows::fetch(ItemVector &items)
{
    ICloudPortalApi::ILogin *login = m_portal->GetLogin();
    ICloudPortalApi::IPortalBrowser *browser = m_portal->GetBrowser();
    bool isLoggedIn = false;
    if (!m_calls.run([&] { isLoggedIn = login->IsLogin(); }) || !isLoggedIn || !m_currentFolder)
        return false;

    HeaderMap criteria;
    m_portal->FillSearchCriteria(m_currentFolder, criteria);
    if (m_searchText && !m_searchText->displayText().isEmpty())
        criteria[kSearchCriterion] = m_searchText->displayText().toStdWString();

    const int type = browser->GetPortalType();
    if (type == ICloudPortalApi::kPlainListing)
        return m_calls.run([&] { browser->GetChildCloudItems(login, criteria, items); });
    return type != ICloudPortalApi::kPagedSearch || fetchPage(criteria, items);
}

/// Appends one page of the search to \p items and shows its numbers. Returns false if the page was deleted.
bool Portal_CloudBrowserWindows::fetchPage(HeaderMap &criteria, ItemVector &items)
{
    Paging found = m_paging;
    bool isFound = false;
    found.page = -1;
    const auto search = [&] {
        isFound = m_portal->GetBrowser()->SearchCloudItems(m_portal->GetLogin(), criteria, m_paging.page,
                                                           m_paging.itemsPerPage, items, found.page, found.pageCount,
                                                           found.itemCount);
    };
    if (!m_calls.run(search))
        return false;
    if (!isFound) {
        DisablePageResultNavigationUI();
        return true;
    }
    m_paging = found;
    m_pager->show(m_paging);
    return true;
}

void Portal_CloudBrowserWindows::FolderClicked(ICloudItem *folder)
{
    const QPointer<ICloudItem> guard(folder);
    const auto again = [this, guard] {
        if (guard)
            FolderClicked(guard);
    };
    if (!folder || m_calls.postpone(PageCalls::Fetch::Folder, again))
        return;
    clearChoice();
    if (m_currentFolder)
        restoreFixedFolders(m_currentFolder);

    FolderBar::FolderPath path;
    for (ICloudItem *step = folder; step; step = step->GetParent())
        path.insert(path.begin(), step);
    m_currentFolder = folder;
    moveFocusToList();
    m_folderBar->clearPath();
    m_parentBar->setEnabled(folder->GetParent() != nullptr);
    m_paging = Paging{1, m_paging.itemsPerPage, 0, 1};
    if (m_calls.runSteps([this] { RefreshFolderData(); }))
        m_folderBar->setPath(path);
}

void Portal_CloudBrowserWindows::PreviousFolderClick()
{
    if (m_currentFolder && m_currentFolder->GetParent())
        FolderClicked(m_currentFolder->GetParent());
}

void Portal_CloudBrowserWindows::SearchUpdate()
{
    if (m_currentFolder)
        FolderClicked(m_currentFolder);
}

/// Moves the focus to the list before the control that has it is deleted or disabled.
void Portal_CloudBrowserWindows::moveFocusToList()
{
    const QWidget *focus = QApplication::focusWidget();
    if (m_folderBar->isAncestorOf(focus) || m_parentBar->isAncestorOf(focus))
        m_fileList->setFocus();
}

void Portal_CloudBrowserWindows::SwitchPage(int delta)
{
    if (m_calls.postpone(PageCalls::Fetch::Folder, [this, delta] { SwitchPage(delta); }))
        return;
    const std::optional<qint32> page = m_paging.pageAt(delta);
    if (!m_currentFolder || !page)
        return;
    m_paging.page = *page;
    reloadFolder();
}

void Portal_CloudBrowserWindows::ItemPerPageClick(int newIndex)
{
    if (m_calls.postpone(PageCalls::Fetch::Folder, [this, newIndex] { ItemPerPageClick(newIndex); }))
        return;
    if (newIndex >= 0 && newIndex <= 2)
        m_paging.itemsPerPage = 16 << newIndex;
    if (m_currentFolder)
        reloadFolder();
}

/// Fetches the current folder again, or the whole hierarchy if the dock was closed meanwhile.
void Portal_CloudBrowserWindows::reloadFolder()
{
    if (m_calls.postpone(PageCalls::Fetch::Folder, [this] { reloadFolder(); }))
        return;
    if (!m_currentFolder) {
        Refresh();
        return;
    }
    clearChoice();
    RefreshFolderData();
}
