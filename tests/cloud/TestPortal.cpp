#include "TestPortal.h"

#include <QApplication>
#include <QFile>
#include <QLabel>
#include <QListWidget>
#include <QToolBar>
#include <QToolButton>
#include <QtTest>

using namespace ICloudPortalApi;

int TestItem::alive = 0;

TestItem::TestItem(const QString &id, const QString &name, Kind kind, IPortalOwnerCB *owner)
    : m_id(KQtUtil::toKString(id)), m_name(KQtUtil::toKString(name)), m_kind(kind), m_owner(owner)
{
    ++alive;
    SetProperty("id", m_id);
    SetProperty("mark-up", "<b>x</b>");
}

TestItem::~TestItem()
{
    --alive;
}

void TestItem::FolderClick()
{
    if (m_owner)
        m_owner->CloudItemClickCB(this);
}

void TestItem::FolderArrowClick()
{
    if (m_owner)
        m_owner->CloudFolderArrowClickCB(this);
}

int TestService::count(const QString &start) const
{
    return static_cast<int>(
        std::count_if(log.begin(), log.end(), [&](const QString &line) { return line.startsWith(start); }));
}

class TestPortal::Session : public ILogin
{
public:
    explicit Session(TestService &service) : m_service(service) {}
    bool Login(IPortalOwnerCB *owner) override
    {
        m_service.loggedIn = true;
        owner->LoginDoneCB(true);
        return true;
    }
    bool LoginUIDoneCB(const QUrl &) override { return false; }
    bool Logout() override
    {
        m_service.loggedIn = false;
        return true;
    }
    bool IsLogin() override
    {
        if (m_service.duringLoginCheck)
            m_service.duringLoginCheck();
        return m_service.loggedIn;
    }
    bool GetUserInformation(HeaderMap &) override { return false; }
    bool GetUsername(KString &name) override
    {
        name = "Ada & Co";
        return true;
    }
    long CreateLoginRequest(char *, unsigned long) override { return -1; }

private:
    TestService &m_service;
};

class TestPortal::Browser : public IPortalBrowser
{
public:
    explicit Browser(TestService &service) : m_service(service) {}
    int GetPortalType() override { return m_service.type; }
    bool SearchCloudItems(ILogin *, HeaderMap &criteria, int pageNumber, int pageSize, ItemVector &results,
                          int &currentPage, int &totalPageCount, int &totalResultCount) override
    {
        m_service.log << QStringLiteral("search %1 %2").arg(pageNumber).arg(pageSize);
        fetch(criteria, results);
        if (!m_service.succeeds)
            return false;
        currentPage = m_service.page != 0 ? m_service.page : pageNumber;
        totalPageCount = m_service.pageCount;
        totalResultCount = m_service.itemCount;
        return true;
    }
    bool GetChildCloudItems(ILogin *, HeaderMap &, int, int, ItemVector &) override { return false; }
    bool GetChildCloudItems(ILogin *, HeaderMap &criteria, ItemVector &results) override
    {
        m_service.log << QStringLiteral("list ") + QString::fromStdWString(criteria[L"Folder"]);
        fetch(criteria, results);
        return m_service.succeeds;
    }
    bool DownloadCloudItem(ILogin *, ICloudItem *item, KString folder, KString fileName) override
    {
        m_service.log << QStringLiteral("download ") + KQtUtil::toQString(item->GetUniqueID());
        m_service.downloadFolder = folder;
        m_service.downloadName = fileName;
        if (m_service.duringDownload)
            m_service.duringDownload();
        return m_service.succeeds;
    }
    bool UploadFile(ILogin *, ICloudItem *folder, ICloudItem *existing, KString localFolder, KString fileName) override
    {
        m_service.uploadFolder = localFolder;
        m_service.log << QStringLiteral("upload %1 to %2 over %3")
                             .arg(KQtUtil::toQString(fileName), KQtUtil::toQString(folder->GetUniqueID()),
                                  existing ? KQtUtil::toQString(existing->GetUniqueID()) : QStringLiteral("nothing"));
        if (m_service.duringUpload)
            m_service.duringUpload();
        return m_service.succeeds;
    }
    void setOwnerCB(IPortalOwnerCB *owner) override { m_owner = owner; }

private:
    void fetch(const HeaderMap &criteria, ItemVector &results)
    {
        m_service.lastCriteria = criteria;
        const auto folder = criteria.find(L"Folder");
        const QString id = folder == criteria.end() ? QString() : QString::fromStdWString(folder->second);
        for (const TestService::Entry &entry : m_service.folders[id])
            results.push_back(new TestItem(entry.id, entry.name, entry.kind, m_owner));
        if (m_service.duringFetch)
            m_service.duringFetch();
    }

