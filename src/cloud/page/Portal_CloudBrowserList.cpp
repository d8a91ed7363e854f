// The file list: its entries, and the choice of one of them.

#include "cloud/page/HostFiles.h"
#include "cloud/page/ImportExportPanels.h"
#include "cloud/page/Portal_CloudBrowserWindows.h"

#include <QListWidget>
#include <QMenu>
#include <QSignalBlocker>
#include <QTabWidget>

using ICloudPortalApi::ICloudItem;
using ICloudPortalApi::Portal_CloudBrowserListItem;

namespace {

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
    const QPointer<ICloudItem> current(m_currentFolder);
    ItemVector folders;
    ItemVector files;
    m_portal->GetBrowser()->BuildFoldersAndFileList(folders, files, current, m_root, fetched, {});
    std::vector<QPointer<ICloudItem>> entries(folders.begin(), folders.end());
    entries.insert(entries.end(), files.begin(), files.end());
    for (ICloudItem *item : entries)
        m_items.keep(item);

    std::vector<QIcon> icons; // reading one may send a host command, which may delete the page and its items
    const auto readIcons = [&] {
        for (const QPointer<ICloudItem> &item : entries)
            icons.push_back(item ? item->GetItemIcon() : QIcon());
    };
    if (!m_calls.run(readIcons))
        return false;

    const QSignalBlocker blocker(m_fileList);
    m_fileList->setUpdatesEnabled(false);
    clearFileList();
    m_files.assign(files.begin(), files.end());
    const KString identity = current->GetUniqueID();
    for (std::size_t index = 0; index < entries.size(); ++index) {
        ICloudItem *item = entries[index];
        ICloudItem *parent = item->GetParent();
        if (!parent || (parent != current && !(parent->GetUniqueID() == identity)))
            continue;
        addListEntry(item, icons[index]);
        current->AddChild(item);
    }
    m_fileList->setUpdatesEnabled(true);
    return true;
}

void Portal_CloudBrowserWindows::addListEntry(ICloudItem *item, const QIcon &icon)
{
    // Filled before it is added, because an entry in a list searches for its row after each change.
    auto *entry = new Portal_CloudBrowserListItem(item, icon, KQtUtil::toQString(item->GetDisplayName()), nullptr);
    m_fileList->addItem(entry);
    item->SetListItem(entry);
}

void Portal_CloudBrowserWindows::clearFileList()
{
    const QSignalBlocker blocker(m_fileList);
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

/// Opens \p entry from the event loop, because the list uses its members after the signal of a double click, and the
/// host may delete the list during the call. Ignored if the entry has been removed from the list by then.
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

/// Creates the menu on the heap. Qt::ActionsContextMenu would create it on the stack, where deleting the page would
/// delete it.
void Portal_CloudBrowserWindows::showListMenu(const QPoint &at)
{
    auto *menu = new QMenu(m_fileList);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    menu->addAction(m_refreshAction);
    menu->popup(m_fileList->viewport()->mapToGlobal(at));
}

void Portal_CloudBrowserWindows::openCurrentEntry()
{
    if (QListWidgetItem *entry = m_fileList->currentItem())
        ListViewItemDoubleClick(entry);
}
