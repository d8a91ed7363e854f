#include "Journey.h"

#include "tour/Evidence.h"

#include <QtTest>

void Journey::initTestCase()
{
    QVERIFY2(m_cloud.start({m_folder.filePath("cloud"), {}, 0}), qPrintable(m_cloud.error()));
}

void Journey::init()
{
    m_cloud.use();
    removeSettings();
    m_userDir = std::make_unique<QTemporaryDir>();
    QVERIFY2(startHost(), qPrintable(error()));
}

bool Journey::replaceCloud(CloudProcess &cloud, const QString &rule)
{
    const bool started = cloud.start({m_folder.filePath("cloud"), {rule}, 0});
    if (!started)
        qWarning("%s", qPrintable(cloud.error()));
    return started;
}

bool Journey::startHost()
{
    stopHost();
    m_driver = std::make_unique<Driver>();
    m_page = std::make_unique<CloudPage>(*m_driver, m_portal);
    return m_driver->start({m_userDir->path(), m_cloud.caFile()});
}

void Journey::stopHost()
{
    m_page.reset();
    m_driver.reset();
}

qint64 Journey::sceneInfo(const QString &what) const
{
    return m_driver->ask(QStringLiteral("sceneInfo -q -") + what).toLongLong();
}

QStringList Journey::transferred() const
{
    return filesBelow(m_userDir->filePath(QStringLiteral("temp_cloud")));
}
