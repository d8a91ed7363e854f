// cloud/page/FolderBar.h
//
// The bar of the folders from the top one to the current one. Where it is too narrow the path loses its beginning, so
// that the user always sees which folder he is in; a button opens what is left out.

#pragma once

#include <QPointer>
#include <QToolBar>

class FolderBar : public QToolBar
{
    Q_OBJECT
public:
    /// The first action that is added stays at the left end; what follows is the path, the current folder last.
    explicit FolderBar(QWidget *parent);

    /// The room that the whole path takes, whatever of it is shown.
    QSize sizeHint() const override;

protected:
    bool event(QEvent *event) override;

private:
    void fit();
    QList<QAction *> path() const;
    bool isMoreShown() const;
    void setMoreShown(bool shown);
    void fillMenu();
    int widthOf(QAction *action) const;
    int textWidth(QAction *folder, const QString &text) const;

    QPointer<QAction> m_more; ///< in the bar while something is left out
};
