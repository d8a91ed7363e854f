// cloud/page/FileListDelegate.h

#pragma once

#include <QStyledItemDelegate>

/// Makes every row as wide as the list, so that the list elides long names, and shows tool tips as plain text, since
/// they come from services. The tool tip of an entry whose name does not fit begins with the whole name.
class FileListDelegate : public QStyledItemDelegate
{
    Q_OBJECT
public:
    using QStyledItemDelegate::QStyledItemDelegate;

    QSize sizeHint(const QStyleOptionViewItem &option, const QModelIndex &index) const override;
    bool helpEvent(QHelpEvent *event, QAbstractItemView *view, const QStyleOptionViewItem &option,
                   const QModelIndex &index) override;
};
