// TestPortal.h
//
// A portal whose service is a table in memory. Hooks run inside each call in which a real portal spins the event loop.

#pragma once

#include "cloud/portal/PortalBases.h"
#include "cloud/Portal_CloudBrowser.h"

#include <QtCore>

class TestItem : public ICloudPortalApi::CloudItemBase
{
public:
    /// A folder if \p name ends in a slash, which is not a part of the name.
    TestItem(const QString &id, const QString &name, ICloudPortalApi::IPortalOwnerCB *owner = nullptr)
        : CloudItemBase(owner), m_isFolder(name.endsWith('/'))
    {
        ++alive;
        SetProperty("name", KQtUtil::toKString(name.left(name.size() - m_isFolder)));
        SetProperty("id", KQtUtil::toKString(id));
    }
    ~TestItem() override { --alive; }

    /// The number of existing items.
    inline static int alive = 0;

    KString GetDisplayName() override { return propertyText("name"); }
    KString GetUniqueID() override { return propertyText("id"); }
    bool IsFolder() override { return m_isFolder; }
    /// Runs a host command, as the icons of some portals do.
    QIcon GetItemIcon() override
    {
        const QIcon icon = CloudItemBase::GetItemIcon();
        TavrinHelper::portalIcon("none.png"); // may delete the item
        return icon;
    }
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
    QString userName = "Ada & Co";
    bool succeeds = true;
    /// The result of a search. Page 0 means the requested page.
    int page = 0;
    int itemCount = 1000;
    /// The address of the sign-in page. Signing in ends at "done".
    QByteArray address;
    /// The hooks: "login check", "sign-in", "fetch", "download", "upload" and "dialog".
    QMap<QString, std::function<void()>> during;
    /// The requests to the service.
    QStringList log;
    HeaderMap lastCriteria;

    QList<Entry> &root() { return folders["root"]; }
    /// Logs \p line unless it is empty, and runs the hook of \p call.
    bool run(const QString &call, const QString &line = QString())
    {
        if (!line.isEmpty())
            log << line;
        if (const std::function<void()> hook = during.value(call))
            hook();
        return succeeds;
    }

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
    ICloudItem *CreateFolderHierarchy() override
    {
        auto *root = new TestItem("root", "Top/", owner());
        for (const QString &name : fixedFolders) {
            auto *folder = new TestItem(name, name + '/', owner());
            folder->SetParent(root);
            root->AddChild(folder);
        }
        return root;
    }
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
        info[L"username"] = userName.toStdWString();
        return true;
    }
    long CreateLoginRequest(char *buffer, unsigned long size) override
    {
        return writeAddress(address.constData(), buffer, size);
    }

    int GetPortalType() override { return type; }
    bool SearchCloudItems(ILogin *, HeaderMap &criteria, int pageNumber, int pageSize, ItemVector &results,
                          int &currentPage, int &, int &totalResultCount) override
    {
        currentPage = page != 0 ? page : pageNumber;
        totalResultCount = itemCount;
        return fetch(QStringLiteral("search %1 %2").arg(pageNumber).arg(pageSize), criteria, results);
    }
    bool GetChildCloudItems(ILogin *, HeaderMap &criteria, ItemVector &results) override
    {
        return fetch("list " + QString::fromStdWString(criteria[L"Folder"]), criteria, results);
    }
    bool DownloadCloudItem(ILogin *, ICloudItem *item, KString, KString) override
    {
        return run("download", "download " + KQtUtil::toQString(item->GetUniqueID()));
    }
    bool UploadFile(ILogin *, ICloudItem *folder, ICloudItem *existing, KString localFolder, KString fileName) override
    {
        const KString over = existing ? existing->GetUniqueID() : KString("nothing");
        const KString line =
            KString("upload ") + localFolder + fileName + " to " + folder->GetUniqueID() + " over " + over;
        return run("upload", KQtUtil::toQString(line));
    }

private:
    bool fetch(const QString &line, const HeaderMap &criteria, ItemVector &results)
    {
        lastCriteria = criteria;
        for (const auto &[id, name] : folders[QString::fromStdWString(criteria.at(L"Folder"))])
            results.push_back(new TestItem(id, name, owner()));
        return run("fetch", line);
    }

    KString m_identity;
};
