// The folder view: which folder is current, the bar that leads to it, and how its contents are fetched.

#include "cloud/page/NavigationWidgets.h"
#include "cloud/page/Portal_CloudBrowserWindows.h"

#include <QLabel>
#include <QLineEdit>
#include <QToolBar>

using ICloudPortalApi::ICloudItem;

namespace {

const wchar_t *const kSearchCriterion = L"SearchString";

} // namespace

void Portal_CloudBrowserWindows::Refresh()
{
    if (m_calls.postpone(PageCalls::Fetch::Rebuild, [this] { Refresh(); }))
        return;
    clearImportChoice();
    m_currentFolder = nullptr;
    ClearFolderBar(m_folderBar);
    m_folderPath.clear();
    m_folders.clear();
    m_files.clear();
    clearFileList();

    if (!m_calls.runSteps([this] { RefreshLoginButtonState(); }))
        return;

    // What hung below the old root is released by the page; a click on one of it may have led here.
    if (m_root)
        m_root->RemoveAllChild(false);
    m_root = m_portal->CreateFolderHierarchy();
    m_items.keep(m_root);
    m_folderBar->addWidget(GetIconFolderButton(this));
    m_parentBar->setEnabled(false);
    m_currentFolder = m_root;
    if (!m_calls.runSteps([this] { RefreshFolderData(); }))
        return;
    m_folderPath.assign(1, m_root);
    rebuildFolderPath();
}

void Portal_CloudBrowserWindows::graftFixedFolders(ICloudItem *folder)
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
    // Each call may have closed the dock, which leaves no current folder.
    if (!m_currentFolder)
        return;
    graftFixedFolders(m_currentFolder);

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

void Portal_CloudBrowserWindows::FolderClicked(ICloudItem *folder)
{
    const QPointer<ICloudItem> guard(folder);
    const auto again = [this, guard] {
        if (guard)
            FolderClicked(guard);
    };
    if (!folder || m_calls.postpone(PageCalls::Fetch::Folder, again))
        return;
    clearImportChoice();
    if (m_currentFolder)
        graftFixedFolders(m_currentFolder);

    m_folderPath.clear();
    for (ICloudItem *step = folder; step; step = step->GetParent())
        m_folderPath.insert(m_folderPath.begin(), QPointer<ICloudItem>(step));
    m_currentFolder = folder;
    KeepFocus();
    ClearFolderBar(m_folderBar);
    m_folderBar->addWidget(GetIconFolderButton(this));
    m_parentBar->setEnabled(folder->GetParent() != nullptr);
    m_currentPage = 1;
    m_itemCount = 0;
    m_pageCount = 1;
    if (m_calls.runSteps([this] { RefreshFolderData(); }))
        rebuildFolderPath();
}

void Portal_CloudBrowserWindows::rebuildFolderPath()
{
    for (const QPointer<ICloudItem> &folder : m_folderPath) {
        if (!folder)
            continue;
        if (folder->GetParent())
            m_folderBar->addWidget(new QLabel(QStringLiteral("/"), m_folderBar));
        AddFolderWidget(this, m_folderBar, folder);
    }
    OrderFolderButtons(m_loginButton, m_folderBar);
}

void Portal_CloudBrowserWindows::FolderArrowClicked(ICloudItem *folder)
{
    FolderClicked(folder);
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

void Portal_CloudBrowserWindows::searchTextReturnPressEvent()
{
    SearchUpdate();
}
