// cloud/page/NavigationWidgets.h
//
// Functions that make the parts of a page's navigation bar and pager.

#pragma once

#include <openkelda/openkelda.h>

#include <QIcon>

class Portal_CloudBrowserWindows;
class QPushButton;
class QToolBar;
class QToolButton;

namespace ICloudPortalApi {
class ICloudItem;
}

/// Returns a page button of the pager. \p parent owns it.
QPushButton *CreateNavigationButton(KString text, KString accessibleName, Portal_CloudBrowserWindows *parent);

QIcon GetIconPreviousFolder();
QIcon GetIconSearch();
/// Returns the decoration at the left end of the folder bar. \p parent owns it until it is added to a tool bar.
QPushButton *GetIconFolderButton(Portal_CloudBrowserWindows *parent);

/// Appends a button for \p folder to \p bar, with a menu of its sub-folders if it has any, and stores the actions in
/// the items. A click calls FolderClick() of the item.
void AddFolderWidget(Portal_CloudBrowserWindows *window, QToolBar *bar, ICloudPortalApi::ICloudItem *folder);

/// Returns the button that opens the part of \p bar that does not fit.
QToolButton *overflowButton(QToolBar *bar);
/// Makes that button readable on a dark bar and reachable by keyboard.
void adaptOverflow(QToolBar *bar);
