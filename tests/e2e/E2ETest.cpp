#include "E2ETest.h"

void E2ETest::initTestCase()
{
    QVERIFY2(m_cloud.start(m_folder.filePath("cloud")), qPrintable(m_cloud.error()));
}

void E2ETest::init()
{
    m_cloud.use();
    removeSettings();
    m_userDir = std::make_unique<QTemporaryDir>();
    QVERIFY2(startHost(), error());
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

QStringList E2ETest::transferred() const
{
    return filesBelow(m_userDir->filePath(QString("temp_cloud")));
}

#include "moc_E2ETest.cpp"
