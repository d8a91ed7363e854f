// cloud/CloudItem.h
//
// One node of the tree that a portal shows: a folder or a file with its properties, its children and the widgets that
// stand for it.

#pragma once

#include <openkelda/openkelda.h>

#include <QIcon>
#include <QListWidgetItem>
#include <QObject>
#include <QPointer>

#include <map>
#include <set>
#include <string>
#include <vector>

class QAction;

namespace ICloudPortalApi {

class ICloudItem;

using ItemVector = std::vector<ICloudItem *>;
using ItemSet = std::set<ICloudItem *>;

/// The row that shows an item in the file list; owned by the list widget \p parent.
class Portal_CloudBrowserListItem : public QListWidgetItem
{
public:
    Portal_CloudBrowserListItem(ICloudItem *item, const QIcon &icon, const QString &text, QListWidget *parent);
    ~Portal_CloudBrowserListItem() override;

    /// Not owned; null once the item has been deleted.
    ICloudItem *GetItem() const;

private:
    QPointer<QObject> m_item;
};

/// A node owns the children in its set: destroying it deletes the whole subtree. Names and values are a service's
/// text and must pass the usual guards before they reach a path, a host command or rich text.
class ICloudItem : public QObject
{
    Q_OBJECT
public:
    ICloudItem();
    ~ICloudItem() override;

    virtual KString GetDisplayName() = 0;
    /// Identifies the item among its siblings and across refreshes; may be empty for what a service leaves unnamed.
    virtual KString GetUniqueID() = 0;
    virtual bool IsDownloadable() = 0;
    virtual bool IsFolder() = 0;
    /// The style's standard folder or file icon, which is asked of a style once.
    virtual QIcon GetItemIcon();
    /// Forgets the icons of the style; they are asked for again when an item needs one.
    static void ReleaseStandardIcons();
    /// Sub-folder below the portal's download folder, empty or beginning with "/", no separator at its end.
    virtual KString GetImportPathFolder() = 0;
    /// The local name of the downloaded file.
    virtual KString GetImportFilename() = 0;

    /// The three widget links are not owned; the two actions read null once the action is gone.
    virtual void SetFolderAction(QAction *action);
    virtual QAction *GetFolderAction();
    virtual void SetFolderActionArrow(QAction *action);
    virtual QAction *GetFolderActionArrow();
    virtual void SetListItem(Portal_CloudBrowserListItem *item);
    virtual Portal_CloudBrowserListItem *GetListItem();

    /// False, and \p value left alone, when there is no property \p name.
    virtual bool GetProperty(const KString &name, KString &value);
    virtual bool SetProperty(const KString &name, const KString &value);
    /// Every property as "name: value" in name order, joined by line feeds. Plain text.
    virtual KString GetTooltip();
    virtual int GetPropertiesCount();
    /// In name order; below 0 the first, past the end empty.
    virtual KString GetPropertyName(int index);
    virtual KString GetPropertyValue(int index);

    virtual int GetChildNumber();
    /// Ordered by address; adding and removing children invalidates only the iterators of those removed.
    virtual ItemSet::iterator GetChildBegin();
    virtual ItemSet::iterator GetChildEnd();
    /// Does not set the child's parent. True also when it was there already.
    virtual bool AddChild(ICloudItem *child);
    /// False when \p child is not in the set; otherwise it leaves the set and is deleted if \p deleteChild.
    virtual bool RemoveChild(ICloudItem *child, bool deleteChild);
    virtual ICloudItem *GetParent();
    virtual bool SetParent(ICloudItem *parent);
    /// With false the children live on; whoever else holds them answers for them.
    virtual void RemoveAllChild(bool deleteChildren);

public slots:
    /// Reports the click to the portal's owner, which may delete this item before it returns.
    virtual void FolderClick() = 0;
    virtual void FolderArrowClick() = 0;

private:
    using Properties = std::map<std::wstring, std::wstring>;
    Properties::const_iterator propertyAt(int index) const;

    Properties m_properties;
    ItemSet m_children;
    ICloudItem *m_parent = nullptr;
    QPointer<QAction> m_folderAction;
    QPointer<QAction> m_folderActionArrow;
    Portal_CloudBrowserListItem *m_listItem = nullptr;
};

} // namespace ICloudPortalApi
