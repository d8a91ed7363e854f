#include "TestPortal.h"

using namespace ICloudPortalApi;

TestItem::TestItem(const QString &id, const QString &name, IPortalOwnerCB *owner)
    : CloudItemBase(owner), m_isFolder(name.endsWith('/'))
{
    ++alive;
    SetProperty("name", KQtUtil::toKString(name.left(name.size() - m_isFolder)));
    SetProperty("id", KQtUtil::toKString(id));
}

bool TestPortal::run(const QString &call, const QString &line)
{
    if (!line.isEmpty())
        log << line;
    if (const std::function<void()> hook = during.value(call))
        hook();
    return succeeds;
}

ICloudItem *TestPortal::CreateFolderHierarchy()
{
    auto *root = new TestItem("root", "Top/", owner());
    for (const QString &name : fixedFolders) {
        auto *folder = new TestItem(name, name + '/', owner());
        folder->SetParent(root);
        root->AddChild(folder);
    }
    return root;
}

bool TestPortal::SearchCloudItems(ILogin *, HeaderMap &criteria, int pageNumber, int pageSize, ItemVector &results,
                                  int &currentPage, int &, int &totalResultCount)
{
    currentPage = page != 0 ? page : pageNumber;
    totalResultCount = itemCount;
    return fetch(QStringLiteral("search %1 %2").arg(pageNumber).arg(pageSize), criteria, results);
}

bool TestPortal::GetChildCloudItems(ILogin *, HeaderMap &criteria, ItemVector &results)
{
    return fetch("list " + QString::fromStdWString(criteria[L"Folder"]), criteria, results);
}

bool TestPortal::fetch(const QString &line, const HeaderMap &criteria, ItemVector &results)
{
    lastCriteria = criteria;
    for (const auto &[id, name] : folders[QString::fromStdWString(criteria.at(L"Folder"))])
        results.push_back(new TestItem(id, name, owner()));
    return run("fetch", line);
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

void PageFixture::openWindow(int width, int height)
{
    m_window = std::make_unique<QMainWindow>();
    m_window->resize(width, height);
    m_host.setMainWindow(m_window.get());
}

void PageFixture::start()
{
    stop();
    Portal_CloudBrowser::RegisterPortal(&m_portal);
    m_controller.reset(Portal_CloudBrowser::GetInstance(m_portal.GetPortalUID()));
    m_controller->AddPortalTabPage();
}

void PageFixture::stop()
{
    Portal_CloudBrowser::PrepareUnload();
    Portal_CloudBrowser::UnRegisterPortal(&m_portal);
    settle();
    m_controller.reset();
}

QStringList PageFixture::names() const
{
    QStringList names;
    for (int i = 0; i < list()->count(); ++i)
        names << list()->item(i)->text();
    return names;
}

QString PageFixture::path() const
{
    QString text;
    for (QAction *action : folderBar()->actions()) {
        const auto *label = qobject_cast<QLabel *>(folderBar()->widgetForAction(action));
        if (action->isVisible())
            text += label ? label->text() : action->text();
    }
    return text;
}

void PageFixture::init()
{
    m_portal = TestPortal();
    m_host.clear();
    prepare();
}

void PageFixture::cleanup()
{
    m_portal.during.clear();
    stop();
    QVERIFY(!m_window || m_window->findChildren<Portal_CloudBrowserDockWidget *>().isEmpty());
    m_window.reset();
    settle();
    QCOMPARE(TestItem::alive, 0);
    QVERIFY(!Portal_CloudBrowser::IsBusy());
    QCOMPARE(m_host.commands().filter("waitCursor -state on;").size(),
             m_host.commands().filter("{ waitCursor -state off; }").size());
}

void addRows(const QList<QStringList> &rows)
{
    QTest::addColumn<QStringList>("texts");
    for (const QStringList &row : rows)
        QTest::newRow(qPrintable(row.first())) << row;
}

KCommandResult result(const QStringList &texts)
{
    KStringArray array;
    for (const QString &text : texts)
        array.append(KQtUtil::toKString(text));
    return KCommandResult(array);
}

void settle()
{
    for (int round = 0; round < 3; ++round) {
        QApplication::processEvents(QEventLoop::AllEvents);
        QApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }
}
