// The widgets of a portal's page, from top to bottom, and the keys, which work only while the page has the focus.

#include "cloud/page/AfterInput.h"
#include "cloud/page/FileListDelegate.h"
#include "cloud/page/FileListThumbnails.h"
#include "cloud/page/FolderBar.h"
#include "cloud/page/ImportExportPanels.h"
#include "cloud/page/LiteralText.h"
#include "cloud/page/NavigationWidgets.h"
#include "cloud/page/Portal_CloudBrowserWindows.h"
#include "TavrinStrings.h"

#include <QAction>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QShortcut>
#include <QTabBar>
#include <QTabWidget>
#include <QToolBar>
#include <QVBoxLayout>

namespace {

constexpr int kBarHeight = 24;

QLabel *createSeparator(QWidget *parent, const QString &style)
{
    auto *separator = new QLabel(parent);
    separator->setFixedHeight(3);
    separator->setStyleSheet(style);
    return separator;
}

void adjustButton(QToolBar *bar, QAction *action)
{
    QWidget *button = bar->widgetForAction(action);
    button->setMaximumHeight(kBarHeight);
    button->setFocusPolicy(Qt::TabFocus);
}

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

void Portal_CloudBrowserWindows::CreateNavigationBar()
{
    createRoot();
    m_lookInLabel = new QLabel(TavrinStrings::text(TavrinStrings::kCloudPortalLookIn), this);
    m_lookInLabel->setStyleSheet(QStringLiteral("QLabel { padding: 2px 5px 2px 5px; }"));
    m_lookInLabel->setMaximumHeight(kBarHeight);
    m_folderBar = new FolderBar(this, m_loginButton);
    m_folderBar->setPath({m_root});
    createParentBar();
    if (m_portal->supportSearchBar())
        createSearchBar();
}

void Portal_CloudBrowserWindows::createParentBar()
{
    m_parentBar = new QToolBar(this);
    m_parentBar->setObjectName(QStringLiteral("ParentFolderBar"));
    m_parentBar->setMaximumHeight(kBarHeight);
    QAction *action = m_parentBar->addAction(GetIconPreviousFolder(), QString());
    connect(action, &QAction::triggered, this, &Portal_CloudBrowserWindows::PreviousFolderClick);
    adjustButton(m_parentBar, action);
    const QString text = TavrinStrings::text(TavrinStrings::kCloudPortalParentDirectory);
    m_parentBar->widgetForAction(action)->setAccessibleName(text);
    m_parentBar->setToolTip(text);
    adaptOverflow(m_parentBar);
    m_parentBar->setEnabled(false);
}

void Portal_CloudBrowserWindows::createSearchBar()
{
    m_searchBar = new QToolBar(this);
    m_searchBar->setMaximumHeight(kBarHeight);
    m_searchBar->setAccessibleName(QStringLiteral("SearchBar"));
    adaptOverflow(m_searchBar);
    m_searchText = new QLineEdit(m_searchBar);
    m_searchText->setMaximumHeight(kBarHeight);
    m_searchText->setAccessibleName(QStringLiteral("SearchTextInput"));
    // Queued, because the field uses its members after the signal, and the host may delete the field during the search.
    connect(m_searchText, &QLineEdit::returnPressed, this, &Portal_CloudBrowserWindows::searchTextReturnPressEvent,
            Qt::QueuedConnection);
    m_searchBar->addWidget(m_searchText);

    QAction *action = m_searchBar->addAction(GetIconSearch(), TavrinStrings::text(TavrinStrings::kCloudPortalSearch));
    connect(action, &QAction::triggered, this, &Portal_CloudBrowserWindows::SearchUpdate);
    adjustButton(m_searchBar, action);
}

void Portal_CloudBrowserWindows::createFileList()
{
    m_fileList = new QListWidget(this);
    m_fileList->setStyleSheet(QStringLiteral("QListWidget { top:  3px; bottom: 3px; } "));
    m_fileList->setAccessibleName(QStringLiteral("ListOfFileFromCloud"));
    m_fileList->setUniformItemSizes(true);
    m_thumbnails = new FileListThumbnails(m_fileList);
    m_fileList->setItemDelegate(new FileListDelegate(m_fileList, m_thumbnails));
    m_fileList->setTextElideMode(Qt::ElideMiddle);
    connect(m_fileList, &QListWidget::itemDoubleClicked, this, &Portal_CloudBrowserWindows::openLater);
    auto *input = new AfterInput(m_fileList);
    input->watch(m_fileList->viewport());
    connect(m_fileList, &QListWidget::itemSelectionChanged, this,
            [this, input] { input->run(this, [this] { ListViewItemSelectChange(); }); });
}

bool Portal_CloudBrowserWindows::CreatePageSearchBrowserUI()
{
    if (m_portal->GetBrowser()->GetPortalType() != ICloudPortalApi::kPagedSearch)
        return false;
    m_pager = new Pager(this);
    return true;
}

QTabWidget *Portal_CloudBrowserWindows::CreateImportExportTabs()
{
    auto *tabs = new QTabWidget(this);
    tabs->setObjectName(QStringLiteral("ImportExportTabs"));
    m_importPanel = new ImportPanel(this);
    tabs->addTab(m_importPanel, TavrinStrings::text(TavrinStrings::kCloudPortalImport));
    if (hasExportFormats()) {
        m_exportPanel = new ExportPanel(this);
        tabs->addTab(m_exportPanel, TavrinStrings::text(TavrinStrings::kCloudPortalExport));
        RefreshExporterFilterList();
    }
    tabs->setMaximumHeight(105);
    auto *input = new AfterInput(tabs->tabBar());
    connect(tabs, &QTabWidget::currentChanged, this,
            [this, input](int index) { input->run(this, [this, index] { exportImportTabPageChanged(index); }); });
    return tabs;
}

void Portal_CloudBrowserWindows::arrangeWidgets()
{
    auto *navigation = new QHBoxLayout;
    navigation->addWidget(m_lookInLabel);
    navigation->addWidget(m_folderBar, 3);
    navigation->addWidget(m_parentBar, 0);
    if (m_searchBar)
        navigation->addWidget(m_searchBar, 2);

    auto *rows = new QVBoxLayout(this);
    rows->setContentsMargins(0, 0, 0, 0);
    rows->setSpacing(0);
    rows->addWidget(createSeparator(this, QStringLiteral("QLabel { background-color: #646464; }")));
    rows->addWidget(m_loginButton, 0, Qt::AlignRight);
    rows->addLayout(navigation);
    rows->addSpacing(3);
    rows->addWidget(m_fileList);
    if (m_pager)
        rows->addLayout(m_pager);
    rows->addWidget(createSeparator(this, QStringLiteral("QLabel { background-color: #4f4f4f; }")));
    rows->addWidget(m_importExportTabs);
}

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
    // Queued, because the menu uses its members after the signal.
    connect(
        m_refreshAction, &QAction::triggered, this, [this] { reloadFolder(); }, Qt::QueuedConnection);
    addAction(m_refreshAction);
    m_fileList->setContextMenuPolicy(Qt::CustomContextMenu);
    connect(m_fileList, &QWidget::customContextMenuRequested, this, &Portal_CloudBrowserWindows::showListMenu);
}
