#include "E2ETest.h"

#include <QListWidget>

void E2ETest::initTestCase()
{
    QVERIFY2(m_cloud.start({m_folder.filePath("cloud"), {}, 0}), qPrintable(m_cloud.error()));
}

void E2ETest::init()
{
    m_cloud.use();
    removeSettings();
    m_userDir = std::make_unique<QTemporaryDir>();
    QVERIFY2(startHost(), error());
}

bool E2ETest::replaceCloud(CloudProcess &cloud, const QString &rule)
{
    const bool started = cloud.start({m_folder.filePath("cloud"), {rule}, 0});
    if (!started)
        qWarning("%s", qPrintable(cloud.error()));
    return started;
}

bool E2ETest::startHost()
{
    stopHost();
    m_driver = std::make_unique<Driver>();
    m_guide = portalGuide(m_portal, *m_driver, m_cloud);
    m_page = std::make_unique<CloudPage>(*m_driver, m_portal);
    return m_driver->start({m_userDir->path(), m_cloud.caFile()});
}

void E2ETest::stopHost()
{
    m_page.reset();
    m_guide.reset();
    m_driver.reset();
}

const char *E2ETest::error() const
{
    m_error = m_driver->error().toLocal8Bit();
    return m_error.constData();
}

bool E2ETest::logOut()
{
    return m_page->isSignedIn() && m_page->clickLogin() &&
           m_driver->waitFor([this] { return !m_page->isSignedIn(); }, QString("the logout"));
}

bool E2ETest::closeDock()
{
    return m_driver->click(m_driver->find(QString("qt_dockwidget_closebutton"), m_page->dock())) &&
           m_driver->waitFor([this] { return !m_page->dock(); }, QString("the dock to close"));
}

bool E2ETest::isListEnabled() const
{
    return m_page->list() && m_page->list()->isEnabled();
}

bool E2ETest::canImport() const
{
    const QWidget *button = m_page->part("CloudImportButton");
    return button && button->isEnabled();
}

void E2ETest::answerQuestions(QMessageBox::StandardButton answer)
{
    m_questions = 0;
    m_driver->setDialogHandler([this, answer](QDialog &dialog) {
        auto *box = qobject_cast<QMessageBox *>(&dialog);
        if (!box || box->icon() != QMessageBox::Question)
            return false;
        // The driver calls this again if the box was not ready.
        m_questions += m_driver->click(box->button(answer)) ? 1 : 0;
        return true;
    });
}

bool E2ETest::isOnDisk(const QString &text) const
{
    for (const QString &name :
         filesBelow(m_userDir->path()) + filesBelow(QFileInfo(settingsFile(m_guide->facts().settings)).path())) {
        QFile file(name);
        if (!file.open(QIODevice::ReadOnly) || file.readAll().contains(text.toUtf8()))
            return true;
    }
    return false;
}

QStringList E2ETest::transferred() const
{
    return filesBelow(m_userDir->filePath(QString("temp_cloud")));
}

#include "moc_E2ETest.cpp"
