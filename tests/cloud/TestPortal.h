// TestPortal.h
//
// A small portal whose service is a table in memory: listed or searched page by page, with hooks that run inside each
// call where a real portal spins the event loop.

#pragma once

#include "cloud/CloudItemBase.h"
#include "cloud/LoginBase.h"
#include "cloud/Portal_CloudBrowser.h"
#include "cloud/PortalBrowserBase.h"
#include "support/RecordingHost.h"

#include <QtTest>
#include <QtWidgets>

class TestItem : public ICloudPortalApi::CloudItemBase
{
public:
    /// A folder when \p name ends in a slash, which is no part of it.
    TestItem(const QString &id, const QString &name, ICloudPortalApi::IPortalOwnerCB *owner = nullptr);
    ~TestItem() override { --alive; }

    /// Items that exist at this moment.
    inline static int alive = 0;

    KString GetDisplayName() override { return propertyText("name"); }
    KString GetUniqueID() override { return propertyText("id"); }
    bool IsFolder() override { return m_isFolder; }
    KString GetImportPathFolder() override { return propertyText("folder"); }

private:
    const bool m_isFolder;
};

/// The portal is its own login and its own browser, and its service as well.
class TestPortal : public ICloudPortalApi::IPortal,
                   public ICloudPortalApi::LoginBase,
                   public ICloudPortalApi::PortalBrowserBase
{
public:
    using ItemVector = ICloudPortalApi::ItemVector;
    using ICloudItem = ICloudPortalApi::ICloudItem;
    using IPortalOwnerCB = ICloudPortalApi::IPortalOwnerCB;
    using Entry = QPair<QString, QString>; // identity and name of an item

    explicit TestPortal(const char *identity = "Test") : m_identity(identity) {}

    /// A portal that is searched has a search bar.
    int type = ICloudPortalApi::kPlainListing;
    std::vector<KString> exportFormats{"obj"};
    QStringList fixedFolders;
    std::map<QString, QList<Entry>> folders{{"root", {{"d", "Deep/"}, {"f", "cup.obj"}}},
                                            {"d", {{"dd", "Deeper/"}, {"g", "b.obj"}}}};
    bool loggedIn = true;
    bool succeeds = true;
    /// What a search answers; page 0 is the one that was asked for.
    int page = 0;
    int itemCount = 1000;
    /// The address of the sign-in page, and its length if that is not to be the true one. Signing in ends at "done".
    QByteArray address;
    long claimedLength = 0;
    /// What runs inside a "login check", "sign-in", "fetch", "download" or "upload".
    QMap<QString, std::function<void()>> during;
    /// What the service was asked.
    QStringList log;
    HeaderMap lastCriteria;

    QList<Entry> &root() { return folders["root"]; }
    /// How often the log holds a line that begins with \p start.
    int count(const QString &start) const { return log.filter(QRegularExpression('^' + start)).size(); }
    /// Writes \p line into the log, if there is one, and runs the hook of \p call.
    bool run(const QString &call, const QString &line = QString());

    KString GetPortalUID() override { return m_identity; }
    KString GetPortalDisplayName() override { return m_identity; }
    KString GetPortalDisplayIconFilename() override { return "none.png"; }
    bool SupportExport(std::vector<KString> &formats) override
    {
        formats = exportFormats;
        return !formats.empty();
    }
    bool supportSearchBar() override { return type == ICloudPortalApi::kPagedSearch; }
    ILogin *GetLogin() override { return this; }
    IPortalBrowser *GetBrowser() override { return this; }
    KString GetSettingsName() override { return "TestSettings"; }
    ICloudItem *CreateFolderHierarchy() override;
    void setOwnerCB(IPortalOwnerCB *owner) override { PortalBrowserBase::setOwnerCB(owner); }
    void FillSearchCriteria(ICloudItem *folder, HeaderMap &criteria) override
    {
        criteria[L"Folder"] = folder->GetUniqueID().wide();
    }

    bool Login(IPortalOwnerCB *owner) override
    {
        loggedIn = true;
        owner->LoginDoneCB(true);
        return true;
    }
    bool LoginUIDoneCB(const QUrl &url) override { return url.path().endsWith("done") && run("sign-in"); }
    bool Logout() override
    {
        loggedIn = false;
        return true;
    }
    bool IsLogin() override
    {
        run("login check");
        return loggedIn;
    }
    bool GetUserInformation(HeaderMap &info) override
    {
        info[L"username"] = L"Ada & Co";
        return true;
    }
    long CreateLoginRequest(char *buffer, unsigned long size) override
    {
        return claimedLength != 0 ? claimedLength : writeAddress(address.constData(), buffer, size);
    }

    int GetPortalType() override { return type; }
    bool SearchCloudItems(ILogin *, HeaderMap &criteria, int pageNumber, int pageSize, ItemVector &results,
                          int &currentPage, int &, int &totalResultCount) override;
    bool GetChildCloudItems(ILogin *, HeaderMap &criteria, ItemVector &results) override;
    bool DownloadCloudItem(ILogin *, ICloudItem *item, KString, KString) override;
    bool UploadFile(ILogin *, ICloudItem *folder, ICloudItem *existing, KString localFolder, KString fileName) override;

private:
    bool fetch(const QString &line, const HeaderMap &criteria, ItemVector &results);

    KString m_identity;
};

