// cloud/page/Portal_CloudBrowserWindows.h
//
// The page of one portal: navigation bar, file list, pager, import and export tab. The page shows what the portal
// lists and drives the host's import and export; it owns every item that the portal gave it.

#pragma once

#include "cloud/CloudPortalApi.h"
#include "cloud/page/ItemKeeper.h"
#include "cloud/page/PageCalls.h"

#include <QPointer>
#include <QWidget>

#include <array>
#include <map>

class AfterInput;
class LiteralTextButton;
class Portal_CloudBrowser;
class Portal_CloudBrowserDockWidget;
class QAction;
class QCheckBox;
class QComboBox;
class QHBoxLayout;
class QLabel;
class QLineEdit;
class QListWidget;
class QListWidgetItem;
class QMainWindow;
class QPushButton;
class QTabWidget;
class QToolBar;
class QVBoxLayout;

class Portal_CloudBrowserWindows : public QWidget
{
    Q_OBJECT
public:
    /// \p parent is the dock panel; \p portal is not owned and outlives every call on the page, but not the page. Sends
    /// host commands, and has no parent if one of them deleted \p parent.
    Portal_CloudBrowserWindows(QWidget *parent, ICloudPortalApi::IPortal *portal);
    ~Portal_CloudBrowserWindows() override;

    /// The panel, the controller and the host's main window (which may be null); none becomes owned.
    void SetOwners(Portal_CloudBrowserDockWidget *dock, Portal_CloudBrowser *controller, QMainWindow *mainWindow);

    /// Shows the logged-in or the logged-out look. Asks the portal and so may spin the event loop.
    void RefreshLoginButtonState();
    /// Switches on what needs a session, or off; what needs a choice as well is only switched off.
    void EnablePortalGui(bool enable);
    /// The pager without a result; nothing on a page that has no pager.
    void DisablePageResultNavigationUI();

    /// Shows the page \p delta pages on, when the service's totals allow it. May spin the event loop.
    void SwitchPage(int delta);
    /// Chooses \p item (null for nothing) for import, or enters or imports it on a double click, which may spin the
    /// event loop.
    void ListViewItemClicked(ICloudPortalApi::ICloudItem *item, bool doubleClick);

    /// Runs the option box of the import of \p localPath, if the user wants it and the host has a translator.
    void ShowImportOptions(KString localPath);
    /// Runs the host's option box for \p translator modally; what was accepted is the host's current option then.
    /// Spins the event loop.
    void ShowOptionsDialog(KString action, KString title, KString translator, KString path);

    /// Offers the host's export translators anew.
    void RefreshExporterFilterList();
    /// Exports the scene or the selection and uploads the file. Spins the event loop.
    void ExportClick(bool selectionOnly);
    /// The current folder's file of exactly that name, or null.
    ICloudPortalApi::ICloudItem *IsOverwrite(KString name);

    /// Number of items that the page answers for; for tests and measurements.
    int LiveItemCount() const { return m_items.count(); }

public slots:
    /// Rebuilds the whole view from a new folder hierarchy. Spins the event loop; a call that arrives through the loop
    /// of a running portal call is remembered and run once afterwards, as with every fetch below.
    void Refresh();
    void ShowExportOptions();
    void CloseDialogOptions();
    void SearchUpdate();
    void searchTextReturnPressEvent();
    /// Fetches and shows the contents of the current folder.
    void RefreshFolderData();
    /// Makes \p folder current.
    void FolderClicked(ICloudPortalApi::ICloudItem *folder);
    void PreviousFolderClick();
    void FolderArrowClicked(ICloudPortalApi::ICloudItem *folder);
    void ListViewItemDoubleClick(QListWidgetItem *itemClick);
    void ListViewItemSelectChange();
    void exportTextChangedEvent(QString newText);
    void ClearSelection();
    void ItemPerPageClick(int newIndex);
    void PrevPageClick();
    void Prev5Click();
    void Prev4Click();
    void Prev3Click();
    void Prev2Click();
    void Prev1Click();
    void Next1Click();
    void Next2Click();
    void Next3Click();
    void Next4Click();
    void NextPageClick();
    void ImportClick();
    void ExportAllClick();
    void ExportSelectionClick();
    void exportImportTabPageChanged(int newTabIndex);
    void ExportFilterFilesClick(int index);
    void LogActionClick();

private:
    using ICloudItem = ICloudPortalApi::ICloudItem;
    using ItemVector = ICloudPortalApi::ItemVector;

