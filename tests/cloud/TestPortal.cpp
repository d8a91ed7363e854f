#include "TestPortal.h"

using namespace ICloudPortalApi;

TestItem::TestItem(const QString &id, const QString &name, Kind kind, IPortalOwnerCB *owner)
    : m_id(KQtUtil::toKString(id)), m_name(KQtUtil::toKString(name)), m_kind(kind), m_owner(owner)
{
    ++alive;
    SetProperty("id", m_id);
    SetProperty("mark-up", "<b>x</b>");
}

void TestService::run(const QString &call) const
{
    if (const std::function<void()> hook = during.value(call))
        hook();
}

ICloudItem *TestPortal::CreateFolderHierarchy()
{
    auto *root = new TestItem("root", "Top", TestItem::Kind::Folder, m_service.owner);
    for (const QString &name : m_service.fixedFolders) {
        auto *folder = new TestItem(name, name, TestItem::Kind::Folder, m_service.owner);
        folder->SetParent(root);
        root->AddChild(folder);
    }
    return root;
}

bool TestPortal::Login(IPortalOwnerCB *owner)
{
    m_service.loggedIn = true;
    owner->LoginDoneCB(true);
    return true;
}

bool TestPortal::SupportExport(std::vector<KString> &formats)
{
    formats = m_service.exportFormats;
    return !formats.empty();
}

bool TestPortal::GetUsername(KString &name)
{
    name = "Ada & Co";
    return true;
}

bool TestPortal::Logout()
{
    m_service.loggedIn = false;
    return true;
}

bool TestPortal::IsLogin()
{
    m_service.run("login check");
    return m_service.loggedIn;
}

bool TestPortal::SearchCloudItems(ILogin *, HeaderMap &criteria, int pageNumber, int pageSize, ItemVector &results,
                                  int &currentPage, int &, int &totalResultCount)
{
    currentPage = m_service.page != 0 ? m_service.page : pageNumber;
    totalResultCount = m_service.itemCount;
    return fetch(QStringLiteral("search %1 %2").arg(pageNumber).arg(pageSize), criteria, results);
}

bool TestPortal::GetChildCloudItems(ILogin *, HeaderMap &criteria, ItemVector &results)
{
    return fetch("list " + QString::fromStdWString(criteria[L"Folder"]), criteria, results);
}

bool TestPortal::DownloadCloudItem(ILogin *, ICloudItem *item, KString, KString)
{
    return run("download", "download " + KQtUtil::toQString(item->GetUniqueID()));
}

bool TestPortal::UploadFile(ILogin *, ICloudItem *folder, ICloudItem *existing, KString localFolder, KString fileName)
{
    const KString over = existing ? existing->GetUniqueID() : KString("nothing");
    const KString line = KString("upload ") + localFolder + fileName + " to " + folder->GetUniqueID() + " over " + over;
    return run("upload", KQtUtil::toQString(line));
}

bool TestPortal::run(const QString &call, const QString &logged)
{
    m_service.log << logged;
    m_service.run(call);
    return m_service.succeeds;
}

bool TestPortal::fetch(const QString &logged, const HeaderMap &criteria, ItemVector &results)
{
    m_service.lastCriteria = criteria;
    for (const TestService::Entry &entry : m_service.folders[QString::fromStdWString(criteria.at(L"Folder"))])
        results.push_back(new TestItem(entry.id, entry.name, entry.kind, m_service.owner));
    return run("fetch", logged);
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
    QWidget *widget = page();
    while (widget && !qobject_cast<Portal_CloudBrowserDockWidget *>(widget))
        widget = widget->parentWidget();
    return static_cast<Portal_CloudBrowserDockWidget *>(widget);
}

Portal_CloudBrowserWindows *TestStage::page() const
{
    return static_cast<Portal_CloudBrowserWindows *>(m_controller->GetParentLoginWidget());
}

QStringList TestStage::names() const
{
    QStringList names;
    for (int i = 0; i < list()->count(); ++i)
        names << list()->item(i)->text();
    return names;
}

QString TestStage::folderBar() const
{
    QString text;
    auto *bar = find<QToolBar>("FolderBar");
    for (QAction *action : bar->actions()) {
        const auto *label = qobject_cast<QLabel *>(bar->widgetForAction(action));
        text += label ? label->text() : action->text();
    }
    return text;
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
