#include "cloud/page/Portal_CloudBrowserWindows.h"

#include "cloud/page/FocusRing.h"
#include "cloud/page/NavigationWidgets.h"
#include "cloud/page/TransferBar.h"
#include "cloud/Portal_CloudBrowser.h"
#include "TavrinStrings.h"

#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMainWindow>
#include <QPushButton>
#include <QTabWidget>
#include <QToolBar>
#include <QVBoxLayout>

using ICloudPortalApi::ICloudItem;
using ICloudPortalApi::IPortal;

Portal_CloudBrowserWindows::Portal_CloudBrowserWindows(QWidget *parent, IPortal *portal) : m_portal(portal)
{
    const QPointer<QWidget> owner(parent);
    const QString name = KQtUtil::toQString(portal->GetPortalDisplayName());
    setObjectName(QStringLiteral("Portal_CloudBrowserWindows_") + name);
    setAttribute(Qt::WA_NativeWindow);
    setWindowTitle(name);
    setAccessibleName(name);

    m_loginButton = new LiteralTextButton(TavrinStrings::text(TavrinStrings::kCloudPortalLogIn), this);
    m_loginButton->setObjectName(QStringLiteral("CloudPortalLoginButton"));
    m_loginButton->setStyleSheet(QStringLiteral("QPushButton { padding: 3px 10px 3px 10px; }"));
    connect(m_loginButton, &QPushButton::clicked, this, &Portal_CloudBrowserWindows::LogActionClick);

    m_navigationLayout = new QHBoxLayout;
    CreateNavigationBar();
    CreateFileList();
    m_pageLayout = new QVBoxLayout;
    const bool isPaged = CreatePageSearchBrowserUI();
    m_importExportTabs = CreateImportExportTabs();
    SetPageLayout(m_importExportTabs, isPaged);
    CreateShortcuts();
    new FocusRing(this);
    new TransferBar(this);
    connect(&m_calls, &PageCalls::idle, this, &Portal_CloudBrowserWindows::releaseUnusedItems);

    // Last, since a host command above may have deleted the parent, which would delete the unfinished page.
    setParent(owner);
    if (auto *dock = qobject_cast<Portal_CloudBrowserDockWidget *>(owner.data()))
        connect(dock, &Portal_CloudBrowserDockWidget::aboutToClose, this, &Portal_CloudBrowserWindows::ClearSelection);
}

Portal_CloudBrowserWindows::~Portal_CloudBrowserWindows()
{
    // The widgets outlive this destructor's body and must not call back.
    m_fileList->disconnect(this);
    m_importExportTabs->disconnect(this);
    if (m_searchBar)
        m_searchBar->removeAction(m_searchAction);
    ClearFolderBar(m_folderBar);
    m_fileList->clear();
    m_items.releaseAll();
}

void Portal_CloudBrowserWindows::SetOwners(Portal_CloudBrowserDockWidget *dock, Portal_CloudBrowser *controller,
                                           QMainWindow *mainWindow)
{
    m_dock = dock;
    m_controller = controller;
    m_mainWindow = mainWindow;
}

bool Portal_CloudBrowserWindows::IsPaged() const
{
    return m_portal->GetBrowser()->GetPortalType() == ICloudPortalApi::kPagedSearch;
}

bool Portal_CloudBrowserWindows::HasExportFormats() const
{
    std::vector<KString> formats;
    return m_portal->SupportExport(formats) && !formats.empty();
}

void Portal_CloudBrowserWindows::LogActionClick()
{
    if (!m_controller)
        return;
    bool isLoggedIn = false;
    if (!m_calls.runPortalCall([&] { isLoggedIn = m_controller->isUserLoggedIn(); }))
        return;
    const auto logInOrOut = [&] { isLoggedIn ? m_controller->logout() : m_controller->login(); };
    static_cast<void>(m_calls.runPortalCall(logInOrOut));
}

void Portal_CloudBrowserWindows::RefreshLoginButtonState()
{
    if (!m_controller) {
        m_loginButton->setText(TavrinStrings::text(TavrinStrings::kCloudPortalNoConnection));
        return;
    }
    bool isLoggedIn = false;
    KString user;
    if (!m_calls.runPortalCall([&] { isLoggedIn = m_controller->isUserLoggedIn(); }))
        return;
    if (isLoggedIn && !m_calls.runPortalCall([&] { m_controller->getUserName(user); }))
        return;

    if (!isLoggedIn) {
        m_loginButton->setText(TavrinStrings::text(TavrinStrings::kCloudPortalLogIn));
        EnablePortalGui(false);
        DisablePageResultNavigationUI();
        return;
    }
    m_loginButton->setText(TavrinStrings::text(TavrinStrings::kCloudPortalLogOut) + QStringLiteral(" (") +
                           KQtUtil::toQString(user) + QLatin1Char(')'));
    EnablePortalGui(true);
}

void Portal_CloudBrowserWindows::EnablePortalGui(bool enable)
{
    if (m_searchBar) {
        m_searchText->setEnabled(enable);
        m_searchBar->setEnabled(enable);
    }
    m_lookInLabel->setEnabled(enable);
    m_folderBar->setEnabled(enable);
    m_fileList->setEnabled(enable);
    if (m_itemsPerPageBox && IsPaged())
        m_itemsPerPageBox->setEnabled(enable);
    m_importExportTabs->setEnabled(enable);
    if (!enable) {
        m_importButton->setEnabled(false);
        m_importName->clear();
    }
    m_importOptions->setEnabled(enable);
    m_importNameLabel->setEnabled(enable);
    if (!m_exportName || !HasExportFormats())
        return;
    m_exportName->setEnabled(enable);
    if (!enable) {
        m_exportSelectionButton->setEnabled(false);
        m_exportAllButton->setEnabled(false);
    }
    m_exportOptionsButton->setEnabled(enable);
    m_exportNameLabel->setEnabled(enable);
}

void Portal_CloudBrowserWindows::DisablePageResultNavigationUI()
{
    if (!m_searchBar || !m_pageButtons[kNextPage])
        return;
    m_pageButtons[kNextPage]->setEnabled(false);
    SetNavigationButtonText(m_pageButtons[kNextPage], QStringLiteral(">"));
    for (int button = kPrevious5; button <= kNext4; ++button)
        m_pageButtons[static_cast<std::size_t>(button)]->hide();
    m_pageButtons[kPreviousPage]->setEnabled(false);
    SetNavigationButtonText(m_pageButtons[kPreviousPage], QStringLiteral("<"));
    m_pageButtons[kCurrentPage]->setEnabled(false);
    SetNavigationButtonText(m_pageButtons[kCurrentPage], QStringLiteral("|"));
}

void Portal_CloudBrowserWindows::releaseUnusedItems()
{
    ItemVector inUse{m_root, m_currentFolder, m_selectedItem};
    inUse.insert(inUse.end(), m_folderPath.begin(), m_folderPath.end());
    m_items.releaseUnused(inUse);
}