    struct ExportJob;
    enum PageButton {
        kPreviousPage,
        kPrevious5,
        kPrevious4,
        kPrevious3,
        kPrevious2,
        kPrevious1,
        kCurrentPage,
        kNext1,
        kNext2,
        kNext3,
        kNext4,
        kNextPage,
        kPageButtonCount
    };

    void CreateNavigationBar();
    void CreateParentFolderBar();
    void CreateSearchBar();
    void CreateFileList();
    bool CreatePageSearchBrowserUI();
    void CreatePageButtons(QHBoxLayout *row);
    void CreateItemsPerPageBox(QHBoxLayout *row);
    QTabWidget *CreateImportExportTabs();
    QWidget *CreateImportTab();
    QWidget *CreateExportTab();
    void SetPageLayout(QTabWidget *tabs, bool isPaged);
    void CreateShortcuts();
    void KeepFocus();
    void reloadFolder();
    void showListMenu(const QPoint &at);
    void openCurrentEntry();
    void openLater(QListWidgetItem *entry);
    bool IsPaged() const;
    bool HasExportFormats() const;

    void releaseUnusedItems();

    void clearImportChoice();
    void graftFixedFolders(ICloudItem *folder);
    void loadFolder();
    [[nodiscard]] bool fetch(ItemVector &items);
    [[nodiscard]] bool showItems(const ItemVector &fetched);
    void clearFileList();
    void addListEntry(ICloudItem *item, const QIcon &icon);
    void chooseImportable(ICloudItem *item, bool doubleClick);
    void exportUnderName(const KString &extension);
    void rebuildFolderPath();

    [[nodiscard]] bool fetchPage(HeaderMap &criteria, ItemVector &items);
    void updatePager();
    void setPageButton(PageButton button, bool available, qint64 page);

    KString LocalSubFolder(ICloudItem *item);
    bool downloadSelected(KString &localPath);
    KString exportFileName() const;
    bool exportAndUpload(const ExportJob &job);
    bool checkFolderIsOpen(const ExportJob &job) const;

    QPointer<Portal_CloudBrowserDockWidget> m_dock;
    Portal_CloudBrowser *m_controller = nullptr;
    QPointer<QMainWindow> m_mainWindow;
    ICloudPortalApi::IPortal *m_portal;

    LiteralTextButton *m_loginButton = nullptr;
    QAction *m_searchAction = nullptr;
    QLineEdit *m_searchText = nullptr;
    QToolBar *m_searchBar = nullptr;
    QToolBar *m_folderBar = nullptr;
    QToolBar *m_parentBar = nullptr;
    QLabel *m_lookInLabel = nullptr;
    std::vector<QPointer<ICloudItem>> m_folderPath;
    QListWidget *m_fileList = nullptr;
    QVBoxLayout *m_pageLayout = nullptr;
    QAction *m_refreshAction = nullptr;

    ItemKeeper m_items;
    QPointer<ICloudItem> m_root;
    std::vector<QPointer<ICloudItem>> m_folders;
    std::vector<QPointer<ICloudItem>> m_files;
    QPointer<ICloudItem> m_selectedItem;
    QPointer<ICloudItem> m_currentFolder;

    qint32 m_currentPage = 1;
    qint32 m_itemsPerPage = 64;
    qint32 m_itemCount = 0;
    qint32 m_pageCount = 1;
    QComboBox *m_itemsPerPageBox = nullptr;
    std::array<QPushButton *, kPageButtonCount> m_pageButtons{};
    QHBoxLayout *m_pagingLayout = nullptr;
    QHBoxLayout *m_navigationLayout = nullptr;

    QTabWidget *m_importExportTabs = nullptr;
    QLabel *m_importNameLabel = nullptr;
    QLineEdit *m_importName = nullptr;
    QPushButton *m_importButton = nullptr;
    QLabel *m_importOptionsLabel = nullptr;
    QCheckBox *m_importOptions = nullptr;

    QLabel *m_exportFilterLabel = nullptr;
    QComboBox *m_exportFilter = nullptr;
    QLabel *m_exportNameLabel = nullptr;
    QLineEdit *m_exportName = nullptr;
    QPushButton *m_exportSelectionButton = nullptr;
    QPushButton *m_exportAllButton = nullptr;
    QPushButton *m_exportOptionsButton = nullptr;

    KString m_exportTranslator;
    KString m_exportExtension;
    std::map<int, KString> m_translators;
    std::map<int, KString> m_extensions;

    PageCalls m_calls{this};
};
