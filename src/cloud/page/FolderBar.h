// cloud/page/FolderBar.h
//
// The bar of a page that shows the path from the top folder to the current one. If the bar is too narrow, it hides the
// first folders and shows a button with a menu of them. The current folder is always visible.

#pragma once

#include <QPointer>
#include <QToolBar>

#include <vector>

class Portal_CloudBrowserWindows;

namespace ICloudPortalApi {
class ICloudItem;
}

class FolderBar : public QToolBar
{
    Q_OBJECT
public:
    using FolderPath = std::vector<QPointer<ICloudPortalApi::ICloudItem>>;

    /// \p page owns the bar. The Tab key moves the focus from \p previous to the first folder.
    FolderBar(Portal_CloudBrowserWindows *page, QWidget *previous);

    /// Shows \p path, the top folder first. Skips folders that have been deleted.
    void setPath(const FolderPath &path);
    /// Removes all folders. Their actions are disconnected at once and deleted later, because one of them may be the
    /// sender of the current signal.
    void clearPath();

    /// Returns the size for the whole path, including hidden folders.
    QSize sizeHint() const override;

protected:
    bool event(QEvent *event) override;

private:
    void orderTabs();
    void fit();
    bool isMoreShown() const;
    void setMoreShown(bool shown);
    void fillMoreMenu();
    int widthOf(QAction *action) const;
    int textWidth(QAction *folder, const QString &text) const;

    Portal_CloudBrowserWindows *m_page;
    QWidget *m_previous;
    QList<QAction *> m_path;  ///< folders and separators; the current folder is the last
    QPointer<QAction> m_more; ///< is in the bar while folders are left out
};
