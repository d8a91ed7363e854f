#include "cloud/page/ItemKeeper.h"

#include <QAction>

#include <algorithm>
#include <unordered_set>

using ICloudPortalApi::ICloudItem;
using ICloudPortalApi::ItemVector;

namespace {

/// Returns false for an action that was removed from its bar or menu and will be deleted.
bool isShown(const QAction *action)
{
    return action && !action->associatedWidgets().isEmpty();
}

bool isShown(ICloudItem *item)
{
    return item->GetListItem() || isShown(item->GetFolderAction()) || isShown(item->GetFolderActionArrow());
}

/// Returns \p starts and all items that parents and children connect with them.
std::unordered_set<ICloudItem *> connectedTo(const ItemVector &starts)
{
    std::unordered_set<ICloudItem *> reached;
    ItemVector open(starts);
    while (!open.empty()) {
        ICloudItem *item = open.back();
        open.pop_back();
        if (!item || !reached.insert(item).second)
            continue;
        open.push_back(item->GetParent());
        open.insert(open.end(), item->GetChildBegin(), item->GetChildEnd());
    }
    return reached;
}

} // namespace

ItemKeeper::~ItemKeeper()
{
    releaseAll();
}

void ItemKeeper::keep(ICloudItem *item)
{
    ItemVector open{item};
    while (!open.empty()) {
        ICloudItem *next = open.back();
        open.pop_back();
        if (!next)
            continue;
        m_items.emplace_back(next);
        open.insert(open.end(), next->GetChildBegin(), next->GetChildEnd());
    }
}

void ItemKeeper::releaseUnused(const ItemVector &inUse)
{
    ItemVector starts(inUse);
    for (const QPointer<ICloudItem> &item : m_items) {
        if (item && isShown(item))
            starts.push_back(item);
    }
    const std::unordered_set<ICloudItem *> reached = connectedTo(starts);
    std::vector<QPointer<ICloudItem>> kept;
    ItemVector unused;
    std::unordered_set<ICloudItem *> seen;
    for (const QPointer<ICloudItem> &item : m_items) {
        if (!item || !seen.insert(item).second)
            continue;
        if (reached.count(item) != 0)
            kept.push_back(item);
        else
            unused.push_back(item);
    }
    m_items.swap(kept);
    // Detach first, so that deleting a parent does not delete children that are still in use.
    for (ICloudItem *item : unused)
        item->RemoveAllChild(false);
    for (ICloudItem *item : unused)
        delete item;
}

void ItemKeeper::releaseAll()
{
    const std::vector<QPointer<ICloudItem>> items = std::move(m_items);
    m_items.clear();
    for (const QPointer<ICloudItem> &item : items) {
        if (item)
            item->RemoveAllChild(false);
    }
    for (const QPointer<ICloudItem> &item : items)
        delete item.data();
}

int ItemKeeper::count() const
{
    return static_cast<int>(
        std::count_if(m_items.begin(), m_items.end(), [](const QPointer<ICloudItem> &item) { return !item.isNull(); }));
}
