#include "PageFixture.h"

#include "support/MessageBoxes.h"

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

void PageFixture::showPage()
{
    start();
    if (!m_window)
        return;
    Portal_CloudBrowser::RaiseDockingWindow(true);
    m_window->show();
    QApplication::setActiveWindow(m_window.get());
    list()->setFocus();
    settle();
}

QAction *PageFixture::folderAction(const QString &text) const
{
    for (QAction *action : folderBar()->actions()) {
        if (action->text() == text)
            return action;
    }
    qFatal("no folder %s", qPrintable(text));
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

void PageFixture::press(QWidget *widget, Qt::Key key, Qt::KeyboardModifiers modifiers)
{
    QTest::keyClick(widget, key, modifiers);
    settle();
}

void PageFixture::clearRecords()
{
    m_host.clear();
    m_portal.log.clear();
    m_questions.clear();
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
    m_agrees = true;
    m_host.setState(KGlobal::kInteractive);
    m_host.answer("internalVar -userAppDir", KCommandResult(KQtUtil::toKString(m_dir.path() + '/')));
    m_host.answer("file ", KCommandResult(KString("/elsewhere/Written.FBX")));
    m_host.answer("Tavrin_GetImportTranslatorFromFileExtension(\"obj\")", KCommandResult(KString("known")));
    m_host.answer("Tavrin_GetExportTranslatorList", result({"OBJ"}));
    m_host.answer("Tavrin_GetExportTranslatorExtensionList", result({"obj"}));
    clearRecords();
    prepare();
}

void PageFixture::cleanup()
{
    m_answering.stop();
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

void PageFixture::timerEvent(QTimerEvent *)
{
    const QPointer<QDialog> dialog = qobject_cast<QDialog *>(QApplication::activeModalWidget());
    if (!dialog)
        return;
    const auto *box = qobject_cast<QMessageBox *>(dialog);
    m_questions << (box ? shownText(*box) : dialog->windowTitle() + ' ' + dialog->layout()->objectName());
    m_portal.run("dialog");
    if (dialog && box)
        box->button(m_agrees ? QMessageBox::Yes : QMessageBox::No)->click();
    else if (dialog)
        m_agrees ? dialog->findChild<QDialogButtonBox *>()->button(QDialogButtonBox::Ok)->click() : dialog->reject();
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

#include "moc_PageFixture.cpp"