    TestService &m_service;
    IPortalOwnerCB *m_owner = nullptr;
};

TestPortal::TestPortal(TestService &service, const char *identity)
    : m_service(service), m_identity(identity), m_login(std::make_unique<Session>(service)),
      m_browser(std::make_unique<Browser>(service))
{}

TestPortal::~TestPortal() = default;

bool TestPortal::SupportExport(std::vector<KString> &formats)
{
    for (const QString &format : m_service.exportFormats)
        formats.push_back(KQtUtil::toKString(format));
    return !formats.empty();
}

ILogin *TestPortal::GetLogin()
{
    return m_login.get();
}

IPortalBrowser *TestPortal::GetBrowser()
{
    return m_browser.get();
}

ICloudItem *TestPortal::CreateFolderHierarchy()
{
    auto *root = new TestItem(QStringLiteral("root"), QStringLiteral("Top"), TestItem::Kind::Folder, m_owner);
    for (const QString &name : m_service.fixedFolders) {
        auto *folder = new TestItem(name, name, TestItem::Kind::Folder, m_owner);
        folder->SetParent(root);
        root->AddChild(folder);
    }
    return root;
}

void TestPortal::setOwnerCB(IPortalOwnerCB *owner)
{
    m_owner = owner;
    m_browser->setOwnerCB(owner);
}

void TestPortal::FillSearchCriteria(ICloudItem *folder, HeaderMap &criteria)
{
    if (folder)
        criteria[L"Folder"] = folder->GetUniqueID().wide();
}

TestStage::TestStage(TestService &service, const char *identity) : m_portal(service, identity)
{
    if (!Portal_CloudBrowser::RegisterPortal(&m_portal))
        qFatal("a portal of that identity is registered already");
    m_controller.reset(Portal_CloudBrowser::GetInstance(m_portal.GetPortalUID()));
    m_controller->AddPortalTabPage();
}

TestStage::~TestStage()
{
    Portal_CloudBrowser::PrepareUnload();
    Portal_CloudBrowser::UnRegisterPortal(&m_portal);
    settle();
}

Portal_CloudBrowserDockWidget *TestStage::dock() const
{
    for (QWidget *widget : QApplication::allWidgets()) {
        if (auto *dock = qobject_cast<Portal_CloudBrowserDockWidget *>(widget))
            return dock;
    }
    return nullptr;
}

Portal_CloudBrowserWindows *TestStage::page() const
{
    return static_cast<Portal_CloudBrowserWindows *>(m_controller->GetParentLoginWidget());
}

QStringList TestStage::names() const
{
    QStringList names;
    const auto *list = find<QListWidget>("ListOfFileFromCloud");
    for (int i = 0; i < list->count(); ++i)
        names << list->item(i)->text();
    return names;
}

QListWidgetItem *TestStage::row(const QString &name) const
{
    return find<QListWidget>("ListOfFileFromCloud")->findItems(name, Qt::MatchExactly).value(0);
}

QStringList TestStage::folderBar() const
{
    QStringList texts;
    auto *bar = find<QToolBar>("FolderBar");
    for (QAction *action : bar->actions()) {
        const auto *label = qobject_cast<QLabel *>(bar->widgetForAction(action));
        if (label || !action->text().isEmpty())
            texts << (label ? label->text() : action->text());
    }
    return texts;
}

void addRows(std::initializer_list<const char *> columns, const QList<QStringList> &rows)
{
    for (const char *column : columns)
        QTest::addColumn<QString>(column);
    for (const QStringList &row : rows) {
        QTestData &data = QTest::newRow(qPrintable(row.first()));
        for (const QString &text : row.mid(1))
            data << text;
    }
}

void settle()
{
    for (int round = 0; round < 3; ++round) {
        QApplication::processEvents(QEventLoop::AllEvents);
        QApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }
}
