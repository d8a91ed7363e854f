// cloud/page/ItemKeeper.h
//
// Answers for every item that a portal gave to a page: folders leave and enter the tree while widgets, slots on the
// stack and the current folder still point to them, so that the tree alone cannot say which of them may go.

#pragma once

#include "cloud/CloudItem.h"

#include <vector>

class ItemKeeper
{
public:
    ItemKeeper() = default;
    /// Deletes every item that is still kept.
    ~ItemKeeper();
    ItemKeeper(const ItemKeeper &) = delete;
    ItemKeeper &operator=(const ItemKeeper &) = delete;

    /// Takes \p item and everything below it; null is ignored. Known items may be added again.
    void keep(ICloudPortalApi::ICloudItem *item);
    /// Deletes all kept items but those in \p inUse and those that a widget shows, with their ancestors and what hangs
    /// below any of these.
    void releaseUnused(const ICloudPortalApi::ItemVector &inUse);
    void releaseAll();
    /// Number of items that are kept and alive.
    int count() const;

private:
    std::vector<QPointer<ICloudPortalApi::ICloudItem>> m_items;
};
