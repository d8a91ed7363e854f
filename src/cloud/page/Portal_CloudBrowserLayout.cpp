// The widgets of a portal's page, from top to bottom.

#include "cloud/page/AfterInput.h"
#include "cloud/page/FileListDelegate.h"
#include "cloud/page/FolderBar.h"
#include "cloud/page/NavigationWidgets.h"
#include "cloud/page/Portal_CloudBrowserWindows.h"
#include "TavrinStrings.h"

#include <QAction>
#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QSignalBlocker>
#include <QTabBar>
#include <QTabWidget>
#include <QToolBar>
#include <QToolButton>
#include <QVBoxLayout>

namespace {

constexpr int kBarHeight = 24;
constexpr int kFieldHeight = 20;
constexpr int kTabPageHeight = 70;
const QString kFieldStyle = QStringLiteral("QLineEdit { background-color: #303030; }");

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

QPushButton *createActionButton(const QString &label, const char *accessibleName, QWidget *parent)
{
    auto *button = new QPushButton(label, parent);
    button->setFixedHeight(kFieldHeight);
    button->setAccessibleName(QString::fromLatin1(accessibleName));
    button->setCheckable(false);
    button->setEnabled(false);
    return button;
}

QLineEdit *createNameField(const char *objectName, QWidget *parent)
{
    auto *field = new QLineEdit(parent);
    field->setObjectName(QString::fromLatin1(objectName));
    field->setFixedHeight(kFieldHeight);
    field->setStyleSheet(kFieldStyle);
    return field;
}

/// The page of a tab, with an empty column for its rows.
QWidget *createTabPage(QWidget *parent)
{
    auto *page = new QWidget(parent);
    page->setFixedHeight(kTabPageHeight);
    new QVBoxLayout(page);
    return page;
}

/// The label of \p field.
QLabel *createLabel(const KStringResourceId &text, QWidget *field)
{
    auto *label = new QLabel(TavrinStrings::text(text), field->parentWidget());
    label->setBuddy(field);
    return label;
}

/// Adds a row of \p widgets to \p page.
QHBoxLayout *addRow(QWidget *page, std::initializer_list<QWidget *> widgets)
{
    auto *row = new QHBoxLayout;
    for (QWidget *widget : widgets)
        row->addWidget(widget);
    static_cast<QVBoxLayout *>(page->layout())->addLayout(row);
    return row;
}

/// One part of the pager: a row without margins, added to \p parts.
QHBoxLayout *addPagerPart(QHBoxLayout *parts, int stretch)
{
    auto *row = new QHBoxLayout;
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(0);
    parts->addLayout(row, stretch);
    return row;
}

} // namespace

void Portal_CloudBrowserWindows::CreateNavigationBar()
{
    m_root = m_portal->CreateFolderHierarchy();
    m_items.keep(m_root);

    m_lookInLabel = new QLabel(TavrinStrings::text(TavrinStrings::kCloudPortalLookIn), this);
    m_lookInLabel->setStyleSheet(QStringLiteral("QLabel { padding: 2px 5px 2px 5px; }"));
    m_lookInLabel->setMaximumHeight(kBarHeight);
    m_navigationLayout->addWidget(m_lookInLabel);

    m_folderBar = new FolderBar(this);
    m_folderBar->setObjectName(QStringLiteral("FolderBar"));
    m_folderBar->setFixedHeight(kBarHeight);
    m_folderBar->setAutoFillBackground(true);
    m_folderBar->setStyleSheet(
        QStringLiteral("QToolBar { background-color: #303030; border: 1px solid #444444; padding-left: 3px; }"));
    AdaptOverflow(m_folderBar);
    m_folderBar->addWidget(GetIconFolderButton(this));
    if (m_root) {
        AddFolderWidget(this, m_folderBar, m_root);
        m_folders.emplace_back(m_root);
    }
    m_navigationLayout->addWidget(m_folderBar, 3);

    CreateParentFolderBar();
    if (m_portal->supportSearchBar())
        CreateSearchBar();
}

void Portal_CloudBrowserWindows::CreateParentFolderBar()
{
    m_parentBar = new QToolBar(this);
    m_parentBar->setObjectName(QStringLiteral("ParentFolderBar"));
    m_parentBar->setMaximumHeight(kBarHeight);
    QAction *action = m_parentBar->addAction(GetIconPreviousFolder(), QString());
    connect(action, &QAction::triggered, this, &Portal_CloudBrowserWindows::PreviousFolderClick);
    adjustButton(m_parentBar, action);
    m_parentBar->widgetForAction(action)->setAccessibleName(
        TavrinStrings::text(TavrinStrings::kCloudPortalParentDirectory));
    m_parentBar->setToolTip(TavrinStrings::text(TavrinStrings::kCloudPortalParentDirectory));
    AdaptOverflow(m_parentBar);
    m_parentBar->setEnabled(false);
    m_navigationLayout->addWidget(m_parentBar, 0);
}

