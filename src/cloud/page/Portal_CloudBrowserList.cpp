// The file list: the entries that it shows, and what choosing one of them does.

#include "cloud/page/HostFiles.h"
#include "cloud/page/ImportExportPanels.h"
#include "cloud/page/Portal_CloudBrowserWindows.h"

#include <QListWidget>
#include <QTabWidget>

using ICloudPortalApi::ICloudItem;
using ICloudPortalApi::Portal_CloudBrowserListItem;

namespace {

std::vector<QPointer<ICloudItem>> guarded(const ICloudPortalApi::ItemVector &items)
{
    return {items.begin(), items.end()};
}

/// Keeps the list from painting and signalling while it is emptied and filled. The list may be deleted meanwhile.
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

QString lowerCaseExtension(const QString &name)
{
    return name.mid(name.lastIndexOf(QLatin1Char('.')) + 1).toLower();
}

} // namespace

bool Portal_CloudBrowserWindows::showItems(const ItemVector &fetched)
{
    ItemVector folders;
    ItemVector files;
    m_portal->GetBrowser()->BuildFoldersAndFileList(folders, files, m_currentFolder, m_root, fetched, {});

    const ListUpdate update(m_fileList);
    clearFileList();
    m_files = guarded(files);
    std::vector<QPointer<ICloudItem>> entries = guarded(folders);
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
    // Filled before it joins the list: an entry in a list looks for its own row whenever it is changed.
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
        ICloudItem *item = static_cast<Portal_CloudBrowserListItem *>(m_fileList->item(row))->GetItem();
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
    ListViewItemClicked(static_cast<Portal_CloudBrowserListItem *>(itemClick)->GetItem(), true);
}

/// Opens \p entry from the event loop: the list uses itself after the signal of a double click, and the host may delete
/// it during the call. Ignored if the entry has been removed from the list by then.
void Portal_CloudBrowserWindows::openLater(QListWidgetItem *entry)
{
    const QPointer<ICloudItem> item(static_cast<Portal_CloudBrowserListItem *>(entry)->GetItem());
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
        ListViewItemClicked(static_cast<Portal_CloudBrowserListItem *>(selected.first())->GetItem(), false);
}

void Portal_CloudBrowserWindows::ClearSelection()
{
    m_selectedItem = nullptr;
    m_currentFolder = nullptr;
    m_fileList->clearSelection();
}
