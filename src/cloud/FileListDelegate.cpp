#include "cloud/FileListDelegate.h"

#include <QAbstractItemView>
#include <QHelpEvent>
#include <QTextDocument>
#include <QToolTip>

bool FileListDelegate::helpEvent(QHelpEvent *event, QAbstractItemView *view, const QStyleOptionViewItem &option,
                                 const QModelIndex &index)
{
    if (!event || !view || event->type() != QEvent::ToolTip)
        return QStyledItemDelegate::helpEvent(event, view, option, index);
    const QString text = index.data(Qt::ToolTipRole).toString();
    QToolTip::showText(event->globalPos(), text.isEmpty() ? QString() : Qt::convertFromPlainText(text), view);
    return !text.isEmpty();
}
