// The folder view: which folder is current, how its contents are fetched and shown, and what a click on them does.

#include "cloud/NavigationWidgets.h"
#include "cloud/Portal_CloudBrowser.h"
#include "cloud/Portal_CloudBrowserOperation.h"
#include "http/Transfer.h"

#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QSignalBlocker>
#include <QTabWidget>
#include <QToolBar>

using ICloudPortalApi::ICloudItem;
using ICloudPortalApi::Portal_CloudBrowserListItem;

namespace {

const wchar_t *const kSearchCriterion = L"SearchString";

std::vector<QPointer<ICloudItem>> guarded(const ICloudPortalApi::ItemVector &items)
{
    return {items.begin(), items.end()};
}

/// Keeps the list from painting and signalling while it is emptied and filled.
class ListUpdate
{
public:
    explicit ListUpdate(QListWidget *list) : m_list(list), m_updated(list->updatesEnabled()), m_blocker(list)
    {
        m_list->setUpdatesEnabled(false);
    }
    ~ListUpdate() { m_list->setUpdatesEnabled(m_updated); }
    ListUpdate(const ListUpdate &) = delete;
    ListUpdate &operator=(const ListUpdate &) = delete;

private:
    QListWidget *m_list;
    bool m_updated;
    QSignalBlocker m_blocker;
};

QString lowerCaseExtension(const QString &name)
{
    return name.mid(name.lastIndexOf(QLatin1Char('.')) + 1).toLower();
}

} // namespace

void Portal_CloudBrowserWindows::clearImportChoice()
{
    m_importButton->setEnabled(false);
    m_importName->clear();
    m_selectedItem = nullptr;
}

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
    if (operation.pageIsGone() || !m_root)
        return;
    AddFolderWidget(this, m_folderBar, m_root);
    OrderFolderButtons(m_loginButton, m_folderBar);
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
    const Tavrin::WaitCursor cursor;
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
}

bool Portal_CloudBrowserWindows::fetch(ItemVector &items)
{
    const Operation operation(this);
    const Transfer transfer(Transfer::Kind::Waiting, QString(), this);
    ICloudPortalApi::ILogin *login = m_portal->GetLogin();
    ICloudPortalApi::IPortalBrowser *browser = m_portal->GetBrowser();
    bool isLoggedIn = false;
    {
        const SpinningCall call(this);
        isLoggedIn = login->IsLogin();
    }
    if (operation.pageIsGone() || !isLoggedIn || !m_currentFolder)
        return false;

    HeaderMap criteria;
    m_portal->FillSearchCriteria(m_currentFolder, criteria);
    if (m_searchText && !m_searchText->displayText().isEmpty())
        criteria[kSearchCriterion] = m_searchText->displayText().toStdWString();

    const int type = browser->GetPortalType();
    if (type == ICloudPortalApi::kPlainListing) {
        const SpinningCall call(this);
        browser->GetChildCloudItems(login, criteria, items);
    } else if (type == ICloudPortalApi::kPagedSearch) {
        int page = -1;
        int pageCount = m_pageCount;
        int itemCount = m_itemCount;
        bool found = false;
        {
            const SpinningCall call(this);
            found = browser->SearchCloudItems(login, criteria, m_currentPage, m_itemsPerPage, items, page, pageCount,
                                              itemCount);
        }
        if (operation.pageIsGone())
            return false;
        if (!found) {
            DisablePageResultNavigationUI();
            return true;
        }
        m_currentPage = page;
        m_pageCount = pageCount;
        m_itemCount = itemCount;
        updatePager();
    }
    return !operation.pageIsGone();
}

void Portal_CloudBrowserWindows::showItems(const ItemVector &fetched)
{
    ItemVector folders;
    ItemVector files;
    m_portal->GetBrowser()->BuildFoldersAndFileList(folders, files, m_currentFolder, m_root, fetched, {});

    const ListUpdate update(m_fileList);
    clearFileList();
    m_folders = guarded(folders);
    m_files = guarded(files);
    const KString current = m_currentFolder->GetUniqueID();
    const auto belongsHere = [&](ICloudItem *item) {
        return item->GetParent() == m_currentFolder ||
               (item->GetParent() && item->GetParent()->GetUniqueID() == current);
    };
    for (ICloudItem *folder : folders) {
        m_items.keep(folder);
        if (belongsHere(folder))
            addListEntry(folder, QString());
    }
    for (ICloudItem *file : files) {
        m_items.keep(file);
        if (belongsHere(file))
            addListEntry(file, KQtUtil::toQString(file->GetTooltip()));
    }
}

