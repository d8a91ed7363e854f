// TestPortal.h
//
// A small portal whose service is a table in memory: listed or searched page by page, with hooks that run inside each
// call where a real portal spins the event loop.

#pragma once

#include "cloud/Portal_CloudBrowser.h"
#include "support/RecordingHost.h"

#include <QtTest>
#include <QtWidgets>

#include <functional>
#include <map>
#include <memory>

class TestItem : public ICloudPortalApi::ICloudItem
{
public:
    enum class Kind { Folder, File };

    TestItem(const QString &id, const QString &name, Kind kind, ICloudPortalApi::IPortalOwnerCB *owner = nullptr);
    ~TestItem() override { --alive; }

    /// Items that exist at this moment.
    inline static int alive = 0;

    KString GetDisplayName() override { return m_name; }
    KString GetUniqueID() override { return m_id; }
    bool IsDownloadable() override { return !IsFolder(); }
    bool IsFolder() override { return m_kind == Kind::Folder; }
    KString GetImportPathFolder() override { return importFolder; }
    KString GetImportFilename() override { return m_name; }
    void FolderClick() override { m_owner->CloudItemClickCB(this); }
    void FolderArrowClick() override { m_owner->CloudFolderArrowClickCB(this); }

    KString importFolder;

private:
    KString m_id;
    KString m_name;
    Kind m_kind;
    ICloudPortalApi::IPortalOwnerCB *m_owner;
};

/// What the service holds and what it was asked.
struct TestService
{
    struct Entry
    {
        QString id;
        QString name;
        TestItem::Kind kind = TestItem::Kind::File;
    };

    int type = ICloudPortalApi::kPlainListing;
    bool search = false;
    std::vector<KString> exportFormats;
    QStringList fixedFolders;
    std::map<QString, QList<Entry>> folders;
    bool loggedIn = true;
    bool succeeds = true;
    int page = 1;
    int itemCount = 0;
    /// What runs inside a "login check", "fetch", "download" or "upload".
    QMap<QString, std::function<void()>> during;

    QStringList log;
    HeaderMap lastCriteria;
    ICloudPortalApi::IPortalOwnerCB *owner = nullptr;

    QList<Entry> &root() { return folders[QStringLiteral("root")]; }
    /// How often the log holds a line that begins with \p start.
    int count(const QString &start) const { return log.filter(QRegularExpression('^' + start)).size(); }
    void run(const QString &call) const;
};

/// The portal is its own login and its own browser.
class TestPortal : public ICloudPortalApi::IPortal,
                   public ICloudPortalApi::ILogin,
                   public ICloudPortalApi::IPortalBrowser
{
public:
    using ItemVector = ICloudPortalApi::ItemVector;
    using ICloudItem = ICloudPortalApi::ICloudItem;
    using IPortalOwnerCB = ICloudPortalApi::IPortalOwnerCB;

    explicit TestPortal(TestService &service, const char *identity = "Test") : m_service(service), m_identity(identity)
    {}

    KString GetPortalUID() override { return m_identity; }
    KString GetPortalDisplayName() override { return m_identity; }
    KString GetPortalDisplayIconFilename() override { return "none.png"; }
    bool SupportExport(std::vector<KString> &formats) override;
    bool supportSearchBar() override { return m_service.search; }
    ILogin *GetLogin() override { return this; }
    IPortalBrowser *GetBrowser() override { return this; }
    KString GetSettingsName() override { return "TestSettings"; }
    ICloudItem *CreateFolderHierarchy() override;
    void setOwnerCB(IPortalOwnerCB *owner) override { m_service.owner = owner; }
    void FillSearchCriteria(ICloudItem *folder, HeaderMap &criteria) override
    {
        criteria[L"Folder"] = folder->GetUniqueID().wide();
    }

    bool Login(IPortalOwnerCB *owner) override;
    bool LoginUIDoneCB(const QUrl &) override { return false; }
    bool Logout() override;
    bool IsLogin() override;
    bool GetUserInformation(HeaderMap &) override { return false; }
    bool GetUsername(KString &name) override;
    long CreateLoginRequest(char *, unsigned long) override { return -1; }

    int GetPortalType() override { return m_service.type; }
    bool SearchCloudItems(ILogin *, HeaderMap &criteria, int pageNumber, int pageSize, ItemVector &results,
                          int &currentPage, int &, int &totalResultCount) override;
    bool GetChildCloudItems(ILogin *, HeaderMap &, int, int, ItemVector &) override { return false; }
    bool GetChildCloudItems(ILogin *, HeaderMap &criteria, ItemVector &results) override;
    bool DownloadCloudItem(ILogin *, ICloudItem *item, KString, KString) override;
    bool UploadFile(ILogin *, ICloudItem *folder, ICloudItem *existing, KString localFolder, KString fileName) override;

private:
    bool run(const QString &call, const QString &logged);
    bool fetch(const QString &logged, const HeaderMap &criteria, ItemVector &results);

    TestService &m_service;
    KString m_identity;
};

/// A registered portal with its controller and page, in a dock of its own.
class TestStage
{
public:
    explicit TestStage(TestService &service, const char *identity = "Test");
    ~TestStage();

    Portal_CloudBrowserDockWidget *dock() const;
    Portal_CloudBrowserWindows *page() const;
    Portal_CloudBrowser *controller() const { return m_controller.get(); }
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
    /// The names in the file list, from the top.
    QStringList names() const;
    /// The row that shows \p name; null when there is none.
    QListWidgetItem *row(const QString &name) const { return list()->findItems(name, Qt::MatchExactly).value(0); }
    void doubleClick(const QString &name) const { page()->ListViewItemDoubleClick(row(name)); }
    /// The labels and buttons of the folder bar, as in "Top/Sub-folder".
    QString folderBar() const;

private:
    TestPortal m_portal;
    std::unique_ptr<Portal_CloudBrowser> m_controller;
};

/// Each test sets its service up and then starts the stage.
class StageTest : public QObject
{
protected:
    void start()
    {
        m_stage.reset();
        m_stage = std::make_unique<TestStage>(m_service);
    }

    RecordingHost m_host;
    TestService m_service;
    std::unique_ptr<TestStage> m_stage;
};

/// Adds the text columns and rows of a test's table; the first text of a row is its name.
void addRows(std::initializer_list<const char *> columns, const QList<QStringList> &rows);

/// Runs the event loop until what was handed to it, deferred deletes included, is done.
void settle();
