// The page by keyboard: its keys, which count only while the focus is on the page, and where the focus goes.

#include "cloud/NavigationWidgets.h"
#include "cloud/Portal_CloudBrowserOperation.h"
#include "cloud/UiText.h"

#include <QAction>
#include <QApplication>
#include <QLineEdit>
#include <QListWidget>
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

    auto *refresh = new QAction(UiText(TavrinStrings::kCloudPortalRefresh), this);
    refresh->setShortcut(Qt::Key_F5);
    refresh->setShortcutContext(Qt::WidgetWithChildrenShortcut);
    refresh->setAutoRepeat(false);
    connect(refresh, &QAction::triggered, this, [this] { reloadFolder(); });
    addAction(refresh);
    m_fileList->addAction(refresh);
    m_fileList->setContextMenuPolicy(Qt::ActionsContextMenu);

    OrderFolderButtons(m_loginButton, m_folderBar);
}

/// Takes the focus to the list before what holds it goes or is switched off.
void Portal_CloudBrowserWindows::KeepFocus()
{
    const QWidget *focus = QApplication::focusWidget();
    if (m_folderBar->isAncestorOf(focus) || m_parentBar->isAncestorOf(focus))
        m_fileList->setFocus();
}

void Portal_CloudBrowserWindows::reloadFolder()
{
    if (postpone(Postponed::FolderChange, [this] { reloadFolder(); }))
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
