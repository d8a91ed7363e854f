// The page by keyboard: its keys, which count only while the focus is on the page, and where the focus goes.

#include "cloud/page/NavigationWidgets.h"
#include "cloud/page/Portal_CloudBrowserWindows.h"
#include "TavrinStrings.h"

#include <QAction>
#include <QApplication>
#include <QLineEdit>
#include <QListWidget>
#include <QMenu>
#include <QShortcut>
#include <QToolBar>

namespace {

/// Lets \p key call \p action while \p widget, or in its \p context, has the focus. The host may use the same key: the
/// page comes first then.
template <typename Action>
void addKey(QWidget *widget, const QKeySequence &key, Qt::ShortcutContext context, Action action)
{
    auto *shortcut = new QShortcut(key, widget);
    shortcut->setContext(context);
    shortcut->setAutoRepeat(false);
    QObject::connect(shortcut, &QShortcut::activated, widget, action);
    QObject::connect(shortcut, &QShortcut::activatedAmbiguously, widget, action);
}

} // namespace

void Portal_CloudBrowserWindows::CreateShortcuts()
{
    for (const int key : {Qt::Key_Return, Qt::Key_Enter})
        addKey(m_fileList, key, Qt::WidgetShortcut, [this] { openCurrentEntry(); });
    addKey(this, Qt::Key_Backspace, Qt::WidgetWithChildrenShortcut, [this] { PreviousFolderClick(); });
    if (m_searchText) {
        addKey(this, QKeySequence::Find, Qt::WidgetWithChildrenShortcut, [this] {
            m_searchText->setFocus(Qt::ShortcutFocusReason);
            m_searchText->selectAll();
        });
    }

    m_refreshAction = new QAction(TavrinStrings::text(TavrinStrings::kCloudPortalRefresh), this);
    m_refreshAction->setShortcut(Qt::Key_F5);
    m_refreshAction->setShortcutContext(Qt::WidgetWithChildrenShortcut);
    m_refreshAction->setAutoRepeat(false);
    // From the event loop, since a menu that the action is chosen from uses itself after the signal.
    connect(
        m_refreshAction, &QAction::triggered, this, [this] { reloadFolder(); }, Qt::QueuedConnection);
    addAction(m_refreshAction);
    m_fileList->setContextMenuPolicy(Qt::CustomContextMenu);
    connect(m_fileList, &QWidget::customContextMenuRequested, this, &Portal_CloudBrowserWindows::showListMenu);

    OrderFolderButtons(m_loginButton, m_folderBar);
}

/// Takes the focus to the list before what holds it goes or is switched off.
void Portal_CloudBrowserWindows::KeepFocus()
{
    const QWidget *focus = QApplication::focusWidget();
    if (m_folderBar->isAncestorOf(focus) || m_parentBar->isAncestorOf(focus))
        m_fileList->setFocus();
}

/// Qt::ActionsContextMenu would put the menu on the stack, where deleting the page must not delete it.
void Portal_CloudBrowserWindows::showListMenu(const QPoint &at)
{
    auto *menu = new QMenu(m_fileList);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    menu->addAction(m_refreshAction);
    menu->popup(m_fileList->viewport()->mapToGlobal(at));
}

void Portal_CloudBrowserWindows::reloadFolder()
{
    if (m_calls.postpone(PageCalls::Fetch::Folder, [this] { reloadFolder(); }))
        return;
    if (!m_currentFolder) {
        Refresh(); // the dock was closed meanwhile
        return;
    }
    clearImportChoice();
    RefreshFolderData();
}

void Portal_CloudBrowserWindows::openCurrentEntry()
{
    if (QListWidgetItem *entry = m_fileList->currentItem())
        ListViewItemDoubleClick(entry);
}