void Portal_CloudBrowserWindows::addListEntry(ICloudItem *item, const QString &toolTip)
{
    // Filled before it joins the list: an entry in a list looks for its own row whenever it is changed.
    auto *entry =
        new Portal_CloudBrowserListItem(item, item->GetItemIcon(), KQtUtil::toQString(item->GetDisplayName()), nullptr);
    entry->setToolTip(toolTip);
    m_fileList->addItem(entry);
    item->SetListItem(entry);
    m_currentFolder->AddChild(item);
}

void Portal_CloudBrowserWindows::clearFileList()
{
    const ListUpdate update(m_fileList);
    ICloudPortalApi::ItemSet files;
    for (int row = 0; row < m_fileList->count(); ++row) {
        ICloudItem *item = static_cast<Portal_CloudBrowserListItem *>(m_fileList->item(row))->GetItem();
        if (item && !item->IsFolder())
            files.insert(item);
    }
    m_fileList->clear();
    for (ICloudItem *file : files) {
        if (file == m_selectedItem)
            clearImportChoice();
        if (file->GetParent())
            file->GetParent()->RemoveChild(file, false);
        delete file;
    }
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

void Portal_CloudBrowserWindows::ListViewItemClicked(ICloudItem *item, bool doubleClick)
{
    m_importName->clear();
    if (m_exportName)
        m_exportName->clear();
    m_selectedItem = nullptr;
    if (!item) {
        m_importButton->setEnabled(false);
        return;
    }
    if (item->IsFolder()) {
        clearImportChoice();
        if (doubleClick)
            FolderClicked(item);
        return;
    }
    if (m_portal->GetBrowser()->GetPortalType() == ICloudPortalApi::kPlainListing) {
        chooseImportable(item, doubleClick);
        return;
    }
    m_selectedItem = item;
    m_importButton->setEnabled(true);
    m_importName->setText(KQtUtil::toQString(item->GetDisplayName()));
    if (doubleClick)
        ImportClick();
}

void Portal_CloudBrowserWindows::chooseImportable(ICloudItem *item, bool doubleClick)
{
    const Operation operation(this);
    const QPointer<ICloudItem> guard(item);
    const QString name = KQtUtil::toQString(item->GetDisplayName());
    m_importName->setText(name);
    if (m_exportName)
        m_exportName->setText(name);
    if (!name.contains(QLatin1Char('.'))) {
        clearImportChoice();
        return;
    }
    const KString extension = KQtUtil::toKString(lowerCaseExtension(name));
    KString translator;
    {
        const SpinningCall call(this);
        translator = GetImportTranslatorNameFromExtension(extension);
    }
    if (operation.pageIsGone())
        return;
    if (!guard || translator.isEmpty()) {
        clearImportChoice();
        return;
    }
    m_selectedItem = item;
    m_importButton->setEnabled(true);
    if (!doubleClick)
        return;
    if (m_importExportTabs->currentIndex() == 0)
        ImportClick();
    else
        exportUnderName(extension);
}

void Portal_CloudBrowserWindows::exportUnderName(const KString &extension)
{
    if (extension != m_exportExtension) {
        const auto found = std::find_if(m_extensions.begin(), m_extensions.end(), [&](const auto &entry) {
            return entry.second == extension && !m_translators[entry.first].isEmpty();
        });
        if (found == m_extensions.end())
            return;
        m_exportFilter->setCurrentIndex(found->first);
    }
    ExportClick(false);
}

void Portal_CloudBrowserWindows::ListViewItemDoubleClick(QListWidgetItem *itemClick)
{
    ListViewItemClicked(static_cast<Portal_CloudBrowserListItem *>(itemClick)->GetItem(), true);
}

void Portal_CloudBrowserWindows::ListViewItemSelectChange()
{
    const QList<QListWidgetItem *> selected = m_fileList->selectedItems();
    if (!selected.isEmpty())
        ListViewItemClicked(static_cast<Portal_CloudBrowserListItem *>(selected.first())->GetItem(), false);
}

void Portal_CloudBrowserWindows::ClearSelection()
{
    m_selectedItem = nullptr;
    m_currentFolder = nullptr;
    m_fileList->clearSelection();
}
