#include "PageFixture.h"

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

void PageFixture::click(QWidget *widget, QPoint at)
{
    const QPointer<QWidget> guard(widget);
    QTest::mousePress(widget, Qt::LeftButton, Qt::NoModifier, at);
    if (guard)
        QTest::mouseRelease(widget, Qt::LeftButton, Qt::NoModifier, at);
}

void PageFixture::clickRow(const QString &name) const
{
    list()->scrollToItem(row(name));
    click(list()->viewport(), list()->visualItemRect(row(name)).center());
}

void PageFixture::doubleClick(const QString &name) const
{
    const QPointer<QWidget> target(list()->viewport());
    clickRow(name);
    if (!target)
        return;
    const QPoint at = list()->visualItemRect(row(name)).center();
    QTest::mouseDClick(target, Qt::LeftButton, Qt::NoModifier, at);
    if (target)
        QTest::mouseRelease(target, Qt::LeftButton, Qt::NoModifier, at);
    settle();
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
