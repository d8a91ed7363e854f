// cloud/CloudItem.h
//
// One node of the tree that a portal shows: a folder or a file with its properties, its children and its widgets.

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

    /// Builds the tool tip of a file on each call. Folders and deleted items have none.
    QVariant data(int role) const override;
    /// Returns null if the item has been deleted. The row does not own the item.
    ICloudItem *GetItem() const;

private:
    QPointer<QObject> m_item;
};

/// A node owns the children in its set: its destructor deletes the whole subtree. Names and values are text from a
/// service and must be made safe before they are used in a path, a host command or rich text.
class ICloudItem : public QObject
{
    Q_OBJECT
public:
    ICloudItem();
    ~ICloudItem() override;

    virtual KString GetDisplayName() = 0;
    /// Identifies the item among its siblings and across refreshes. Empty if the service sends no identity.
    virtual KString GetUniqueID() = 0;
    virtual bool IsDownloadable() = 0;
    virtual bool IsFolder() = 0;
    /// Returns the style's standard folder or file icon. An override may send a host command.
    virtual QIcon GetItemIcon();
    /// Deletes the cached icons of the style. The next call of GetItemIcon() reads them again.
    static void ReleaseStandardIcons();
    /// Returns the sub-folder of the portal's download folder: empty, or a path that begins but does not end with "/".
    virtual KString GetImportPathFolder() = 0;
    /// Returns the local name of the downloaded file.
    virtual KString GetImportFilename() = 0;

    /// The item does not own these objects. The getters return null for an action that has been deleted.
    virtual void SetFolderAction(QAction *action);
    virtual QAction *GetFolderAction();
    virtual void SetFolderActionArrow(QAction *action);
    virtual QAction *GetFolderActionArrow();
    virtual void SetListItem(Portal_CloudBrowserListItem *item);
    virtual Portal_CloudBrowserListItem *GetListItem();

    /// Returns false and leaves \p value unchanged if the item has no property \p name.
    virtual bool GetProperty(const KString &name, KString &value);
    virtual bool SetProperty(const KString &name, const KString &value);
    /// Returns all properties as "name: value", one per line and in the order of their names. Plain text.
    virtual KString GetTooltip();
    virtual int GetPropertiesCount();
    /// \p index counts in the order of the names. A negative index is treated like 0; an index past the end returns an
    /// empty text.
    virtual KString GetPropertyName(int index);
    virtual KString GetPropertyValue(int index);

    virtual int GetChildNumber();
    /// The children are ordered by address. Removing a child invalidates its iterators only.
    virtual ItemSet::iterator GetChildBegin();
    virtual ItemSet::iterator GetChildEnd();
    /// Takes ownership of \p child, but does not set its parent. Returns true, even if it was a child already.
    virtual bool AddChild(ICloudItem *child);
    /// Removes \p child and, with \p deleteChild, deletes it. Returns false if it is not a child.
    virtual bool RemoveChild(ICloudItem *child, bool deleteChild);
    virtual ICloudItem *GetParent();
    virtual bool SetParent(ICloudItem *parent);
    /// Removes all children. If \p deleteChildren is false, the caller owns the children.
    virtual void RemoveAllChild(bool deleteChildren);

public slots:
    /// Reports the click to the portal's owner, which may delete this item before it returns.
    virtual void FolderClick() = 0;
    virtual void FolderArrowClick() = 0;

private:
    using Properties = std::map<std::string, KString, std::less<>>; // the names in UTF-8
    Properties::const_iterator propertyAt(int index) const;

    Properties m_properties;
    ItemSet m_children;
    ICloudItem *m_parent = nullptr;
    QPointer<QAction> m_folderAction;
    QPointer<QAction> m_folderActionArrow;
    Portal_CloudBrowserListItem *m_listItem = nullptr;
};

} // namespace ICloudPortalApi
