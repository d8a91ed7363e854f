// cloud/page/Portal_CloudBrowserWindows.h
//
// The page of one portal: navigation bar, file list, pager, import and export tab. The page shows what the portal
// lists, runs the host's import and export, and owns every item that the portal returned to it.

#pragma once

#include "cloud/CloudPortalApi.h"
#include "cloud/page/ItemKeeper.h"
#include "cloud/page/PageCalls.h"
#include "cloud/page/Pager.h"

#include <QPointer>
#include <QWidget>

class ExportPanel;
class FileListThumbnails;
class FolderBar;
class ImportPanel;
class LiteralTextButton;
class Portal_CloudBrowser;
class Portal_CloudBrowserDockWidget;
class QAction;
class QLabel;
class QLineEdit;
class QListWidget;
class QListWidgetItem;
class QMainWindow;
class QTabWidget;
class QToolBar;

class Portal_CloudBrowserWindows : public QWidget
{
    Q_OBJECT
public:
    /// \p parent is the dock panel; \p portal is not owned. It must outlive every call on the page, but may be deleted
    /// before the page. Sends host commands. The page has no parent if a command deleted \p parent.
    Portal_CloudBrowserWindows(QWidget *parent, ICloudPortalApi::IPortal *portal);
    ~Portal_CloudBrowserWindows() override;

    /// Sets the panel, the controller and the host's main window (which may be null). The page does not own them.
    void SetOwners(Portal_CloudBrowserDockWidget *dock, Portal_CloudBrowser *controller, QMainWindow *mainWindow);

    /// Shows whether the user is signed in. Spins the event loop while the portal checks the session.
    void RefreshLoginButtonState();
    /// Enables or disables the controls that need a session. Controls that also need a choice are only disabled.
    void EnablePortalGui(bool enable);
    /// Shows the pager without a result. Ignored on a page without a pager.
    void DisablePageResultNavigationUI();

    /// Shows the page \p delta pages on if the service's totals allow it. May spin the event loop.
    void SwitchPage(int delta);
    /// Chooses \p item for import; null clears the choice. A double click enters a folder and imports a file, or
    /// exports under its name while the export tab is open; it may spin the event loop.
    void ListViewItemClicked(ICloudPortalApi::ICloudItem *item, bool doubleClick);

    /// Shows the host's import options for \p localPath if the user wants them and the host has a translator. Spins the
    /// event loop.
    void ShowImportOptions(KString localPath);
    /// Shows the host's options for \p translator in a modal dialog. Accepted options become the host's current ones.
    /// Spins the event loop.
    void ShowOptionsDialog(KString action, KString title, KString translator, KString path);

    /// Reads the host's export translators into the export tab. May spin the event loop.
    void RefreshExporterFilterList();
    /// Exports the scene or the selection and uploads the file. Spins the event loop.
    void ExportClick(bool selectionOnly);
    /// Returns the file of the current folder with exactly that name, or null.
    ICloudPortalApi::ICloudItem *IsOverwrite(KString name);

    /// Returns the number of items that the page owns. For tests and measurements.
    int LiveItemCount() const { return m_items.count(); }

public slots:
    /// Rebuilds the view from a new folder hierarchy. Spins the event loop. This and every other fetch is postponed
    /// while a call of the page is running, and runs once afterwards.
    void Refresh();
    void ShowExportOptions();
    void CloseDialogOptions();
    void SearchUpdate();
    void searchTextReturnPressEvent() { SearchUpdate(); }
    /// Fetches and shows the contents of the current folder.
    void RefreshFolderData();
    /// Makes \p folder current.
    void FolderClicked(ICloudPortalApi::ICloudItem *folder);
    void PreviousFolderClick();
    void FolderArrowClicked(ICloudPortalApi::ICloudItem *folder) { FolderClicked(folder); }
    void ListViewItemDoubleClick(QListWidgetItem *itemClick);
    void ListViewItemSelectChange();
    void exportTextChangedEvent(QString newText);
    void ClearSelection();
    void ItemPerPageClick(int newIndex);
    void PrevPageClick() { SwitchPage(-1); }
    void Prev5Click() { SwitchPage(-5); }
    void Prev4Click() { SwitchPage(-4); }
    void Prev3Click() { SwitchPage(-3); }
    void Prev2Click() { SwitchPage(-2); }
    void Prev1Click() { SwitchPage(-1); }
    void Next1Click() { SwitchPage(1); }
    void Next2Click() { SwitchPage(2); }
    void Next3Click() { SwitchPage(3); }
    void Next4Click() { SwitchPage(4); }
    void NextPageClick() { SwitchPage(1); }
    void ImportClick();
    void ExportAllClick() { ExportClick(false); }
    void ExportSelectionClick() { ExportClick(true); }
    void exportImportTabPageChanged(int newTabIndex);
    void ExportFilterFilesClick(int index);
    void LogActionClick();

private:
    using ICloudItem = ICloudPortalApi::ICloudItem;
    using ItemVector = ICloudPortalApi::ItemVector;
    struct ExportJob;

    void CreateNavigationBar();
    bool CreatePageSearchBrowserUI();
    QTabWidget *CreateImportExportTabs();
    void createParentBar();
    void createSearchBar();
    void createFileList();
    void createShortcuts();
    void arrangeWidgets();
    bool hasExportFormats() const;

    void createRoot();
    void restoreFixedFolders(ICloudItem *folder);
    void reloadFolder();
    void loadFolder();
    [[nodiscard]] bool fetch(ItemVector &items);
    [[nodiscard]] bool fetchPage(HeaderMap &criteria, ItemVector &items);
    [[nodiscard]] bool showItems(const ItemVector &fetched);
    void addListEntry(ICloudItem *item, const QIcon &icon);
    void clearFileList();
    void clearChoice();
    void chooseImportable(ICloudItem *item, bool doubleClick);
    void releaseUnusedItems();

    void openCurrentEntry();
    void openLater(QListWidgetItem *entry);
    void showListMenu(const QPoint &at);
    void moveFocusToList();

    KString localSubFolder(ICloudItem *item);
    bool downloadSelected(KString &localPath);
    bool exportAndUpload(const ExportJob &job);
    bool checkFolderIsOpen(const ExportJob &job) const;

    QPointer<Portal_CloudBrowserDockWidget> m_dock;
    Portal_CloudBrowser *m_controller = nullptr;
    QPointer<QMainWindow> m_mainWindow;
    ICloudPortalApi::IPortal *m_portal;
    PageCalls m_calls{this};

    ItemKeeper m_items;
    QPointer<ICloudItem> m_root;
    QPointer<ICloudItem> m_currentFolder;
    QPointer<ICloudItem> m_selectedItem;
    std::vector<QPointer<ICloudItem>> m_files; ///< of the current folder
    Paging m_paging;

    LiteralTextButton *m_loginButton = nullptr;
    QLabel *m_lookInLabel = nullptr;
    FolderBar *m_folderBar = nullptr;
    QToolBar *m_parentBar = nullptr;
    QToolBar *m_searchBar = nullptr; ///< this and the field are null if the portal has no search
    QLineEdit *m_searchText = nullptr;
    QListWidget *m_fileList = nullptr;
    FileListThumbnails *m_thumbnails = nullptr;
    QAction *m_refreshAction = nullptr;
    Pager *m_pager = nullptr; ///< null if the portal does not search page by page
    QTabWidget *m_importExportTabs = nullptr;
    ImportPanel *m_importPanel = nullptr;
    ExportPanel *m_exportPanel = nullptr; ///< null if the portal supports no upload
};