void Portal_CloudBrowserWindows::CreateSearchBar()
{
    m_searchBar = new QToolBar(this);
    m_searchBar->setMaximumHeight(kBarHeight);
    m_searchBar->setAccessibleName(QStringLiteral("SearchBar"));
    AdaptOverflow(m_searchBar);
    m_searchText = new QLineEdit(m_searchBar);
    m_searchText->setMaximumHeight(kBarHeight);
    m_searchText->setAccessibleName(QStringLiteral("SearchTextInput"));
    // From the event loop: the field uses itself after the signal, and the host may delete it during the search.
    connect(m_searchText, &QLineEdit::returnPressed, this, &Portal_CloudBrowserWindows::searchTextReturnPressEvent,
            Qt::QueuedConnection);
    m_searchBar->addWidget(m_searchText);

    m_searchAction = new QAction(GetIconSearch(), TavrinStrings::text(TavrinStrings::kCloudPortalSearch), m_searchBar);
    connect(m_searchAction, &QAction::triggered, this, &Portal_CloudBrowserWindows::SearchUpdate);
    m_searchBar->addAction(m_searchAction);
    adjustButton(m_searchBar, m_searchAction);
    m_navigationLayout->addWidget(m_searchBar, 2);
}

void Portal_CloudBrowserWindows::CreateFileList()
{
    m_fileList = new QListWidget(this);
    m_fileList->setStyleSheet(QStringLiteral("QListWidget { top:  3px; bottom: 3px; } "));
    m_fileList->setAccessibleName(QStringLiteral("ListOfFileFromCloud"));
    m_fileList->setUniformItemSizes(true);
    m_fileList->setItemDelegate(new FileListDelegate(m_fileList));
    m_fileList->setTextElideMode(Qt::ElideMiddle);
    connect(m_fileList, &QListWidget::itemDoubleClicked, this, &Portal_CloudBrowserWindows::openLater);
    auto *input = new AfterInput(m_fileList);
    input->watch(m_fileList->viewport());
    connect(m_fileList, &QListWidget::itemSelectionChanged, this,
            [this, input] { input->run(this, [this] { ListViewItemSelectChange(); }); });
}

bool Portal_CloudBrowserWindows::CreatePageSearchBrowserUI()
{
    if (!IsPaged())
        return false;
    m_pagingLayout = new QHBoxLayout;
    m_pagingLayout->setContentsMargins(0, 3, 0, 3);
    m_pagingLayout->setSpacing(0);
    addPagerPart(m_pagingLayout, 0)->addWidget(new QLabel(this), 0, Qt::AlignLeft);
    CreatePageButtons(addPagerPart(m_pagingLayout, 2));
    CreateItemsPerPageBox(addPagerPart(m_pagingLayout, 0));
    return true;
}

void Portal_CloudBrowserWindows::CreatePageButtons(QHBoxLayout *row)
{
    using Page = Portal_CloudBrowserWindows;
    struct Entry
    {
        const char *accessibleName;
        const char *text;
        void (Page::*clicked)();
    };
    static const std::array<Entry, kPageButtonCount> kEntries{{
        {"PreviousPageButton", "<", &Page::PrevPageClick},
        {"Previous5", ".", &Page::Prev5Click},
        {"Previous4", ".", &Page::Prev4Click},
        {"Previous3", ".", &Page::Prev3Click},
        {"Previous2", ".", &Page::Prev2Click},
        {"Previous1", ".", &Page::Prev1Click},
        {"CurrentPage", "|", nullptr},
        {"Next1", ".", &Page::Next1Click},
        {"Next2", ".", &Page::Next2Click},
        {"Next3", ".", &Page::Next3Click},
        {"Next4", ".", &Page::Next4Click},
        {"NextPageButton", ">", &Page::NextPageClick},
    }};
    for (std::size_t index = 0; index < kEntries.size(); ++index) {
        const Entry &entry = kEntries[index];
        QPushButton *button = CreateNavigationButton(entry.text, entry.accessibleName, this);
        button->setEnabled(false);
        button->setHidden(index != kPreviousPage && index != kNextPage);
        if (entry.clicked)
            connect(button, &QPushButton::clicked, this, entry.clicked);
        row->addWidget(button);
        m_pageButtons[index] = button;
    }
}

void Portal_CloudBrowserWindows::CreateItemsPerPageBox(QHBoxLayout *row)
{
    m_itemsPerPageBox = new QComboBox(this);
    m_itemsPerPageBox->setObjectName(QStringLiteral("ItemsPerPage"));
    for (const char *number : {" 16 ", " 32 ", " 64 "}) {
        m_itemsPerPageBox->addItem(TavrinStrings::text(TavrinStrings::kCloudPortalShow) + QString::fromLatin1(number) +
                                   TavrinStrings::text(TavrinStrings::kCloudPortalItems));
    }
    m_itemsPerPageBox->setCurrentIndex(2);
    // From the event loop: the box uses itself after the signal, and the host may delete it during the fetch.
    connect(m_itemsPerPageBox, qOverload<int>(&QComboBox::currentIndexChanged), this,
            &Portal_CloudBrowserWindows::ItemPerPageClick, Qt::QueuedConnection);
    row->addWidget(m_itemsPerPageBox, 0, Qt::AlignRight);
}

