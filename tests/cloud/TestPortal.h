// TestPortal.h
//
// A small portal whose service is a table in memory: listed or searched page by page, with hooks that run inside each
// call where a real portal spins the event loop.

#pragma once

#include "cloud/Portal_CloudBrowser.h"

#include <QStringList>

#include <functional>
#include <map>
#include <memory>

class TestItem : public ICloudPortalApi::ICloudItem
{
public:
    enum class Kind { Folder, File };

    TestItem(const QString &id, const QString &name, Kind kind, ICloudPortalApi::IPortalOwnerCB *owner = nullptr);
    ~TestItem() override;

    /// Items that exist at this moment.
    static int alive;

    KString GetDisplayName() override { return m_name; }
    KString GetUniqueID() override { return m_id; }
    bool IsDownloadable() override { return !IsFolder(); }
    bool IsFolder() override { return m_kind == Kind::Folder; }
    KString GetImportPathFolder() override { return importFolder; }
    KString GetImportFilename() override { return m_name; }
    void FolderClick() override;
    void FolderArrowClick() override;

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
    QStringList exportFormats;
    QStringList fixedFolders;
    std::map<QString, QList<Entry>> folders;
    bool loggedIn = true;
    bool succeeds = true;
    int page = 1;
    int pageCount = 1;
    int itemCount = 0;

    std::function<void()> duringLoginCheck;
    std::function<void()> duringFetch;
    std::function<void()> duringDownload;
    std::function<void()> duringUpload;

    QStringList log;
    HeaderMap lastCriteria;
    KString downloadFolder;
    KString downloadName;
    KString uploadFolder;

    QList<Entry> &root() { return folders[QStringLiteral("root")]; }
    /// How often the log holds a line that begins with \p start.
    int count(const QString &start) const;
};

class TestPortal : public ICloudPortalApi::IPortal
{
public:
    explicit TestPortal(TestService &service, const char *identity = "Test");
    ~TestPortal() override;

    KString GetPortalUID() override { return m_identity; }
    KString GetPortalDisplayName() override { return m_identity; }
    KString GetPortalDisplayIconFilename() override { return "none.png"; }
    bool SupportExport(std::vector<KString> &formats) override;
    bool supportSearchBar() override { return m_service.search; }
    ICloudPortalApi::ILogin *GetLogin() override;
    ICloudPortalApi::IPortalBrowser *GetBrowser() override;
    KString GetSettingsName() override { return "TestSettings"; }
    ICloudPortalApi::ICloudItem *CreateFolderHierarchy() override;
    void setOwnerCB(ICloudPortalApi::IPortalOwnerCB *owner) override;
    void FillSearchCriteria(ICloudPortalApi::ICloudItem *folder, HeaderMap &criteria) override;

private:
    class Session;
    class Browser;

    TestService &m_service;
    KString m_identity;
    std::unique_ptr<Session> m_login;
    std::unique_ptr<Browser> m_browser;
    ICloudPortalApi::IPortalOwnerCB *m_owner = nullptr;
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
    /// The names in the file list, from the top.
    QStringList names() const;
    /// The row that shows \p name; null when there is none.
    QListWidgetItem *row(const QString &name) const;
    /// The texts in the folder bar, labels and buttons, from the left.
    QStringList folderBar() const;

private:
    TestPortal m_portal;
    std::unique_ptr<Portal_CloudBrowser> m_controller;
};

/// Adds the text columns and rows of a test's table; the first text of a row is its name.
void addRows(std::initializer_list<const char *> columns, const QList<QStringList> &rows);

/// Runs the event loop until what was handed to it, deferred deletes included, is done.
void settle();
