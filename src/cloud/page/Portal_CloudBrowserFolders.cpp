// The folder view: which folder is current, the bar that leads to it, and how its contents are fetched.

#include "cloud/page/NavigationWidgets.h"
#include "cloud/page/Portal_CloudBrowserOperation.h"
#include "cloud/Portal_CloudBrowser.h"
#include "http/Transfer.h"

#include <QLabel>
#include <QLineEdit>
#include <QToolBar>

using ICloudPortalApi::ICloudItem;

namespace {

const wchar_t *const kSearchCriterion = L"SearchString";

} // namespace

void Portal_CloudBrowserWindows::Refresh()
{
    if (postpone(Postponed::Rebuild, [this] { Refresh(); }))
        return;
    const Operation operation(this);
    clearImportChoice();
    m_currentFolder = nullptr;
    ClearFolderBar(m_folderBar);
    m_folderPath.clear();
    m_folders.clear();
    m_files.clear();
    clearFileList();

    RefreshLoginButtonState();
    if (operation.pageIsGone())
        return;

    // What hung below the old root is released by the page; a click on one of it may have led here.
    if (m_root)
        m_root->RemoveAllChild(false);
    m_root = m_portal->CreateFolderHierarchy();
    m_items.keep(m_root);
    m_folderBar->addWidget(GetIconFolderButton(this));
    m_parentBar->setEnabled(false);
    m_currentFolder = m_root;
    RefreshFolderData();
    if (operation.pageIsGone())
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
    if (postpone(Postponed::FolderChange, [this] { RefreshFolderData(); }))
        return;
    if (!m_currentFolder)
        return;
    const Operation operation(this);
    const SpinningCall call(this);
    const Tavrin::WaitCursor cursor;
    // The command for the cursor may have deleted the page, or closed the dock, which leaves no current folder.
    if (operation.pageIsGone() || !m_currentFolder)
        return;
    graftFixedFolders(m_currentFolder);

    const QPointer<ICloudItem> folder(m_currentFolder);
    ItemVector items;
    const bool fetched = fetch(items);
    if (operation.pageIsGone()) {
        qDeleteAll(items);
        return;
    }
    for (ICloudItem *item : items)
        m_items.keep(item);
    // The dock may have been closed meanwhile, which leaves no current folder.
    if (fetched && folder && folder == m_currentFolder)
        showItems(items);
    // The service may have refused the session during the fetch.
    const auto isSignedOut = [this] { return !m_portal->GetLogin()->IsLogin(); };
    if (fetched && items.empty() && spinning(isSignedOut) && !operation.pageIsGone())
        RefreshLoginButtonState();
}

bool Portal_CloudBrowserWindows::fetch(ItemVector &items)
{
    const Operation operation(this);
    const Transfer transfer(Transfer::Kind::Waiting, QString(), this);
    ICloudPortalApi::ILogin *login = m_portal->GetLogin();
    ICloudPortalApi::IPortalBrowser *browser = m_portal->GetBrowser();
    const bool isLoggedIn = spinning([&] { return login->IsLogin(); });
    if (operation.pageIsGone() || !isLoggedIn || !m_currentFolder)
        return false;

    HeaderMap criteria;
    m_portal->FillSearchCriteria(m_currentFolder, criteria);
    if (m_searchText && !m_searchText->displayText().isEmpty())
        criteria[kSearchCriterion] = m_searchText->displayText().toStdWString();

    const int type = browser->GetPortalType();
    if (type == ICloudPortalApi::kPlainListing)
        spinning([&] { return browser->GetChildCloudItems(login, criteria, items); });
    else if (type == ICloudPortalApi::kPagedSearch)
        fetchPage(criteria, items);
    return !operation.pageIsGone();
}

void Portal_CloudBrowserWindows::FolderClicked(ICloudItem *folder)
{
    const QPointer<ICloudItem> guard(folder);
    const auto again = [this, guard] {
        if (guard)
            FolderClicked(guard);
    };
    if (!folder || postpone(Postponed::FolderChange, again))
        return;
    const Operation operation(this);
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
    RefreshFolderData();
    if (!operation.pageIsGone())
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
