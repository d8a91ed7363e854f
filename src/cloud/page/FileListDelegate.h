// cloud/page/FileListDelegate.h
//
// Draws the rows of the file list.

#pragma once

#include <QStyledItemDelegate>

class FileListThumbnails;
class QListWidget;

/// Makes every row as wide as the list, so that the list elides long names. Shows tool tips as plain text, because
/// services define them. If a name does not fit, the tool tip begins with the whole name.
class FileListDelegate : public QStyledItemDelegate
{
    Q_OBJECT
public:
    /// \p list becomes the parent. \p thumbnails is not owned. Its pictures replace the icons of their rows.
    FileListDelegate(QListWidget *list, const FileListThumbnails *thumbnails);

    void paint(QPainter *painter, const QStyleOptionViewItem &option, const QModelIndex &index) const override;
    QSize sizeHint(const QStyleOptionViewItem &option, const QModelIndex &index) const override;
    bool helpEvent(QHelpEvent *event, QAbstractItemView *view, const QStyleOptionViewItem &option,
                   const QModelIndex &index) override;

protected:
    void initStyleOption(QStyleOptionViewItem *option, const QModelIndex &index) const override;

private:
    const FileListThumbnails *m_thumbnails;
};
