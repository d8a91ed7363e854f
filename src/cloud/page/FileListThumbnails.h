// cloud/page/FileListThumbnails.h
//
// Loads the pictures of the file list in the background: those of the visible rows and of one screen below.

#pragma once

#include "http/ThumbnailLoader.h"

#include <QObject>
#include <QTimer>

#include <memory>

class QListWidget;

/// Cancels all requests when the list is hidden or deleted. Calls do not wait for pictures, and failures are not
/// reported.
class FileListThumbnails : public QObject
{
    Q_OBJECT
public:
    /// The side of the square that holds a picture, in logical pixels.
    static constexpr int kSide = 48;

    /// \p list becomes the parent.
    explicit FileListThumbnails(QListWidget *list);

    /// Cancels all requests. Must be called before the contents of the list are fetched.
    void cancel();
    /// Starts to load the pictures. Must be called after each fetch. If an item of the list has a picture, all rows
    /// become tall enough for one.
    void listFilled();

    /// Returns true while the list has tall rows.
    bool isEnabled() const { return m_isEnabled; }
    /// Returns the picture of \p row at the list's device pixel ratio; a null image if it is not loaded.
    QImage picture(int row) const;

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    ThumbnailSource sourceOf(int row) const;
    void scheduleLoad();
    void load();

    QListWidget *m_list;
    std::unique_ptr<ThumbnailLoader> m_loader; ///< null until a list with pictures has been shown
    QTimer m_loadTimer;
    bool m_isEnabled = false;
};
