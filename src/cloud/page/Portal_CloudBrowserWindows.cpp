#include "cloud/page/Portal_CloudBrowserWindows.h"

#include "cloud/page/FocusRing.h"
#include "cloud/page/FolderBar.h"
#include "cloud/page/ImportExportPanels.h"
#include "cloud/page/LiteralText.h"
#include "cloud/page/TransferBar.h"
#include "cloud/Portal_CloudBrowser.h"
#include "TavrinStrings.h"

#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMainWindow>
#include <QTabWidget>
#include <QToolBar>

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

    CreateNavigationBar();
    createFileList();
    CreatePageSearchBrowserUI();
    m_importExportTabs = CreateImportExportTabs();
    arrangeWidgets();
    createShortcuts();
    new FocusRing(this);
    new TransferBar(this);
    connect(&m_calls, &PageCalls::idle, this, &Portal_CloudBrowserWindows::releaseUnusedItems);

    // Last, because a host command above may delete the parent, and the parent deletes its children.
    setParent(owner);
    if (auto *dock = qobject_cast<Portal_CloudBrowserDockWidget *>(owner.data()))
        connect(dock, &Portal_CloudBrowserDockWidget::aboutToClose, this, &Portal_CloudBrowserWindows::ClearSelection);
}

Portal_CloudBrowserWindows::~Portal_CloudBrowserWindows()
{
    // The widgets are deleted after this body. They must not call slots of the page then.
    m_fileList->disconnect(this);
    m_importExportTabs->disconnect(this);
    m_folderBar->clearPath();
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

bool Portal_CloudBrowserWindows::hasExportFormats() const
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
    if (m_pager)
        m_pager->enablePageSizes(enable);
    m_importExportTabs->setEnabled(enable);
    m_importPanel->enableControls(enable);
    if (m_exportPanel && hasExportFormats())
        m_exportPanel->enableControls(enable);
}

void Portal_CloudBrowserWindows::DisablePageResultNavigationUI()
{
    if (m_searchBar && m_pager)
        m_pager->reset();
}

void Portal_CloudBrowserWindows::releaseUnusedItems()
{
    m_items.releaseUnused({m_root, m_currentFolder, m_selectedItem});
}

#include "moc_Portal_CloudBrowserWindows.cpp"
