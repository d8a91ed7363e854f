#include "cloud/page/FileListDelegate.h"

#include <QAbstractItemView>
#include <QHelpEvent>
#include <QTextDocument>
#include <QToolTip>

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
