// The file list: its entries, and the choice of one of them.

#include "cloud/page/HostFiles.h"
#include "cloud/page/ImportExportPanels.h"
#include "cloud/page/Portal_CloudBrowserWindows.h"

#include <QListWidget>
#include <QTabWidget>

using ICloudPortalApi::ICloudItem;
using ICloudPortalApi::Portal_CloudBrowserListItem;

namespace {

std::vector<QPointer<ICloudItem>> asPointers(const ICloudPortalApi::ItemVector &items)
{
    return {items.begin(), items.end()};
}

/// Stops the list's painting and signals for its lifetime. The list may be deleted before.
class ListUpdate
{
public:
    explicit ListUpdate(QListWidget *list)
        : m_list(list), m_updated(list->updatesEnabled()), m_blocked(list->blockSignals(true))
    {
        m_list->setUpdatesEnabled(false);
    }
    ~ListUpdate()
    {
        if (!m_list)
            return;
        m_list->setUpdatesEnabled(m_updated);
        m_list->blockSignals(m_blocked);
    }
    ListUpdate(const ListUpdate &) = delete;
    ListUpdate &operator=(const ListUpdate &) = delete;

private:
    QPointer<QListWidget> m_list;
    bool m_updated;
    bool m_blocked;
};

/// Returns the item that \p entry shows, or null if the item has been deleted.
ICloudItem *itemOf(QListWidgetItem *entry)
{
    return static_cast<Portal_CloudBrowserListItem *>(entry)->GetItem();
}

QString lowerCaseExtension(const QString &name)
{
    return name.mid(name.lastIndexOf(QLatin1Char('.')) + 1).toLower();
}

} // namespace

/// Replaces the entries by the current folder's children and \p fetched. Returns false if the page was deleted.
bool Portal_CloudBrowserWindows::showItems(const ItemVector &fetched)
{
    ItemVector folders;
    ItemVector files;
    m_portal->GetBrowser()->BuildFoldersAndFileList(folders, files, m_currentFolder, m_root, fetched, {});

    const ListUpdate update(m_fileList);
    clearFileList();
    m_files = asPointers(files);
    std::vector<QPointer<ICloudItem>> entries = asPointers(folders);
    entries.insert(entries.end(), m_files.begin(), m_files.end());
    for (ICloudItem *item : entries)
        m_items.keep(item);

    const QPointer<ICloudItem> current(m_currentFolder);
    std::vector<QIcon> icons; // some need a host command, which may delete the page and its items
    const auto readIcons = [&] {
        for (const QPointer<ICloudItem> &item : entries)
            icons.push_back(item ? item->GetItemIcon() : QIcon());
    };
    if (!m_calls.run(readIcons))
        return false;
    const KString identity = current->GetUniqueID();
    for (std::size_t index = 0; index < entries.size(); ++index) {
        ICloudItem *item = entries[index];
        ICloudItem *parent = item->GetParent();
        if (!parent || (parent != current && !(parent->GetUniqueID() == identity)))
            continue;
        addListEntry(item, icons[index]);
        current->AddChild(item);
    }
    return true;
}

void Portal_CloudBrowserWindows::addListEntry(ICloudItem *item, const QIcon &icon)
{
    // Filled before it is added: an entry of a list searches its own row after each change.
    auto *entry = new Portal_CloudBrowserListItem(item, icon, KQtUtil::toQString(item->GetDisplayName()), nullptr);
    if (!item->IsFolder())
        entry->setToolTip(KQtUtil::toQString(item->GetTooltip()));
    m_fileList->addItem(entry);
    item->SetListItem(entry);
}

void Portal_CloudBrowserWindows::clearFileList()
{
    const ListUpdate update(m_fileList);
    ICloudPortalApi::ItemSet files;
    for (int row = 0; row < m_fileList->count(); ++row) {
        ICloudItem *item = itemOf(m_fileList->item(row));
        if (item && !item->IsFolder())
            files.insert(item);
    }
    m_fileList->clear();
    for (ICloudItem *file : files) {
        if (file == m_selectedItem)
            clearChoice();
        if (file->GetParent())
            file->GetParent()->RemoveChild(file, false);
        delete file;
    }
}

void Portal_CloudBrowserWindows::clearChoice()
{
    m_importPanel->clearChoice();
    m_selectedItem = nullptr;
}

void Portal_CloudBrowserWindows::ListViewItemClicked(ICloudItem *item, bool doubleClick)
{
    clearChoice();
    if (m_exportPanel)
        m_exportPanel->setName(QString());
    if (!item)
        return;
    if (item->IsFolder()) {
        if (doubleClick)
            FolderClicked(item);
        return;
    }
    if (m_portal->GetBrowser()->GetPortalType() == ICloudPortalApi::kPlainListing) {
        chooseImportable(item, doubleClick);
        return;
    }
    m_selectedItem = item;
    m_importPanel->setChoice(KQtUtil::toQString(item->GetDisplayName()), true);
    if (doubleClick)
        ImportClick();
}

void Portal_CloudBrowserWindows::chooseImportable(ICloudItem *item, bool doubleClick)
{
    const QPointer<ICloudItem> guard(item);
    const QString name = KQtUtil::toQString(item->GetDisplayName());
    m_importPanel->setChoice(name, false);
    if (m_exportPanel)
        m_exportPanel->setName(name);
    if (!name.contains(QLatin1Char('.'))) {
        clearChoice();
        return;
    }
    const KString extension = KQtUtil::toKString(lowerCaseExtension(name));
    KString translator;
    if (!m_calls.run([&] { translator = GetImportTranslatorNameFromExtension(extension); }))
        return;
    if (!guard || translator.isEmpty()) {
        clearChoice();
        return;
    }
    m_selectedItem = item;
    m_importPanel->setChoice(name, true);
    if (!doubleClick)
        return;
    if (m_importExportTabs->currentIndex() == 0)
        ImportClick();
    else if (extension == m_exportPanel->translator().extension || m_exportPanel->chooseExtension(extension))
        ExportClick(false);
}

void Portal_CloudBrowserWindows::ListViewItemDoubleClick(QListWidgetItem *itemClick)
{
    ListViewItemClicked(itemOf(itemClick), true);
}

/// Opens \p entry from the event loop: the list uses itself after the signal of a double click, and the host may delete
/// it during the call. Ignored if the entry has been removed from the list by then.
void Portal_CloudBrowserWindows::openLater(QListWidgetItem *entry)
{
    const QPointer<ICloudItem> item(itemOf(entry));
    const auto open = [this, item] {
        if (item && item->GetListItem())
            ListViewItemDoubleClick(item->GetListItem());
    };
    QMetaObject::invokeMethod(this, open, Qt::QueuedConnection);
}

void Portal_CloudBrowserWindows::ListViewItemSelectChange()
{
    const QList<QListWidgetItem *> selected = m_fileList->selectedItems();
    if (!selected.isEmpty())
        ListViewItemClicked(itemOf(selected.first()), false);
}

void Portal_CloudBrowserWindows::ClearSelection()
{
    m_selectedItem = nullptr;
    m_currentFolder = nullptr;
    m_fileList->clearSelection();
}
