// cloud/FileListDelegate.h

#pragma once

#include <QStyledItemDelegate>

/// Shows an entry's tool tip as the plain text that it is: services write it, and Qt would take mark-up in it at its
/// word.
class FileListDelegate : public QStyledItemDelegate
{
    Q_OBJECT
public:
    using QStyledItemDelegate::QStyledItemDelegate;

    bool helpEvent(QHelpEvent *event, QAbstractItemView *view, const QStyleOptionViewItem &option,
                   const QModelIndex &index) override;
};
