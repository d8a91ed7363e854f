#include "cloud/page/FileListDelegate.h"

#include "cloud/page/FileListThumbnails.h"

#include <QHelpEvent>
#include <QListWidget>
#include <QPainter>
#include <QTextDocument>
#include <QToolTip>

FileListDelegate::FileListDelegate(QListWidget *list, const FileListThumbnails *thumbnails)
    : QStyledItemDelegate(list), m_thumbnails(thumbnails)
{}

void FileListDelegate::paint(QPainter *painter, const QStyleOptionViewItem &option, const QModelIndex &index) const
{
    QStyledItemDelegate::paint(painter, option, index);
    const QImage picture = m_thumbnails->picture(index.row());
    if (picture.isNull())
        return;
    QStyleOptionViewItem full(option);
    initStyleOption(&full, index);
    const QRect slot = full.widget->style()->subElementRect(QStyle::SE_ItemViewItemDecoration, &full, full.widget);
    const QSize size = (QSizeF(picture.size()) / picture.devicePixelRatio()).toSize();
    painter->save();
    painter->setOpacity(full.state.testFlag(QStyle::State_Enabled) ? 1 : 0.5);
    painter->drawImage(QStyle::alignedRect(full.direction, Qt::AlignCenter, size, slot), picture);
    painter->restore();
}

QSize FileListDelegate::sizeHint(const QStyleOptionViewItem &option, const QModelIndex &index) const
{
    return {0, QStyledItemDelegate::sizeHint(option, index).height()};
}

bool FileListDelegate::helpEvent(QHelpEvent *event, QAbstractItemView *view, const QStyleOptionViewItem &option,
                                 const QModelIndex &index)
{
    if (!event || !view || event->type() != QEvent::ToolTip)
        return QStyledItemDelegate::helpEvent(event, view, option, index);
    QStringList lines;
    if (QStyledItemDelegate::sizeHint(option, index).width() > option.rect.width())
        lines << index.data(Qt::DisplayRole).toString();
    lines << index.data(Qt::ToolTipRole).toString();
    lines.removeAll(QString());
    const QString text = lines.join(QLatin1Char('\n'));
    QToolTip::showText(event->globalPos(), text.isEmpty() ? QString() : Qt::convertFromPlainText(text), view);
    return !text.isEmpty();
}

void FileListDelegate::initStyleOption(QStyleOptionViewItem *option, const QModelIndex &index) const
{
    QStyledItemDelegate::initStyleOption(option, index);
    if (!m_thumbnails->isEnabled())
        return;
    option->features |= QStyleOptionViewItem::HasDecoration;
    option->decorationSize = QSize(FileListThumbnails::kSide, FileListThumbnails::kSide); // aligns the names
    if (!m_thumbnails->picture(index.row()).isNull())
        option->icon = QIcon();
}

#include "moc_FileListDelegate.cpp"
