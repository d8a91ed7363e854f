// cloud/page/ItemKeeper.h
//
// Owns the items that a portal returned to a page. Folders are removed from the tree and inserted again while widgets,
// slots on the stack and the current folder still use them, so the tree alone cannot decide what to delete.

#pragma once

#include "cloud/CloudItem.h"

#include <vector>

class ItemKeeper
{
public:
    ItemKeeper() = default;
    ~ItemKeeper();
    ItemKeeper(const ItemKeeper &) = delete;
    ItemKeeper &operator=(const ItemKeeper &) = delete;

    /// Takes ownership of \p item and of all items below it. Null and known items are ignored.
    void keep(ICloudPortalApi::ICloudItem *item);
    /// Deletes all items except those in \p inUse, those that a widget shows, their ancestors, and all items below any
    /// of these. \p inUse may contain null.
    void releaseUnused(const ICloudPortalApi::ItemVector &inUse);
    /// Deletes all items, like the destructor.
    void releaseAll();
    /// Returns the number of items that exist.
    int count() const;

private:
    std::vector<QPointer<ICloudPortalApi::ICloudItem>> m_items;
};
