// The keys of a page, which work only while the page has the focus, and the context menu of its list.

#include "cloud/page/Portal_CloudBrowserWindows.h"
#include "TavrinStrings.h"

#include <QAction>
#include <QLineEdit>
#include <QListWidget>
#include <QMenu>
#include <QShortcut>

namespace {

/// Calls \p action when the user presses \p key while \p widget, or in its \p context, has the focus. If the host uses
/// the same key, the page takes precedence.
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

void Portal_CloudBrowserWindows::createShortcuts()
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
    // From the event loop, since the menu uses itself after the signal.
    connect(
        m_refreshAction, &QAction::triggered, this, [this] { reloadFolder(); }, Qt::QueuedConnection);
    addAction(m_refreshAction);
    m_fileList->setContextMenuPolicy(Qt::CustomContextMenu);
    connect(m_fileList, &QWidget::customContextMenuRequested, this, &Portal_CloudBrowserWindows::showListMenu);
}

/// The menu is not made by Qt::ActionsContextMenu, which puts it on the stack: deleting the page would delete it there.
void Portal_CloudBrowserWindows::showListMenu(const QPoint &at)
{
    auto *menu = new QMenu(m_fileList);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    menu->addAction(m_refreshAction);
    menu->popup(m_fileList->viewport()->mapToGlobal(at));
}

void Portal_CloudBrowserWindows::openCurrentEntry()
{
    if (QListWidgetItem *entry = m_fileList->currentItem())
        ListViewItemDoubleClick(entry);
}
