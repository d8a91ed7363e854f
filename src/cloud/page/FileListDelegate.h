// cloud/page/FileListDelegate.h

#pragma once

#include <QStyledItemDelegate>

/// Makes every row as wide as the list, so that the list elides long names. Shows tool tips as plain text, since
/// services define them. If a name does not fit, the tool tip begins with the whole name.
class FileListDelegate : public QStyledItemDelegate
{
    Q_OBJECT
public:
    using QStyledItemDelegate::QStyledItemDelegate;

    QSize sizeHint(const QStyleOptionViewItem &option, const QModelIndex &index) const override;
    bool helpEvent(QHelpEvent *event, QAbstractItemView *view, const QStyleOptionViewItem &option,
                   const QModelIndex &index) override;
};
