// cloud/page/NavigationWidgets.h
//
// The pieces of a page's navigation bar and pager.

#pragma once

#include <openkelda/openkelda.h>

#include <QIcon>
#include <QPushButton>

class Portal_CloudBrowserWindows;
class QAction;
class QMenu;
class QToolBar;

namespace ICloudPortalApi {
class ICloudItem;
}

/// \p text as a style must get it to draw every "&" of it.
QString LiteralText(const QString &text);

/// An empty menu whose entries may have names from a service: it shows every "&", and typed characters choose nothing.
/// \p parent owns it.
QMenu *CreateLiteralTextMenu(QWidget *parent);

/// A button whose text may come from a service. The text is shown on one line, with every "&", and defines neither a
/// shortcut nor the width of the layout: where it does not fit, the button leaves out the middle and shows the whole
/// text as its tool tip.
class LiteralTextButton : public QPushButton
{
    Q_OBJECT
public:
    LiteralTextButton(const QString &text, QWidget *parent);

    /// Hides the function of the base class, which would make the letter after an "&" a shortcut.
    void setText(const QString &text);
    QSize sizeHint() const override;

protected:
    bool event(QEvent *event) override;
    void paintEvent(QPaintEvent *event) override;

private:
    bool isElided() const;
};

/// A page button of the pager; \p parent owns it.
QPushButton *CreateNavigationButton(KString text, KString accessibleName, Portal_CloudBrowserWindows *parent);
/// Writes \p text in a font small enough for it to be read whole on the button, in any language.
void SetNavigationButtonText(QPushButton *button, const QString &text);

QIcon GetIconPreviousFolder();
QIcon GetIconSearch();
/// The decoration at the left end of the folder bar; \p parent owns it until a tool bar takes it.
QPushButton *GetIconFolderButton(Portal_CloudBrowserWindows *parent);

/// Appends the button of \p folder to \p bar, with a menu of its sub-folders when it has any. Clicks go to the items.
void AddFolderWidget(Portal_CloudBrowserWindows *window, QToolBar *bar, ICloudPortalApi::ICloudItem *folder);

/// Makes the button that opens what a narrow \p bar cannot show readable on a dark bar, and reachable by keyboard.
void AdaptOverflow(QToolBar *bar);
/// Lets Tab go from \p before through the folders of \p bar from left to right.
void OrderFolderButtons(QWidget *before, QToolBar *bar);

/// Takes \p action out of \p bar. It is disconnected at once, with its menu, and goes in the event loop, since it may
/// be the sender of the signal that is being handled.
void ReleaseBarAction(QToolBar *bar, QAction *action);
/// The same for all that \p bar holds.
void ClearFolderBar(QToolBar *bar);