/// Each test prepares the portal and starts it, with its controller and page in a dock. At the end nothing may be left,
/// the wait cursor included.
class PageFixture : public QObject
{
    Q_OBJECT
protected:
    virtual void prepare() = 0;
    /// Makes the host's main window, which stays hidden; without it the dock is a window of its own.
    void openWindow(int width, int height);
    void start();
    void stop();

    Portal_CloudBrowserWindows *page() const
    {
        return static_cast<Portal_CloudBrowserWindows *>(m_controller->GetParentLoginWidget());
    }
    /// What holds the tabs, which hold a stack, which holds the page.
    Portal_CloudBrowserDockWidget *dock() const
    {
        return qobject_cast<Portal_CloudBrowserDockWidget *>(page()->parentWidget()->parentWidget()->parentWidget());
    }
    /// The page's only widget of type \p T with that accessible or object name; a missing one ends the test program.
    template <typename T>
    T *find(const char *name) const
    {
        for (T *widget : page()->template findChildren<T *>()) {
            if (widget->accessibleName() == QLatin1String(name) || widget->objectName() == QLatin1String(name))
                return widget;
        }
        qFatal("no widget %s", name);
    }
    QPushButton *button(const char *name) const { return find<QPushButton>(name); }
    QListWidget *list() const { return find<QListWidget>("ListOfFileFromCloud"); }
    QToolBar *folderBar() const { return find<QToolBar>("FolderBar"); }
    /// The names in the file list, from the top.
    QStringList names() const;
    /// The row that shows \p name; null when there is none.
    QListWidgetItem *row(const QString &name) const { return list()->findItems(name, Qt::MatchExactly).value(0); }
    void doubleClick(const QString &name) const { page()->ListViewItemDoubleClick(row(name)); }
    /// The labels and buttons of the folder bar that are shown, as in "Top/Sub-folder".
    QString path() const;

    RecordingHost m_host;
    TestPortal m_portal;
    std::unique_ptr<QMainWindow> m_window;
    std::unique_ptr<Portal_CloudBrowser> m_controller;

private slots:
    void init();
    void cleanup();
};

/// Adds the rows of a test's table of texts; the first text of a row is its name.
void addRows(const QList<QStringList> &rows);

/// The current row of such a table.
template <std::size_t count>
std::array<QString, count> currentRow()
{
    QFETCH(QStringList, texts);
    std::array<QString, count> row;
    std::copy_n(texts.begin(), count, row.begin());
    return row;
}

/// A host command's result.
KCommandResult result(const QStringList &texts);

/// Runs the event loop until what was handed to it, deferred deletes included, is done.
void settle();