QTabWidget *Portal_CloudBrowserWindows::CreateImportExportTabs()
{
    auto *tabs = new QTabWidget(this);
    tabs->setObjectName(QStringLiteral("ImportExportTabs"));
    tabs->addTab(CreateImportTab(), TavrinStrings::text(TavrinStrings::kCloudPortalImport));
    if (HasExportFormats()) {
        tabs->addTab(CreateExportTab(), TavrinStrings::text(TavrinStrings::kCloudPortalExport));
        RefreshExporterFilterList();
    }
    tabs->setMaximumHeight(105);
    auto *input = new AfterInput(tabs->tabBar());
    connect(tabs, &QTabWidget::currentChanged, this,
            [this, input](int index) { input->run(this, [this, index] { exportImportTabPageChanged(index); }); });
    return tabs;
}

QWidget *Portal_CloudBrowserWindows::CreateImportTab()
{
    QWidget *page = createTabPage(this);
    m_importName = createNameField("CloudImportFileName", page);
    m_importName->setEnabled(false);
    m_importName->setReadOnly(true);
    m_importNameLabel = createLabel(TavrinStrings::kCloudPortalFileName, m_importName);
    m_importButton =
        createActionButton(TavrinStrings::text(TavrinStrings::kCloudPortalImport), "CloudImportButton", page);
    connect(m_importButton, &QPushButton::clicked, this, &Portal_CloudBrowserWindows::ImportClick);
    addRow(page, {m_importNameLabel, m_importName, m_importButton});

    m_importOptions = new QCheckBox(page);
    m_importOptions->setFixedHeight(22);
    m_importOptions->setObjectName(QStringLiteral("CloudImportOptions"));
    m_importOptionsLabel = createLabel(TavrinStrings::kCloudPortalImportOptions, m_importOptions);
    addRow(page, {m_importOptions, m_importOptionsLabel})->addStretch();
    return page;
}

QWidget *Portal_CloudBrowserWindows::CreateExportTab()
{
    QWidget *page = createTabPage(this);
    m_exportName = createNameField("CloudExportFileName", page);
    connect(m_exportName, &QLineEdit::textChanged, this, &Portal_CloudBrowserWindows::exportTextChangedEvent);
    m_exportNameLabel = createLabel(TavrinStrings::kCloudPortalFileName, m_exportName);
    m_exportSelectionButton = createActionButton(TavrinStrings::text(TavrinStrings::kCloudPortalExportSelection),
                                                 "CloudExportSelectionButton", page);
    connect(m_exportSelectionButton, &QPushButton::clicked, this, &Portal_CloudBrowserWindows::ExportSelectionClick);
    m_exportAllButton =
        createActionButton(TavrinStrings::text(TavrinStrings::kCloudPortalExportAll), "CloudExportAllButton", page);
    connect(m_exportAllButton, &QPushButton::clicked, this, &Portal_CloudBrowserWindows::ExportAllClick);
    addRow(page, {m_exportNameLabel, m_exportName, m_exportSelectionButton, m_exportAllButton});

    m_exportFilter = new QComboBox(page);
    m_exportFilter->setObjectName(QStringLiteral("CloudExportFilter"));
    connect(m_exportFilter, qOverload<int>(&QComboBox::currentIndexChanged), this,
            &Portal_CloudBrowserWindows::ExportFilterFilesClick);
    m_exportFilterLabel = createLabel(TavrinStrings::kCloudPortalFilter, m_exportFilter);
    m_exportOptionsButton = new QPushButton(TavrinHelper::portalIcon("option_gear.png"), QString(), page);
    m_exportOptionsButton->setFixedHeight(kFieldHeight);
    m_exportOptionsButton->setObjectName(QStringLiteral("CloudExportOptionsButton"));
    m_exportOptionsButton->setAccessibleName(TavrinStrings::text(TavrinStrings::kCloudPortalExportOptions));
    m_exportOptionsButton->setToolTip(TavrinStrings::text(TavrinStrings::kCloudPortalExportOptions));
    connect(m_exportOptionsButton, &QPushButton::clicked, this, &Portal_CloudBrowserWindows::ShowExportOptions);
    addRow(page, {m_exportFilterLabel, m_exportFilter, m_exportOptionsButton})->setStretchFactor(m_exportFilter, 1);
    return page;
}

void Portal_CloudBrowserWindows::SetPageLayout(QTabWidget *tabs, bool isPaged)
{
    m_pageLayout->addWidget(createSeparator(this, QStringLiteral("QLabel { background-color: #646464; }")));
    m_pageLayout->addWidget(m_loginButton, 0, Qt::AlignRight);
    m_pageLayout->addLayout(m_navigationLayout);
    m_pageLayout->addSpacing(3);
    m_pageLayout->addWidget(m_fileList);
    if (isPaged)
        m_pageLayout->addLayout(m_pagingLayout);
    m_pageLayout->addWidget(createSeparator(this, QStringLiteral("QLabel { background-color: #4f4f4f; }")));
    m_pageLayout->addWidget(tabs);
    m_pageLayout->setContentsMargins(0, 0, 0, 0);
    m_pageLayout->setSpacing(0);
    setLayout(m_pageLayout);
}
