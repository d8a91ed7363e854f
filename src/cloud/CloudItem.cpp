#include "cloud/CloudItem.h"

#include <QAction>
#include <QApplication>
#include <QStyle>

#include <memory>

namespace ICloudPortalApi {

namespace {

/// The two standard icons of \c style.
struct StandardIcons
{
    QPointer<QStyle> style;
    QIcon folder;
    QIcon file;
};

std::unique_ptr<StandardIcons> cachedIcons;

const StandardIcons &standardIcons()
{
    QStyle *style = QApplication::style();
    if (!cachedIcons || cachedIcons->style != style) {
        cachedIcons = std::make_unique<StandardIcons>(
            StandardIcons{style, style->standardIcon(QStyle::SP_DirIcon), style->standardIcon(QStyle::SP_FileIcon)});
    }
    return *cachedIcons;
}

} // namespace

Portal_CloudBrowserListItem::Portal_CloudBrowserListItem(ICloudItem *item, const QIcon &icon, const QString &text,
                                                         QListWidget *parent)
    : QListWidgetItem(icon, text, parent), m_item(item)
{}

Portal_CloudBrowserListItem::~Portal_CloudBrowserListItem()
{
    ICloudItem *item = GetItem();
    if (item && item->GetListItem() == this)
        item->SetListItem(nullptr);
}

QVariant Portal_CloudBrowserListItem::data(int role) const
{
    if (role != Qt::ToolTipRole)
        return QListWidgetItem::data(role);
    ICloudItem *item = GetItem();
    return item && !item->IsFolder() ? KQtUtil::toQString(item->GetTooltip()) : QString();
}

ICloudItem *Portal_CloudBrowserListItem::GetItem() const
{
    return static_cast<ICloudItem *>(m_item.data());
}

ICloudItem::ICloudItem() = default;

ICloudItem::~ICloudItem()
{
    ICloudItem::RemoveAllChild(true);
}

QIcon ICloudItem::GetItemIcon()
{
    return IsFolder() ? standardIcons().folder : standardIcons().file;
}

void ICloudItem::ReleaseStandardIcons()
{
    cachedIcons.reset();
}

void ICloudItem::SetFolderAction(QAction *action)
{
    m_folderAction = action;
}

QAction *ICloudItem::GetFolderAction()
{
    return m_folderAction;
}

void ICloudItem::SetFolderActionArrow(QAction *action)
{
    m_folderActionArrow = action;
}

QAction *ICloudItem::GetFolderActionArrow()
{
    return m_folderActionArrow;
}

void ICloudItem::SetListItem(Portal_CloudBrowserListItem *item)
{
    m_listItem = item;
}

Portal_CloudBrowserListItem *ICloudItem::GetListItem()
{
    return m_listItem;
}

bool ICloudItem::GetProperty(const KString &name, KString &value)
{
    const auto found = m_properties.find(name.utf8());
    if (found == m_properties.end())
        return false;
    value = found->second;
    return true;
}

bool ICloudItem::SetProperty(const KString &name, const KString &value)
{
    m_properties[name.utf8()] = value;
    return true;
}

KString ICloudItem::GetTooltip()
{
    KString text;
    for (const auto &[name, value] : m_properties) {
        if (!text.isEmpty())
            text += "\n";
        text += name.c_str();
        text += ": ";
        text += value;
    }
    return text;
}

int ICloudItem::GetPropertiesCount()
{
    return static_cast<int>(m_properties.size());
}

ICloudItem::Properties::const_iterator ICloudItem::propertyAt(int index) const
{
    auto property = m_properties.begin();
    for (int step = 0; step < index && property != m_properties.end(); ++step)
        ++property;
    return property;
}

KString ICloudItem::GetPropertyName(int index)
{
    const auto property = propertyAt(index);
    return property == m_properties.end() ? KString() : KString(property->first.c_str());
}

KString ICloudItem::GetPropertyValue(int index)
{
    const auto property = propertyAt(index);
    return property == m_properties.end() ? KString() : property->second;
}

int ICloudItem::GetChildNumber()
{
    return static_cast<int>(m_children.size());
}

ItemSet::iterator ICloudItem::GetChildBegin()
{
    return m_children.begin();
}

ItemSet::iterator ICloudItem::GetChildEnd()
{
    return m_children.end();
}

bool ICloudItem::AddChild(ICloudItem *child)
{
    m_children.insert(child);
    return true;
}

bool ICloudItem::RemoveChild(ICloudItem *child, bool deleteChild)
{
    if (m_children.erase(child) == 0)
        return false;
    if (deleteChild)
        delete child;
    return true;
}

ICloudItem *ICloudItem::GetParent()
{
    return m_parent;
}

bool ICloudItem::SetParent(ICloudItem *parent)
{
    m_parent = parent;
    return true;
}

void ICloudItem::RemoveAllChild(bool deleteChildren)
{
    if (!deleteChildren) {
        m_children.clear();
        return;
    }
    while (!m_children.empty()) {
        ICloudItem *child = *m_children.begin();
        m_children.erase(m_children.begin());
        delete child;
    }
}

} // namespace ICloudPortalApi

#include "moc_CloudItem.cpp"
